// Values numbered in the order they were added, kept in fixed chunks of 4,096:
// a value never moves, so a pointer to it stays good until clear(), and
// adding one never copies the others nor holds two copies of the list while
// it grows, as a vector does. Registries of millions of entries live in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace volp {

template <class V>
class Chunks {
 public:
  using Id = uint32_t;

  size_t size() const { return count_; }
  bool empty() const { return count_ == 0; }

  // A new value (default-constructed) at the end, and its id.
  std::pair<V*, Id> Add() {
    const auto id = static_cast<Id>(count_);
    if ((count_ & (kChunk - 1)) == 0) chunks_.emplace_back(new V[kChunk]);
    ++count_;
    return {&At(id), id};
  }

  V& At(Id id) { return chunks_[id >> kChunkBits][id & (kChunk - 1)]; }
  const V& At(Id id) const { return chunks_[id >> kChunkBits][id & (kChunk - 1)]; }

  // Every value, in the order it was added.
  template <class F>
  void ForEach(F f) {
    for (size_t id = 0; id < count_; ++id) f(At(static_cast<Id>(id)));
  }
  template <class F>
  void ForEach(F f) const {
    for (size_t id = 0; id < count_; ++id) f(At(static_cast<Id>(id)));
  }

  void clear() {
    chunks_.clear();
    count_ = 0;
  }

 private:
  static constexpr int kChunkBits = 12;
  static constexpr size_t kChunk = size_t{1} << kChunkBits;

  std::vector<std::unique_ptr<V[]>> chunks_;
  size_t count_ = 0;
};

}  // namespace volp
