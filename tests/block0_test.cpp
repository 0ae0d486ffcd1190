// The registry records of block 0 on whole files derived from a valid base,
// and the end-of-file walk of clients and devices on hand-filled registries.
#include "rules/block0.hpp"

#include <gtest/gtest.h>

#include <functional>

#include "declaration_builder.hpp"

namespace volp::test {
namespace {

struct Variant {
  const char* name;
  std::function<Declaration()> make;
  std::vector<Expected> errors;
};

void PrintTo(const Variant& v, std::ostream* os) { *os << v.name; }

class Block0File : public ::testing::TestWithParam<Variant> {};

TEST_P(Block0File, ReportsExactlyTheseErrors) {
  ExpectErrors(GetParam().make(), GetParam().errors);
}

// A base with its registry records changed by `edit`.
std::function<Declaration()> Edit(Declaration (*base)(),
                                  std::function<void(std::vector<std::string>&)> edit) {
  return [=] {
    Declaration d = base();
    edit(d.registry);
    return d;
  };
}
auto Put(std::string_view prefix, int where, std::string line) {
  return [=](std::vector<std::string>& r) { test::Put(r, prefix, where, line); };
}

std::string NoRef(const char* type, const char* field, const char* code) {
  return std::string("Registro ") + type + " com " + field + " '" + code +
         "' sem referência em nenhum outro registro.";
}
std::string Found(std::string what, const char* first) {
  return what + " já foi encontrado na linha {L" + first + "} e posição {P" + first +
         "} no arquivo.";
}
std::string UfOf(const char* field, const char* value, const char* found, const char* stated,
                 const char* rec) {
  return std::string("O campo ") + field + "' contém '" + value + "' que pertence a UF '" + found +
         "' e não pertence a UF '" + stated + "' informado no campo " +
         (std::string(rec) == "0300" ? "08" : "09") + " do registro " + rec + ".";
}
const char* const kCep0100 = "07 - 'CEP do estabelecimento ou usuário";

std::string Auth(const char* cnpj, const char* ini = "20250110", const char* fim = "",
                 const char* uf = "SP") {
  return Rec({"0600", "1", Cnpj(cnpj), "1", "Autorizada", "Rua E, 5", "01310400", "3550308", uf,
              "Beltrano", "1144445555", "aut@teste.com.br", ini, fim});
}
Declaration Authorisations(std::vector<std::string> records) {
  Declaration d;
  d.cod_fin = "6";
  d.registry = std::move(records);
  return d;
}

INSTANTIATE_TEST_SUITE_P(
    Registry, Block0File,
    ::testing::Values(
        Variant{"valid_full_file", FullBase, {}},
        Variant{"valid_registry_only", RegistryBase, {}},
        // The duplicate is not stored: its RJ address never reaches the UF
        // check at the end, where the first C1 is the one referenced.
        Variant{"client_twice", Edit(FullBase, Put("|0100|C2|", 1, Client("C1", "20040002", "3304557", "RJ"))),
                {{"|0100|C1|", 2, 2, Found("Esse Código de Cliente 'C1'", "|0100|C1|")}}},
        Variant{"device_code_twice", Edit(FullBase, Put("|0200|M2|", 1, Device("M1", "LOG9", "1", "0", ""))),
                {{"|0200|M1|", 2, 2, Found("Esse Código do Meio de Captura 'M1'", "|0200|M1|")}}},
        // The same terminal (logical number and brand) under a new code.
        Variant{"terminal_twice", Edit(FullBase, Put("|0200|M2|", 1, Device("M3", "LOG2", "2", "1", "MarcaX"))),
                {{"|0200|M3|", 1, 3, Found("Esse Cadastro de Meio de Captura", "|0200|M2|")},
                 {"|0200|M3|", 1, 2, NoRef("0200", "COD_MCAPT", "M3")}}},
        Variant{"same_logical_number_other_brand",
                Edit(FullBase, Put("|0200|M2|", 1, Device("M3", "LOG2", "2", "1", "MarcaY"))),
                {{"|0200|M3|", 1, 2, NoRef("0200", "COD_MCAPT", "M3")}}},
        Variant{"partner_twice", Edit(RegistryBase, Put("|0300|", 1, Partner("P1"))),
                {{"|0300|", 2, 2, Found("Esse Código de Parceira 'P1'", "|0300|")}}},
        // A VAN repeats only under the same client.
        Variant{"van_twice",
                Edit(RegistryBase,
                     [](auto& r) {
                       test::Put(r, "|0105|", 1, Van("5"));
                       test::Put(r, "|0100|C2|", 1, Van());
                     }),
                {{"|0105|", 2, 2, Found("Esse Cadastro de VAN", "|0105|")}}},
        Variant{"authorised_cnpj_twice",
                [] { return Authorisations({Auth("246813570001"), Auth("192837460001"), Auth("246813570001")}); },
                {{"|0600|", 3, 3, Found("Esse CNPJ de Instituição Autorizada '" + Cnpj("246813570001") + "'", "|0600|")}}},
        // DF and GO share the 72xxx-73xxx CEPs in alternating ranges.
        Variant{"df_with_go_cep", Edit(RegistryBase, Put("|0100|C1|", 0, Client("C1", "72850000", "5300108", "DF"))),
                {{"|0100|C1|", 1, 7, UfOf(kCep0100, "72850000", "GO", "DF", "0100")}}},
        Variant{"go_with_df_cep", Edit(RegistryBase, Put("|0100|C1|", 0, Client("C1", "73100000", "5208707", "GO"))),
                {{"|0100|C1|", 1, 7, UfOf(kCep0100, "73100000", "DF", "GO", "0100")}}},
        Variant{"municipality_of_go_in_df",
                Edit(RegistryBase, Put("|0100|C1|", 0, Client("C1", "70040000", "5208707", "DF"))),
                {{"|0100|C1|", 1, 8, UfOf("08 - 'COD_MUN - Código IBGE do município", "5208707", "GO", "DF", "0100")}}},
        Variant{"partner_in_rj_with_sp_cep", Edit(RegistryBase, Put("|0300|", 0, Partner("P1", "RJ"))),
                {{"|0300|", 1, 6, UfOf("06 - 'CEP da instituição parceira", "01310300", "SP", "RJ", "0300")}}},
        Variant{"authorised_in_rj_with_sp_address",
                [] { return Authorisations({Auth("246813570001", "20250110", "", "RJ")}); },
                {{"|0600|", 1, 7, UfOf("07 - 'CEP", "01310400", "SP", "RJ", "0600")},
                 {"|0600|", 1, 8, UfOf("08 - 'COD_MUN - Código IBGE do Município", "3550308", "SP", "RJ", "0600")}}}),
    [](const auto& info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    RecordRules, Block0File,
    ::testing::Values(
        Variant{"second_beneficiary_in_notification",
                [] {
                  Declaration d = RegistryBase();
                  d.cod_fin = "3";
                  return d;
                },
                {{"|0100|C2|", 1, 2,
                  "Para finalidade 3 só pode existir um único beneficiário de pagamento por "
                  "arquivo."}}},
        Variant{"van_count_required_since_2023",
                Edit(RegistryBase, Put("|0105|", 0, Van(""))),
                {{"|0105|", 1, 4,
                  "A partir de 01/2023 o campo 04 - 'Quantidade de transações do cliente' passou a "
                  "ser obrigatório."}}},
        Variant{"van_count_optional_before",
                [] {
                  Declaration d = RegistryBase();
                  test::Put(d.registry, "|0105|", 0, Van(""));
                  d.dt_ini = "20221201", d.dt_fin = "20221231", d.mes_val = "202301";
                  return d;
                },
                {}},
        Variant{"terminal_rules",
                Edit(RegistryBase,
                     [](auto& r) {
                       test::Put(r, "|0300|", -1, Device("M8", "LOG8", "4", "1", "MarcaX"));
                       test::Put(r, "|0300|", -1, Device("M9", "LOG9", "1", "1", ""));
                       test::Put(r, "|0300|", -1, Device("MA", "LOGA", "7", "2", "MarcaX"));
                     }),
                {{"|0200|M8|", 1, 5,
                  "Para o Tipo de Tecnologia '4 - E-commerce' o campo 05 - TERM_PROP deve ser '0' "
                  "e não: 1."},
                 {"|0200|M9|", 1, 6,
                  "Para Terminal de Terceiro onde o campo 05 - TERM_PROP é igual a 1 deve ser "
                  "informado o campo 06 - MARCA."},
                 // Cash or another structure is always a third party's terminal.
                 {"|0200|MA|", 1, 5,
                  "O campo 05 - TERM_PROP o tipo de terminal pode ser 0 ou 1 e não: '2'."},
                 {"|0200|MA|", 1, 5,
                  "Para o Tipo de Tecnologia '7 - Pagamento efetuado em dinheiro ou por outra "
                  "estrutura' o campo 05 - TERM_PROP deve ser 1 e não: 2."},
                 {"|0200|M8|", 1, 2, NoRef("0200", "COD_MCAPT", "M8")},
                 {"|0200|M9|", 1, 2, NoRef("0200", "COD_MCAPT", "M9")},
                 {"|0200|MA|", 1, 2, NoRef("0200", "COD_MCAPT", "MA")}}},
        Variant{"authorisation_ending_when_it_starts",
                [] { return Authorisations({Auth("246813570001", "20250110", "20250110")}); },
                {{"|0600|", 1, 14,
                  "O campo 14 - 'DT_FIM_AUT - Data de cancelamento da habilitação da instituição "
                  "autorizada' deve "
                  "ser superior ao campo 13 - 'DT_INI_AUT - Data de habilitação da instituição "
                  "autorizada' "
                  "20250110 e não: 20250110."}}},
        Variant{"client_and_device_nobody_uses",
                [] {
                  Declaration d = FullBase();
                  d.block1.resize(3);  // only C1 and M1 are used
                  return d;
                },
                {{"|0100|C2|", 1, 2, NoRef("0100", "COD_CLIENTE", "C2")},
                 {"|0200|M2|", 1, 2, NoRef("0200", "COD_MCAPT", "M2")}}},
        Variant{"client_of_another_uf_without_destinations",
                Edit(FullBase, Put("|0100|C2|", 0, Client("C2", "20040002", "3304557", "RJ"))),
                {{"|0100|C2|", 1, 9,
                  "A UF informada no campo 09 do registro 0100 é 'RJ' e deveria ser igual a "
                  "UF_FISCO 'SP' "
                  "informada no campo 04 do registro 0000 ou ter um registro 1120 ou 1220."}}}),
    [](const auto& info) { return std::string(info.param.name); });

// The code fields whose values the rules hold to fewer than their layout
// admits, each with the exact text of its finding.
std::string ClientIndSub(std::string_view ind_sub) {
  return Rec({"0100", "C1", Cnpj("445556660001"), "", "Cliente", "Rua B, 2", "01310100", "3550308",
              "SP", "", "", "", "20200115", ind_sub});
}

INSTANTIATE_TEST_SUITE_P(
    CodeValues, Block0File,
    ::testing::Values(
        Variant{"ind_sub_other_than_0_or_1",
                Edit(RegistryBase, Put("|0100|C1|", 0, ClientIndSub("2"))),
                {{"|0100|C1|", 1, 14,
                  "No campo 14 - 'IND_SUB - Indicador de operação de intermediação' o valor pode "
                  "ser: 0 ou 1 e não: 2."}}},
        Variant{"technology_8",
                Edit(RegistryBase, Put("|0300|", -1, Device("M8", "LOG8", "8", "0", ""))),
                {{"|0200|M8|", 1, 4,
                  "No campo 04 - TIPO_TECN o tipo de tecnologia pode ser: 1, 2, 3, 4, 5, 6 ou 7 e "
                  "não: 8."},
                 {"|0200|M8|", 1, 2, NoRef("0200", "COD_MCAPT", "M8")}}},
        Variant{"authorisation_and_transactions_codes",
                [] {
                  return Authorisations({Rec({"0600", "3", Cnpj("246813570001"), "2", "Autorizada",
                                              "Rua E, 5", "01310400", "3550308", "SP", "Beltrano",
                                              "1144445555", "aut@teste.com.br", "20250110", ""})});
                },
                {{"|0600|", 1, 2,
                  "No campo 02 - 'TP_AUTORIZ - Tipo de registro de autorização' o tipo de "
                  "autorização pode ser: 1 ou 2 e não: 3."},
                 {"|0600|", 1, 4,
                  "No campo 04 - 'TP_TRANSAC - Existirão transações comverciais' pode ser: 0 "
                  "(Não) ou 1 (Sim) e não: 2."}}}),
    [](const auto& info) { return std::string(info.param.name); });

struct EndChecks : ::testing::Test {
  RunFixture fx;
  ClientEntry& AddClient(std::string_view code, std::string_view uf = "SP") {
    Block0State& st = fx.run.block0;
    ClientEntry& e = *st.clients.Insert(code, {uf}).first;
    e.line = 12, e.offset = 1200, e.code_column = 7, e.uf_column = 40;
    return e;
  }
  std::vector<std::string> Contents() const {
    std::vector<std::string> out;
    for (const Finding& f : fx.ps.findings.list) out.push_back(f.content);
    return out;
  }
};

TEST_F(EndChecks, ClientRulesByFlags) {
  const struct {
    bool referenced, exempt, has_1120, has_1220;
    const char* uf;
    int finalidade;
    int field;  // of the finding; 0 = none
  } cases[] = {
      {false, false, false, false, "RJ", 1, 2},  // unreferenced: no UF rule
      {false, true, false, false, "SP", 1, 0},  {true, false, false, false, "SP", 1, 0},
      {true, false, false, false, "RJ", 1, 9},  {true, true, false, false, "RJ", 1, 9},
      {true, false, true, false, "RJ", 1, 0},   {true, false, false, true, "RJ", 1, 0},
      {true, false, false, false, "RJ", 3, 0},  {true, false, false, false, "", 1, 0},
  };
  fx.run.ctx.uf_fisco = "SP";
  for (const auto& c : cases) {
    fx.ps.findings = {};
    fx.run.block0.clients.clear();
    fx.run.ctx.finalidade = c.finalidade;
    ClientEntry& e = AddClient("K", c.uf);
    e.referenced = c.referenced, e.exempt = c.exempt, e.has_1120 = c.has_1120,
    e.has_1220 = c.has_1220;
    VerificacaoRegistro_0100(fx.run, __LINE__);
    SCOPED_TRACE(testing::Message()
                 << c.referenced << c.exempt << c.has_1120 << c.has_1220 << c.uf << c.finalidade);
    ASSERT_EQ(fx.ps.findings.list.size(), c.field ? 1u : 0u);
    if (!c.field) continue;
    const Finding& f = fx.ps.findings.list[0];
    EXPECT_EQ(f.line, 12);
    EXPECT_EQ(f.offset, 1200);
    EXPECT_EQ(f.field_number, c.field);
    EXPECT_EQ(f.column, c.field == 9 ? 40 : 7);
    EXPECT_EQ(f.content, c.field == 9 ? "RJ" : "K");
    EXPECT_EQ(Latin1ToUtf8(f.field_name),
              c.field == 9 ? "Sigla da Unidade da Federação" : "COD_CLIENTE - Código do cliente");
  }
}

TEST_F(EndChecks, WalkInByteOrderAndStopAtTheErrorLimit) {
  for (const char* code : {"b", "B", "a", "\xE9", "a1"}) AddClient(code);
  for (const char* code : {"m2", "M2", "m10"}) fx.run.block0.devices.Insert(code);
  VerificacaoRegistro_0100(fx.run, __LINE__);
  VerificacaoRegistro_0200(fx.run, __LINE__);
  EXPECT_EQ(Contents(), (std::vector<std::string>{"B", "a", "a1", "b", "\xE9", "M2", "m10", "m2"}));

  fx.ps.findings = {};
  fx.ps.findings.errors = kMaxErrors;
  VerificacaoRegistro_0100(fx.run, __LINE__);
  EXPECT_TRUE(Contents().empty());
  // One short of the limit: the first finding reaches it and ends the walk.
  fx.ps.findings.errors = kMaxErrors - 1;
  VerificacaoRegistro_0100(fx.run, __LINE__);
  VerificacaoRegistro_0200(fx.run, __LINE__);
  EXPECT_EQ(Contents(), std::vector<std::string>{"B"});
}

}  // namespace
}  // namespace volp::test
