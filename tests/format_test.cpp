#include "core/format.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace volp {
namespace {

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

struct NumCase {
  int64_t value;
  const char* want;
};

TEST(Format, MilharGroupsEveryThreeDigits) {
  const NumCase cases[] = {
      {0, "0"},
      {7, "7"},
      {999, "999"},
      {1000, "1.000"},
      {1050, "1.050"},  // inner groups keep their zeros
      {999999, "999.999"},
      {1000000, "1.000.000"},
      {1000005, "1.000.005"},
      {1234567, "1.234.567"},
      {999999999, "999.999.999"},
      {1000000000, "1.000.000.000"},
      {1000000000000, "1.000.000.000.000"},
      {1000000000000000, "1.000.000.000.000.000"},
      {999999999999999999, "999.999.999.999.999.999"},
      // Six groups at most: the leading one takes what is left.
      {1000000000000000000, "1000.000.000.000.000.000"},
      {kMax, "9223.372.036.854.775.807"},
      {-1, "-1"},
      {-999, "-999"},
      {-1000, "-1.000"},
      {-1234567, "-1.234.567"},
      {kMin, "-9223.372.036.854.775.808"},
  };
  for (const NumCase& c : cases) EXPECT_STREQ(Milhar(c.value), c.want) << c.value;
}

TEST(Format, MoneyWithAndWithoutSeparators) {
  struct Case {
    int64_t cents;
    const char* grouped;
    const char* plain;
  };
  const Case cases[] = {
      {0, "0,00", "0,00"},
      {5, "0,05", "0,05"},
      {99, "0,99", "0,99"},
      {100, "1,00", "1,00"},
      {99999, "999,99", "999,99"},
      {100000, "1.000,00", "1000,00"},
      {100000005, "1.000.000,05", "1000000,05"},
      {123456789, "1.234.567,89", "1234567,89"},
      // The sign of a value below one unit must not be lost with its zero
      // integer part.
      {-5, "-0,05", "-0,05"},
      {-50, "-0,50", "-0,50"},
      {-100, "-1,00", "-1,00"},
      {-123456, "-1.234,56", "-1234,56"},
      {kMin, "-92.233.720.368.547.758,08", "-92233720368547758,08"},
  };
  for (const Case& c : cases) {
    EXPECT_STREQ(MoedaMilhar(c.cents), c.grouped) << c.cents;
    EXPECT_STREQ(Moeda(c.cents), c.plain) << c.cents;
  }
}

TEST(Format, XmlEscapeReplacesAmpersandFirst) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"Loja Azul", "Loja Azul"},
      {"A & B", "A &amp; B"},
      {"<x>", "&lt;x&gt;"},
      // Text that already looks escaped is escaped again, once.
      {"&lt;", "&amp;lt;"},
      {"&&", "&amp;&amp;"},
      {"a>b<c&d", "a&gt;b&lt;c&amp;d"},
      // Quotes and Latin-1 letters are left alone.
      {"\"O'Neil\" \xC1gua", "\"O'Neil\" \xC1gua"},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(XmlEscape(in), want) << in;
}

}  // namespace
}  // namespace volp
