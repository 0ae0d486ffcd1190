// Number and text formats shared by messages, traces and the report.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace volp {

// 1234567 -> "1.234.567" (groups of three digits separated by "."), at most
// six groups; -1234567 -> "-1.234.567". The returned buffer type keeps
// messages free of allocations.
struct NumText {
  char buf[48];
  const char* c_str() const { return buf; }
  operator const char*() const { return buf; }
};
NumText Milhar(int64_t value);
// Money in hundredths with separators: 123456789 -> "1.234.567,89";
// -5 -> "-0,05".
NumText MoedaMilhar(int64_t cents);
// Money in hundredths without separators: 123456789 -> "1234567,89".
NumText Moeda(int64_t cents);

// "&" -> "&amp;", then "<" -> "&lt;", then ">" -> "&gt;".
std::string XmlEscape(std::string_view s);

}  // namespace volp
