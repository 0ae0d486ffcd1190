// Thousands and money formats of messages, traces and the report, and the
// escaping of the report's free-text values.
//
// The numbers are written by hand into the fixed buffer of NumText: these
// formats run inside messages and traces, so they neither allocate nor go
// through printf.
#include "core/format.hpp"

#include <cstdint>

namespace volp {

namespace {

// Writes the decimal digits of v, most significant first; returns the end.
char* PutDigits(char* p, uint64_t v) {
  char tmp[24];
  int n = 0;
  do {
    tmp[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v != 0);
  while (n > 0) *p++ = tmp[--n];
  return p;
}

char* PutThree(char* p, uint64_t v) {
  *p++ = static_cast<char>('0' + v / 100);
  *p++ = static_cast<char>('0' + v / 10 % 10);
  *p++ = static_cast<char>('0' + v % 10);
  return p;
}

// The magnitude of a signed value; INT64_MIN has no positive int64.
uint64_t Magnitude(int64_t v) {
  return v < 0 ? uint64_t{0} - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
}

// At most six groups: "%d", "%d.%03d", ... "%d.%03d.%03d.%03d.%03d.%03d".
// Beyond that the leading group simply grows, as the widest of those formats
// does with a number of 19 digits.
constexpr int kMaxGroups = 6;

char* PutGrouped(char* p, uint64_t v) {
  uint64_t groups[kMaxGroups];
  int n = 0;
  while (v >= 1000 && n < kMaxGroups - 1) {
    groups[n++] = v % 1000;
    v /= 1000;
  }
  p = PutDigits(p, v);
  while (n > 0) {
    *p++ = '.';
    p = PutThree(p, groups[--n]);
  }
  return p;
}

// A negative value is its sign followed by the magnitude in the same format:
// -1234567 is "-1.234.567" and -5 cents is "-0,05" (printing the parts of a
// negative number separately would give "-1.-234.-567" or lose the sign of
// "0,-5").
char* PutSign(char* p, int64_t v) {
  if (v < 0) *p++ = '-';
  return p;
}

char* PutCents(char* p, uint64_t cents) {
  *p++ = ',';
  *p++ = static_cast<char>('0' + cents / 10);
  *p++ = static_cast<char>('0' + cents % 10);
  return p;
}

}  // namespace

NumText Milhar(int64_t value) {
  NumText t;
  char* p = PutSign(t.buf, value);
  p = PutGrouped(p, Magnitude(value));
  *p = '\0';
  return t;
}

NumText MoedaMilhar(int64_t cents) {
  NumText t;
  const uint64_t m = Magnitude(cents);
  char* p = PutSign(t.buf, cents);
  p = PutGrouped(p, m / 100);
  p = PutCents(p, m % 100);
  *p = '\0';
  return t;
}

NumText Moeda(int64_t cents) {
  NumText t;
  const uint64_t m = Magnitude(cents);
  char* p = PutSign(t.buf, cents);
  p = PutDigits(p, m / 100);
  p = PutCents(p, m % 100);
  *p = '\0';
  return t;
}

std::string XmlEscape(std::string_view s) {
  // One pass gives what the three replacements in turn ("&" first, so the
  // ampersands they introduce are not escaped again) give.
  std::string out;
  out.reserve(s.size() + 16);
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

}  // namespace volp
