// End-to-end files for block 1: a small valid declaration, and variants of
// its block 1 that each break or stretch one rule. Every finding of the run
// is compared, so a rule that fires where it should not fails as well.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "declaration_builder.hpp"

namespace volp {
namespace {

using test::Cnpj;
using test::Rec;

// The CPF's two check digits (weights from 10 and from 11).
std::string Cpf(std::string base) {
  for (int k = 0; k < 2; ++k) {
    int w = 10 + k, sum = 0;
    for (char c : base) sum += (c - '0') * w--;
    base.push_back(static_cast<char>('0' + (sum % 11 < 2 ? 0 : 11 - sum % 11)));
  }
  return base;
}

std::string Money(int64_t cents) { return Moeda(cents).c_str(); }

const std::string kCnpjC1 = Cnpj("445556660001");
const std::string kCnpjC3 = Cnpj("778889990001");
const std::string kCpfC2 = Cpf("123456789");
const std::string kCnpjP1 = Cnpj("987654320001");
const std::string kCnpjAdq = Cnpj("135792460001");
const std::string kCnpjDest = Cnpj("246813570001");
const std::string kCpfDest = Cpf("987654321");

std::string Cliente(std::string_view code, std::string_view cnpj, std::string_view cpf,
                    std::string_view cep, std::string_view mun, std::string_view uf) {
  return Rec(
      {"0100", code, cnpj, cpf, "Cliente", "Rua B, 2", cep, mun, uf, "", "", "", "20200115", "0"});
}
const std::string kC1 = Cliente("C1", kCnpjC1, "", "01002000", "3550308", "SP");
const std::string kC2 = Cliente("C2", "", kCpfC2, "01003000", "3550308", "SP");
const std::string kC3 = Cliente("C3", kCnpjC3, "", "20040002", "3304557", "RJ");
const std::string kM1 = Rec({"0200", "M1", "LOG1", "1", "0", ""});
const std::string kM7 = Rec({"0200", "M7", "LOG7", "7", "1", "Marca"});
const std::string kP1 = Rec(
    {"0300", "P1", kCnpjP1, "Parceira Ltda", "Rua D, 4", "01310300", "3550308", "SP", "", "", ""});

// Record builders with the base values; each takes what a case changes.
std::string R1100(std::string_view cliente, std::string_view valor, std::string_view qtd,
                  std::string_view ini = "20251201", std::string_view fin = "20251231",
                  std::string_view comex = "0", std::string_view extemp = "0",
                  std::string_view ip_par = "") {
  return Rec({"1100", ip_par, cliente, comex, extemp, ini, fin, valor, qtd});
}
std::string R1110(std::string_view mcapt, std::string_view dia, std::string_view valor,
                  std::string_view qtd, std::string_view adqui) {
  return Rec({"1110", mcapt, dia, valor, qtd, adqui});
}
std::string R1115(std::string_view nsu, std::string_view valor, std::string_view split = "0",
                  std::string_view bandeira = "1", std::string_view nat = "1",
                  std::string_view aut = "", std::string_view id = "") {
  return Rec({"1115", nsu, aut, id, split, bandeira, "120000", valor, nat, ""});
}
std::string R1120(std::string_view uf, std::string_view cnpj, std::string_view cpf = "",
                  std::string_view id = "") {
  return Rec({"1120", uf, "", cnpj, cpf, id, "", "", "", ""});
}
std::string R1200(std::string_view dt_op, std::string_view dt_canc, std::string_view orig,
                  std::string_view canc, std::string_view nsu = "NSU9",
                  std::string_view tipo = "0") {
  return Rec({"1200", "", "C1", "M1", nsu, "AUT9", "", dt_op, dt_canc, tipo, orig, canc});
}
std::string R1220(std::string_view uf, std::string_view cnpj, std::string_view cpf = "",
                  std::string_view id = "") {
  return Rec({"1220", uf, "", cnpj, cpf, id});
}

// The group of C1: 100,00 in two transactions of one day, one with its
// destination.
std::vector<std::string> GrupoC1() {
  return {R1100("C1", "100,00", "2"), R1110("M1", "20251201", "100,00", "2", kCnpjAdq),
          R1115("NSU1", "60,00"), R1120("SP", kCnpjDest), R1115("NSU2", "40,00")};
}

// The group of C3, of RJ: that of C1 with its destination in `uf`.
std::vector<std::string> GrupoC3(std::string_view uf) {
  std::vector<std::string> g = GrupoC1();
  g[0] = R1100("C3", "100,00", "2");
  g[3] = R1120(uf, kCnpjDest);
  return g;
}

// The group of the CPF client C2 on the cash device: `n` transactions that
// add up to `total` cents.
std::vector<std::string> GrupoCpf(int64_t total, int n, std::string_view comex = "0",
                                  std::string_view dia = "20251202") {
  std::vector<std::string> out = {
      R1100("C2", Money(total), std::to_string(n), "20251201", "20251231", comex),
      R1110("M7", dia, Money(total), std::to_string(n), "")};
  const int64_t each = total / n;
  for (int i = 0; i < n; ++i) {
    const int64_t v = i == 0 ? total - each * (n - 1) : each;
    char nsu[32];
    std::snprintf(nsu, sizeof nsu, "T%.*s%d", static_cast<int>(comex.size()), comex.data(), i);
    out.push_back(R1115(nsu, Money(v), "0", "1", "5"));
  }
  return out;
}

std::vector<std::string> Concat(std::initializer_list<std::vector<std::string>> parts) {
  std::vector<std::string> out;
  for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

// The base file: December 2025, the groups of C1 and C2 and a cancellation.
struct Arquivo : test::Declaration {
  std::string qtd_lin_1;  // empty: the right count
  Arquivo() {
    dt_ini = "20251201", dt_fin = "20251231", mes_val = "202601";
    registry = {kC1, kC2, kM1, kM7, kP1};
    block1 = Concat({GrupoC1(),
                     GrupoCpf(337500, 30),
                     {R1200("20251115", "20251210", "50,00", "50,00"), R1220("SP", kCnpjDest)}});
  }
};

// One expected finding: at the `nth` line that starts with `at`, the printed
// field number, the severity and the message (UTF-8, with the placeholders
// of test::Fill).
struct Esperado {
  std::string at;
  int nth;
  int field;
  int severity;
  std::string message;
};

// Messages several cases expect, built from what differs between them.
std::string Found(const std::string& what, const std::string& first) {
  return what + " já foi encontrado na linha {L" + first + "} e posição {P" + first +
         "} no arquivo.";
}
std::string Soma(const char* rec, const char* campo, const char* has, const char* sum, int n,
                 const char* child) {
  return std::string("Registro ") + rec + " com " + campo + " '" + has +
         "' que não confere com o somatório " + campo + " '" + sum + "' de " + std::to_string(n) +
         (n == 1 ? " registro " : " registros ") + child + ".";
}
std::string Extemp(const char* campo, const char* data, const char* v) {
  return std::string("Para informação extemporânea no campo ") + campo + " a data " + data +
         " deve ser inferior a data inicial 20251201 do campo DT_INI no registro 0000 e não: " + v +
         ".";
}
std::string UfDest(const char* rec) {
  return std::string("A UF_DEST informada no campo 02 do registro ") + rec +
         " é 'RJ' e a UF informada no campo 09 do registro 0100 para o COD_CLIENTE 'C3' é 'RJ' "
         "na linha {L|0100|C3|} e posição {P|0100|C3|} no arquivo. Uma delas deveria ser igual "
         "a UF_FISCO 'SP' informada no campo 04 do registro 0000.";
}

// The 0100 finding of a client of another state that block 1 named, with no
// destination that passed the UF rule.
std::string UfCliente(const char* uf) {
  return std::string("A UF informada no campo 09 do registro 0100 é '") + uf +
         "' e deveria ser igual a UF_FISCO 'SP' informada no campo 04 do registro 0000 ou ter um "
         "registro 1120 ou 1220.";
}

// Runs the file and compares every finding with the expected ones.
void Expect(const Arquivo& a, const std::vector<Esperado>& expected) {
  std::vector<std::string> lines = a.Lines();
  if (!a.qtd_lin_1.empty()) test::Put(lines, "|1990|", 0, Rec({"1990", a.qtd_lin_1}));
  Result r = test::ValidateText(test::Lines(lines));
  ASSERT_TRUE(r.completed) << r.failure;
  auto describe = [](int64_t line, int field, int severity, const std::string& message) {
    return std::to_string(line) + " #" + std::to_string(field) + " s" + std::to_string(severity) +
           " " + message;
  };
  std::vector<std::string> got, want;
  for (const Finding& f : r.findings)
    got.push_back(describe(f.line, f.field_number, f.severity, Latin1ToUtf8(f.message)));
  for (const Esperado& e : expected)
    want.push_back(describe(test::LineOf(lines, e.at, e.nth), e.field, e.severity,
                            test::Fill(lines, e.message)));
  std::sort(got.begin(), got.end());
  std::sort(want.begin(), want.end());
  EXPECT_EQ(got, want);
}

struct Caso {
  std::string name;
  std::function<void(Arquivo&)> change;
  std::vector<Esperado> expected;
};

void RunCases(const std::vector<Caso>& cases) {
  for (const Caso& c : cases) {
    SCOPED_TRACE(c.name);
    Arquivo a;
    c.change(a);
    Expect(a, c.expected);
  }
}

TEST(Block1, BaseFileIsValid) { Expect(Arquivo{}, {}); }

TEST(Block1, MonthlySummary) {
  const std::string c1 = "|1100||C1|";
  RunCases({
      {"a one-day period is accepted",
       [](Arquivo& a) { a.block1[0] = R1100("C1", "100,00", "2", "20251201", "20251201"); },
       {}},
      {"start after the end; the day lies outside both ends",
       [](Arquivo& a) {
         a.block1[0] = R1100("C1", "100,00", "2", "20251210", "20251205");
         a.block1[1] = R1110("M1", "20251207", "100,00", "2", kCnpjAdq);
       },
       {{c1, 1, 7, 2,
         "No campo DT_FIN a data final deve ser superior a data inicial 20251210 do campo DT_INI "
         "e não: 20251205."},
        {"|1110|M1", 1, 3, 2,
         "No campo DT_OP a data da operação deve ser igual ou superior a data inicial 20251210 "
         "do campo DT_INI no registro 1100 e não: 20251207."},
        {"|1110|M1", 1, 3, 2,
         "No campo DT_OP a data da operação deve ser inferior ou igual a data final 20251205 do "
         "campo DT_FIN no registro 1100 e não: 20251207."}}},
      {"a period beyond the declared one",
       [](Arquivo& a) {
         a.block1[0] = R1100("C1", "100,00", "2", "20251130", "20260101");
         a.block1[1] = R1110("M1", "20251130", "100,00", "2", kCnpjAdq);
       },
       {{c1, 1, 6, 2,
         "No campo DT_INI a data inicial deve ser igual ou superior a data inicial 20251201 do "
         "campo DT_INI no registro 0000 e não: 20251130."},
        {c1, 1, 7, 2,
         "No campo DT_FIN a data final deve ser igual ou inferior a data final 20251231 do campo "
         "DT_FIN no registro 0000 e não: 20260101."}}},
      {"extemporaneous information ending the day before the period",
       [](Arquivo& a) {
         a.block1[0] = R1100("C1", "100,00", "2", "20251101", "20251130", "0", "1");
         a.block1[1] = R1110("M1", "20251130", "100,00", "2", kCnpjAdq);
       },
       {}},
      {"extemporaneous information ending on the first day of the period",
       [](Arquivo& a) {
         a.block1[0] = R1100("C1", "100,00", "2", "20251101", "20251201", "0", "1");
         a.block1[1] = R1110("M1", "20251201", "100,00", "2", kCnpjAdq);
       },
       {{c1, 1, 7, 2, Extemp("DT_FIN", "final", "20251201")}}},
      {"an empty indicator is extemporaneous, and a CPF group without it is not counted",
       [](Arquivo& a) {
         a.block1[5] = R1100("C2", "3375,00", "30", "20251201", "20251231", "0", "");
       },
       {{"|1100||C2|", 1, 5, 2,
         "Campo 05 - 'IND_EXTEMP - Indicador de informação extemporânea' é obrigatório."},
        {"|1100||C2|", 1, 6, 2, Extemp("DT_INI", "inicial", "20251201")},
        {"|1100||C2|", 1, 7, 2, Extemp("DT_FIN", "final", "20251231")}}},
      {"unknown partner and client; indicators out of range",
       [](Arquivo& a) {
         a.block1[0] = R1100("C9", "100,00", "2", "20251201", "20251231", "2", "0", "P9");
       },
       {{"|1100|P9|", 1, 2, 2, "Não existe nenhum registro 0300 com esse COD_IP_PAR 'P9'."},
        {"|1100|P9|", 1, 3, 2, "Não existe nenhum registro 0100 com esse COD_CLIENTE 'C9'."},
        {"|1100|P9|", 1, 4, 2,
         "No campo IND_COMEX o indicador de pagamento ao exterior pode ser 0 ou 1 e não: '2'."}}},
      {"client code equal to the partner code, both registered",
       [](Arquivo& a) {
         a.registry.push_back(Rec({"0300", "C1", kCnpjP1, "Parceira Ltda", "Rua D, 4", "01310300",
                                   "3550308", "SP", "", "", ""}));
         a.block1[0] = R1100("C1", "100,00", "2", "20251201", "20251231", "0", "0", "C1");
       },
       {{"|1100|C1|C1|", 1, 3, 2,
         "O campo 03 - COD_CLIENTE 'C1' não pode ser igual ao campo 02 - COD_IP_PAR 'C1'."}}},
      {"the same summary twice; the other IND_COMEX is another summary",
       [](Arquivo& a) {
         std::vector<std::string> again = GrupoC1();
         again[0] = R1100("C1", "100,00", "2");
         std::vector<std::string> comex1 = GrupoC1();
         comex1[0] = R1100("C1", "100,00", "2", "20251201", "20251231", "1");
         a.block1 = Concat({GrupoC1(), again, comex1, GrupoCpf(337500, 30)});
       },
       {{"|1100||C1|", 2, 0, 2, Found("Esse registro 1100", "|1100||C1|")}}},
  });
}

TEST(Block1, DailyTotalsAndTransactions) {
  const std::string t1 = "|1115|NSU1|";
  const std::string t2 = "|1115|NSU2|";
  auto sem = [](const std::string& where) {
    return "É obrigatório o preenchimento do campo 06 - CNPJ_ADQUI porque no campo 04 - TIPO_TECN "
           "do registro 0200 correspondente não tem o valor '7 - Pagamento efetuado em dinheiro "
           "ou por outra estrutura' na linha " +
           where + " no arquivo.";
  };
  const std::string com_1120 =
      "O campo 06 - CNPJ_ADQUI deve ser preenchido porque encontrou o registro 1120 na linha "
      "{L|1120|} e posição {P|1120|} no arquivo.";
  RunCases({
      {"an unknown device without acquirer gets both findings",
       [](Arquivo& a) { a.block1[1] = R1110("M9", "20251201", "100,00", "2", ""); },
       {{"|1110|M9", 1, 2, 2, "Não existe nenhum registro 0200 com esse COD_MCAPT 'M9'."},
        {"|1110|M9", 1, 6, 2, sem("0 e posição 0")},
        {"|1110|M9", 1, 6, 2, com_1120}}},
      {"a cash device with an acquirer",
       [](Arquivo& a) { a.block1[6] = R1110("M7", "20251202", "3375,00", "30", kCnpjAdq); },
       {{"|1110|M7", 1, 6, 2,
         "É vedado o preenchimento do campo 06 - CNPJ_ADQUI porque no campo 04 - TIPO_TECN do "
         "registro 0200 correspondente tem o valor '7 - Pagamento efetuado em dinheiro ou por "
         "outra estrutura' na linha {L|0200|M7|} e posição {P|0200|M7|} no arquivo."}}},
      {"a destination under a day without acquirer is reported at the day",
       [](Arquivo& a) { a.block1[1] = R1110("M1", "20251201", "100,00", "2", ""); },
       {{"|1110|M1", 1, 6, 2, sem("{L|0200|M1|} e posição {P|0200|M1|}")},
        {"|1110|M1", 1, 6, 2, com_1120}}},
      {"the same daily total twice under one summary",
       [](Arquivo& a) {
         a.block1 =
             Concat({{R1100("C1", "100,00", "2"), R1110("M1", "20251201", "60,00", "1", kCnpjAdq),
                      R1115("NSU1", "60,00"), R1110("M1", "20251201", "40,00", "1", kCnpjAdq),
                      R1115("NSU2", "40,00")},
                     GrupoCpf(337500, 30)});
       },
       {{"|1110|M1", 2, 0, 2, Found("Esse registro 1110", "|1110|M1")}}},
      {"transaction without NSU nor ID_TRANSAC",
       [](Arquivo& a) { a.block1[2] = R1115("", "60,00", "0", "1", "1", "AUT1"); },
       {{"|1115||AUT1|", 1, 4, 2,
         "O campo 04 - ID_TRANSAC é obrigatório porque o campo NSU está vazio."}}},
      {"natures 10 and 11 pass, 9 and 12 do not",
       [](Arquivo& a) {
         a.block1[2] = R1115("NSU1", "60,00", "0", "1", "9");
         a.block1[4] = R1115("NSU2", "40,00", "0", "1", "12");
         a.block1.insert(a.block1.begin() + 5, {R1110("M1", "20251203", "0,02", "2", kCnpjAdq),
                                                R1115("NSU3", "0,01", "0", "1", "10"),
                                                R1115("NSU4", "0,01", "0", "1", "11")});
         a.block1[0] = R1100("C1", "100,02", "4");
       },
       {{t1, 1, 9, 2,
         "No campo 09 - 'NAT_OPER - Natureza da operação' o valor pode ser 1 a 8, ou 10 ou 11 e "
         "não: 9."},
        {t2, 1, 9, 2,
         "No campo 09 - 'NAT_OPER - Natureza da operação' o valor pode ser 1 a 8, ou 10 ou 11 e "
         "não: 12."}}},
      {"a cash device takes only nature 5",
       [](Arquivo& a) { a.block1[8] = R1115("T01", "112,50", "0", "1", "1"); },
       {{"|1115|T01|", 1, 9, 2,
         "O campo 09 - NAT_OPER deve ser 5 'Pagamento efetuado em dinheiro ou por outra "
         "estrutura' porque o campo 04 - TIPO_TECN tem valor 7 'Pagamento efetuado em dinheiro "
         "ou por outra estrutura' no registro 0200 correspondente encontrado na linha "
         "{L|0200|M7|} e posição {P|0200|M7|} no arquivo."}}},
      {"brands 98 and 99 pass; 36 and 00 are warnings",
       [](Arquivo& a) {
         a.block1[2] = R1115("NSU1", "60,00", "0", "36");
         a.block1[4] = R1115("NSU2", "40,00", "0", "00");
         a.block1[7] = R1115("T00", "112,50", "0", "98", "5");
         a.block1[8] = R1115("T01", "112,50", "0", "99", "5");
       },
       {{t1, 1, 6, 1, "No campo BANDEIRA a bandeira pode ter valor 1 a 35 ou 99 e não: '36'."},
        {t2, 1, 6, 1, "No campo BANDEIRA a bandeira pode ter valor 1 a 35 ou 99 e não: '00'."}}},
  });
}

TEST(Block1, SplitTransactions) {
  // Two transactions with the same NSU under one daily total, with the
  // given IND_SPLIT of the first and of the second.
  struct Par {
    std::string first, second;
    std::vector<Esperado> expected;
  };
  const std::string at = "|1115|NSU1|";
  auto differs = [&](const char* now, const char* before) {
    return Esperado{at, 2, 5, 2,
                    std::string("No campo 05 - IND_SPLIT tem valor ") + now +
                        " mas no mesmo registro anterior tem valor " + before +
                        " encontrado na linha {L|1115|NSU1|} e posição {P|1115|NSU1|} no arquivo."};
  };
  const std::vector<Par> pares = {
      {"1", "1", {}},
      {"0", "0", {{at, 2, 0, 2, Found("Esse registro", at)}}},
      {"0", "1", {differs("1", "0")}},
      {"1", "0", {differs("0", "1")}},
      {"0",
       "2",
       {{at, 2, 5, 2,
         "No campo 05 - IND_SPLIT o indicador de operação splitada pode ser 0 ou 1 e não: '2'."}}},
  };
  for (const Par& p : pares) {
    SCOPED_TRACE(p.first + " then " + p.second);
    Arquivo a;
    a.block1[2] = R1115("NSU1", "60,00", p.first);
    a.block1[4] = R1115("NSU1", "40,00", p.second);
    Expect(a, p.expected);
  }
}

TEST(Block1, GroupClosings) {
  const std::string c1 = "|1100||C1|";
  const std::string d1 = "|1110|M1|";
  RunCases({
      {"one daily total short of the summary (singular)",
       [](Arquivo& a) { a.block1[0] = R1100("C1", "150,00", "3"); },
       {{c1, 1, 8, 2, Soma("1100", "VALOR", "150,00", "100,00", 1, "1110")},
        {c1, 1, 9, 2, Soma("1100", "QTD", "3", "2", 1, "1110")}}},
      {"two daily totals (plural); a day without QTD is summed but not counted",
       [](Arquivo& a) {
         a.block1.insert(a.block1.begin() + 5,
                         {R1110("M1", "20251203", "1,00", "", kCnpjAdq), R1115("NSU5", "1,00")});
         a.block1.insert(a.block1.begin() + 5,
                         {R1110("M1", "20251202", "1,00", "1", kCnpjAdq), R1115("NSU4", "1,00")});
       },
       {{"|1110|M1|20251203", 1, 5, 2,
         "Campo 05 - 'QTD - Quantidade total diária de operações realizadas na data' é "
         "obrigatório."},
        {c1, 1, 8, 2, Soma("1100", "VALOR", "100,00", "102,00", 2, "1110")},
        {c1, 1, 9, 2, Soma("1100", "QTD", "2", "3", 2, "1110")}}},
      {"a day whose transactions do not add up; its QTD counts records",
       [](Arquivo& a) { a.block1[1] = R1110("M1", "20251201", "100,00", "3", kCnpjAdq); },
       {{c1, 1, 9, 2, Soma("1100", "QTD", "2", "3", 1, "1110")},
        {d1, 1, 5, 2, "Registro 1110 com QTD '3' que não confere com 2 registros 1115."}}},
      {"a day whose values do not add up",
       [](Arquivo& a) { a.block1[4] = R1115("NSU2", "40,01"); },
       {{d1, 1, 4, 2, Soma("1110", "VALOR", "100,00", "100,01", 2, "1115")}}},
      {"groups restart: the same day and NSU under the next daily total and the next summary",
       [](Arquivo& a) {
         a.registry = {kC1, kC3, kM1};
         a.block1 = Concat({GrupoC1(),
                            {R1110("M1", "20251202", "5,00", "1", kCnpjAdq), R1115("NSU1", "5,00")},
                            GrupoC3("SP")});
         a.block1[0] = R1100("C1", "105,00", "3");
       },
       {}},
  });
}

// Values of zero are errors in every finalidade but the notification's (3),
// which may be answered with an empty month: that one then closes neither
// its day nor its summary.
TEST(Block1, ZeroValuesDependOnFinalidade) {
  const std::vector<std::string> zero = {R1100("C1", "0,00", "0"),
                                         R1110("M1", "20251201", "0,00", "0", kCnpjAdq),
                                         R1115("NSU1", "0,00")};
  const std::vector<std::string> zero_messages = {
      "No campo 08 - 'VALOR - Valor total das operações' o valor é 0,00!",
      "No campo 09 - 'QTD - Quantidade de operações' o valor é 0!",
      "No campo 04 - 'VALOR - Valor total diário das operações realizadas na data' o valor é "
      "0,00!",
      "No campo 05 - 'QTD - Quantidade total diária de operações realizadas na data' o valor é "
      "0!",
      "No campo 08 - 'Valor da operação' o valor é 0,00!"};
  Arquivo normal;
  normal.registry = {kC1, kM1};
  normal.block1 = zero;
  const std::string c1 = "|1100||C1|";
  Expect(normal,
         {{c1, 1, 8, 2, zero_messages[0]},
          {c1, 1, 9, 2, zero_messages[1]},
          {"|1110|", 1, 4, 2, zero_messages[2]},
          {"|1110|", 1, 5, 2, zero_messages[3]},
          {"|1115|", 1, 8, 2, zero_messages[4]},
          {"|1110|", 1, 5, 2, "Registro 1110 com QTD '0' que não confere com 1 registro 1115."}});

  for (const char* fin : {"1", "2", "3", "4", "5", "6"}) {
    SCOPED_TRACE(std::string("finalidade ") + fin);
    Arquivo a = normal;
    a.cod_fin = fin;
    const Result r = test::ValidateText(test::Lines(a.Lines()));
    ASSERT_TRUE(r.completed) << r.failure;
    for (const std::string& message : zero_messages) {
      const bool found = std::any_of(r.findings.begin(), r.findings.end(), [&](const Finding& f) {
        return Latin1ToUtf8(f.message) == message;
      });
      EXPECT_EQ(found, std::string_view(fin) != "3") << message;
    }
  }
  Arquivo notificacao = normal;
  notificacao.cod_fin = "3";
  Expect(notificacao, {});
}

TEST(Block1, CpfMinimums) {
  const std::string c2 = "|1100||C2|";
  const std::string remove =
      "Deve ser removido esse registro 1100 e seus registros descendentes referente ao CPF " +
      kCpfC2 + ". Motivo:";
  const std::string both =
      remove +
      " O valor total mensal é 20,00 inferior a 3375,00. A quantidade total mensal é 4 "
      "inferior a 30.";
  struct Caso {
    std::string name;
    std::vector<std::string> groups;
    std::vector<Esperado> expected;
  };
  const std::vector<Caso> casos = {
      {"exactly 3.375,00 in 30 operations", GrupoCpf(337500, 30), {}},
      {"one cent short",
       GrupoCpf(337499, 30),
       {{c2, 1, 3, 2, remove + " O valor total mensal é 3374,99 inferior a 3375,00."}}},
      {"one operation short",
       GrupoCpf(337500, 29),
       {{c2, 1, 3, 2, remove + " A quantidade total mensal é 29 inferior a 30."}}},
      {"two summaries reach it together",
       Concat({GrupoCpf(168750, 15, "0"), GrupoCpf(168750, 15, "1", "20251203")}),
       {}},
      {"two summaries below it: one finding each, with both reasons",
       Concat({GrupoCpf(1000, 2, "0"), GrupoCpf(1000, 2, "1", "20251203")}),
       {{c2, 1, 3, 2, both}, {c2, 2, 3, 2, both}}},
      {"a summary without VALOR adds nothing, though its closing compares the VALOR before it",
       [] {
         std::vector<std::string> g = GrupoCpf(337500, 30);
         g[0] = R1100("C2", "", "30");
         return g;
       }(),
       {{c2, 1, 8, 2, "Campo 08 - 'VALOR - Valor total das operações' é obrigatório."},
        {"|1100||C1|", 1, 8, 2, Soma("1100", "VALOR", "100,00", "3375,00", 1, "1110")},
        {c2, 1, 3, 2, remove + " O valor total mensal é 0,00 inferior a 3375,00."}}},
      {"extemporaneous summaries do not count",
       [] {
         std::vector<std::string> g = GrupoCpf(337500, 30);
         g[0] = R1100("C2", "3375,00", "30", "20251101", "20251130", "0", "1");
         g[1] = R1110("M7", "20251102", "3375,00", "30", "");
         return g;
       }(),
       {}},
  };
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.name);
    Arquivo a;
    a.block1 = Concat({GrupoC1(), c.groups});
    Expect(a, c.expected);
  }
}

TEST(Block1, Destinations) {
  const std::string d = "|1120|";
  RunCases({
      {"a client of another state with a destination in the declaring state",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         const std::vector<std::string> c3 = GrupoC3("SP");
         a.block1.insert(a.block1.begin() + 5, c3.begin(), c3.end());
       },
       {}},
      {"a client of another state and a destination outside the declaring state",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         const std::vector<std::string> c3 = GrupoC3("RJ");
         a.block1.insert(a.block1.begin() + 5, c3.begin(), c3.end());
       },
       {{"|1120|RJ|", 1, 2, 2, UfDest("1120")}, {"|0100|C3|", 1, 9, 2, UfCliente("RJ")}}},
      {"a client of the declaring state may send elsewhere",
       [](Arquivo& a) { a.block1[3] = R1120("RJ", kCnpjDest); },
       {}},
      {"CNPJ and CPF of the recipient",
       [](Arquivo& a) { a.block1[3] = R1120("SP", kCnpjDest, kCpfDest); },
       {{d, 1, 5, 2,
         "Já está preenchido o campo 04 - CNPJ_DEST então não pode preencher o campo 05 - "
         "CPF_DEST."}}},
      {"CNPJ and an identification: one finding",
       [](Arquivo& a) { a.block1[3] = R1120("SP", kCnpjDest, "", "X1"); },
       {{d, 1, 6, 2,
         "Já está preenchido o campo 04 - CNPJ_DEST então não pode preencher o campo 06 - "
         "ID_DEST."}}},
      {"an identification alone passes",
       [](Arquivo& a) { a.block1[3] = R1120("SP", "", "", "X1"); },
       {}},
      {"no recipient",
       [](Arquivo& a) { a.block1[3] = R1120("SP", ""); },
       {{d, 1, 4, 2, "Faltou preencher o campo 04 - CNPJ_DEST ou 05 - CPF_DEST ou 06 - ID_DEST."}}},
  });
}

