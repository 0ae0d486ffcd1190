// What the summary needs to know about the terminal it is printed on: its
// width, whether colours may be used, and how to make a line fit.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace volp::cli {

// The width used when neither the terminal nor COLUMNS tells one.
inline constexpr int kDefaultWidth = 100;
// Narrower than this, fitting would cut every line to nothing useful.
inline constexpr int kMinWidth = 40;

// The columns of `stream`: the terminal's own width when it is one, else
// $COLUMNS when it holds a positive number, else kDefaultWidth; never less
// than kMinWidth.
int TerminalWidth(std::FILE* stream);

// The width from what was found: `terminal_columns` (0 = not a terminal)
// first, then the text of $COLUMNS (null = unset).
int ChooseWidth(int terminal_columns, const char* columns_env);

enum class ColorMode { kAuto, kAlways, kNever };

// Colours on `stream`: --color=always and never decide; auto colours only a
// terminal, and not when NO_COLOR is set to anything but "".
bool UseColor(ColorMode mode, bool is_terminal, const char* no_color_env);
bool IsTerminal(std::FILE* stream);

// SGR styles, empty strings when colours are off, so that call sites read
// the same either way.
struct Style {
  bool on = false;
  std::string Bold(std::string_view s) const { return Wrap("1", s); }
  std::string Red(std::string_view s) const { return Wrap("1;31", s); }
  std::string Green(std::string_view s) const { return Wrap("1;32", s); }
  std::string Yellow(std::string_view s) const { return Wrap("1;33", s); }
  std::string Dim(std::string_view s) const { return Wrap("2", s); }

 private:
  std::string Wrap(const char* sgr, std::string_view s) const;
};

// Columns a UTF-8 line takes: one per character (the summary prints Latin-1
// text converted to UTF-8, whose characters are all one column wide);
// escape sequences take none.
int Columns(std::string_view utf8);

// `utf8` cut to at most `width` columns: a line that does not fit ends in
// "…". Cuts at a character boundary, never inside an escape sequence.
std::string Fit(std::string_view utf8, int width);

// `utf8` (without escape sequences) broken at spaces into lines of at most
// `width` columns, each after the first starting with `indent` spaces; a
// word longer than a line is cut with Fit. Every line ends in "\n".
std::string Wrap(std::string_view utf8, int width, int indent);

// "1,234,567".
std::string Thousands(int64_t n);

}  // namespace volp::cli
