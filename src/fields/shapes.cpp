// The shapes of field texts that take more than a glance: Latin-1 text,
// e-mail addresses, calendar dates and access keys.
#include "fields/shapes.hpp"

namespace volp {

using forma::AllDigits;
using forma::IsAlpha;
using forma::IsDigit;
using forma::Num;

// Bytes that ISO 8859-1 does not define as printable text: the C0 controls,
// DEL and the C1 controls. (Everything from 0xA0 up is a Latin-1 letter or sign.)
int ContarCaracteresInvalidos(std::string_view s) {
  int n = 0;
  for (char ch : s) {
    unsigned char c = static_cast<unsigned char>(ch);
    n += (c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F)) ? 1 : 0;
  }
  return n;
}

// The e-mail shape the format accepts, as the regular expression
//   ^([a-zA-Z0-9_\-\.]+)@([a-zA-Z0-9\-\.]+)\.([a-zA-Z]+)$
// reads it. Neither character class holds "@", so the user part ends at the
// first "@". The final letters cannot hold a ".", so whatever split of the
// rest the expression finds puts the last "." before them; the rest matches
// exactly when all of it is domain characters, its last "." is neither its
// first nor its last character, and only letters follow that ".".
bool EmailValido(std::string_view s) {
  size_t at = s.find('@');
  if (at == std::string_view::npos || at == 0) return false;
  for (size_t i = 0; i < at; ++i) {
    char c = s[i];
    if (!(IsAlpha(c) || IsDigit(c) || c == '_' || c == '-' || c == '.')) return false;
  }
  std::string_view rest = s.substr(at + 1);
  size_t last_dot = std::string_view::npos;
  for (size_t i = 0; i < rest.size(); ++i) {
    char c = rest[i];
    if (c == '.') {
      last_dot = i;
    } else if (!(IsAlpha(c) || IsDigit(c) || c == '-')) {
      return false;
    }
  }
  if (last_dot == std::string_view::npos || last_dot == 0 || last_dot + 1 == rest.size()) {
    return false;
  }
  for (size_t i = last_dot + 1; i < rest.size(); ++i) {
    if (!IsAlpha(rest[i])) return false;
  }
  return true;
}

// AAAAMMDD naming a day of the Gregorian calendar.
bool DataValida(std::string_view s) {
  if (s.size() != 8 || !AllDigits(s)) return false;
  int y = Num(s, 0, 4), m = Num(s, 4, 2), d = Num(s, 6, 2);
  return m >= 1 && m <= 12 && d >= 1 && d <= forma::DiasNoMes(y, m);
}

// The 44-digit access key of an electronic fiscal document ends with a
// modulus-11 digit over the other 43, weighted 2, 3, ..., 9, 2, 3, ... from
// the right; 10 and 11 become 0.
bool ChaveValida(std::string_view s) {
  if (s.size() != 44 || !AllDigits(s)) return false;
  int sum = 0, weight = 2;
  for (int i = 42; i >= 0; --i) {
    sum += (s[i] - '0') * weight;
    weight = weight == 9 ? 2 : weight + 1;
  }
  int dv = 11 - sum % 11;
  if (dv >= 10) dv = 0;
  return s[43] - '0' == dv;
}

}  // namespace volp