TEST(Block1, Cancellations) {
  const std::string c = "|1200|";
  const std::string d = "|1220|";
  RunCases({
      {"cancelling on the first and on the last day of the period",
       [](Arquivo& a) {
         a.block1.back() = R1220("SP", kCnpjDest);
         a.block1.insert(a.block1.end() - 2, R1200("20251130", "20251201", "10,00", "10,00", "N1"));
         a.block1.insert(a.block1.end() - 2, R1200("20251130", "20251231", "10,00", "10,00", "N2"));
       },
       {}},
      {"a transaction of the period itself, a partial cancellation, a bad type",
       [](Arquivo& a) {
         a.block1[a.block1.size() - 2] = R1200("20251201", "20251130", "10,00", "5,00", "N1", "3");
       },
       {{c, 1, 8, 2,
         "No campo DT_OP a data da operação deve ser inferior a data inicial 20251201 do campo "
         "DT_INI no registro 0000 e não: 20251201."},
        {c, 1, 9, 2,
         "No campo DT_CANC a data do cancelamento deve ser igual ou superior a data inicial "
         "20251201 do campo DT_INI no registro 0000 e não: 20251130."},
        {c, 1, 10, 2, "No campo TIPO_CANC o tipo do cancelamento pode ser 0, 1 ou 2 e não: '3'."},
        {c, 1, 12, 2,
         "No campo VL_CANC o valor cancelado deve ser igual ao campo VL_ORIG do valor total e "
         "não: '5,00'."}}},
      {"the same value written otherwise is refused",
       [](Arquivo& a) {
         a.block1[a.block1.size() - 2] = R1200("20251115", "20251210", "10,00", "010,00");
       },
       {{c, 1, 12, 2,
         "No campo VL_CANC o valor cancelado deve ser igual ao campo VL_ORIG do valor total e "
         "não: '010,00'."}}},
      {"the same cancellation twice; two destinations in a row",
       [](Arquivo& a) {
         a.block1.push_back(R1200("20251115", "20251210", "50,00", "50,00"));
         a.block1.push_back(R1220("SP", kCnpjDest));
         a.block1.push_back(R1220("SP", "", "", ""));
       },
       {{c, 2, 0, 2, Found("Esse registro 1200", "|1200|")},
        {d, 3, 0, 2, "Só pode vir um registro 1220 depois do registro 1200."},
        {d, 3, 4, 2, "Faltou preencher o campo CNPJ_DEST ou CPF_DEST ou ID_DEST."}}},
      {"a destination outside the state of a client of another state",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         a.block1.push_back(Rec({"1200", "", "C3", "M1", "NSU8", "", "", "20251115", "20251210",
                                 "0", "50,00", "50,00"}));
         a.block1.push_back(R1220("RJ", kCnpjDest, kCpfDest, "X"));
       },
       {{"|0100|C3|", 1, 9, 2, UfCliente("RJ")},
        {"|1220|RJ|", 1, 5, 2,
         "Já está preenchido o campo CNPJ_DEST então não pode preencher o campo CPF_DEST."},
        {"|1220|RJ|", 1, 6, 2,
         "Já está preenchido o campo CNPJ_DEST então não pode preencher o campo ID_DEST."}}},
      {"cancellations belong to normal files only",
       [](Arquivo& a) { a.cod_fin = "2"; },
       {{c, 1, 0, 2,
         "Registro 1200 de cancelamento extemporâneo são aceitos apenas em remessa de arquivo "
         "com finalidade 01 - Normal."}}},
      {"block 1 line count",
       [](Arquivo& a) { a.qtd_lin_1 = "3"; },
       {{"|1990|", 1, 2, 2, "Informou 3 registros no Bloco 1 mas encontrou 41 registros."}}},
  });
}

