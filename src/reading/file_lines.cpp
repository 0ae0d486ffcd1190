#include "reading/file_lines.hpp"

#include <cstring>

#include "reading/reader.hpp"

namespace volp {

std::string_view CutLine(std::string_view bytes) {
  if (bytes.size() > static_cast<size_t>(kMaxLinePiece)) bytes = bytes.substr(0, kMaxLinePiece);
  const size_t lf = bytes.find('\n');
  if (lf != std::string_view::npos) bytes = bytes.substr(0, lf + 1);
  const size_t n = bytes.size();
  if (n >= 2 && bytes[n - 2] == '\r' && bytes[n - 1] == '\n') return bytes.substr(0, n - 2);
  if (n >= 1 && (bytes[n - 1] == '\n' || bytes[n - 1] == '\r')) return bytes.substr(0, n - 1);
  return bytes;
}

bool FileLines::LineAt(int64_t offset, std::string_view* line) {
  if (open_failed_) return false;
  if (!file_.is_open()) {
    int error = 0;
    if (!file_.Open(path_, &error)) {
      open_failed_ = true;
      return false;
    }
    buf_.reset(new char[kMaxLinePiece]);
  }
  ++reads_;
  if (offset < 0 || !file_.Seek(offset)) return false;
  int64_t got = 0;
  while (got < kMaxLinePiece) {
    const int64_t n = file_.Read(buf_.get() + got, kMaxLinePiece - got);
    if (n < 0) return false;
    if (n == 0) break;
    got += n;
    if (std::memchr(buf_.get() + got - n, '\n', static_cast<size_t>(n)) != nullptr) break;
  }
  *line = CutLine(std::string_view(buf_.get(), static_cast<size_t>(got)));
  return true;
}

}  // namespace volp
