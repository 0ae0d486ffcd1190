// Bitmaps of a block of the file, one bit per byte: where the line ends (LF)
// are, where the pipes are, and which bytes are not Latin-1 text. The reading
// thread builds them for each block it reads, so the validating thread finds
// lines and fields by counting bits instead of looking at every byte.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace volp {

// Index of the lowest set bit of a non-zero word.
inline size_t LowestBit(uint64_t m) {
#if defined(_MSC_VER) && !defined(__clang__)
  unsigned long i;
  _BitScanForward64(&i, m);
  return i;
#else
  return static_cast<size_t>(__builtin_ctzll(m));
#endif
}

// Where one line's bits are: bit `first` of the maps is the line's first byte.
struct LineBits {
  const uint64_t* bar = nullptr;  // '|'
  const uint64_t* bad = nullptr;  // 0x00-0x1F, 0x7F, 0x80-0x9F
  size_t first = 0;
};

// Words needed for the bits of `n` bytes.
constexpr size_t BitWords(size_t n) { return (n + 63) / 64; }

// Sets the three maps for bytes p[0..n): BitWords(n) words each; the bits
// past n in the last word are 0.
void ClassifyBytes(const char* p, size_t n, uint64_t* lf, uint64_t* bar, uint64_t* bad);

// The first set bit of `bits` in [from, to), or `to` when there is none.
inline size_t NextBit(const uint64_t* bits, size_t from, size_t to) {
  if (from >= to) return to;
  size_t w = from >> 6;
  uint64_t m = bits[w] & (~uint64_t{0} << (from & 63));
  for (;;) {
    if (m != 0) {
      const size_t at = (w << 6) + LowestBit(m);
      return at < to ? at : to;
    }
    if ((++w << 6) >= to) return to;
    m = bits[w];
  }
}

// The pipes of a line in order, from the block's pipe map: no byte of the
// line is looked at.
class BitPipes {
 public:
  BitPipes(const LineBits& bits, size_t n) : bar_(bits.bar), first_(bits.first) {
    const size_t last = first_ + n - 1;
    w_ = first_ >> 6;
    w_last_ = last >> 6;
    tail_ = ~uint64_t{0} >> (63 - (last & 63));
    m_ = bar_[w_] & (~uint64_t{0} << (first_ & 63));
    if (w_ == w_last_) m_ &= tail_;
  }
  bool Next(size_t* pos) {
    while (m_ == 0) {
      if (w_ == w_last_) return false;
      m_ = bar_[++w_];
      if (w_ == w_last_) m_ &= tail_;
    }
    *pos = (w_ << 6) + LowestBit(m_) - first_;
    m_ &= m_ - 1;
    return true;
  }

 private:
  const uint64_t* bar_;
  size_t first_, w_, w_last_;
  uint64_t tail_, m_;
};

// Whether any of the n (> 0) bits from `first` is set.
inline bool AnyBit(const uint64_t* bits, size_t first, size_t n) {
  const size_t last = first + n - 1;
  const size_t w0 = first >> 6, w1 = last >> 6;
  const uint64_t head = ~uint64_t{0} << (first & 63);
  const uint64_t tail = ~uint64_t{0} >> (63 - (last & 63));
  if (w0 == w1) return (bits[w0] & head & tail) != 0;
  uint64_t any = (bits[w0] & head) | (bits[w1] & tail);
  for (size_t w = w0 + 1; w < w1; ++w) any |= bits[w];
  return any != 0;
}

}  // namespace volp