TEST(Block1, EmptyBlockExemptsClients) {
  Arquivo a;
  a.cod_fin = "4";
  a.registry = {kC1, kC2, kP1};
  a.block1.clear();
  Expect(a, {});
}

// A notification (finalidade 3) covers January to April; summaries with
// value 0 need no daily totals.
TEST(Block1, NotificationMonths) {
  auto mes = [](std::string_view cliente, std::string_view am, std::string_view comex = "0") {
    const std::string ini = std::string(am) + "01";
    const std::string fin = std::string(am) + "28";
    return R1100(cliente, "0,00", "0", ini, fin, comex);
  };
  const std::string faltou = "Faltou o registro 1100 do Resumo Mensal referente ao mês ";
  Arquivo a;
  a.cod_fin = "3";
  a.dt_ini = "20250101";
  a.dt_fin = "20250430";

  // One client: the months it lacks are reported once each, at the 1990.
  a.registry = {kC1};
  a.block1 = {mes("C1", "202501"), mes("C1", "202503"), mes("C1", "202503", "1")};
  Expect(a, {{"|1990|", 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C1'."},
             {"|1990|", 1, 0, 1, faltou + "04 de 2025 para o código de cliente 'C1'."},
             {"|1100||C1|1|0|20250301", 1, 0, 1,
              "Já tem o registro 1100 do Resumo Mensal referente ao mês 03 de 2025 na linha "
              "{L|1100||C1|0|0|20250301} e posição {P|1100||C1|0|0|20250301} no arquivo."}});

  // Two clients: a later month of C3 reports the months C1 lacks before it,
  // and the sweep does not report them again.
  a.registry = {kC1, kC3};
  a.block1 = {mes("C1", "202501"), mes("C3", "202503"), mes("C1", "202504")};
  Expect(a,
         {{"|0100|C3|", 1, 2, 2,
           "Para finalidade 3 só pode existir um único beneficiário de pagamento por "
           "arquivo."},
          {"|1100||C3|", 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C1'."},
          {"|1100||C1|0|0|20250401", 1, 0, 1, faltou + "01 de 2025 para o código de cliente 'C3'."},
          {"|1100||C1|0|0|20250401", 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C3'."},
          {"|1990|", 1, 0, 1, faltou + "03 de 2025 para o código de cliente 'C1'."},
          {"|1990|", 1, 0, 1, faltou + "04 de 2025 para o código de cliente 'C3'."}});
}

// A 1200 of C3 (RJ) and its 1220 to `uf`, in place of the base file's
// cancellation.
void CancelamentoC3(Arquivo& a, std::string_view uf) {
  a.block1.resize(a.block1.size() - 2);
  a.block1.push_back(
      Rec({"1200", "", "C3", "M1", "NSU8", "", "", "20251115", "20251210", "0", "50,00", "50,00"}));
  a.block1.push_back(R1220(uf, kCnpjDest));
}

// A 1220 is judged against the client of the last 1100: the 1200 before it
// only marks its own COD_CLIENTE as referenced.
TEST(Block1, CancellationDestinationIsJudgedAgainstTheLastSummarysClient) {
  RunCases({
      {"after a 1100 of the RJ client, a 1220 to RJ under a 1200 of an SP client is refused",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         const std::vector<std::string> c3 = GrupoC3("SP");
         a.block1.insert(a.block1.end() - 2, c3.begin(), c3.end());
         a.block1.back() = R1220("RJ", kCnpjDest);
       },
       {{"|1220|RJ|", 1, 2, 2, UfDest("1220")}}},
      {"after a 1100 of an SP client, a 1220 to RJ under a 1200 of the RJ client passes, and "
       "the RJ client is left without an exempting destination",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         CancelamentoC3(a, "RJ");
       },
       {{"|0100|C3|", 1, 9, 2, UfCliente("RJ")}}},
      {"a 1220 to SP under the RJ client's 1200 marks the SP client of the last 1100, not it",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         CancelamentoC3(a, "SP");
       },
       {{"|0100|C3|", 1, 9, 2, UfCliente("RJ")}}},
      {"a 1200 before any 1100 leaves the 1220 without a client to judge",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         a.block1 = {Rec({"1200", "", "C1", "M1", "NSU8", "", "", "20251115", "20251210", "0",
                          "50,00", "50,00"}),
                     R1220("RJ", kCnpjDest)};
         a.registry = {kC1, kM1};
       },
       {}},
  });
}

