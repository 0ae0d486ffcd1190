// Keys and texts that must outlive the read buffer are copied into an arena:
// big chunks, never freed one by one, so a registry of a million clients makes
// a few dozen allocations instead of a million.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <vector>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

#include "absl/container/flat_hash_map.h"
#include "absl/container/flat_hash_set.h"

namespace volp {

// A text stored behind its length (seven bits per byte, the high bit saying
// another length byte follows): one pointer addresses both, half the size of
// a string_view. The null reference is the empty text.
class TextRef {
 public:
  TextRef() = default;
  explicit TextRef(const char* stored) : p_(stored) {}

  std::string_view view() const {
    if (p_ == nullptr) return {};
    size_t skip = 0;
    const size_t n = Length(skip);
    return {p_ + skip, n};
  }
  operator std::string_view() const { return view(); }
  bool empty() const { return view().empty(); }
  // The text stored right after this one by the same Arena::Intern call.
  TextRef Next() const {
    size_t skip = 0;
    const size_t n = Length(skip);
    return TextRef(p_ + skip + n);
  }

  // Bytes that Put() writes for `s`.
  static size_t StoredSize(std::string_view s) {
    size_t n = 1;
    for (size_t v = s.size(); v >= 0x80; v >>= 7) ++n;
    return n + s.size();
  }
  // Writes `s` behind its length at `out`; returns the byte after it.
  static char* Put(char* out, std::string_view s) {
    size_t v = s.size();
    for (; v >= 0x80; v >>= 7) *out++ = static_cast<char>((v & 0x7F) | 0x80);
    *out++ = static_cast<char>(v);
    if (!s.empty()) std::memcpy(out, s.data(), s.size());
    return out + s.size();
  }

 private:
  size_t Length(size_t& skip) const {
    const auto* u = reinterpret_cast<const unsigned char*>(p_);
    size_t n = 0;
    int shift = 0;
    for (skip = 0;; shift += 7) {
      const unsigned char b = u[skip++];
      n |= static_cast<size_t>(b & 0x7F) << shift;
      if (b < 0x80) return n;
    }
  }
  const char* p_ = nullptr;
};

class Arena {
 public:
  explicit Arena(size_t chunk = 1 << 20) : chunk_(chunk) {}
  std::string_view Copy(std::string_view s) {
    if (s.empty()) return {};
    if (static_cast<size_t>(end_ - cur_) < s.size()) Grow(s.size());
    char* p = cur_;
    std::memcpy(p, s.data(), s.size());
    cur_ += s.size();
    return {p, s.size()};
  }
  void Clear() {
    chunks_.clear();
    cur_ = end_ = nullptr;
  }
  // Copies `first` and then `rest`, each behind its length, in one piece of
  // memory, and returns the first: TextRef::Next() then walks to the others.
  // A registry entry keeps a single pointer for its key and the texts that
  // come with it.
  TextRef Intern(std::string_view first, std::initializer_list<std::string_view> rest = {});

