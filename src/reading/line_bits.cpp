#include "reading/line_bits.hpp"

#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define VOLP_HAVE_SSE2 1
#endif

namespace volp {

namespace {

inline bool Bad(unsigned char c) { return c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F); }

// Bytes p[0..n), n <= 64, one at a time (the end of a block).
void ClassifyTail(const unsigned char* p, size_t n, uint64_t* lf, uint64_t* bar, uint64_t* bad) {
  uint64_t l = 0, b = 0, c = 0;
  for (size_t i = 0; i < n; ++i) {
    const uint64_t bit = uint64_t{1} << i;
    if (p[i] == '\n') l |= bit;
    if (p[i] == '|') b |= bit;
    if (Bad(p[i])) c |= bit;
  }
  *lf = l;
  *bar = b;
  *bad = c;
}

#if defined(VOLP_HAVE_SSE2)
struct Masks16 {
  uint64_t lf, bar, bad;
};

inline Masks16 Classify16(const unsigned char* p) {
  const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i c1f = _mm_set1_epi8(0x1F);
  // 0x00-0x1F: min(x, 0x1F) == x; 0x80-0x9F: the same after flipping the top bit.
  const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(x, c1f), x);
  const __m128i y = _mm_xor_si128(x, _mm_set1_epi8(static_cast<char>(0x80)));
  const __m128i c1 = _mm_cmpeq_epi8(_mm_min_epu8(y, c1f), y);
  const __m128i del = _mm_cmpeq_epi8(x, _mm_set1_epi8(0x7F));
  return Masks16{
      static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, _mm_set1_epi8('\n')))),
      static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, _mm_set1_epi8('|')))),
      static_cast<uint16_t>(_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(low, c1), del)))};
}
#endif

}  // namespace

void ClassifyBytes(const char* data, size_t n, uint64_t* lf, uint64_t* bar, uint64_t* bad) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(data);
  size_t w = 0;
#if defined(VOLP_HAVE_SSE2)
  for (; (w + 1) * 64 <= n; ++w) {
    const unsigned char* q = p + w * 64;
    const Masks16 a = Classify16(q), b = Classify16(q + 16), c = Classify16(q + 32),
                  d = Classify16(q + 48);
    lf[w] = a.lf | b.lf << 16 | c.lf << 32 | d.lf << 48;
    bar[w] = a.bar | b.bar << 16 | c.bar << 32 | d.bar << 48;
    bad[w] = a.bad | b.bad << 16 | c.bad << 32 | d.bad << 48;
  }
#endif
  for (; w * 64 < n; ++w) {
    const size_t k = n - w * 64 < 64 ? n - w * 64 : 64;
    ClassifyTail(p + w * 64, k, lf + w, bar + w, bad + w);
  }
}

}  // namespace volp
