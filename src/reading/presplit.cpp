#include "reading/presplit.hpp"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

#include <bit>
#include <string_view>

#include "core/record_types.hpp"
#include "reading/line_bits.hpp"
#include "reading/reader.hpp"

namespace volp {
namespace {

// std::popcount is a library call unless the build targets a CPU with the
// instruction; this is a dozen instructions inline.
inline size_t PopCount(uint64_t m) {
  m = m - ((m >> 1) & 0x5555555555555555);
  m = (m & 0x3333333333333333) + ((m >> 2) & 0x3333333333333333);
  m = (m + (m >> 4)) & 0x0F0F0F0F0F0F0F0F;
  return static_cast<size_t>((m * 0x0101010101010101) >> 56);
}

}  // namespace

bool PreSplit(const char* fresh, size_t start, size_t size, const uint64_t* bar,
              const uint64_t* bad, int hint, PreSplitLine* out, FieldEnds& ends) {
  // CR LF, then at least "|x|"; fewer than 255 bytes before the line end, so
  // no token is too long and the reader would take its short split.
  if (size < 5 || size - 2 >= 255) return false;
  const char* p = fresh + start;
  const size_t n = size - 2;
  if (p[n] != '\r' || p[n + 1] != '\n' || p[0] != '|' || p[n - 1] != '|') return false;

  // The line's field ends (every pipe but the first, which is its first
  // byte), as positions in the line, written straight into the list of
  // ends: each word of the pipe map is flattened eight positions at a time,
  // without a branch per pipe (the positions past the word's count are
  // scratch, overwritten by the next word or the next line). A line with more
  // fields than the widest layout is left to the reader, which reports it.
  static_assert(kMaxFields + 16 <= FieldEnds::kRoom);
  uint8_t* const at = ends.Room();
  size_t count = 0;
  const size_t last = start + n - 1;
  size_t w = start >> 6;
  const size_t w_last = last >> 6;
  uint64_t m = bar[w] & (~uint64_t{0} << (start & 63));
  m &= m - 1;  // the pipe the line begins with
  for (;;) {
    if (w == w_last) m &= ~uint64_t{0} >> (63 - (last & 63));
    const size_t c = PopCount(m);
    if (count + c > static_cast<size_t>(kMaxFields)) return false;
    // Wraps below zero for the line's first word; every position written is
    // a set bit's, after the line's start, so it comes out right.
    const size_t base = (w << 6) - start;
    uint8_t* o = at + count;
    for (int j = 0; j < 8; ++j) {
      o[j] = static_cast<uint8_t>(base + static_cast<size_t>(std::countr_zero(m)));
      m &= m - 1;
    }
    if (c > 8) {
      for (int j = 8; j < 16; ++j) {
        o[j] = static_cast<uint8_t>(base + static_cast<size_t>(std::countr_zero(m)));
        m &= m - 1;
      }
    }
    count += c;
    if (w == w_last) break;
    m = bar[++w];
  }
  if (count < 1) return false;  // "|" alone: the type is not closed
  const int idx = FindRecordType(std::string_view(p + 1, at[0] - 1u), hint);
  if (idx < 0) return false;
  const size_t found = count;
  if (found > static_cast<size_t>(kRecordTypes[idx].field_count)) return false;

  // Field i ends at its pipe; it is filled when that pipe is not the byte
  // right after the one before (the line's first pipe is at 0).
  const size_t first_end = ends.size();
  ends.Added(found);
  uint32_t filled = 0;
  unsigned before = 0;
  for (size_t i = 0; i < found; ++i) {
    filled |= static_cast<uint32_t>(at[i] - before > 1) << i;
    before = at[i];
  }
  out->start = static_cast<uint32_t>(start);
  out->ends_at = static_cast<uint32_t>(first_end);
  out->filled_bits = static_cast<uint16_t>(filled);
  out->known_valid = 0;
  out->type_index = static_cast<int8_t>(idx);
  out->length = static_cast<uint8_t>(n);
  out->found = static_cast<uint8_t>(found);
  out->control = AnyBit(bad, start, n);
  return true;
}

int TakePreSplit(const char* line, const PreSplitLine& pre, const uint8_t* ends, Record& rec) {
  const int idx = pre.type_index;
  rec.type = &kRecordTypes[idx];
  rec.type_index = idx;
  rec.found = pre.found;
  rec.line = line;
  rec.has_control = pre.control;
  rec.filled_bits = pre.filled_bits;
  rec.valid_bits = 1;
  rec.known_valid = pre.known_valid;
  // Field i runs from the byte after the pipe that ends field i - 1 (the
  // type starts after the line's first pipe) to the pipe that ends it.
#if defined(__SSE2__) || defined(_M_X64)
  // All the spans a layout can have at once: the ends as they are, the
  // begins as the ends moved one field along plus one (ends are below 255,
  // so the sum fits a byte), each widened to 16 bits and interleaved. The
  // list keeps room past a line's ends, so the 16 bytes can be read; spans
  // past the line's fields are scratch that PadFields or nothing reads.
  static_assert(kMaxFields == 14 && sizeof(Record::Span) == 4 && FieldEnds::kRoom >= 16);
  const __m128i zero = _mm_setzero_si128();
  const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i*>(ends));
  const __m128i b = _mm_add_epi8(_mm_slli_si128(e, 1), _mm_set1_epi8(1));
  const __m128i e_lo = _mm_unpacklo_epi8(e, zero), e_hi = _mm_unpackhi_epi8(e, zero);
  const __m128i b_lo = _mm_unpacklo_epi8(b, zero), b_hi = _mm_unpackhi_epi8(b, zero);
  auto* spans = reinterpret_cast<char*>(rec.span);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(spans), _mm_unpacklo_epi16(b_lo, e_lo));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(spans + 16), _mm_unpackhi_epi16(b_lo, e_lo));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(spans + 32), _mm_unpacklo_epi16(b_hi, e_hi));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(spans + 48), _mm_unpackhi_epi16(b_hi, e_hi));
  const size_t begin = pre.found > 0 ? size_t{ends[pre.found - 1]} + 1 : 1;
#else
  uint16_t begin = 1;
  for (int i = 0; i < pre.found; ++i) {
    rec.span[i] = {begin, ends[i]};
    begin = static_cast<uint16_t>(ends[i] + 1);
  }
#endif
  PadFields(rec, begin);  // the final token starts after the last pipe
  return idx;
}

}  // namespace volp
