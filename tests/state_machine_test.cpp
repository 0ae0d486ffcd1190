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
    {0, -1, 0, "|0000|", 1, true, nullptr},
    {0, -1, 0, "|0001|1|", 0, false, "Deveria ter o registro 0000 e não o 0001."},
    {1, 0, 1, "|0005|", 1, false, "Deveria ter o registro 0001 e não o 0005."},
    {2, 1, 1, "|0005|", 3, true, nullptr},
    {2, 1, 1, "|0100|", 2, false, "Deveria ter o registro 0005 e não o 0100."},
    {3, 5, 1, "|0100|", 3, true, nullptr},
    {3, 100, 1, "|0105|", 4, true, nullptr},
    {3, 5, 1, "|0105|", 4, true, "O registro anterior deveria ser 0100 e não 0005."},
    {3, 5, 2, "|0200|", 5, true, nullptr},
    {3, 5, 3, "|0300|", 6, true, nullptr},
    {3, 100, 4, "|0600|", 3, false,
     "Para finalidade de arquivo 4 - '4 - Remessa de arquivo zerado' não pode ter o registro "
     "0600."},
    {3, 100, 1, "|1001|1|", 3, false,
     "Deveria ter o registro 0100, 0105, 0200, 0300, 0600 ou 0990 e não o 1001."},
    {3, 5, 6, "|0600|", 7, true, nullptr},
    {3, 5, 6, "|0300|", 3, false,
     "Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' não pode ter "
     "o registro 0300."},
    {3, 5, 6, "|0990|", 9, true, nullptr},
    {4, 105, 1, "|0100|", 3, true, nullptr},
    {4, 105, 1, "|0600|", 4, false,
     "Deveria ter o registro 0105, 0200, 0300 ou 0990 e não o 0600."},
    {5, 200, 1, "|0990|", 9, true, nullptr},
    {5, 200, 1, "|0100|", 5, false, "Deveria ter o registro 0200, 0300 ou 0990 e não o 0100."},
    {6, 300, 1, "|0300|", 6, true, nullptr},
    {6, 300, 1, "|0200|", 6, false, "Deveria ter o registro 0300 ou 0990 e não o 0200."},
    {7, 600, 6, "|0600|", 7, true, nullptr},
    {7, 600, 6, "|0100|", 7, false, "Deveria ter o registro 0990 e não o 0100."},
    {8, 300, 1, "|0990|", 9, true, nullptr},
    {8, 300, 1, "|0300|", 8, false, "Deveria ter o registro 0990 e não o 0300."},
    {9, 990, 1, "|1100|", 9, false, "Deveria ter o registro 1001 e não o 1100."},
    {10, 1001, 1, "|1200|", 13, true, nullptr},
    {10, 1001, 1, "|1110|", 10, false, "Deveria ter o registro 1100 e não o 1110."},
    {11, 1100, 1, "|1110|", 12, true, nullptr},
    {11, 1100, 1, "|1990|", 11, false, "Deveria ter o registro 1110 e não o 1990."},
    {12, 1115, 1, "|1120|", 12, true, nullptr},
    {12, 1120, 1, "|1120|", 12, false, "Deveria ter o registro 1115 e não o 1120."},
    {12, 1120, 1, "|1110|", 12, true, nullptr},
    {12, 1110, 1, "|1110|", 12, false, "Deveria ter o registro 1115 e não o 1110."},
    {12, 1115, 1, "|1100|", 11, true, nullptr},
    {12, 1120, 1, "|1200|", 13, true, nullptr},
    {12, 1110, 1, "|1990|", 12, false, "Deveria ter o registro 1115 e não o 1990."},
    {12, 1115, 1, "|9001|1|", 12, false,
     "Deveria ter o registro 1100, 1110, 1115, 1200 ou 1990 e não o 9001."},
    {13, 1200, 1, "|1220|", 13, true, nullptr},
    {13, 1220, 1, "|1220|", 13, true, "Só pode vir um registro 1220 depois do registro 1200."},
    {13, 1220, 1, "|1990|", 15, true, nullptr},
    {13, 1200, 1, "|1100|", 13, false, "Deveria ter o registro 1200, 1220 ou 1990 e não o 1100."},
    {14, 1001, 2, "|1100|", 14, false,
     "Deveria ter o registro 1990 e não o 1100 porque o campo 02 - 'IND_MOV - Indicador de "
     "movimento' do registro 1001 tem valor 0 - 'Bloco sem dados informados'."},
    {15, 1990, 1, "|9900|", 15, false, "Deveria ter o registro 9001 e não o 9900."},
    {16, 9900, 1, "|9990|", 18, true, nullptr},
    {16, 9900, 1, "|9999|", 16, false, "Deveria ter o registro 9900 ou 9990 e não o 9999."},
    {17, 9900, 1, "|9990|", 18, true, nullptr},
    {17, 9900, 1, "|9900|", 17, false, "Deveria ter o registro 9990 e não o 9900."},
    {18, 9990, 1, "|9999|", 19, true, nullptr},
    {18, 9990, 1, "|9900|", 18, false, "Deveria ter o registro 9999 e não o 9900."},
    {19, 9999, 1, "|0000|", 20, false,
     "Deveria ter encerrado o arquivo mas ainda encontrou o registro 0000."},
    {20, 0, 1, "|0000|", 20, false, nullptr},
    // The movement indicators, read only when the field analysis passed them.
    {1, 0, 1, "|0001|0|", 2, true, "No registro 0001 é obrigatório o Indicador de movimento = 1."},
    {1, 0, 1, "|0001|2|", 1, false, "Indicador de movimento pode ser 0 ou 1 e não 2."},
    {1, 0, 1, "|0001|X|", 1, false, nullptr},
    {9, 0, 1, "|1001|0|", 14, true,
     "O Indicador de movimento deve ser 1 para remessa de arquivo normal."},
    {9, 0, 2, "|1001|0|", 14, true, nullptr},
    {9, 0, 1, "|1001|1|", 10, true, nullptr},
    {9, 0, 4, "|1001|1|", 10, true,
     "O Indicador de movimento deve ser 0 para remessa de arquivo zerado."},
    {9, 0, 5, "|1001|1|", 10, true,
     "O Indicador de movimento deve ser 1 para remessa de arquivo de encerramento de atividades."},
    {9, 0, 1, "|1001|3|", 10, true, "Indicador de movimento pode ser 0 ou 1 e não 3."},
    {9, 0, 1, "|1001||", 9, false, nullptr},
    {15, 0, 1, "|9001|0|", 16, true,
     "No registro 9001 é obrigatório o Indicador de movimento = 1."},
    {15, 0, 1, "|9001|7|", 16, true, "Indicador de movimento pode ser 0 ou 1 e não 7."},
    {15, 0, 1, "|9001|a|", 15, false, nullptr},
};

