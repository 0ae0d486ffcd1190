// The header record 0000 (version, purpose, period, environment), the
// declarant's address in 0005 (UF against municipality and CEP) and what
// both leave in the run's context.
#include "rules/opening.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "rules/uf_check.hpp"
#include "support.hpp"

namespace volp {
namespace {

using test::L1;
using test::RunFixture;

// The rule messages of these records; the field analysis, which runs first,
// adds its own ("Campo 02 - ... tem tamanho ...") that are judged elsewhere.
bool FromOpeningRules(const std::string& m) {
  return m.rfind("No campo ", 0) == 0 || m.rfind("Para finalidade de arquivo '", 0) == 0 ||
         m.find("que n\xE3o \xE9 o primeiro dia do m\xEAs") != std::string::npos ||
         m.find("que pertence a UF") != std::string::npos ||
         m.find("que n\xE3o pertence a nenhuma UF") != std::string::npos;
}

using Expected = std::vector<std::pair<int, std::string>>;  // field number, message (UTF-8)

Expected RuleFindings(const RunFixture& fx) {
  Expected out;
  for (const Finding& f : fx.ps.findings.list)
    if (FromOpeningRules(f.message)) out.emplace_back(f.field_number, f.message);
  return out;
}

Expected ToLatin1(Expected e) {
  for (auto& [n, m] : e) m = L1(m);
  return e;
}

std::string Line0000(const std::string& ver, const std::string& fin, const std::string& ini,
                     const std::string& fim, const std::string& amb) {
  return "|0000|" + ver + "|" + fin + "|SP|11222333000181|Empresa Teste|" + ini + "|" + fim + "|" +
         amb + "|202502|";
}

const char* const kFirstDay =
    "Campo 07 - 'DT_INI - Data do início do período referente as "
    "informações prestadas' contém %s que não é o primeiro dia do mês.";

std::string Fmt(const char* fmt, const std::string& a) {
  char buf[400];
  std::snprintf(buf, sizeof buf, fmt, a.c_str());
  return buf;
}

struct HeaderCase {
  const char* name;
  std::string ver, fin, ini, fim, amb;
  Expected want;
};

const std::string kVer = "07", kIni = "20250101", kFim = "20250131", kAmb = "1";

std::vector<HeaderCase> HeaderCases() {
  const std::string fin6 =
      "Para finalidade de arquivo '6 - Autorização para Instituição Parceira' o campo 08 - "
      "'DT_FIN - Data do fim do período referente as informações prestadas' deve ser igual ao "
      "campo 07 - 'DT_INI - Data do início do período referente as informações prestadas' e "
      "não: ";
  return {
      {"a good header", kVer, "1", kIni, kFim, kAmb, {}},
      {"version 7",
       "7",
       "1",
       kIni,
       kFim,
       kAmb,
       {{2, "No campo 02 - COD_VER a versão de leiaute deve ser 07 e não 7."}}},
      {"version 007",
       "007",
       "1",
       kIni,
       kFim,
       kAmb,
       {{2, "No campo 02 - COD_VER a versão de leiaute deve ser 07 e não 007."}}},
      {"version 08",
       "08",
       "1",
       kIni,
       kFim,
       kAmb,
       {{2, "No campo 02 - COD_VER a versão de leiaute deve ser 07 e não 08."}}},
      {"purpose 0 still runs the period rules",
       kVer,
       "0",
       "20250115",
       kFim,
       kAmb,
       {{3, "No campo 03 - COD_FIN a finalidade do arquivo pode ser: 1, 2, 3, 4, 5 ou 6 e não: 0."},
        {7, Fmt(kFirstDay, "20250115")}}},
      {"purpose 7",
       kVer,
       "7",
       kIni,
       kFim,
       kAmb,
       {{3,
         "No campo 03 - COD_FIN a finalidade do arquivo pode ser: 1, 2, 3, 4, 5 ou 6 e não: 7."}}},
      {"purpose as a letter reads as 0",
       kVer,
       "a",
       kIni,
       "20250228",
       kAmb,
       {{3, "No campo 03 - COD_FIN a finalidade do arquivo pode ser: 1, 2, 3, 4, 5 ou 6 e não: a."},
        {8,
         "No campo 08 - DT_FIN o Ano/Mês da data final 202502 está diferente do Ano/Mês da "
         "data inicial 202501 do campo 07 - DT_INI."}}},
      {"period not starting on the 1st",
       kVer,
       "2",
       "20250102",
       kFim,
       kAmb,
       {{7, Fmt(kFirstDay, "20250102")}}},
      {"period start of 7 characters",
       kVer,
       "1",
       "2025010",
       kFim,
       kAmb,
       {{7, Fmt(kFirstDay, "2025010")}}},
      {"period start with text after the day",
       kVer,
       "1",
       "202501011",
       kFim,
       kAmb,
       {{7, Fmt(kFirstDay, "202501011")}}},
      {"end before start in another month",
       kVer,
       "1",
       "20250201",
       "20250131",
       kAmb,
       {{8,
         "No campo 08 - DT_FIN a data final deve ser superior a data inicial 20250201 do "
         "campo 07 - DT_INI e não: 20250131."},
        {8,
         "No campo 08 - DT_FIN o Ano/Mês da data final 202501 está diferente do Ano/Mês da "
         "data inicial 202502 do campo 07 - DT_INI."}}},
      {"end before start in the same month",
       kVer,
       "1",
       "20250101",
       "20250100",
       kAmb,
       {{8,
         "No campo 08 - DT_FIN a data final deve ser superior a data inicial 20250101 do "
         "campo 07 - DT_INI e não: 20250100."}}},
      {"equal dates pass", kVer, "1", kIni, kIni, kAmb, {}},
      {"notification: any span, any start day", kVer, "3", "20250115", "20250310", kAmb, {}},
      {"notification: ordering still checked",
       kVer,
       "3",
       "20250315",
       "20250310",
       kAmb,
       {{8,
         "No campo 08 - DT_FIN a data final deve ser superior a data inicial 20250315 do "
         "campo 07 - DT_INI e não: 20250310."}}},
      {"authorisation: one whole month", kVer, "6", kIni, kFim, kAmb, {}},
      {"authorisation: into the next month",
       kVer,
       "6",
       kIni,
       "20250215",
       kAmb,
       {{8, fin6 + "20250215."}}},
      {"authorisation: no ordering test", kVer, "6", "20250101", "20250100", kAmb, {}},
      {"authorisation: first day still required",
       kVer,
       "6",
       "20250110",
       "20250105",
       kAmb,
       {{7, Fmt(kFirstDay, "20250110")}}},
      {"environment 3",
       kVer,
       "1",
       kIni,
       kFim,
       "3",
       {{9, "No campo 09 - TP_AMB o tipo de ambiente pode ser: 1 ou 2 e não: 3."}}},
      {"environment empty",
       kVer,
       "1",
       kIni,
       kFim,
       "",
       {{9, "No campo 09 - TP_AMB o tipo de ambiente pode ser: 1 ou 2 e não: vazio."}}},
      {"environment 2", kVer, "1", kIni, kFim, "2", {}},
      {"no purpose: no period rules", kVer, "", "20250115", "20250301", kAmb, {}},
  };
}

void Run0000(RunFixture& fx, const std::string& line) {
  ASSERT_EQ(fx.Split(line), kR0000);
  ValidarRegistro_0000(fx.run, fx.rec, -1, __LINE__);
}

TEST(Opening, HeaderRules) {
  for (const HeaderCase& c : HeaderCases()) {
    SCOPED_TRACE(c.name);
    RunFixture fx;
    Run0000(fx, Line0000(c.ver, c.fin, c.ini, c.fim, c.amb));
    EXPECT_EQ(RuleFindings(fx), ToLatin1(c.want));
    for (const Finding& f : fx.ps.findings.list) {
      if (FromOpeningRules(f.message)) {
        EXPECT_EQ(f.severity, kErro);
      }
    }
  }
}

TEST(Opening, HeaderIsKeptForTheRun) {
  RunFixture fx;
  Run0000(fx, Line0000("07", "2", "20250101", "20250131", "2"));
  const ValidationContext& c = fx.run.ctx;
  EXPECT_EQ(c.cod_ver, "07");
  EXPECT_EQ(c.finalidade, 2);
  EXPECT_EQ(c.uf_fisco, "SP");
  EXPECT_EQ(c.cnpj, "11222333000181");
  EXPECT_EQ(c.nome, "Empresa Teste");
  EXPECT_EQ(c.dt_ini, "20250101");
  EXPECT_EQ(c.dt_fin, "20250131");
  EXPECT_EQ(c.tp_amb, 2);
  EXPECT_EQ(c.mes_val, "202502");
}

TEST(Opening, PurposeKeptEvenOutOfRangeAndUntouchedWhenAbsent) {
  struct Case {
    const char* fin;
    int before;
    int after;
  } cases[] = {{"9", 1, 9}, {"x", 1, 0}, {"", 4, 4}, {"5", 0, 5}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fin);
    RunFixture fx;
    fx.run.ctx.finalidade = c.before;
    Run0000(fx, Line0000("07", c.fin, "20250101", "20250131", "1"));
    EXPECT_EQ(fx.run.ctx.finalidade, c.after);
  }
}

// 0005: |0005|name|address|CEP|COD_MUN|UF|contact|phone|e-mail|
std::string Line0005(const std::string& cep, const std::string& mun, const std::string& uf) {
  return "|0005|Fantasia|Rua A, 1|" + cep + "|" + mun + "|" + uf + "|Fulano|11999990000|a@b.com|";
}

std::string OtherUf(int field, const char* name, const std::string& value, const char* owner,
                    const char* uf, const char* type = "0005", int uf_field = 6) {
  char buf[600];
  std::snprintf(buf, sizeof buf,
                "O campo %02d - '%s' contém '%s' que pertence a UF '%s' e não pertence a UF '%s' "
                "informado no campo %02d do registro %s.",
                field, name, value.c_str(), owner, uf, uf_field, type);
  return buf;
}

std::string NoUf(const std::string& cep) {
  return "O campo 04 - 'CEP' contém '" + cep + "' que não pertence a nenhuma UF.";
}

const char* const kMun = "COD_MUN - Códido IBGE do Município";

struct AddressCase {
  std::string cep, mun, uf;
  Expected want;
};

std::vector<AddressCase> AddressCases() {
  return {
      {"01001000", "3550308", "SP", {}},
      // Municipality first, then CEP.
      {"01001000",
       "3550308",
       "RJ",
       {{5, OtherUf(5, kMun, "3550308", "SP", "RJ")},
        {4, OtherUf(4, "CEP", "01001000", "SP", "RJ")}}},
      // SP's range starts at 01000; 00999 is nobody's.
      {"00999000", "3550308", "SP", {{4, NoUf("00999000")}}},
      {"01000000", "3550308", "SP", {}},
      // DF and GO interleave.
      {"72850000", "5300108", "DF", {{4, OtherUf(4, "CEP", "72850000", "GO", "DF")}}},
      {"73100000", "5300108", "DF", {}},
      {"73100000", "5208707", "GO", {{4, OtherUf(4, "CEP", "73100000", "DF", "GO")}}},
      {"72799999", "5300108", "DF", {}},
      {"72800000", "5208707", "GO", {}},
      // AM has two ranges around RR's.
      {"69299000", "1302603", "AM", {}},
      {"69300000", "1302603", "AM", {{4, OtherUf(4, "CEP", "69300000", "RR", "AM")}}},
      {"69400000", "1302603", "AM", {}},
      {"99999999", "4314902", "RS", {}},
      // A municipality whose prefix is no UF's is not this rule's business.
      {"01001000", "9912345", "SP", {}},
      // Without a municipality only the CEP is compared.
      {"20000000", "", "SP", {{4, OtherUf(4, "CEP", "20000000", "RJ", "SP")}}},
      // Without a UF nothing is compared.
      {"00999000", "3304557", "", {}},
  };
}

TEST(Opening, AddressAgreesWithItsUf) {
  for (const AddressCase& c : AddressCases()) {
    SCOPED_TRACE(c.cep + " " + c.mun + " " + c.uf);
    RunFixture fx;
    ASSERT_EQ(fx.Split(Line0005(c.cep, c.mun, c.uf)), kR0005);
    ValidarRegistro_0005(fx.run, fx.rec, 1, __LINE__);
    EXPECT_EQ(RuleFindings(fx), ToLatin1(c.want));
  }
}

// The same check serves the registries, naming their own record and fields.
TEST(Opening, UfCheckNamesTheCallersRecord) {
  RunFixture fx;
  fx.run.ctx.state = kAguardando0100;
  ASSERT_EQ(fx.Split("|0100|C1|11222333000181||Loja|Rua B|20040002|3550308|RJ||||20200101||"),
            kR0100);
  for (int i = 0; i < fx.rec.field_count(); ++i)
    fx.rec.fields[i].filled = !fx.rec.fields[i].text.empty();
  VerificarUfMunicipioCep(fx.run, fx.rec, 6, 7, 8);
  EXPECT_EQ(RuleFindings(fx), ToLatin1({{8, OtherUf(8, "COD_MUN - Código IBGE do município",
                                                    "3550308", "SP", "RJ", "0100", 9)}}));
}

TEST(Opening, AddressIsKeptForTheRun) {
  RunFixture fx;
  ASSERT_EQ(fx.Split(Line0005("01001000", "3550308", "SP")), kR0005);
  ValidarRegistro_0005(fx.run, fx.rec, 1, __LINE__);
  const ValidationContext& c = fx.run.ctx;
  EXPECT_EQ(c.uf, "SP");
  EXPECT_EQ(c.endereco, "Rua A, 1");
  EXPECT_EQ(c.cep, "01001000");
  EXPECT_EQ(c.contato, "Fulano");
  EXPECT_EQ(c.telefone, "11999990000");
  EXPECT_EQ(c.email, "a@b.com");
}

}  // namespace
}  // namespace volp
