// Framing checks and the split of one line into the fields of its record.
#include "reading/reader.hpp"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/context.hpp"
#include "reading/line_bits.hpp"

namespace volp {

namespace {

// A finding of the reading: on the line in hand, before or while its record
// is split, so with no record to point into.
template <class... A>
void LineFinding(Run& run, int type_index, std::string_view type_code, int32_t field_index,
                 const FieldRef* field, MsgOf<A...> id, const A&... args) {
  MsgText text;
  const MessageDef& d = Message(id.id);
  SalvarErroArquivo(run.ps.findings, run.log, run.ctx.offset, run.ctx.line, type_index, type_code,
                    field_index, field, d.severity, FormatMessage(text, id, args...), d.code);
}

// Framing findings carry no record type and point at no field.
template <class... A>
void FrameFinding(Run& run, MsgOf<A...> id, const A&... args) {
  LineFinding(run, -1, {}, 0, nullptr, id, args...);
}

void CheckFrame(Run& run, std::string_view raw, std::string_view* line) {
  const size_t n = raw.size();
  if (n >= 10000) FrameFinding(run, MsgId::kLinhaGrande, static_cast<int>(n));

  *line = raw;
  if (n >= 2 && raw[n - 2] == '\r' && raw[n - 1] == '\n') {
    *line = raw.substr(0, n - 2);
  } else if (n >= 1 && raw[n - 1] == '\n') {
    FrameFinding(run, MsgId::kLinhaSemCr);
    *line = raw.substr(0, n - 1);
  } else if (n >= 1 && raw[n - 1] == '\r') {
    FrameFinding(run, MsgId::kLinhaSemLf);
    *line = raw.substr(0, n - 1);
  }
  // (A piece of an over-long line, or a last line without its line end, is
  // taken as it is.)

  if (line->empty()) {
    FrameFinding(run, MsgId::kLinhaVazia);
    return;
  }
  if (line->front() != '|') FrameFinding(run, MsgId::kLinhaInicioSemPipe, line->front());
  if (line->back() != '|') FrameFinding(run, MsgId::kLinhaFimSemPipe, line->back());
}

}  // namespace

namespace {

// One pass over the line: where the pipes are (the first kMaxBars of them;
// no record needs more, since splitting ends one field past the longest
// layout) and whether any byte is not Latin-1 text.
struct LineScan {
  static constexpr int kMaxBars = 48;
  uint16_t bars[kMaxBars];
  int count = 0;
  bool more = false;  // pipes beyond kMaxBars exist
  bool control = false;

  void Add(size_t pos) {
    if (count < kMaxBars)
      bars[count++] = static_cast<uint16_t>(pos);
    else
      more = true;
  }

  explicit LineScan(std::string_view line) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(line.data());
    const size_t n = line.size();
    size_t i = 0;
#if defined(__SSE2__)
    const __m128i bar = _mm_set1_epi8('|');
    const __m128i c1f = _mm_set1_epi8(0x1F);
    const __m128i del = _mm_set1_epi8(0x7F);
    const __m128i high = _mm_set1_epi8(static_cast<char>(0x80));
    __m128i bad = _mm_setzero_si128();
    // 16 bytes from `at`; pipes before `from` were seen already.
    auto chunk = [&](size_t at, size_t from) {
      const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + at));
      // 0x00-0x1F: min(x, 0x1F) == x; 0x80-0x9F: the same after flipping the top bit.
      const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(x, c1f), x);
      const __m128i y = _mm_xor_si128(x, high);
      const __m128i c1 = _mm_cmpeq_epi8(_mm_min_epu8(y, c1f), y);
      bad = _mm_or_si128(bad, _mm_or_si128(_mm_or_si128(low, c1), _mm_cmpeq_epi8(x, del)));
      unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, bar)));
      mask >>= (from - at);
      while (mask != 0) {
        Add(from + static_cast<size_t>(__builtin_ctz(mask)));
        mask &= mask - 1;
      }
    };
    for (; i + 16 <= n; i += 16) chunk(i, i);
    if (i < n && n >= 16) {
      // The tail as the last 16 bytes of the line, overlapping what was seen
      // (the control test may see bytes twice, harmlessly).
      chunk(n - 16, i);
      i = n;
    }
    control = _mm_movemask_epi8(bad) != 0;
#endif
    for (; i < n; ++i) {
      const unsigned char c = p[i];
      if (c == '|') Add(i);
      control |= c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F);
    }
  }
};

// Token 1: the record type, looked up in the table (the previous record's
// type first). Returns the row, or -1 after reporting an unknown type.
int TakeType(Run& run, Record& rec, std::string_view tok, size_t pos, int hint) {
  const std::string_view code = tok.substr(0, 99);
  const int idx = FindRecordType(code, hint);
  if (idx < 0) {
    FieldRef ref{"", static_cast<int32_t>(pos + 1), code, static_cast<int32_t>(tok.size())};
    LineFinding(run, -1, code, 1, &ref, MsgId::kLinhaTipoInvalido, code);
    return -1;
  }
  rec.type = &kRecordTypes[idx];
  rec.type_index = idx;
  // The type lies between the first pipe and the next one (or the line's end).
  rec.span[0] = {static_cast<uint16_t>(pos), static_cast<uint16_t>(pos + tok.size())};
  rec.filled_bits = tok.empty() ? 0 : 1;
  rec.valid_bits = 1;
  rec.found = 1;
  return idx;
}

