// A registry of records by a text key (COD_CLIENTE, COD_MCAPT, ...), sized
// for millions of entries: the entries sit in fixed chunks, so an entry never
// moves and a pointer to it stays good for the whole run; each is known by a
// 32-bit id (its rank in the file); the lookup table holds only 8 bytes per
// slot, the id and the upper half of the key's hash. A tag match is always
// confirmed against the key's own bytes, so two codes that share a hash are
// never taken for one another.
//
// `Entry` needs a public `TextRef code`: the key as Insert() stored it, with
// the texts given along with it right behind.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "rules/chunks.hpp"
#include "rules/intern.hpp"

namespace volp {

template <class Entry, class Hash = KeyHash>
class Registry {
 public:
  using Id = uint32_t;

  explicit Registry(size_t arena_chunk = 1 << 20, Hash hash = Hash())
      : arena_(arena_chunk), hash_(hash) {}

  size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }

  Entry* Find(std::string_view key) {
    if (entries_.empty()) return nullptr;
    const uint64_t h = HashOf(key);
    const uint64_t tag = h >> 32;
    const size_t n = slots_.size();
    for (size_t i = SlotTable::Home(static_cast<uint32_t>(h), n);; i = SlotTable::Step(i, n)) {
      const uint64_t slot = slots_[i];
      if (slot == 0) return nullptr;
      if ((slot >> 32) == tag) {
        Entry& e = At(static_cast<Id>(slot) - 1);
        if (e.code.view() == key) return &e;
      }
    }
  }

  // The entry of `key`, added (default values, key and `along` texts copied
  // into the registry's arena) when the key is new. Returns whether it was
  // added.
  std::pair<Entry*, bool> Insert(std::string_view key,
                                 std::initializer_list<std::string_view> along = {}) {
    if (entries_.size() + 1 > limit_) Grow();
    const uint64_t h = HashOf(key);
    const uint64_t tag = h >> 32;
    const size_t n = slots_.size();
    size_t i = SlotTable::Home(static_cast<uint32_t>(h), n);
    for (;; i = SlotTable::Step(i, n)) {
      const uint64_t slot = slots_[i];
      if (slot == 0) break;
      if ((slot >> 32) == tag) {
        Entry& e = At(static_cast<Id>(slot) - 1);
        if (e.code.view() == key) return {&e, false};
      }
    }
    const auto [e, id] = entries_.Add();
    e->code = arena_.Intern(key, along);
    slots_[i] = tag << 32 | (static_cast<uint64_t>(id) + 1);
    return {e, true};
  }
  Entry& At(Id id) { return entries_.At(id); }
  const Entry& At(Id id) const { return entries_.At(id); }

  // Every entry, in the order it was added.
  template <class F>
  void ForEach(F f) {
    entries_.ForEach(f);
  }

  // The entries that `wanted` picks, in byte-wise key order. The end of the
  // file orders only the entries it reports, usually none. Each element
  // carries the key's first eight bytes as a big-endian number, so most
  // comparisons of a million keys stay inside the vector instead of chasing
  // two pointers into the arena.
  template <class Pred>
  std::vector<Entry*> InKeyOrder(Pred wanted) {
    struct Item {
      uint64_t prefix;
      std::string_view key;
      Entry* entry;
    };
    std::vector<Item> items;
    for (size_t id = 0; id < entries_.size(); ++id) {
      Entry& e = At(static_cast<Id>(id));
      if (!wanted(e)) continue;
      const std::string_view key = e.code.view();
      uint64_t prefix = 0;
      for (size_t i = 0; i < 8; ++i)
        prefix = prefix << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0u);
      items.push_back(Item{prefix, key, &e});
    }
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
      return a.prefix != b.prefix ? a.prefix < b.prefix : a.key < b.key;
    });
    std::vector<Entry*> out;
    out.reserve(items.size());
    for (const Item& it : items) out.push_back(it.entry);
    return out;
  }

  void clear() {
    entries_.clear();
    slots_.clear();
    arena_.Clear();
    limit_ = 0;
  }

  // Bytes held, for the memory figures of tests and benchmarks.
  size_t TableBytes() const { return slots_.capacity() * sizeof(uint64_t); }

 private:
  uint64_t HashOf(std::string_view key) const { return static_cast<uint64_t>(hash_(key)); }

  // Grows the table by half (16 slots at first) and puts every id back. Ids
  // are visited in order, so the keys are read from the arena front to back.
  void Grow() {
    const size_t capacity = SlotTable::Next(slots_.size());
    std::vector<uint64_t>().swap(slots_);
    slots_.assign(capacity, 0);
    limit_ = SlotTable::Limit(capacity);
    for (size_t id = 0; id < entries_.size(); ++id) {
      const uint64_t h = HashOf(At(static_cast<Id>(id)).code.view());
      size_t i = SlotTable::Home(static_cast<uint32_t>(h), capacity);
      while (slots_[i] != 0) i = SlotTable::Step(i, capacity);
      slots_[i] = (h >> 32) << 32 | (static_cast<uint64_t>(id) + 1);
    }
  }

  Arena arena_;
  Hash hash_;
  Chunks<Entry> entries_;
  std::vector<uint64_t> slots_;  // (hash >> 32) << 32 | (id + 1); 0 = empty
  size_t limit_ = 0;
};

}  // namespace volp
