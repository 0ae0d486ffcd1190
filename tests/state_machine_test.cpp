// The order of records: each state with a record it accepts and one it
// rejects, the purpose-6 registries, the movement indicators, the group
// closings of block 1 and the end of the file.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "structure/states.hpp"
#include "support.hpp"

namespace volp {
namespace {

using test::L1;
using test::RunFixture;

// Messages of the structure machine itself; the validators it runs add
// their own, which are judged elsewhere.
std::vector<std::string> StructureMessages(const RunFixture& fx) {
  std::vector<std::string> out;
  for (const std::string& m : fx.Messages())
    for (const char* p : {"Deveria ter", "Para finalidade de arquivo", "O registro anterior",
                          "S\xF3 pode vir", "Indicador de", "No registro", "O Indicador"})
      if (m.rfind(p, 0) == 0) out.push_back(m);
  return out;
}

constexpr int kUntouched = -7;

// A run put straight into `state`, the record before being of type `prev`
// and the file's purpose `fin`.
void Place(RunFixture& fx, int state, int prev, int fin) {
  fx.run.ctx.state = state;
  fx.run.ctx.previous_state = kUntouched;
  fx.run.ctx.previous_type = prev;
  fx.run.ctx.finalidade = fin;
}

struct Case {
  int state, prev, fin;
  const char* line;
  int next;
  bool accepted;        // the previous state becomes `state`
  const char* message;  // UTF-8, or nullptr
};

const Case kTransitions[] = {
    {kAguardando0000, -1, 0, "|0000|", kAguardando0001, true, nullptr},
    {kAguardando0000, -1, 0, "|0001|1|", kAguardando0000, false,
     "Deveria ter o registro 0000 e não o 0001."},
    {kAguardando0001, 0, 1, "|0005|", kAguardando0001, false,
     "Deveria ter o registro 0001 e não o 0005."},
    {kAguardando0005, 1, 1, "|0005|", kAguardando0100, true, nullptr},
    {kAguardando0005, 1, 1, "|0100|", kAguardando0005, false,
     "Deveria ter o registro 0005 e não o 0100."},
    {kAguardando0100, 5, 1, "|0100|", kAguardando0100, true, nullptr},
    {kAguardando0100, 100, 1, "|0105|", kAguardando0105, true, nullptr},
    {kAguardando0100, 5, 1, "|0105|", kAguardando0105, true,
     "O registro anterior deveria ser 0100 e não 0005."},
    {kAguardando0100, 5, 2, "|0200|", kAguardando0200, true, nullptr},
    {kAguardando0100, 5, 3, "|0300|", kAguardando0300, true, nullptr},
    {kAguardando0100, 100, 4, "|0600|", kAguardando0100, false,
     "Para finalidade de arquivo 4 - '4 - Remessa de arquivo zerado' não pode ter o registro "
     "0600."},
    {kAguardando0100, 100, 1, "|1001|1|", kAguardando0100, false,
     "Deveria ter o registro 0100, 0105, 0200, 0300, 0600 ou 0990 e não o 1001."},
    {kAguardando0100, 5, 6, "|0600|", kAguardando0600, true, nullptr},
    {kAguardando0100, 5, 6, "|0300|", kAguardando0100, false,
     "Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' não pode ter "
     "o registro 0300."},
    {kAguardando0100, 5, 6, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0105, 105, 1, "|0100|", kAguardando0100, true, nullptr},
    {kAguardando0105, 105, 1, "|0600|", kAguardando0105, false,
     "Deveria ter o registro 0105, 0200, 0300 ou 0990 e não o 0600."},
    {kAguardando0200, 200, 1, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0200, 200, 1, "|0100|", kAguardando0200, false,
     "Deveria ter o registro 0200, 0300 ou 0990 e não o 0100."},
    {kAguardando0300, 300, 1, "|0300|", kAguardando0300, true, nullptr},
    {kAguardando0300, 300, 1, "|0200|", kAguardando0300, false,
     "Deveria ter o registro 0300 ou 0990 e não o 0200."},
    {kAguardando0600, 600, 6, "|0600|", kAguardando0600, true, nullptr},
    {kAguardando0600, 600, 6, "|0100|", kAguardando0600, false,
     "Deveria ter o registro 0990 e não o 0100."},
    {kAguardando0990, 300, 1, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0990, 300, 1, "|0300|", kAguardando0990, false,
     "Deveria ter o registro 0990 e não o 0300."},
    {kAguardando1001, 990, 1, "|1100|", kAguardando1001, false,
     "Deveria ter o registro 1001 e não o 1100."},
    {kAguardando1100, 1001, 1, "|1200|", kAguardando1200, true, nullptr},
    {kAguardando1100, 1001, 1, "|1110|", kAguardando1100, false,
     "Deveria ter o registro 1100 e não o 1110."},
    {kAguardando1110, 1100, 1, "|1110|", kAguardando1115, true, nullptr},
    {kAguardando1110, 1100, 1, "|1990|", kAguardando1110, false,
     "Deveria ter o registro 1110 e não o 1990."},
    {kAguardando1115, 1115, 1, "|1120|", kAguardando1115, true, nullptr},
    {kAguardando1115, 1120, 1, "|1120|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1120."},
    {kAguardando1115, 1120, 1, "|1110|", kAguardando1115, true, nullptr},
    {kAguardando1115, 1110, 1, "|1110|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1110."},
    {kAguardando1115, 1115, 1, "|1100|", kAguardando1110, true, nullptr},
    {kAguardando1115, 1120, 1, "|1200|", kAguardando1200, true, nullptr},
    {kAguardando1115, 1110, 1, "|1990|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1990."},
    {kAguardando1115, 1115, 1, "|9001|1|", kAguardando1115, false,
     "Deveria ter o registro 1100, 1110, 1115, 1200 ou 1990 e não o 9001."},
    {kAguardando1200, 1200, 1, "|1220|", kAguardando1200, true, nullptr},
    {kAguardando1200, 1220, 1, "|1220|", kAguardando1200, true,
     "Só pode vir um registro 1220 depois do registro 1200."},
    {kAguardando1200, 1220, 1, "|1990|", kAguardando9001, true, nullptr},
    {kAguardando1200, 1200, 1, "|1100|", kAguardando1200, false,
     "Deveria ter o registro 1200, 1220 ou 1990 e não o 1100."},
    {kAguardando1990, 1001, 2, "|1100|", kAguardando1990, false,
     "Deveria ter o registro 1990 e não o 1100 porque o campo 02 - 'IND_MOV - Indicador de "
     "movimento' do registro 1001 tem valor 0 - 'Bloco sem dados informados'."},
    {kAguardando9001, 1990, 1, "|9900|", kAguardando9001, false,
     "Deveria ter o registro 9001 e não o 9900."},
    {kAguardando9900, 9900, 1, "|9990|", kAguardando9999, true, nullptr},
    {kAguardando9900, 9900, 1, "|9999|", kAguardando9900, false,
     "Deveria ter o registro 9900 ou 9990 e não o 9999."},
    {kAguardando9990, 9900, 1, "|9990|", kAguardando9999, true, nullptr},
    {kAguardando9990, 9900, 1, "|9900|", kAguardando9990, false,
     "Deveria ter o registro 9990 e não o 9900."},
    {kAguardando9999, 9990, 1, "|9999|", kAguardandoFim, true, nullptr},
    {kAguardando9999, 9990, 1, "|9900|", kAguardando9999, false,
     "Deveria ter o registro 9999 e não o 9900."},
    {kAguardandoFim, 9999, 1, "|0000|", kAguardandoEncerrar, false,
     "Deveria ter encerrado o arquivo mas ainda encontrou o registro 0000."},
    {kAguardandoEncerrar, 0, 1, "|0000|", kAguardandoEncerrar, false, nullptr},
    // The movement indicators, read only when the field analysis passed them.
    {kAguardando0001, 0, 1, "|0001|0|", kAguardando0005, true,
     "No registro 0001 é obrigatório o Indicador de movimento = 1."},
    {kAguardando0001, 0, 1, "|0001|2|", kAguardando0001, false,
     "Indicador de movimento pode ser 0 ou 1 e não 2."},
    {kAguardando0001, 0, 1, "|0001|X|", kAguardando0001, false, nullptr},
    {kAguardando1001, 0, 1, "|1001|0|", kAguardando1990, true,
     "O Indicador de movimento deve ser 1 para remessa de arquivo normal."},
    {kAguardando1001, 0, 2, "|1001|0|", kAguardando1990, true, nullptr},
    {kAguardando1001, 0, 1, "|1001|1|", kAguardando1100, true, nullptr},
    {kAguardando1001, 0, 4, "|1001|1|", kAguardando1100, true,
     "O Indicador de movimento deve ser 0 para remessa de arquivo zerado."},
    {kAguardando1001, 0, 5, "|1001|1|", kAguardando1100, true,
     "O Indicador de movimento deve ser 1 para remessa de arquivo de encerramento de atividades."},
    {kAguardando1001, 0, 1, "|1001|3|", kAguardando1100, true,
     "Indicador de movimento pode ser 0 ou 1 e não 3."},
    {kAguardando1001, 0, 1, "|1001||", kAguardando1001, false, nullptr},
    {kAguardando9001, 0, 1, "|9001|0|", kAguardando9900, true,
     "No registro 9001 é obrigatório o Indicador de movimento = 1."},
    {kAguardando9001, 0, 1, "|9001|7|", kAguardando9900, true,
     "Indicador de movimento pode ser 0 ou 1 e não 7."},
    {kAguardando9001, 0, 1, "|9001|a|", kAguardando9001, false, nullptr},
};

TEST(StateMachine, Transitions) {
  for (const Case& c : kTransitions) {
    SCOPED_TRACE(std::string(c.line) + " in " + StateName(c.state) +
                 " P=" + std::to_string(c.prev) + " fin=" + std::to_string(c.fin));
    RunFixture fx;
    Place(fx, c.state, c.prev, c.fin);
    ASSERT_GE(fx.Feed(c.line), 0);
    EXPECT_EQ(fx.run.ctx.state, c.next);
    EXPECT_EQ(fx.run.ctx.previous_state, c.accepted ? c.state : kUntouched);
    std::vector<std::string> want;
    if (c.message != nullptr) want.push_back(L1(c.message));
    ASSERT_EQ(StructureMessages(fx), want);
    if (c.message == nullptr) continue;
    // The movement indicator's findings point at it (field 02), the others
    // at the record type (field 0, no field block).
    const std::string m = c.message;
    const bool ind_mov = m.rfind("Indicador", 0) == 0 || m.rfind("No registro", 0) == 0 ||
                         m.rfind("O Indicador", 0) == 0;
    for (const Finding& f : fx.ps.findings.list) {
      if (f.message == want[0]) {
        EXPECT_EQ(f.field_number, ind_mov ? 2 : 0);
      }
    }
    // A record out of place is reported alone: its validator does not run.
    EXPECT_TRUE(c.accepted || ind_mov || fx.ps.findings.list.size() == 1u);
  }
}

// The calls made for one record, read from the trace: group closings, the
// emptying of the per-group sets and sums, and validators, in order.
std::vector<std::string> Calls(std::FILE* trace) {
  std::vector<std::string> out;
  std::rewind(trace);
  char buf[2048];
  while (std::fgets(buf, sizeof buf, trace) != nullptr) {
    std::string l(buf);
    l.erase(0, l.find_first_not_of(' '));
    if (l.rfind("Zerando", 0) == 0) out.push_back(l.substr(8, l.find(" Linha fonte") - 8));
    if (l.rfind("Verificacao", 0) == 0 || l.rfind("ValidarRegistro_", 0) == 0)
      out.push_back(l.substr(0, l.find('(')));
  }
  return out;
}

struct ActionCase {
  int state, prev;
  const char* line;
  std::vector<std::string> calls;
};

const char *const k1110 = "VerificacaoRegistro_1110", *const k1100 = "VerificacaoRegistro_1100",
                  *const kCpf = "VerificacaoRegistro_1100_TransacoesComCPF",
                  *const kD1100 = "R1100_Distintos", *const kD1110 = "R1110_Distintos",
                  *const kD1115 = "R1115_Distintos", *const kD1200 = "R1200_Distintos",
                  *const kZ1110 = "Contadores R1110", *const kZ1115 = "Contadores R1115";

const ActionCase kActions[] = {
    {kAguardando1100,
     1001,
     "|1100|",
     {kD1100, kD1110, kD1200, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {kAguardando1100,
     1115,
     "|1100|",
     {k1110, k1100, kD1110, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {kAguardando1100, 1001, "|1200|", {k1110, k1100, kD1110, "ValidarRegistro_1200"}},
    {kAguardando1110, 1100, "|1110|", {kZ1115, kD1115, "ValidarRegistro_1110"}},
    {kAguardando1110, 1115, "|1110|", {k1110, kZ1115, kD1115, "ValidarRegistro_1110"}},
    {kAguardando1115, 1120, "|1110|", {k1110, kZ1115, kD1115, "ValidarRegistro_1110"}},
    {kAguardando1115,
     1115,
     "|1990|",
     {k1110, k1100, kZ1110, kZ1115, kD1110, kD1115, kCpf, "ValidarRegistro_1990"}},
    {kAguardando1115, 1110, "|1990|", {}},
    {kAguardando1200,
     1110,
     "|1200|",
     {k1100, kD1110, kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {kAguardando1200, 1115, "|1200|", {k1110, kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {kAguardando1200, 1200, "|1990|", {kCpf, "ValidarRegistro_1990", kZ1110, kZ1115, kD1115}},
    {kAguardando1990,
     1001,
     "|1990|",
     {k1110, k1100, kZ1110, kZ1115, kD1115, kCpf, "ValidarRegistro_1990"}},
    {kAguardando9999,
     9990,
     "|9999|",
     {"ValidarRegistro_9999", "VerificacaoRegistro_9900", "VerificacaoRegistro_0100",
      "VerificacaoRegistro_0200"}},
};

TEST(StateMachine, GroupClosingsRunInOrder) {
  for (const ActionCase& c : kActions) {
    SCOPED_TRACE(std::string(c.line) + " in " + StateName(c.state) +
                 " P=" + std::to_string(c.prev));
    RunFixture fx;
    Place(fx, c.state, c.prev, 1);
    std::FILE* trace = std::tmpfile();
    fx.log.Configure(5, "", false, trace);
    fx.Feed(c.line);
    EXPECT_EQ(Calls(trace), c.calls);
    std::fclose(trace);
  }
}

const std::string k0000 = "|0000|07|1|SP|11222333000181|Empresa|20250101|20250131|1|202501|";

TEST(StateMachine, WholeSequences) {
  struct {
    std::vector<std::string> lines;
    int final_state;
    std::vector<std::string> messages;
  } cases[] = {
      {{k0000, "|0005|", "|0100|", "|0001|1|"},
       kAguardando0005,
       {"Deveria ter o registro 0001 e não o 0005.", "Deveria ter o registro 0001 e não o 0100."}},
      {{k0000, "|0001|1|", "|0005|", "|0990|", "|1001|0|", "|1990|", "|9001|1|", "|9900|", "|9990|",
        "|9999|", "|9900|", "|9999|", "|0000|"},
       kAguardandoEncerrar,
       {"O Indicador de movimento deve ser 1 para remessa de arquivo normal.",
        "Deveria ter encerrado o arquivo mas ainda encontrou o registro 9900."}},
  };
  for (const auto& c : cases) {
    RunFixture fx;
    for (const std::string& l : c.lines) fx.Feed(l);
    EXPECT_EQ(fx.run.ctx.state, c.final_state);
    std::vector<std::string> want;
    for (const std::string& m : c.messages) want.push_back(L1(m));
    EXPECT_EQ(StructureMessages(fx), want);
  }
}

// A notification (purpose 3) may declare a 1100 with nothing in it, which
// then needs no daily total; any other 1100 does.
TEST(StateMachine, EmptyMonthlySummaryOfANotification) {
  struct {
    int fin;
    const char *valor, *qtd;
    int next;
  } cases[] = {{3, "0,00", "0", kAguardando9001},
               {3, "10,00", "0", kAguardando1110},
               {3, "0,00", "1", kAguardando1110},
               {1, "0,00", "0", kAguardando1110}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.fin) + " " + c.valor + " " + c.qtd);
    RunFixture fx;
    Place(fx, kAguardando1100, 1001, c.fin);
    fx.Feed(std::string("|1100||C1|0|0|20250101|20250131|") + c.valor + "|" + c.qtd + "|");
    fx.Feed("|1990|");
    EXPECT_EQ(fx.run.ctx.state, c.next);
  }
}

}  // namespace
}  // namespace volp