// Only a destination that passed the UF rule (through UF_DEST or through the
// client's own UF being UF_FISCO) exempts the client of another state at the
// end of the file.
TEST(Block1, OnlyAnAcceptedDestinationExemptsItsClient) {
  const std::string obrigatorio =
      "Campo 02 - 'UF_DEST - UF para qual foi destinada a transação comercial ou prestação de "
      "serviço' é obrigatório.";
  // (A refused 1120 does not: see Destinations.)
  RunCases({
      {"a 1120 without UF_DEST is not judged and does not either",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         const std::vector<std::string> c3 = GrupoC3("");
         a.block1.insert(a.block1.begin() + 5, c3.begin(), c3.end());
       },
       {{"|1120||", 1, 2, 2, obrigatorio}, {"|0100|C3|", 1, 9, 2, UfCliente("RJ")}}},
      {"a refused 1220 does not",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         const std::vector<std::string> c3 = GrupoC3("RJ");
         a.block1.insert(a.block1.end() - 2, c3.begin(), c3.end());
         a.block1.back() = R1220("RJ", kCnpjDest);
       },
       {{"|1120|RJ|", 1, 2, 2, UfDest("1120")},
        {"|1220|RJ|", 1, 2, 2, UfDest("1220")},
        {"|0100|C3|", 1, 9, 2, UfCliente("RJ")}}},
      {"an accepted 1220 exempts it even after a refused 1120",
       [](Arquivo& a) {
         a.registry.insert(a.registry.begin() + 2, kC3);
         const std::vector<std::string> c3 = GrupoC3("RJ");
         a.block1.insert(a.block1.end() - 2, c3.begin(), c3.end());
       },
       {{"|1120|RJ|", 1, 2, 2, UfDest("1120")}}},
  });
}

