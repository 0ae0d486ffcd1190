// The shapes a field's text may have, as tests on the text alone: no
// reporting, no state. The field analysis reports what they reject; the
// rules ask them of fields they read.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace volp {

// The byte-level tests the shapes are made of, inline: the shortcut for
// plainly good fields runs them on every field of every record.
namespace forma {

inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
inline bool IsAlpha(char c) { return IsUpper(c) || (c >= 'a' && c <= 'z'); }

// A byte is a digit when adding 0x46 does not carry it past 0x7F and
// subtracting 0x30 does not borrow below 0: eight (or four) bytes at a time.
inline bool Digits8(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, 8);
  return ((w | (w + 0x4646464646464646ULL) | (w - 0x3030303030303030ULL)) &
          0x8080808080808080ULL) == 0;
}
inline bool Digits4(const char* p) {
  uint32_t w;
  std::memcpy(&w, p, 4);
  return ((w | (w + 0x46464646U) | (w - 0x30303030U)) & 0x80808080U) == 0;
}

// True for the empty text too. The last word of a text is read so that it
// ends with the text (overlapping the word before), never past it.
inline bool AllDigits(std::string_view s) {
  const char* p = s.data();
  size_t n = s.size();
  if (n >= 8) {
    for (; n > 8; p += 8, n -= 8)
      if (!Digits8(p)) return false;
    return Digits8(p + n - 8);
  }
  if (n >= 4) return Digits4(p) && Digits4(p + n - 4);
  for (; n > 0; ++p, --n) {
    if (!IsDigit(*p)) return false;
  }
  return true;
}

// Decimal value of the `n` characters from `pos`, which the caller has
// checked to be digits.
inline int Num(std::string_view s, size_t pos, size_t n) {
  int v = 0;
  for (size_t i = pos; i < pos + n; ++i) v = v * 10 + (s[i] - '0');
  return v;
}

inline bool Bissexto(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

inline int DiasNoMes(int y, int m) {
  static constexpr int kDias[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && Bissexto(y) ? 29 : kDias[m - 1];
}

}  // namespace forma

// Bytes that are not Latin-1 text (C0 controls, DEL, C1 controls).
int ContarCaracteresInvalidos(std::string_view s);
// The e-mail pattern ^([a-zA-Z0-9_\-\.]+)@([a-zA-Z0-9\-\.]+)\.([a-zA-Z]+)$.
bool EmailValido(std::string_view s);
// AAAAMMDD naming a real day.
bool DataValida(std::string_view s);
// 44 digits whose last is the modulus-11 digit of the other 43.
bool ChaveValida(std::string_view s);

// HHMMSS within one day.
inline bool HoraValida(std::string_view s) {
  using forma::IsDigit;
  return s.size() == 6 && forma::Digits4(s.data()) && IsDigit(s[4]) && IsDigit(s[5]) &&
         (s[0] - '0') * 10 + (s[1] - '0') <= 23 && s[2] <= '5' && s[4] <= '5';
}

}  // namespace volp
