#include "cli_batch.hpp"

#include <algorithm>
#include <cstdio>

namespace volp::cli {

namespace {

std::string Count(int64_t n) { return n < 0 ? "-" : Thousands(n); }

std::string PadRight(const std::string& s, int width) {
  const int cols = Columns(s);
  return cols >= width ? s : s + std::string(width - cols, ' ');
}

std::string PadLeft(const std::string& s, int width) {
  const int cols = Columns(s);
  return cols >= width ? s : std::string(width - cols, ' ') + s;
}

// "…" and the end of `s`, `width` columns in all.
std::string FitFromLeft(const std::string& s, int width) {
  if (Columns(s) <= width) return s;
  size_t start = s.size();
  int cols = 0;
  while (start > 0 && cols < width - 1) {
    --start;
    if ((static_cast<unsigned char>(s[start]) & 0xC0) != 0x80) ++cols;
  }
  return "\xE2\x80\xA6" + s.substr(start);
}

}  // namespace

int WorstStatus(int a, int b) { return std::max(a, b); }

std::string BatchTable(const std::vector<BatchRow>& rows, int width, const Style& style) {
  // Everything but the file name takes a fixed width.
  constexpr int kVerdict = 9, kRead = 5, kCount = 8, kLines = 11, kTime = 8;
  constexpr int kFixed = 2 + kVerdict + 1 + kRead + 2 * (1 + kCount) + 1 + kLines + 1 + kTime;
  int name = 4;
  for (const BatchRow& r : rows) name = std::max(name, Columns(r.file));
  name = std::max(std::min(name, width - kFixed - 1), 8);

  std::string out = PadRight("file", name) + "  " + PadRight("verdict", kVerdict) + " " +
                    PadRight("read", kRead) + " " + PadLeft("errors", kCount) + " " +
                    PadLeft("warnings", kCount) + " " + PadLeft("lines", kLines) + " " +
                    PadLeft("time", kTime);
  out = style.Bold(out) + "\n";
  for (const BatchRow& r : rows) {
    std::string verdict = PadRight(r.verdict, kVerdict);
    if (r.verdict == "valid") {
      verdict = style.Green(verdict);
    } else if (r.verdict == "errors") {
      verdict = style.Red(verdict);
    } else {
      verdict = style.Yellow(verdict);
    }
    char time[32] = "-";
    if (r.seconds >= 0) std::snprintf(time, sizeof time, "%.2f s", r.seconds);
    out += PadRight(FitFromLeft(r.file, name), name) + "  " + verdict + " " +
           PadRight(r.read, kRead) + " " + PadLeft(Count(r.errors), kCount) + " " +
           PadLeft(Count(r.warnings), kCount) + " " + PadLeft(Count(r.lines), kLines) + " " +
           PadLeft(time, kTime) + "\n";
  }
  return out;
}

}  // namespace volp::cli
