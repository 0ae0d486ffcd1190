// The totals a file states about itself (0990, 9900, 9990, 9999) against
// what the run counted.
#include "rules/block9.hpp"

#include <gtest/gtest.h>

#include <functional>

#include "declaration_builder.hpp"

namespace volp::test {
namespace {

struct TotalsCase {
  const char* name;
  std::function<void(Declaration&)> change;
  std::vector<Expected> errors;
};

void PrintTo(const TotalsCase& c, std::ostream* os) { *os << c.name; }

class Block9File : public ::testing::TestWithParam<TotalsCase> {};

// RegistryBase has 8 lines in block 0 (two 0100, one 0105, one 0300), 16 in
// block 9 and 26 in all.
TEST_P(Block9File, ReportsExactlyTheseErrors) {
  Declaration d = RegistryBase();
  GetParam().change(d);
  ExpectErrors(d, GetParam().errors);
}

auto Stated(const char* type, const char* count) {
  return [=](Declaration& d) { d.stated_9900[type] = count; };
}
auto Extra(const char* line) {
  return [=](Declaration& d) { d.extra_9900 = {line}; };
}
std::string Totals(const char* stated, const char* type, const char* counted) {
  auto s = [](const char* n) {
    return std::string(n) + (std::string(n) == "1" ? " registro" : " registros");
  };
  return "Informou " + s(stated) + " do tipo " + type + " mas encontrou " + s(counted) + ".";
}

INSTANTIATE_TEST_SUITE_P(
    Totals, Block9File,
    ::testing::Values(
        TotalsCase{"valid", [](Declaration&) {}, {}},
        TotalsCase{
            "block0_lines",
            [](Declaration& d) { d.qtd_lin_0 = "7"; },
            {{"|0990|", 1, 2, "Informou 7 registros no Bloco 0 mas encontrou 8 registros."}}},
        // Block 9 counts its own 9999, which comes after the 9990.
        TotalsCase{
            "block9_lines_without_the_9999",
            [](Declaration& d) { d.qtd_lin_9 = "15"; },
            {{"|9990|", 1, 2, "Informou 15 registros no Bloco 9 mas encontrou 16 registros."}}},
        TotalsCase{"file_lines",
                   [](Declaration& d) { d.qtd_lin = "1234"; },
                   {{"|9999|", 1, 2,
                     "Informou 1.234 registros no arquivo digital mas encontrou 26 registros."}}},
        TotalsCase{"plural_then_singular",
                   Stated("0105", "2"),
                   {{"|9900|0105|", 1, 3, Totals("2", "0105", "1")}}},
        TotalsCase{"singular_then_plural",
                   Stated("0100", "1"),
                   {{"|9900|0100|", 1, 3, Totals("1", "0100", "2")}}},
        TotalsCase{"absent_optional_type_stated_one",
                   Extra("|9900|0200|1|"),
                   {{"|9900|0200|", 1, 3, Totals("1", "0200", "0")}}},
        TotalsCase{"unknown_type",
                   Extra("|9900|9901|1|"),
                   {{"|9900|9901|", 1, 2,
                     "O campo 'REG_BLC - Registro que será totalizado no próximo campo' contém "
                     "tipo de registro inválido."}}},
        // The first 9900 of a type (stating the right 2) is the one compared.
        TotalsCase{"two_for_one_type",
                   Extra("|9900|0100|7|"),
                   {{"|9900|0100|", 2, 2,
                     "O registro 9900 correspondente ao registro 0100 já foi encontrado na linha "
                     "{L|9900|0100|} e "
                     "posição {P|9900|0100|} no arquivo."}}},
        TotalsCase{
            "missing_for_required_type",
            Stated("0990", "-"),
            {{"|9999|", 1, 0, "Não encontrou o registro 9900 correspondente ao registro 0990."}}},
        TotalsCase{
            "missing_for_present_optional_type",
            Stated("0105", "-"),
            {{"|9999|", 1, 0, "Não encontrou o registro 9900 correspondente ao registro 0105."}}}),
    [](const auto& info) { return std::string(info.param.name); });

// A wrong total points at the stated count, whose length is that of the
// number as read (leading zeros are not part of it).
TEST(Block9Totals, WrongTotalPointsAtTheStatedCount) {
  Declaration d = RegistryBase();
  d.stated_9900["0100"] = "0003";
  Result r = ValidateText(Lines(d.Lines()));
  ASSERT_EQ(r.findings.size(), 1u);
  const Finding& f = r.findings[0];
  EXPECT_EQ(f.line, LineOf(d.Lines(), "|9900|0100|"));
  EXPECT_EQ(f.field_number, 3);
  EXPECT_EQ(f.column, 12);
  EXPECT_EQ(f.content, "0003");
  EXPECT_EQ(f.length, 1);
  EXPECT_EQ(f.message, Totals("3", "0100", "2"));
}

TEST(Block9Totals, NoComparisonOnceTheErrorLimitIsReached) {
  RunFixture fx;
  fx.ps.findings.errors = kMaxErrors;
  VerificacaoRegistro_9900(fx.run, 0, 0, __LINE__);
  EXPECT_TRUE(fx.ps.findings.list.empty());
  // Below the limit every type is judged, even once the limit is passed.
  fx.ps.findings.errors = kMaxErrors - 1;
  VerificacaoRegistro_9900(fx.run, 500, 9, __LINE__);
  size_t required = 0;
  for (const RecordTypeDef& t : kRecordTypes) required += t.required == 'S';
  ASSERT_EQ(fx.ps.findings.list.size(), required);
  EXPECT_EQ(fx.ps.findings.list[0].line, 9);
  EXPECT_EQ(fx.ps.findings.list[0].offset, 500);
}

}  // namespace
}  // namespace volp::test
