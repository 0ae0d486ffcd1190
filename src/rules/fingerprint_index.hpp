// Keys that must be unique over a whole file but whose texts the run does not
// keep: the 1100 and 1200 of a year, the physical terminals of millions of
// capture devices. Each key is filed only as the upper 32 bits of its hash
// beside a 32-bit id (whatever the caller numbers: a first record's place, a
// registry entry), 8 bytes a slot, at most three slots in four in use
// (SlotTable).
//
// A matching fingerprint only names a candidate: the caller confirms it,
// usually by reading the candidate's line again (see EarlierLines), so two
// different keys never pass for one. The slot's position comes from the
// fingerprint too, so the table can grow without the keys. Keys whose home
// slots coincide share the fingerprint's high bits, and only the bits below
// them tell the keys apart. A confirmation that fails costs a read of one
// line: on a file of 200,000 clients and 300,000 devices, 21 reads for about
// a million keys.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "rules/chunks.hpp"
#include "rules/intern.hpp"

namespace volp {

class FingerprintIndex {
 public:
  using Id = uint32_t;
  static constexpr Id kNone = UINT32_MAX;

  size_t size() const { return count_; }

  // The id already filed under a key with `hash`'s fingerprint that
  // `same(id)` confirms; when none is, files `id` and returns kNone.
  template <class Same>
  Id FindOrAdd(uint64_t hash, Id id, Same&& same) {
    if (count_ + 1 > limit_) Grow();
    const uint64_t tag = hash >> 32;
    const size_t n = slots_.size();
    size_t i = SlotTable::Home(static_cast<uint32_t>(tag), n);
    for (;; i = SlotTable::Step(i, n)) {
      const uint64_t slot = slots_[i];
      if (slot == 0) break;
      if ((slot >> 32) == tag && same(static_cast<Id>(slot) - 1)) return static_cast<Id>(slot) - 1;
    }
    slots_[i] = tag << 32 | (static_cast<uint64_t>(id) + 1);
    ++count_;
    return kNone;
  }

  // Sizes an empty index for `n` keys at once, the size growth would reach:
  // growing keeps the old table and the new one alive together, which for
  // millions of keys is tens of megabytes at the peak of the run.
  void Reserve(size_t n) {
    if (count_ != 0) return;
    size_t capacity = slots_.size();
    while (SlotTable::Limit(capacity) < n && capacity < SlotTable::kMax)
      capacity = SlotTable::Next(capacity);
    if (capacity == slots_.size()) return;
    std::vector<uint64_t>(capacity, 0).swap(slots_);
    limit_ = SlotTable::Limit(capacity);
  }

  // Empties the index and gives its memory back.
  void clear() {
    std::vector<uint64_t>().swap(slots_);
    count_ = limit_ = 0;
  }

  size_t TableBytes() const { return slots_.capacity() * sizeof(uint64_t); }

 private:
  // Grows the table by half (16 slots at first) and puts every slot back at
  // the place its fingerprint gives in the larger one.
  void Grow() {
    const size_t capacity = SlotTable::Next(slots_.size());
    std::vector<uint64_t> old(capacity, 0);
    old.swap(slots_);
    limit_ = SlotTable::Limit(capacity);
    for (uint64_t slot : old) {
      if (slot == 0) continue;
      size_t i = SlotTable::Home(static_cast<uint32_t>(slot >> 32), capacity);
      while (slots_[i] != 0) i = SlotTable::Step(i, capacity);
      slots_[i] = slot;
    }
  }

  std::vector<uint64_t> slots_;
  size_t count_ = 0;
  size_t limit_ = 0;
};

// Values found by a key's fingerprint: where the first record of each key
// was, for the "já foi encontrado na linha L e posição P" findings of its
// repetitions; the running totals of each CPF. The values sit in chunks that
// never move, numbered in the order they were added.
template <class V>
class FingerprintMap {
 public:
  size_t size() const { return index_.size(); }

  // The value of a key with `hash` that `same(value)` confirms, and false;
  // or, when there is none, `value` filed as the key's, and true.
  template <class Same>
  std::pair<V*, bool> Insert(uint64_t hash, const V& value, Same&& same) {
    const auto id = static_cast<FingerprintIndex::Id>(values_.size());
    const FingerprintIndex::Id found = index_.FindOrAdd(
        hash, id, [&](FingerprintIndex::Id candidate) { return same(values_.At(candidate)); });
    if (found != FingerprintIndex::kNone) return {&values_.At(found), false};
    V* added = values_.Add().first;
    *added = value;
    return {added, true};
  }

  // The value of a key already there, or null after filing `value` as its.
  template <class Same>
  const V* FindOrAdd(uint64_t hash, const V& value, Same&& same) {
    auto [v, added] = Insert(hash, value, same);
    return added ? nullptr : v;
  }

  // Every value, in the order it was added.
  template <class F>
  void ForEach(F f) const {
    values_.ForEach(f);
  }

  void Reserve(size_t n) { index_.Reserve(n); }

  void clear() {
    index_.clear();
    values_.clear();
  }

 private:
  FingerprintIndex index_;
  Chunks<V> values_;
};

}  // namespace volp
