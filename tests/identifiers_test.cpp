#include "fields/identifiers.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "support.hpp"

namespace volp {
namespace {

// Numbers whose weighted sums leave the remainders that decide a digit: 0 and
// 1 give 0, 10 gives 1 (first = first check digit, second = second one).
TEST(Identifiers, CheckDigits) {
  struct Case {
    bool (*ok)(std::string_view);
    const char* number;
    bool valid;
  };
  const Case cases[] = {
      {CnpjDigitsOk, "00806360837700", true},   // first from remainder 0
      {CnpjDigitsOk, "72981506162202", true},   // first from remainder 1
      {CnpjDigitsOk, "78128657070418", true},   // first from remainder 10
      {CnpjDigitsOk, "06690743915050", true},   // second from remainder 0
      {CnpjDigitsOk, "11070434192580", true},   // second from remainder 1
      {CnpjDigitsOk, "41613072437611", true},   // second from remainder 10
      {CnpjDigitsOk, "78128657070408", false},  // remainder 10 taken as 0
      {CnpjDigitsOk, "11222333000180", false},  // second wrong
      {CnpjDigitsOk, "1122233300018A", false},
      {CpfDigitsOk, "83861491400", true},   // both from remainder 0
      {CpfDigitsOk, "55458808100", true},   // both from remainder 1
      {CpfDigitsOk, "29104856414", true},   // first from remainder 10
      {CpfDigitsOk, "45140604531", true},   // second from remainder 10
      {CpfDigitsOk, "29104856404", false},  // remainder 10 taken as 0
      {CpfDigitsOk, "5299822472", false},   // short
  };
  for (const Case& c : cases) EXPECT_EQ(c.ok(c.number), c.valid) << c.number;
}

// Only the first digit that disagrees is reported; the second is not examined.
TEST(Identifiers, VerificarDigitosReportsTheFirstMismatch) {
  struct Case {
    bool cnpj;
    const char* number;
    const char* message;  // nullptr: none, result 0
  };
  const Case cases[] = {
      {true, "11222333000181", nullptr},
      {true, "11222333000199",
       "O dígito verificador 1 não confere! Tem valor 9 mas deveria ter 8."},
      {true, "11222333000180",
       "O dígito verificador 2 não confere! Tem valor 0 mas deveria ter 1."},
      {false, "52998224735", "O dígito verificador 1 não confere! Tem valor 3 mas deveria ter 2."},
  };
  for (const Case& c : cases) {
    test::RunFixture fx;
    ASSERT_EQ(fx.Split("|0100|C1|11222333000181||L|R|01310100|3550308|SP||||20200101||"), kR0100);
    const int field = c.cnpj ? 2 : 3;
    int r = c.cnpj ? VerificarCNPJ(c.number, fx.run, fx.rec, field)
                   : VerificarCPF(c.number, fx.run, fx.rec, field);
    const auto& list = fx.ps.findings.list;
    EXPECT_EQ(r, c.message ? -1 : 0) << c.number;
    ASSERT_EQ(list.size(), c.message ? 1u : 0u) << c.number;
    if (c.message == nullptr) continue;
    EXPECT_EQ(list[0].message, test::L1(c.message));
    EXPECT_EQ(list[0].field_number, field + 1);
  }
}

TEST(Identifiers, CepRangesAtTheirBounds) {
  const std::pair<const char*, const char*> cases[] = {
      {"72850000", "GO"}, {"73100000", "DF"}, {"72799999", "DF"}, {"72800000", "GO"},
      {"72999999", "GO"}, {"73000000", "DF"}, {"73699999", "DF"}, {"73700000", "GO"},
      {"76799999", "GO"}, {"76800000", "RO"}, {"69399999", "RR"}, {"69400000", "AM"},
      {"69899999", "AM"}, {"69900000", "AC"}, {"01000000", "SP"}, {"99999999", "RS"},
      {"00999999", ""},   {"78900000", ""},   {"ABCDEFGH", ""},
  };
  for (const auto& [cep, sigla] : cases) {
    const UfDef* uf = FindUfByCep(cep);
    EXPECT_EQ(uf ? uf->sigla : "", std::string(sigla)) << cep;
  }
  EXPECT_EQ(FindUf("SP")->name, test::L1("São Paulo"));
  EXPECT_EQ(FindUf("sp"), nullptr);
}

// Every code of the national table passes and belongs to the unit of its
// state column; apart from the nine codes accepted as issued, any other
// seventh digit fails, so the check names exactly one digit per code.
TEST(Identifiers, EveryBundledMunicipalityCode) {
  const std::set<std::string> aceitos = {"2201919", "2201988", "2202251", "2611533", "3117836",
                                         "3152131", "4305871", "5203939", "5203962"};
  std::ifstream in(test::DataDir() + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv", std::ios::binary);
  std::string line;
  std::getline(in, line);
  std::set<std::string> seen;
  while (std::getline(in, line)) {
    size_t a = line.find(';'), b = line.find(';', a + 1), c = line.find(';', b + 1);
    const std::string code = line.substr(b + 1, c - b - 1);
    seen.insert(code);
    EXPECT_TRUE(VerificarMunicipioIBGE(code)) << code;
    const UfDef* uf = FindUfByMunicipio(code);
    ASSERT_NE(uf, nullptr) << code;
    EXPECT_EQ(uf->ibge_prefix, line.substr(0, a)) << code;
    for (char d = '0'; d <= '9' && !aceitos.count(code); ++d) {
      std::string other = code;
      other[6] = d;
      if (other != code && !aceitos.count(other)) {
        EXPECT_FALSE(VerificarMunicipioIBGE(other)) << other;
      }
    }
  }
  EXPECT_EQ(seen.size(), 5570u);
  for (const std::string& code : aceitos) EXPECT_TRUE(seen.count(code)) << code;
  for (const char* bad : {"", "355030", "35503080", "355030A"}) {
    EXPECT_FALSE(VerificarMunicipioIBGE(bad)) << bad;
  }
}

}  // namespace
}  // namespace volp
