// Reading the declaration file: lines of at most 9,999 bytes (longer lines
// come in 9,999-byte pieces, each handled as a record), framing checks, and
// the split of a line into the fields of its record type.
#pragma once

#include <cstdint>
#include <string_view>

namespace volp {

struct Run;
struct Record;
struct LineBits;

inline constexpr int64_t kMaxLinePiece = 9999;

// Checks the frame of one line as read (CR LF included), reports what is
// wrong, and splits it into `rec`. Returns the row of the record type, or -1
// for a line whose type is unknown (or that has none). Uses run.ctx.line and
// run.ctx.offset for the findings. With `bits` (the line's pipe and
// non-Latin-1 maps) the line's bytes need not be looked at one by one.
int CheckAndSplit(Run& run, std::string_view raw_line, Record& rec, const LineBits* bits = nullptr);

// Fields the line did not have become empty (length 1, at the column before
// the final token, which starts at `final_pos`); the field analysis reports
// the required ones.
void PadFields(Record& rec, size_t final_pos);

}  // namespace volp
