// The progress bar that `volp validate` draws on stderr while a large file is
// read. The validator reports progress every 100,000 lines; the bar redraws
// itself on those calls only, so it costs nothing on the per-record path.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace volp::cli {

// Files below this size finish before a bar would be of any use.
inline constexpr int64_t kProgressMinBytes = 32ll * 1024 * 1024;

// One line of the bar, without the leading carriage return, e.g.
// "[##########..........]  50.0%  512.0 MiB / 1.0 GiB  210.3 MiB/s  ETA 0:02".
// `elapsed_s` is the time since the run started; rate and ETA are left out
// until it is positive.
std::string ProgressLine(int64_t bytes_read, int64_t file_size, double elapsed_s, int width);

// "512 B", "1.5 KiB", "3.2 GiB".
std::string HumanBytes(double bytes);

class ProgressBar {
 public:
  // Draws nothing unless `enabled` (stderr is a terminal and the file large).
  ProgressBar(std::FILE* out, bool enabled);
  ~ProgressBar();
  void Update(int64_t bytes_read, int64_t file_size);
  // Erases the bar so that the summary starts on a clean line.
  void Finish();

 private:
  std::FILE* out_;
  bool enabled_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace volp::cli
