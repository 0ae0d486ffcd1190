// Placeholder until the report formats arrive.
#include "reports/format.hpp"

#include <cstdio>

namespace volp {

NumText Milhar(int64_t v) {
  NumText t;
  std::snprintf(t.buf, sizeof t.buf, "%lld", static_cast<long long>(v));
  return t;
}
NumText MoedaMilhar(int64_t c) { return Moeda(c); }
NumText Moeda(int64_t c) {
  NumText t;
  std::snprintf(t.buf, sizeof t.buf, "%lld,%02lld", static_cast<long long>(c / 100),
                static_cast<long long>(c % 100));
  return t;
}
std::string XmlEscape(std::string_view s) { return std::string(s); }

}  // namespace volp