// The last-1100 slot takes VALOR (with the line and position the closing
// points at) only from a 1100 whose VALOR is filled, and QTD only from one
// whose QTD is filled; the last-1110 slot likewise takes QTD.
TEST(Block1, SlotKeepsTheFiguresOfTheLastSummaryThatHadThem) {
  const std::string first = "|1100||C1|0|";
  const std::string second = "|1100||C1|1|";
  const std::string valor08 = "Campo 08 - 'VALOR - Valor total das operações' é obrigatório.";
  const std::string qtd09 = "Campo 09 - 'QTD - Quantidade de operações' é obrigatório.";
  const std::string qtd05 =
      "Campo 05 - 'QTD - Quantidade total diária de operações realizadas na data' é obrigatório.";
  // The group of C1 with IND_COMEX 1: one day of 50,00 in one transaction,
  // under a 1100 with the given VALOR and QTD.
  auto segundo = [](std::string_view valor, std::string_view qtd) {
    return std::vector<std::string>{R1100("C1", valor, qtd, "20251201", "20251231", "1"),
                                    R1110("M1", "20251205", "50,00", "1", kCnpjAdq),
                                    R1115("NSU7", "50,00")};
  };
  RunCases({
      {"both empty: the closing compares the first 1100's figures, at its line",
       [&](Arquivo& a) {
         a.block1 = Concat({GrupoC1(), segundo("", ""), GrupoCpf(337500, 30)});
       },
       {{second, 1, 8, 2, valor08},
        {second, 1, 9, 2, qtd09},
        {first, 1, 8, 2, Soma("1100", "VALOR", "100,00", "50,00", 1, "1110")},
        {first, 1, 9, 2, Soma("1100", "QTD", "2", "1", 1, "1110")}}},
      {"only QTD empty: this VALOR at this line, the first QTD",
       [&](Arquivo& a) {
         a.block1 = Concat({GrupoC1(), segundo("50,00", ""), GrupoCpf(337500, 30)});
       },
       {{second, 1, 9, 2, qtd09}, {second, 1, 9, 2, Soma("1100", "QTD", "2", "1", 1, "1110")}}},
      {"only VALOR empty: the first VALOR at the first line",
       [&](Arquivo& a) {
         a.block1 = Concat({GrupoC1(), segundo("", "1"), GrupoCpf(337500, 30)});
       },
       {{second, 1, 8, 2, valor08},
        {first, 1, 8, 2, Soma("1100", "VALOR", "100,00", "50,00", 1, "1110")}}},
      {"a 1110 without QTD is closed with the QTD of the 1110 before it",
       [](Arquivo& a) {
         a.block1.insert(a.block1.begin() + 5, {R1110("M1", "20251203", "1,00", "", kCnpjAdq),
                                                R1115("NSU5", "1,00"), R1115("NSU6", "0,50")});
         a.block1[0] = R1100("C1", "101,00", "2");
       },
       {{"|1110|M1|20251203", 1, 5, 2, qtd05},
        {"|1110|M1|20251203", 1, 4, 2, Soma("1110", "VALOR", "1,00", "1,50", 2, "1115")}}},
  });
}

