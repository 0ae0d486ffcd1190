// Lines the run has already passed, read again from the file.
//
// A check that must tell whether a record repeats an earlier one cannot keep
// the texts of millions of records (every 1100 of a year, every terminal of
// a large acquirer). It keeps a fingerprint of each key and where its record
// was; when a later record's fingerprint matches, the earlier record's line
// is read again and the texts themselves are compared. A shared fingerprint
// then never makes a false duplicate, and a true one costs a single read.
#pragma once

#include <cstdint>
#include <string_view>

namespace volp {

class EarlierLines {
 public:
  virtual ~EarlierLines() = default;
  // The line that starts at byte `offset`, its line end cut off, as the run
  // read it (at most one 9,999-byte piece). The view stays good until the
  // next call. False when it cannot be read.
  virtual bool LineAt(int64_t offset, std::string_view* line) = 0;
};

// Field i's text in a line, as the split gives it: tokens lie between pipes,
// the first token (before the first pipe) is skipped, the next is the record
// type (field 0), and the text after the last pipe is not a field. A field
// the line does not have is empty.
inline std::string_view FieldOfLine(std::string_view line, int i) {
  size_t pos = line.find('|');
  if (pos == std::string_view::npos) return {};
  ++pos;
  for (int k = 0;; ++k) {
    const size_t bar = line.find('|', pos);
    if (bar == std::string_view::npos) return {};
    if (k == i) return line.substr(pos, bar - pos);
    pos = bar + 1;
  }
}

}  // namespace volp
