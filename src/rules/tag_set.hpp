// The set of keys of one short-lived group (the transactions under one 1110):
// emptied at every new group, usually holding a dozen keys, now and then
// millions. An open-addressing table of 64-bit tags (the key's hash) beside
// where the key's bytes were copied: a tag that matches is only a candidate,
// and the bytes decide, so two different keys whose hashes collide are never
// taken for one.
//
// Emptying costs nothing per slot: each slot carries the generation that
// wrote it, and a new group starts a new generation. After a group much
// larger than the next one the table goes back to its small size, so memory
// follows the group in hand, not the largest group of the file.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "rules/intern.hpp"

namespace volp {

template <typename V, typename Hash = KeyHash>
class TagSet {
 public:
  static constexpr size_t kInitialSlots = 32;
  // Tables above this size are given back when a group used little of them.
  static constexpr size_t kShrinkAbove = 4096;

  // The value of the key's first occurrence in this group; or, for a key not
  // seen yet, null after inserting it with `value`.
  const V* FindOrInsert(std::string_view key, const V& value) {
    // At most three slots in four in use: a group of millions of keys then
    // costs about what a general hash map would, and probes stay short.
    if ((size_ + 1) * 4 > capacity_ * 3) Grow();
    const uint64_t tag = static_cast<uint64_t>(hash_(key));
    const size_t mask = capacity_ - 1;
    for (size_t i = static_cast<size_t>(tag) & mask;; i = (i + 1) & mask) {
      Slot& s = slots_[i];
      if (s.generation != generation_) {
        s.tag = tag;
        s.key = Keep(key);
        s.length = static_cast<uint32_t>(key.size());
        s.generation = generation_;
        s.value = value;
        ++size_;
        return nullptr;
      }
      if (s.tag == tag && s.length == key.size() &&
          (key.empty() || std::memcmp(bytes_.get() + s.key, key.data(), key.size()) == 0))
        return &s.value;
    }
  }

  void Reset() {
    if (bytes_capacity_ > kShrinkAbove * 64 && used_bytes_ * 16 < bytes_capacity_) {
      bytes_.reset();
      bytes_capacity_ = 0;
    }
    used_bytes_ = 0;
    if (capacity_ > kShrinkAbove && size_ * 16 < capacity_) {
      slots_.reset();
      capacity_ = 0;
      generation_ = 1;
    } else if (++generation_ == 0) {
      // After 2^32 groups the oldest generation numbers come back: clear.
      for (size_t i = 0; i < capacity_; ++i) slots_[i].generation = 0;
      generation_ = 1;
    }
    size_ = 0;
  }

  size_t size() const { return size_; }
  size_t capacity() const { return capacity_; }

 private:
  struct Slot {
    uint64_t tag = 0;
    size_t key = 0;           // offset of the key's bytes in bytes_
    uint32_t length = 0;      // of the key (a key is at most a few lines long)
    uint32_t generation = 0;  // the slot is in use when it equals generation_
    V value{};
  };

  // Copies the key's bytes after those of the group's earlier keys. Offsets,
  // not addresses: the buffer moves when it grows.
  size_t Keep(std::string_view key) {
    if (bytes_capacity_ - used_bytes_ < key.size()) {
      size_t n = bytes_capacity_ == 0 ? 1024 : bytes_capacity_ * 2;
      while (n - used_bytes_ < key.size()) n *= 2;
      std::unique_ptr<char[]> bigger(new char[n]);
      if (used_bytes_ != 0) std::memcpy(bigger.get(), bytes_.get(), used_bytes_);
      bytes_ = std::move(bigger);
      bytes_capacity_ = n;
    }
    const size_t at = used_bytes_;
    if (!key.empty()) std::memcpy(bytes_.get() + at, key.data(), key.size());
    used_bytes_ += key.size();
    return at;
  }

  void Grow() {
    const size_t old_capacity = capacity_;
    std::unique_ptr<Slot[]> old = std::move(slots_);
    capacity_ = old_capacity == 0 ? kInitialSlots : old_capacity * 2;
    slots_.reset(new Slot[capacity_]);
    const size_t mask = capacity_ - 1;
    for (size_t j = 0; j < old_capacity; ++j) {
      const Slot& s = old[j];
      if (s.generation != generation_) continue;
      size_t i = static_cast<size_t>(s.tag) & mask;
      while (slots_[i].generation == generation_) i = (i + 1) & mask;
      slots_[i] = s;
    }
  }

  std::unique_ptr<Slot[]> slots_;
  size_t capacity_ = 0;  // a power of two, or 0 before the first key
  size_t size_ = 0;
  uint32_t generation_ = 1;
  std::unique_ptr<char[]> bytes_;  // the keys of the group, one after another
  size_t bytes_capacity_ = 0;
  size_t used_bytes_ = 0;
  Hash hash_;
};

}  // namespace volp