TEST(StateMachine, Transitions) {
  for (const Case& c : kTransitions) {
    SCOPED_TRACE(std::string(c.line) + " in " + std::to_string(c.state) +
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
    {10, 1001, "|1100|", {kD1100, kD1110, kD1200, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {10, 1115, "|1100|", {k1110, k1100, kD1110, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {10, 1001, "|1200|", {k1110, k1100, kD1110, "ValidarRegistro_1200"}},
    {11, 1100, "|1110|", {kZ1115, kD1115, "ValidarRegistro_1110"}},
    {11, 1115, "|1110|", {k1110, kZ1115, kD1115, "ValidarRegistro_1110"}},
    {12, 1120, "|1110|", {k1110, kZ1115, kD1115, "ValidarRegistro_1110"}},
    {12,
     1115,
     "|1990|",
     {k1110, k1100, kZ1110, kZ1115, kD1110, kD1115, kCpf, "ValidarRegistro_1990"}},
    {12, 1110, "|1990|", {}},
    {13, 1110, "|1200|", {k1100, kD1110, kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {13, 1115, "|1200|", {k1110, kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {13, 1200, "|1990|", {kCpf, "ValidarRegistro_1990", kZ1110, kZ1115, kD1115}},
    {14, 1001, "|1990|", {k1110, k1100, kZ1110, kZ1115, kD1115, kCpf, "ValidarRegistro_1990"}},
    {18,
     9990,
     "|9999|",
     {"ValidarRegistro_9999", "VerificacaoRegistro_9900", "VerificacaoRegistro_0100",
      "VerificacaoRegistro_0200"}},
};

TEST(StateMachine, GroupClosingsRunInOrder) {
  for (const ActionCase& c : kActions) {
    SCOPED_TRACE(std::string(c.line) + " in " + std::to_string(c.state) +
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
       2,
       {"Deveria ter o registro 0001 e não o 0005.", "Deveria ter o registro 0001 e não o 0100."}},
      {{k0000, "|0001|1|", "|0005|", "|0990|", "|1001|0|", "|1990|", "|9001|1|", "|9900|", "|9990|",
        "|9999|", "|9900|", "|9999|", "|0000|"},
       20,
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
  } cases[] = {
      {3, "0,00", "0", 15}, {3, "10,00", "0", 11}, {3, "0,00", "1", 11}, {1, "0,00", "0", 11}};
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
