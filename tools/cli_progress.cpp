#include "cli_progress.hpp"

#include <algorithm>

namespace volp::cli {

std::string HumanBytes(double bytes) {
  static const char* const kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB"};
  int unit = 0;
  while (bytes >= 1024.0 && unit < 4) {
    bytes /= 1024.0;
    ++unit;
  }
  char buf[32];
  if (unit == 0) {
    std::snprintf(buf, sizeof buf, "%.0f B", bytes);
  } else {
    std::snprintf(buf, sizeof buf, "%.1f %s", bytes, kUnits[unit]);
  }
  return buf;
}

std::string ProgressLine(int64_t bytes_read, int64_t file_size, double elapsed_s, int width) {
  const double fraction =
      file_size > 0 ? std::clamp(static_cast<double>(bytes_read) / file_size, 0.0, 1.0) : 1.0;
  width = std::max(width, 1);
  const int done = static_cast<int>(fraction * width);
  std::string line = "[";
  line.append(done, '#');
  line.append(width - done, '.');
  line += "] ";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%5.1f%%  ", fraction * 100.0);
  line += buf;
  line += HumanBytes(static_cast<double>(bytes_read));
  line += " / ";
  line += HumanBytes(static_cast<double>(file_size));
  if (elapsed_s > 0 && bytes_read > 0) {
    const double rate = bytes_read / elapsed_s;
    line += "  ";
    line += HumanBytes(rate);
    line += "/s";
    const int64_t left = static_cast<int64_t>((file_size - bytes_read) / rate + 0.5);
    if (left >= 0) {
      std::snprintf(buf, sizeof buf, "  ETA %lld:%02lld", static_cast<long long>(left / 60),
                    static_cast<long long>(left % 60));
      line += buf;
    }
  }
  return line;
}

ProgressBar::ProgressBar(std::FILE* out, bool enabled)
    : out_(out), enabled_(enabled), start_(std::chrono::steady_clock::now()) {}

ProgressBar::~ProgressBar() { Finish(); }

void ProgressBar::Update(int64_t bytes_read, int64_t file_size) {
  if (!enabled_) return;
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
  // "\x1b[K" clears what a longer previous line left behind.
  std::fprintf(out_, "\r%s\x1b[K",
               ProgressLine(bytes_read, file_size, elapsed.count(), 30).c_str());
  std::fflush(out_);
  drawn_ = true;
}

void ProgressBar::Finish() {
  if (!drawn_) return;
  std::fputs("\r\x1b[K", out_);
  std::fflush(out_);
  drawn_ = false;
}

}  // namespace volp::cli
