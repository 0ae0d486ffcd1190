#include "cli_terminal.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdlib>

namespace volp::cli {

namespace {

// Lengths of the escape sequence starting at s[i] ("\x1b[...m"), 0 if none.
size_t EscapeLength(std::string_view s, size_t i) {
  if (s[i] != '\x1b' || i + 1 >= s.size() || s[i + 1] != '[') return 0;
  size_t j = i + 2;
  while (j < s.size() && !(s[j] >= 0x40 && s[j] <= 0x7E)) ++j;
  return j < s.size() ? j - i + 1 : s.size() - i;
}

bool Continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

bool IsTerminal(std::FILE* stream) {
#if defined(_WIN32)
  return _isatty(_fileno(stream)) != 0;
#else
  return isatty(fileno(stream)) != 0;
#endif
}

int ChooseWidth(int terminal_columns, const char* columns_env) {
  int width = terminal_columns;
  if (width <= 0 && columns_env != nullptr && *columns_env != '\0') {
    char* end = nullptr;
    const long n = std::strtol(columns_env, &end, 10);
    if (*end == '\0' && n > 0 && n < 100000) width = static_cast<int>(n);
  }
  if (width <= 0) width = kDefaultWidth;
  return std::max(width, kMinWidth);
}

int TerminalWidth(std::FILE* stream) {
  int columns = 0;
  if (IsTerminal(stream)) {
#if defined(_WIN32)
    CONSOLE_SCREEN_BUFFER_INFO info;
    HANDLE h = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    if (GetConsoleScreenBufferInfo(h, &info)) {
      columns = info.srWindow.Right - info.srWindow.Left + 1;
    }
#else
    struct winsize ws = {};
    if (ioctl(fileno(stream), TIOCGWINSZ, &ws) == 0) columns = ws.ws_col;
#endif
  }
  return ChooseWidth(columns, std::getenv("COLUMNS"));
}

bool UseColor(ColorMode mode, bool is_terminal, const char* no_color_env) {
  switch (mode) {
    case ColorMode::kAlways:
      return true;
    case ColorMode::kNever:
      return false;
    case ColorMode::kAuto:
      break;
  }
  return is_terminal && (no_color_env == nullptr || *no_color_env == '\0');
}

std::string Style::Wrap(const char* sgr, std::string_view s) const {
  if (!on) return std::string(s);
  // A text that ends its line gets the reset before the line end, so that
  // the style never spills into the next line.
  const bool newline = !s.empty() && s.back() == '\n';
  if (newline) s.remove_suffix(1);
  std::string out = "\x1b[";
  out += sgr;
  out += 'm';
  out += s;
  out += "\x1b[0m";
  if (newline) out += '\n';
  return out;
}

int Columns(std::string_view s) {
  int columns = 0;
  for (size_t i = 0; i < s.size();) {
    if (const size_t esc = EscapeLength(s, i)) {
      i += esc;
      continue;
    }
    if (!Continuation(s[i])) ++columns;
    ++i;
  }
  return columns;
}

std::string Fit(std::string_view s, int width) {
  if (Columns(s) <= width) return std::string(s);
  // Room for the text and the "…" that says something was cut.
  const int keep = std::max(width - 1, 0);
  std::string out;
  bool styled = false;
  int columns = 0;
  for (size_t i = 0; i < s.size();) {
    if (const size_t esc = EscapeLength(s, i)) {
      out.append(s.substr(i, esc));
      styled = true;
      i += esc;
      continue;
    }
    if (!Continuation(s[i])) {
      if (columns == keep) break;
      ++columns;
    }
    out += s[i++];
  }
  out += "\xE2\x80\xA6";  // …
  if (styled) out += "\x1b[0m";
  return out;
}

std::string Wrap(std::string_view s, int width, int indent) {
  std::string out;
  const std::string pad(static_cast<size_t>(std::max(indent, 0)), ' ');
  // The first line keeps the text's own leading spaces.
  size_t at = std::min(s.find_first_not_of(' '), s.size());
  const std::string lead(at, ' ');
  std::string line = lead;
  while (at < s.size()) {
    size_t end = s.find(' ', at);
    if (end == std::string_view::npos) end = s.size();
    const std::string_view word = s.substr(at, end - at);
    const bool first_word = line == lead || line == pad;
    if (!first_word && Columns(line) + 1 + Columns(word) > width) {
      out += Fit(line, width) + "\n";
      line = pad;
    } else if (!first_word) {
      line += ' ';
    }
    line += word;
    at = end + 1;
  }
  out += Fit(line, width) + "\n";
  return out;
}

std::string Thousands(int64_t n) {
  std::string digits = std::to_string(n);
  if (n < 0) digits.erase(0, 1);
  std::string out;
  const size_t first = digits.size() % 3 == 0 ? 3 : digits.size() % 3;
  out.append(digits, 0, first);
  for (size_t i = first; i < digits.size(); i += 3) {
    out += ',';
    out.append(digits, i, 3);
  }
  return n < 0 ? "-" + out : out;
}

}  // namespace volp::cli