 private:
  void Grow(size_t need) {
    size_t n = need > chunk_ ? need : chunk_;
    chunks_.emplace_back(new char[n]);
    cur_ = chunks_.back().get();
    end_ = cur_ + n;
  }
  size_t chunk_;
  std::vector<std::unique_ptr<char[]>> chunks_;
  char* cur_ = nullptr;
  char* end_ = nullptr;
};

inline TextRef Arena::Intern(std::string_view first, std::initializer_list<std::string_view> rest) {
  size_t need = TextRef::StoredSize(first);
  for (std::string_view t : rest) need += TextRef::StoredSize(t);
  if (static_cast<size_t>(end_ - cur_) < need) Grow(need);
  TextRef stored(cur_);
  cur_ = TextRef::Put(cur_, first);
  for (std::string_view t : rest) cur_ = TextRef::Put(cur_, t);
  return stored;
}

// The slot tables of the run-long sets (registries, fingerprint indexes)
// grow by half, not double, so that after a growth they are half full rather
// than three eighths: with millions of entries that is a quarter of their
// memory. A size that is not a power of two takes a key's home slot from 32
// bits of its hash by a multiplication ("fast range") instead of a mask.
struct SlotTable {
  static constexpr size_t kFirst = 16;
  static constexpr size_t kMax = size_t{1} << 32;
  // The size after `capacity` (0 before the first growth).
  static size_t Next(size_t capacity) {
    const size_t n = capacity == 0 ? kFirst : capacity + capacity / 2;
    return n < kMax ? n : kMax;
  }
  // Entries a table of `capacity` takes before it grows: three slots in four,
  // and at the largest size all but one (so a probe always meets an empty
  // slot).
  static size_t Limit(size_t capacity) {
    return capacity == kMax ? capacity - 1 : capacity / 4 * 3;
  }
  static size_t Home(uint32_t bits, size_t capacity) {
    return static_cast<size_t>((static_cast<uint64_t>(bits) * capacity) >> 32);
  }
  static size_t Step(size_t i, size_t capacity) { return i + 1 == capacity ? 0 : i + 1; }
};

// Hash of a key text, inlined where the maps are probed (a lookup per
// record in block 1): 16 bytes at a time folded in with one 64x64->128
// multiplication, the mixing step of the well-known "wyhash" family.
struct KeyHash {
  static uint64_t Fold(uint64_t a, uint64_t b) {
#if defined(_MSC_VER) && !defined(__clang__)
    uint64_t high;
    const uint64_t low = _umul128(a, b, &high);
    return high ^ low;
#else
    const unsigned __int128 r = static_cast<unsigned __int128>(a) * b;
    return static_cast<uint64_t>(r >> 64) ^ static_cast<uint64_t>(r);
#endif
  }
  static uint64_t Read8(const char* p) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    return w;
  }
  static uint64_t Read4(const char* p) {
    uint32_t w;
    std::memcpy(&w, p, 4);
    return w;
  }
  size_t operator()(std::string_view s) const {
    constexpr uint64_t k1 = 0xA0761D6478BD642FULL, k2 = 0xE7037ED1A0B428DBULL;
    const char* p = s.data();
    const size_t len = s.size();
    uint64_t h = 0x9E3779B97F4A7C15ULL ^ len;
    size_t n = len;
    // 16 bytes per multiplication; the last 1-16 bytes are read as two
    // (possibly overlapping) words, never byte by byte.
    for (; n > 16; p += 16, n -= 16) h = Fold(Read8(p) ^ k1, Read8(p + 8) ^ h);
    uint64_t a = 0, b = 0;
    if (n >= 8) {
      a = Read8(p);
      b = Read8(p + n - 8);
    } else if (n >= 4) {
      a = Read4(p);
      b = Read4(p + n - 4);
    } else if (n > 0) {
      a = (static_cast<uint64_t>(static_cast<unsigned char>(p[0])) << 16) |
          (static_cast<uint64_t>(static_cast<unsigned char>(p[n >> 1])) << 8) |
          static_cast<unsigned char>(p[n - 1]);
    }
    return static_cast<size_t>(Fold(k2 ^ len, Fold(a ^ k1, b ^ h)));
  }
};

// Where a key is put together before a lookup: the texts of a record (and of
// its parents' slots) each followed by "|", a byte no field can hold, so two
// different lists of texts never make the same key. A fixed buffer: the
// widest key joins fields of two lines of at most 9,999 bytes each.
class KeyBuffer {
 public:
  static constexpr size_t kCapacity = 32768;
  void Clear() { size_ = 0; }
  // A part that does not fit is cut, and once the buffer is full nothing more
  // is added; an empty part (an absent field, whose text may have no
  // address at all) adds its "|" alone.
  void Add(std::string_view part) {
    if (size_ >= kCapacity) return;
    const size_t room = kCapacity - 1 - size_;
    const size_t n = part.size() < room ? part.size() : room;
    if (n != 0) std::memcpy(bytes_.get() + size_, part.data(), n);
    size_ += n;
    bytes_[size_++] = '|';
  }
  std::string_view view() const { return {bytes_.get(), size_}; }
  operator std::string_view() const { return view(); }

 private:
  std::unique_ptr<char[]> bytes_{new char[kCapacity]};
  size_t size_ = 0;
};

// Maps and sets keyed by texts (interned in an Arena, or views of the record
// for a lookup).
template <typename V>
using KeyMap = absl::flat_hash_map<std::string_view, V, KeyHash, std::equal_to<std::string_view>>;
using KeySet = absl::flat_hash_set<std::string_view, KeyHash, std::equal_to<std::string_view>>;

}  // namespace volp
