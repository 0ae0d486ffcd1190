// The readers of codes, quantities and money in the rules take the leading
// digits of a text (money skipping its comma) and stop at any other byte.
// Their fast paths are checked against that plain definition on chosen texts
// and on random ones over the bytes that matter.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "rules/block1_util.hpp"
#include "rules/common.hpp"

namespace volp {
namespace {

int64_t Plain(std::string_view s, bool skip_comma) {
  uint64_t v = 0;
  for (char c : s) {
    if (skip_comma && c == ',') continue;
    if (c < '0' || c > '9') break;
    v = v * 10 + static_cast<uint64_t>(c - '0');
  }
  return static_cast<int64_t>(v);
}

TEST(Numbers, LeadingDigitsAsThePlainDefinition) {
  // Short random texts over digits, the comma, bytes just below and above
  // the digits, a letter, a blank and a Latin-1 digit-like byte; then a
  // number too long for 64 bits, which wraps alike.
  std::mt19937 rng(7);
  const std::string bytes = "0123456789,/:a \xB9";
  for (int i = 0; i < 20000; ++i) {
    std::string t(rng() % 12, ' ');
    for (char& c : t) c = bytes[rng() % bytes.size()];
    ASSERT_EQ(LerDigitos(t), Plain(t, false)) << '"' << t << '"';
    ASSERT_EQ(b1::LerCentavos(t), Plain(t, true)) << '"' << t << '"';
  }
  const std::string longo = "99999999999999999999999,99";
  EXPECT_EQ(LerDigitos(longo), Plain(longo, false));
  EXPECT_EQ(b1::LerCentavos(longo), Plain(longo, true));
}

}  // namespace
}  // namespace volp
