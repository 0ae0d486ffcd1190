#include "reading/presplit.hpp"

#include <cstring>
#include <string_view>

#include "core/record_types.hpp"
#include "reading/line_bits.hpp"
#include "reading/reader.hpp"

namespace volp {

bool PreSplit(const char* fresh, size_t start, size_t size, const uint64_t* bar,
              const uint64_t* bad, int hint, PreSplitLine* out, std::vector<uint8_t>& ends) {
  // CR LF, then at least "|x|"; fewer than 255 bytes before the line end, so
  // no token is too long and the reader would take its short split.
  if (size < 5 || size - 2 >= 255) return false;
  const char* p = fresh + start;
  const size_t n = size - 2;
  if (p[n] != '\r' || p[n + 1] != '\n' || p[0] != '|' || p[n - 1] != '|') return false;

  BitPipes pipes(LineBits{bar, bad, start}, n);
  size_t at = 0;
  pipes.Next(&at);  // the first byte
  size_t next = 0;
  if (!pipes.Next(&next)) return false;  // "|" alone: the type is not closed
  const int idx = FindRecordType(std::string_view(p + 1, next - 1), hint);
  if (idx < 0) return false;
  const int fields = kRecordTypes[idx].field_count;

  // Room for every field of the layout at once, then written in place: no
  // capacity test per field.
  const size_t first_end = ends.size();
  ends.resize(first_end + static_cast<size_t>(fields));
  uint8_t* const e = ends.data() + first_end;
  e[0] = static_cast<uint8_t>(next);
  uint32_t filled = next > 1 ? 1 : 0;
  int found = 1;
  size_t last_bar = next;
  while (pipes.Next(&next)) {
    if (found >= fields) {  // more fields than the layout: reported by the reader
      ends.resize(first_end);
      return false;
    }
    e[found] = static_cast<uint8_t>(next);
    filled |= static_cast<uint32_t>(next - last_bar > 1) << found;
    ++found;
    last_bar = next;
  }
  ends.resize(first_end + static_cast<size_t>(found));
  out->start = static_cast<uint32_t>(start);
  out->ends_at = static_cast<uint32_t>(first_end);
  out->filled_bits = filled;
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
  // Field i runs from the byte after the pipe that ends field i - 1 (the
  // type starts after the line's first pipe) to the pipe that ends it.
  uint16_t begin = 1;
  for (int i = 0; i < pre.found; ++i) {
    rec.span[i] = {begin, ends[i]};
    begin = static_cast<uint16_t>(ends[i] + 1);
  }
  PadFields(rec, begin);  // the final token starts after the last pipe
  return idx;
}

}  // namespace volp