// One field more than the layout: reported on the rest of the line from
// token k (at `pos`), which is ignored from there on.
void TooManyFields(Run& run, Record& rec, std::string_view line, size_t pos, int k) {
  const int last = rec.type->field_count - 1;
  FieldRef ref{"", rec.column(last) + rec.length(last), line.substr(pos),
               static_cast<int32_t>(line.size() - pos)};
  LineFinding(run, rec.type_index, rec.type->code, k, &ref, MsgId::kLinhaCamposDemais);
}

// The pipes of a line in order, from a LineScan that kept all of them.
class ScanPipes {
 public:
  explicit ScanPipes(const LineScan& scan) : scan_(scan) {}
  bool Next(size_t* pos) {
    if (k_ >= scan_.count) return false;
    *pos = scan_.bars[k_++];
    return true;
  }

 private:
  const LineScan& scan_;
  int k_ = 0;
};

// The usual line: shorter than 255 bytes, so no token can reach 255
// characters, and the tokens are read straight off the pipe positions.
template <typename Pipes>
int SplitShort(Run& run, Record& rec, std::string_view line, Pipes pipes, int previous_type) {
  const char* const base = line.data();
  const size_t n = line.size();
  size_t bar = 0;
  if (!pipes.Next(&bar)) return -1;  // no type at all
  const size_t type_pos = bar + 1;
  size_t next = n;
  const bool closed = pipes.Next(&next);
  const int idx = TakeType(run, rec, std::string_view(base + type_pos, next - type_pos), type_pos,
                           previous_type);
  if (idx < 0) return -1;
  if (!closed) {
    PadFields(rec, type_pos);
    return idx;
  }
  const int fields = rec.type->field_count;
  // Kept in registers, not re-read after each field.
  int found = rec.found;
  uint32_t filled = rec.filled_bits;
  bar = next;
  for (int k = 2; pipes.Next(&next); ++k) {
    if (found >= fields) {
      rec.found = found;
      rec.filled_bits = filled;
      TooManyFields(run, rec, line, bar + 1, k);
      return idx;
    }
    rec.span[found] = {static_cast<uint16_t>(bar + 1), static_cast<uint16_t>(next)};
    filled |= static_cast<uint32_t>(next - bar > 1) << found;
    ++found;
    bar = next;
  }
  rec.found = found;
  rec.filled_bits = filled;
  PadFields(rec, bar + 1);
  return idx;
}

}  // namespace

void PadFields(Record& rec, size_t final_pos) {
  rec.pad_column = static_cast<int32_t>(final_pos - 1);
  for (int i = rec.found; i < rec.type->field_count; ++i) rec.span[i] = {0, 0};
}

int CheckAndSplit(Run& run, std::string_view raw, Record& rec, const LineBits* bits) {
  std::string_view line;
  CheckFrame(run, raw, &line);

  // Positions in a line are kept in 16 bits; the reading never hands over
  // more than 9,999 bytes at once.
  if (line.size() > UINT16_MAX) line = line.substr(0, UINT16_MAX);

  const int previous_type = rec.type_index;
  rec.type = nullptr;
  rec.type_index = -1;
  rec.found = 0;
  rec.line = line.data();
  rec.filled_bits = 0;
  rec.valid_bits = 0;
  rec.known_valid = 0;

  // Tokens are the texts between the pipes: the text before the first pipe is
  // token 0 (skipped), token 1 is the record type, and the text after the last
  // pipe is the final token, which is never stored (a field not closed by a
  // pipe is lost). Empty fields are kept.
  const char* const base = line.data();
  const size_t n = line.size();

  if (bits != nullptr && n < 255) {
    if (n == 0) {
      rec.has_control = false;
      return -1;
    }
    rec.has_control = AnyBit(bits->bad, bits->first, n);
    return SplitShort(run, rec, line, BitPipes(*bits, n), previous_type);
  }

  const LineScan scan(line);
  rec.has_control = scan.control;
  if (n < 255 && !scan.more) return SplitShort(run, rec, line, ScanPipes(scan), previous_type);

  // The general walk, token by token: long tokens are reported as they come,
  // and pipes beyond those the scan kept are found as needed.
  size_t pos = 0;
  for (int k = 0;; ++k) {
    size_t end = n;
    bool final = true;
    if (k < scan.count) {
      end = scan.bars[k];
      final = false;
    } else if (scan.more) {
      const char* bar =
          pos < n ? static_cast<const char*>(std::memchr(base + pos, '|', n - pos)) : nullptr;
      if (bar != nullptr) {
        end = static_cast<size_t>(bar - base);
        final = false;
      }
    }
    const std::string_view tok(base + pos, end - pos);

    if (tok.size() + 1 > 255) LineFinding(run, -1, {}, k, nullptr, MsgId::kLinhaCampoLongo);

    if (k == 1) {
      if (TakeType(run, rec, tok, pos, previous_type) < 0) return -1;
    } else if (k > 1 && !final) {
      if (rec.found >= rec.type->field_count) {
        TooManyFields(run, rec, line, pos, k);
        return rec.type_index;
      }
      rec.span[rec.found] = {static_cast<uint16_t>(pos), static_cast<uint16_t>(end)};
      rec.filled_bits |= static_cast<uint32_t>(!tok.empty()) << rec.found;
      ++rec.found;
    }

    if (final) {
      if (rec.type == nullptr) return -1;  // an empty line, or one with no type
      PadFields(rec, pos);
      return rec.type_index;
    }
    pos = end + 1;
  }
}

}  // namespace volp