// In finalidade 3 a 1100 whose VALOR and QTD are both 0 may go on without
// daily totals; one with both empty is judged by the figures it left in the
// slot, those of the 1100 before it.
TEST(Block1, NotificationSummaryWithoutFiguresKeepsThoseBeforeIt) {
  struct Caso {
    std::string name;
    std::vector<std::string> registry, block1;
    std::vector<Esperado> expected;
  };
  const std::string vazio = R1100("C1", "", "", "20250201", "20250228");
  const std::string zero = R1100("C1", "0,00", "0", "20250201", "20250228", "1");
  const std::string b = "|1100||C1|0|0|20250201";
  const std::vector<Esperado> sem_figuras = {
      {b, 1, 8, 2, "Campo 08 - 'VALOR - Valor total das operações' é obrigatório."},
      {b, 1, 9, 2, "Campo 09 - 'QTD - Quantidade de operações' é obrigatório."}};
  const std::vector<std::string> janeiro = {R1100("C1", "10,00", "1", "20250101", "20250131"),
                                            R1110("M1", "20250110", "10,00", "1", kCnpjAdq),
                                            R1115("NSU1", "10,00")};
  const std::vector<std::string> fevereiro = {R1110("M1", "20250210", "10,00", "1", kCnpjAdq),
                                              R1115("NSU2", "10,00")};
  const std::vector<Caso> casos = {
      {"after a zero 1100, the next 1100 needs no daily totals",
       {kC1},
       {R1100("C1", "0,00", "0", "20250101", "20250131"), vazio, zero},
       {sem_figuras[0],
        sem_figuras[1],
        {"|1100||C1|1|", 1, 0, 1,
         "Já tem o registro 1100 do Resumo Mensal referente ao mês 02 de 2025 na linha {L" + b +
             "} e posição {P" + b + "} no arquivo."}}},
      {"after a 1100 with operations, the next 1100 is out of place",
       {kC1, kM1},
       Concat({janeiro, {vazio, zero}, fevereiro}),
       {sem_figuras[0],
        sem_figuras[1],
        {"|1100||C1|1|", 1, 0, 2, "Deveria ter o registro 1110 e não o 1100."}}},
  };
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.name);
    Arquivo a;
    a.cod_fin = "3";
    a.dt_ini = "20250101";
    a.dt_fin = "20250228";
    a.registry = c.registry;
    a.block1 = c.block1;
    Expect(a, c.expected);
  }
}

