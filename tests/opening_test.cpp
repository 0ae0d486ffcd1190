// The header record 0000 (version, purpose, period, environment), the
// declarant's address in 0005 (UF against municipality and CEP) and what both
// leave in the run's context.
#include "rules/opening.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "rules/uf_check.hpp"
#include "support.hpp"

namespace volp {
namespace {

using test::L1;
using test::RunFixture;
using Findings = std::vector<std::pair<int, std::string>>;  // field number, message

// The rules' own findings; the field analysis, which runs first, adds its
// own ("Campo 02 - ... tem tamanho ...") that are judged elsewhere.
Findings RuleFindings(const RunFixture& fx) {
  Findings out;
  for (const Finding& f : fx.ps.findings.list) {
    const std::string& m = f.message;
    if (m.rfind("No campo ", 0) == 0 || m.rfind("Para finalidade de arquivo '", 0) == 0 ||
        m.find(L1("que não é o primeiro dia")) != std::string::npos ||
        m.find("que pertence a UF") != std::string::npos ||
        m.find(L1("não pertence a nenhuma UF")) != std::string::npos) {
      EXPECT_EQ(f.severity, kErro) << m;
      out.emplace_back(f.field_number, m);
    }
  }
  return out;
}

const std::string kDtIni =
    "'DT_INI - Data do início do período referente as informações prestadas'";
const std::string kDtFin = "'DT_FIN - Data do fim do período referente as informações prestadas'";

std::pair<int, std::string> Ver(const std::string& v) {
  return {2, L1("No campo 02 - COD_VER a versão de leiaute deve ser 07 e não " + v + ".")};
}
std::pair<int, std::string> Fin(const std::string& v) {
  return {3, L1("No campo 03 - COD_FIN a finalidade do arquivo pode ser: 1, 2, 3, 4, 5 ou 6 e "
                "não: " +
                v + ".")};
}
std::pair<int, std::string> FirstDay(const std::string& v) {
  return {7, L1("Campo 07 - " + kDtIni + " contém " + v + " que não é o primeiro dia do mês.")};
}
std::pair<int, std::string> Order(const std::string& ini, const std::string& fim) {
  return {8, L1("No campo 08 - DT_FIN a data final deve ser superior a data inicial " + ini +
                " do campo 07 - DT_INI e não: " + fim + ".")};
}
std::pair<int, std::string> YearMonth(const std::string& fim, const std::string& ini) {
  return {8, L1("No campo 08 - DT_FIN o Ano/Mês da data final " + fim +
                " está diferente do Ano/Mês da data inicial " + ini + " do campo 07 - DT_INI.")};
}
std::pair<int, std::string> Fin6(const std::string& fim) {
  return {8, L1("Para finalidade de arquivo '6 - Autorização para Instituição Parceira' o campo "
                "08 - " +
                kDtFin + " deve ser igual ao campo 07 - " + kDtIni + " e não: " + fim + ".")};
}
std::pair<int, std::string> Amb(const std::string& v) {
  return {9, L1("No campo 09 - TP_AMB o tipo de ambiente pode ser: 1 ou 2 e não: " + v + ".")};
}

TEST(Opening, HeaderRules) {
  struct {
    std::string ver, fin, ini, fim, amb;
    Findings want;
  } cases[] = {
      {"07", "1", "20250101", "20250131", "1", {}},
      {"7", "1", "20250101", "20250131", "2", {Ver("7")}},
      {"007", "1", "20250101", "20250131", "1", {Ver("007")}},
      // An out-of-range purpose is still used by the period rules.
      {"07", "0", "20250115", "20250131", "1", {Fin("0"), FirstDay("20250115")}},
      {"07", "a", "20250101", "20250228", "1", {Fin("a"), YearMonth("202502", "202501")}},
      {"07", "2", "2025010", "20250131", "1", {FirstDay("2025010")}},
      {"07",
       "1",
       "20250201",
       "20250131",
       "1",
       {Order("20250201", "20250131"), YearMonth("202501", "202502")}},
      {"07", "1", "20250101", "20250101", "1", {}},
      // A notification covers any span but still runs forward.
      {"07", "3", "20250115", "20250310", "1", {}},
      {"07", "3", "20250315", "20250310", "1", {Order("20250315", "20250310")}},
      // A partner authorisation: one month, compared by year and month only.
      {"07", "6", "20250101", "20250131", "1", {}},
      {"07", "6", "20250101", "20250215", "1", {Fin6("20250215")}},
      {"07", "6", "20250110", "20250105", "1", {FirstDay("20250110")}},
      {"07", "1", "20250101", "20250131", "3", {Amb("3")}},
      {"07", "1", "20250101", "20250131", "", {Amb("vazio")}},
      // Without a purpose the period is not judged.
      {"07", "", "20250115", "20250301", "1", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.ver + "|" + c.fin + "|" + c.ini + "|" + c.fim + "|" + c.amb);
    RunFixture fx;
    fx.run.ctx.finalidade = 4;
    ASSERT_EQ(fx.Split("|0000|" + c.ver + "|" + c.fin + "|SP|11222333000181|Empresa|" + c.ini +
                       "|" + c.fim + "|" + c.amb + "|202502|"),
              kR0000);
    ValidarRegistro_0000(fx.run, fx.rec, -1, __LINE__);
    EXPECT_EQ(RuleFindings(fx), c.want);
    EXPECT_EQ(fx.run.ctx.finalidade, c.fin.empty() ? 4 : std::atoi(c.fin.c_str()));
  }
}

std::pair<int, std::string> OtherUf(int field, const std::string& name, const std::string& value,
                                    const std::string& owner, const std::string& uf,
                                    const std::string& type = "0005", int uf_field = 6) {
  char n[8];
  std::snprintf(n, sizeof n, "%02d", field);
  char u[8];
  std::snprintf(u, sizeof u, "%02d", uf_field);
  return {field, L1("O campo " + std::string(n) + " - '" + name + "' contém '" + value +
                    "' que pertence a UF '" + owner + "' e não pertence a UF '" + uf +
                    "' informado no campo " + u + " do registro " + type + ".")};
}
std::pair<int, std::string> Cep(const std::string& value, const std::string& owner,
                                const std::string& uf) {
  return OtherUf(4, "CEP", value, owner, uf);
}
std::pair<int, std::string> NoUf(const std::string& cep) {
  return {4, L1("O campo 04 - 'CEP' contém '" + cep + "' que não pertence a nenhuma UF.")};
}

TEST(Opening, AddressAgreesWithItsUf) {
  struct {
    std::string cep, mun, uf;
    Findings want;
  } cases[] = {
      {"01001000", "3550308", "SP", {}},
      // Municipality first, then CEP.
      {"01001000",
       "3550308",
       "RJ",
       {OtherUf(5, "COD_MUN - Códido IBGE do Município", "3550308", "SP", "RJ"),
        Cep("01001000", "SP", "RJ")}},
      // SP's range starts at 01000; 00999 is nobody's.
      {"00999000", "3550308", "SP", {NoUf("00999000")}},
      {"01000000", "3550308", "SP", {}},
      // DF and GO interleave; AM has two ranges around RR's.
      {"72850000", "5300108", "DF", {Cep("72850000", "GO", "DF")}},
      {"73100000", "5300108", "DF", {}},
      {"73100000", "5208707", "GO", {Cep("73100000", "DF", "GO")}},
      {"69300000", "1302603", "AM", {Cep("69300000", "RR", "AM")}},
      {"69400000", "1302603", "AM", {}},
      // A municipality whose prefix is no UF's is the table check's business.
      {"01001000", "9912345", "SP", {}},
      {"20000000", "", "SP", {Cep("20000000", "RJ", "SP")}},
      // Without a UF nothing is compared.
      {"00999000", "3304557", "", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.cep + " " + c.mun + " " + c.uf);
    RunFixture fx;
    ASSERT_EQ(fx.Split("|0005|Fantasia|Rua A, 1|" + c.cep + "|" + c.mun + "|" + c.uf +
                       "|Fulano|11999990000|a@b.com|"),
              kR0005);
    ValidarRegistro_0005(fx.run, fx.rec, 1, __LINE__);
    EXPECT_EQ(RuleFindings(fx), c.want);
  }
}

// The same check serves the registries, naming their own record and fields.
TEST(Opening, UfCheckNamesTheCallersRecord) {
  RunFixture fx;
  ASSERT_EQ(fx.Split("|0100|C1|11222333000181||Loja|Rua B|20040002|3550308|RJ||||20200101||"),
            kR0100);
  VerificarUfMunicipioCep(fx.run, fx.rec, 6, 7, 8);
  EXPECT_EQ(RuleFindings(fx), Findings{OtherUf(8, "COD_MUN - Código IBGE do município", "3550308",
                                               "SP", "RJ", "0100", 9)});
}

TEST(Opening, DeclarantIsKeptForTheRun) {
  RunFixture fx;
  fx.Split("|0000|07|2|SP|11222333000181|Empresa|20250101|20250131|2|202502|");
  ValidarRegistro_0000(fx.run, fx.rec, -1, __LINE__);
  fx.Split("|0005|Fantasia|Rua A, 1|01001000|3550308|SP|Fulano|11999990000|a@b.com|");
  ValidarRegistro_0005(fx.run, fx.rec, 1, __LINE__);
  const ValidationContext& c = fx.run.ctx;
  EXPECT_EQ(std::vector<std::string>({c.cod_ver, c.uf_fisco, c.cnpj, c.nome, c.dt_ini, c.dt_fin,
                                      c.mes_val, c.uf, c.endereco, c.cep, c.contato, c.telefone,
                                      c.email}),
            std::vector<std::string>({"07", "SP", "11222333000181", "Empresa", "20250101",
                                      "20250131", "202502", "SP", "Rua A, 1", "01001000", "Fulano",
                                      "11999990000", "a@b.com"}));
  EXPECT_EQ(c.finalidade, 2);
  EXPECT_EQ(c.tp_amb, 2);
}

}  // namespace
}  // namespace volp
