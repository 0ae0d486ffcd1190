// Earlier lines read again from the declaration file itself, through a
// handle of their own (the reading thread's handle keeps its position). The
// file is opened at the first request and the buffer taken then: most runs
// never ask.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/earlier_lines.hpp"
#include "platform/platform.hpp"

namespace volp {

class FileLines final : public EarlierLines {
 public:
  explicit FileLines(std::string path) : path_(std::move(path)) {}
  bool LineAt(int64_t offset, std::string_view* line) override;

  // Lines read again so far, for the run's statistics and tests.
  int64_t reads() const { return reads_; }

 private:
  std::string path_;
  platform::InputFile file_;
  bool open_failed_ = false;
  std::unique_ptr<char[]> buf_;
  int64_t reads_ = 0;
};

// The line at the start of `bytes`, cut as the reading cuts it: at the first
// line feed within 9,999 bytes (a longer line is a 9,999-byte piece), then
// without its CR LF, LF or CR.
std::string_view CutLine(std::string_view bytes);

}  // namespace volp