// A 1100 dated beyond the declared period reports the months other clients
// lack only up to the 0000 DT_FIN.
TEST(Block1, NotificationMonthsStopAtTheDeclaredEnd) {
  const std::string faltou = "Faltou o registro 1100 do Resumo Mensal referente ao mês ";
  const std::string unico =
      "Para finalidade 3 só pode existir um único beneficiário de pagamento por arquivo.";
  struct Caso {
    std::string name;
    std::string ini, fin;  // of C3's 1100
    std::vector<Esperado> expected;
  };
  const std::string c3 = "|1100||C3|";
  const std::vector<Caso> casos = {
      {"a month inside the period",
       "20250301",
       "20250331",
       {{"|0100|C3|", 1, 2, 2, unico},
        {c3, 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C1'."},
        {"|1990|", 1, 0, 1, faltou + "03 de 2025 para o código de cliente 'C1'."},
        {"|1990|", 1, 0, 1, faltou + "04 de 2025 para o código de cliente 'C1'."},
        {"|1990|", 1, 0, 1, faltou + "01 de 2025 para o código de cliente 'C3'."},
        {"|1990|", 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C3'."},
        {"|1990|", 1, 0, 1, faltou + "04 de 2025 para o código de cliente 'C3'."}}},
      {"a month far beyond it",
       "99991201",
       "99991231",
       {{"|0100|C3|", 1, 2, 2, unico},
        {c3, 1, 7, 2,
         "No campo DT_FIN a data final deve ser igual ou inferior a data final 20250430 do campo "
         "DT_FIN no registro 0000 e não: 99991231."},
        {c3, 1, 6, 2,
         "Campo 06 - 'DT_INI - Data inicial das informações para este CNPJ/CPF' contém data "
         "adiantada."},
        {c3, 1, 7, 2,
         "Campo 07 - 'DT_FIN - Data final das informações para este CNPJ/CPF' contém data "
         "adiantada."},
        {c3, 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C1'."},
        {c3, 1, 0, 1, faltou + "03 de 2025 para o código de cliente 'C1'."},
        {c3, 1, 0, 1, faltou + "04 de 2025 para o código de cliente 'C1'."},
        {"|1990|", 1, 0, 1, faltou + "01 de 2025 para o código de cliente 'C3'."},
        {"|1990|", 1, 0, 1, faltou + "02 de 2025 para o código de cliente 'C3'."},
        {"|1990|", 1, 0, 1, faltou + "03 de 2025 para o código de cliente 'C3'."},
        {"|1990|", 1, 0, 1, faltou + "04 de 2025 para o código de cliente 'C3'."}}},
  };
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.name);
    Arquivo a;
    a.cod_fin = "3";
    a.dt_ini = "20250101";
    a.dt_fin = "20250430";
    a.registry = {kC1, kC3};
    a.block1 = {R1100("C1", "0,00", "0", "20250101", "20250131"),
                R1100("C3", "0,00", "0", c.ini, c.fin)};
    Expect(a, c.expected);
  }
}

// The closing sweep of missing months is skipped once the run holds 3,000
// findings, warnings included.
TEST(Block1, NotificationSweepCountsWarningsToo) {
  struct Caso {
    int avisos;      // transactions with an unknown brand, one warning each
    bool varredura;  // the sweep reports February
  };
  for (const Caso c : {Caso{2999, true}, Caso{3000, false}}) {
    SCOPED_TRACE(c.avisos);
    Arquivo a;
    a.cod_fin = "3";
    a.dt_ini = "20250101";
    a.dt_fin = "20250228";
    a.registry = {kC1, kM1};
    const std::string total = Money(c.avisos);
    a.block1 = {R1100("C1", total, std::to_string(c.avisos), "20250101", "20250131"),
                R1110("M1", "20250110", total, std::to_string(c.avisos), kCnpjAdq)};
    for (int i = 0; i < c.avisos; ++i) {
      char nsu[16];
      std::snprintf(nsu, sizeof nsu, "N%d", i);
      a.block1.push_back(R1115(nsu, "0,01", "0", "36"));
    }
    Result r = test::ValidateText(test::Lines(a.Lines()));
    ASSERT_TRUE(r.completed) << r.failure;
    EXPECT_EQ(r.errors, 0);
    int faltou = 0;
    for (const Finding& f : r.findings)
      faltou += Latin1ToUtf8(f.message).starts_with("Faltou o registro 1100");
    EXPECT_EQ(r.warnings, c.avisos + faltou);
    EXPECT_EQ(faltou, c.varredura ? 1 : 0);
  }
}

// The recipient and indicator rules the cases above leave out, each with the
// exact text of its finding.
TEST(Block1, RecipientAndIndicatorRules) {
  const std::string c1 = "|1100||C1|";
  const std::string longo(256, 'X');  // ID_DEST holds 255
  RunCases({
      {"CPF and an identification of the recipient, in a 1120 and in a 1220",
       [](Arquivo& a) {
         a.block1[3] = R1120("SP", "", kCpfDest, "X1");
         a.block1.back() = R1220("SP", "", kCpfDest, "X1");
       },
       {{"|1120|", 1, 6, 2,
         "Já está preenchido o campo 05 - CPF_DEST então não pode preencher o campo 06 - "
         "ID_DEST."},
        {"|1220|", 1, 6, 2,
         "Já está preenchido o campo CPF_DEST então não pode preencher o campo ID_DEST."}}},
      {"an identification alone, longer than its field",
       [&](Arquivo& a) {
         a.block1[3] = R1120("SP", "", "", longo);
         a.block1.back() = R1220("SP", "", "", longo);
       },
       // The layout's own length check and the reader's fire as well.
       {{"|1120|", 1, 6, 2,
         "O campo 06 - ID_DEST tem 256 posições mas deveria ter no máximo 255 posições."},
        {"|1120|", 1, 6, 2,
         "Campo 06 - 'ID_DEST - Identificação de destinatários sem cadastro de CPF ou CNPJ' tem "
         "tamanho 256 superior ao máximo 255."},
        {"|1120|", 1, 7, 2, "Campo com tamanho maior que 255."},
        {"|1220|", 1, 6, 2,
         "O campo ID_DEST tem 256 posições mas deveria ter no máximo 255 posições."},
        {"|1220|", 1, 6, 2,
         "Campo 06 - 'ID_DEST - Identificação do destinatário sem cadastro de CPF ou CNPJ' tem "
         "tamanho 256 superior ao máximo 255."},
        {"|1220|", 1, 7, 2, "Campo com tamanho maior que 255."}}},
      {"an extemporaneous indicator other than 0 or 1 counts as extemporaneous",
       [](Arquivo& a) {
         a.block1[0] = R1100("C1", "100,00", "2", "20251201", "20251231", "0", "2");
       },
       {{c1, 1, 5, 2,
         "No campo IND_EXTEMP o indicador de informação extemporânea pode ser 0 ou 1 e não: "
         "'2'."},
        {c1, 1, 6, 2, Extemp("DT_INI", "inicial", "20251201")},
        {c1, 1, 7, 2, Extemp("DT_FIN", "final", "20251231")}}},
      {"extemporaneous information in a rectifying file",
       [](Arquivo& a) {
         a.cod_fin = "2";
         a.block1[0] = R1100("C1", "100,00", "2", "20251101", "20251130", "0", "1");
         a.block1[1] = R1110("M1", "20251130", "100,00", "2", kCnpjAdq);
       },
       {{c1, 1, 5, 2, "Em remessa de arquivo retificador não são aceitos registros extemporâneos."},
        {"|1200|", 1, 0, 2,
         "Registro 1200 de cancelamento extemporâneo são aceitos apenas em remessa de arquivo "
         "com finalidade 01 - Normal."}}},
      {"a cancellation after the period",
       [](Arquivo& a) {
         a.block1[a.block1.size() - 2] = R1200("20251115", "20260101", "50,00", "50,00");
       },
       {{"|1200|", 1, 9, 2,
         "No campo DT_CANC a data do cancelamento deve ser igual ou inferior a data final "
         "20251231 do campo DT_FIN no registro 0000 e não: 20260101."}}},
  });
}

}  // namespace
}  // namespace volp
