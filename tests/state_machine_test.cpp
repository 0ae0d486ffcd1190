// The order of records: each state with the records it accepts, a record it
// rejects, the purpose-6 registries, the movement indicators, the group
// closings of block 1 and the end of the file.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support.hpp"
#include "validation/states.hpp"

namespace volp {
namespace {

using test::L1;
using test::RunFixture;

// Messages written by the structure machine itself (the validators it runs
// add their own, which these tests do not judge).
bool FromStructure(const std::string& m) {
  for (const char* p : {"Deveria ter", "Para finalidade de arquivo", "O registro anterior",
                        "S\xF3 pode vir", "Indicador de movimento", "No registro 0001",
                        "No registro 9001", "O Indicador de movimento"}) {
    if (m.rfind(p, 0) == 0) return true;
  }
  return false;
}

std::vector<std::string> StructureMessages(const RunFixture& fx) {
  std::vector<std::string> out;
  for (const std::string& m : fx.Messages())
    if (FromStructure(m)) out.push_back(m);
  return out;
}

// A machine put straight into `state`, as if the file had got there with a
// record of type `prev` last and the purpose `fin` in its 0000.
struct Placed {
  explicit Placed(int state, int prev, int fin) {
    fx.run.ctx.state = state;
    fx.run.ctx.previous_state = kUntouched;
    fx.run.ctx.previous_type = prev;
    fx.run.ctx.finalidade = fin;
  }
  static constexpr int kUntouched = -7;
  RunFixture fx;
};

struct TransitionCase {
  int state;
  int prev;  // type of the record before
  int fin;
  const char* line;
  int next;             // expected state afterwards
  bool accepted;        // the previous state becomes `state`
  const char* message;  // expected structure message (UTF-8), or nullptr
};

const TransitionCase kTransitionCases[] = {
    {kAguardando0000, -1, 0, "|0000|", kAguardando0001, true, nullptr},
    {kAguardando0000, -1, 0, "|0001|1|", kAguardando0000, false,
     "Deveria ter o registro 0000 e não o 0001."},
    {kAguardando0001, 0, 1, "|0001|1|", kAguardando0005, true, nullptr},
    {kAguardando0001, 0, 1, "|0005|", kAguardando0001, false,
     "Deveria ter o registro 0001 e não o 0005."},
    {kAguardando0005, 1, 1, "|0005|", kAguardando0100, true, nullptr},
    {kAguardando0005, 1, 1, "|0100|", kAguardando0005, false,
     "Deveria ter o registro 0005 e não o 0100."},

    // Registries of an ordinary file.
    {kAguardando0100, 5, 1, "|0100|", kAguardando0100, true, nullptr},
    {kAguardando0100, 100, 1, "|0105|", kAguardando0105, true, nullptr},
    {kAguardando0100, 5, 1, "|0105|", kAguardando0105, true,
     "O registro anterior deveria ser 0100 e não 0005."},
    {kAguardando0100, 5, 2, "|0200|", kAguardando0200, true, nullptr},
    {kAguardando0100, 5, 3, "|0300|", kAguardando0300, true, nullptr},
    {kAguardando0100, 100, 5, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0100, 100, 1, "|0600|", kAguardando0100, false,
     "Para finalidade de arquivo 1 - '1 - Remessa de arquivo normal' não pode ter o registro "
     "0600."},
    {kAguardando0100, 100, 4, "|0600|", kAguardando0100, false,
     "Para finalidade de arquivo 4 - '4 - Remessa de arquivo zerado' não pode ter o registro "
     "0600."},
    {kAguardando0100, 100, 1, "|1001|1|", kAguardando0100, false,
     "Deveria ter o registro 0100, 0105, 0200, 0300, 0600 ou 0990 e não o 1001."},

    // Registries of a partner authorisation (purpose 6).
    {kAguardando0100, 5, 6, "|0600|", kAguardando0600, true, nullptr},
    {kAguardando0100, 5, 6, "|0100|", kAguardando0100, false,
     "Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' não pode ter "
     "o registro 0100."},
    {kAguardando0100, 100, 6, "|0105|", kAguardando0100, false,
     "Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' não pode ter "
     "o registro 0105."},
    {kAguardando0100, 5, 6, "|0200|", kAguardando0100, false,
     "Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' não pode ter "
     "o registro 0200."},
    {kAguardando0100, 5, 6, "|0300|", kAguardando0100, false,
     "Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' não pode ter "
     "o registro 0300."},
    {kAguardando0100, 5, 6, "|0990|", kAguardando1001, true, nullptr},

    {kAguardando0105, 105, 1, "|0100|", kAguardando0100, true, nullptr},
    {kAguardando0105, 105, 1, "|0105|", kAguardando0105, true, nullptr},
    {kAguardando0105, 105, 1, "|0200|", kAguardando0200, true, nullptr},
    {kAguardando0105, 105, 1, "|0300|", kAguardando0300, true, nullptr},
    {kAguardando0105, 105, 1, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0105, 105, 1, "|0600|", kAguardando0105, false,
     "Deveria ter o registro 0105, 0200, 0300 ou 0990 e não o 0600."},
    {kAguardando0200, 200, 1, "|0200|", kAguardando0200, true, nullptr},
    {kAguardando0200, 200, 1, "|0300|", kAguardando0300, true, nullptr},
    {kAguardando0200, 200, 1, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0200, 200, 1, "|0100|", kAguardando0200, false,
     "Deveria ter o registro 0200, 0300 ou 0990 e não o 0100."},
    {kAguardando0300, 300, 1, "|0300|", kAguardando0300, true, nullptr},
    {kAguardando0300, 300, 1, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0300, 300, 1, "|0200|", kAguardando0300, false,
     "Deveria ter o registro 0300 ou 0990 e não o 0200."},
    {kAguardando0600, 600, 6, "|0600|", kAguardando0600, true, nullptr},
    {kAguardando0600, 600, 6, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0600, 600, 6, "|0100|", kAguardando0600, false,
     "Deveria ter o registro 0990 e não o 0100."},
    {kAguardando0990, 300, 1, "|0990|", kAguardando1001, true, nullptr},
    {kAguardando0990, 300, 1, "|0300|", kAguardando0990, false,
     "Deveria ter o registro 0990 e não o 0300."},

    {kAguardando1001, 990, 1, "|1001|1|", kAguardando1100, true, nullptr},
    {kAguardando1001, 990, 1, "|1100|", kAguardando1001, false,
     "Deveria ter o registro 1001 e não o 1100."},
    {kAguardando1100, 1001, 1, "|1100|", kAguardando1110, true, nullptr},
    {kAguardando1100, 1001, 1, "|1200|", kAguardando1200, true, nullptr},
    {kAguardando1100, 1001, 1, "|1110|", kAguardando1100, false,
     "Deveria ter o registro 1100 e não o 1110."},
    {kAguardando1110, 1100, 1, "|1110|", kAguardando1115, true, nullptr},
    {kAguardando1110, 1100, 1, "|1100|", kAguardando1110, false,
     "Deveria ter o registro 1110 e não o 1100."},
    {kAguardando1110, 1100, 1, "|1990|", kAguardando1110, false,
     "Deveria ter o registro 1110 e não o 1990."},

    // Inside a daily total: a 1120 only right after its 1115, and the group
    // may only end once it has a 1115.
    {kAguardando1115, 1110, 1, "|1115|", kAguardando1115, true, nullptr},
    {kAguardando1115, 1115, 1, "|1120|", kAguardando1115, true, nullptr},
    {kAguardando1115, 1120, 1, "|1120|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1120."},
    {kAguardando1115, 1115, 1, "|1110|", kAguardando1115, true, nullptr},
    {kAguardando1115, 1120, 1, "|1110|", kAguardando1115, true, nullptr},
    {kAguardando1115, 1110, 1, "|1110|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1110."},
    {kAguardando1115, 1115, 1, "|1100|", kAguardando1110, true, nullptr},
    {kAguardando1115, 1110, 1, "|1100|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1100."},
    {kAguardando1115, 1120, 1, "|1200|", kAguardando1200, true, nullptr},
    {kAguardando1115, 1110, 1, "|1200|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1200."},
    {kAguardando1115, 1115, 1, "|1990|", kAguardando9001, true, nullptr},
    {kAguardando1115, 1110, 1, "|1990|", kAguardando1115, false,
     "Deveria ter o registro 1115 e não o 1990."},
    {kAguardando1115, 1115, 1, "|9001|1|", kAguardando1115, false,
     "Deveria ter o registro 1100, 1110, 1115, 1200 ou 1990 e não o 9001."},

    {kAguardando1200, 1200, 1, "|1200|", kAguardando1200, true, nullptr},
    {kAguardando1200, 1200, 1, "|1220|", kAguardando1200, true, nullptr},
    {kAguardando1200, 1220, 1, "|1220|", kAguardando1200, true,
     "Só pode vir um registro 1220 depois do registro 1200."},
    {kAguardando1200, 1220, 1, "|1990|", kAguardando9001, true, nullptr},
    {kAguardando1200, 1200, 1, "|1100|", kAguardando1200, false,
     "Deveria ter o registro 1200, 1220 ou 1990 e não o 1100."},
    {kAguardando1990, 1001, 2, "|1990|", kAguardando9001, true, nullptr},
    {kAguardando1990, 1001, 2, "|1100|", kAguardando1990, false,
     "Deveria ter o registro 1990 e não o 1100 porque o campo 02 - 'IND_MOV - Indicador de "
     "movimento' do registro 1001 tem valor 0 - 'Bloco sem dados informados'."},

    {kAguardando9001, 1990, 1, "|9001|1|", kAguardando9900, true, nullptr},
    {kAguardando9001, 1990, 1, "|9900|", kAguardando9001, false,
     "Deveria ter o registro 9001 e não o 9900."},
    {kAguardando9900, 9001, 1, "|9900|", kAguardando9900, true, nullptr},
    {kAguardando9900, 9900, 1, "|9990|", kAguardando9999, true, nullptr},
    {kAguardando9900, 9900, 1, "|9999|", kAguardando9900, false,
     "Deveria ter o registro 9900 ou 9990 e não o 9999."},
    {kAguardando9990, 9900, 1, "|9990|", kAguardando9999, true, nullptr},
    {kAguardando9990, 9900, 1, "|9900|", kAguardando9990, false,
     "Deveria ter o registro 9990 e não o 9900."},
    {kAguardando9999, 9990, 1, "|9999|", kAguardandoFim, true, nullptr},
    {kAguardando9999, 9990, 1, "|9900|", kAguardando9999, false,
     "Deveria ter o registro 9999 e não o 9900."},

    // After the 9999: one report, then silence; the previous state is kept.
    {kAguardandoFim, 9999, 1, "|0000|", kAguardandoEncerrar, false,
     "Deveria ter encerrado o arquivo mas ainda encontrou o registro 0000."},
    {kAguardandoEncerrar, 0, 1, "|0000|", kAguardandoEncerrar, false, nullptr},
};

TEST(StateMachine, EachStateAcceptsItsRecordsAndRejectsOthers) {
  for (const TransitionCase& c : kTransitionCases) {
    SCOPED_TRACE(std::string(StateName(c.state)) + " " + c.line + " P=" + std::to_string(c.prev) +
                 " fin=" + std::to_string(c.fin));
    Placed p(c.state, c.prev, c.fin);
    ASSERT_GE(p.fx.Feed(c.line), 0);
    EXPECT_EQ(p.fx.run.ctx.state, c.next);
    EXPECT_EQ(p.fx.run.ctx.previous_state, c.accepted ? c.state : Placed::kUntouched);
    std::vector<std::string> want;
    if (c.message != nullptr) want.push_back(L1(c.message));
    EXPECT_EQ(StructureMessages(p.fx), want);
  }
}

// A record out of place is reported against its field 01 and nothing else
// happens: its validator (and so the field analysis) does not run.
TEST(StateMachine, RejectedRecordIsNotValidated) {
  for (const TransitionCase& c : kTransitionCases) {
    if (c.accepted || c.message == nullptr) continue;
    // The 0105 of a purpose-6 file is also judged for its predecessor.
    SCOPED_TRACE(std::string(StateName(c.state)) + " " + c.line);
    Placed p(c.state, c.prev, c.fin);
    p.fx.Feed(c.line);
    ASSERT_EQ(p.fx.ps.findings.list.size(), 1u);
    const Finding& f = p.fx.ps.findings.list[0];
    EXPECT_EQ(f.field_number, 0);
    EXPECT_EQ(f.severity, kErro);
    EXPECT_EQ(f.line, p.fx.run.ctx.line);
  }
}

TEST(StateMachine, Purpose6RegistryAfterAnotherThan0100IsReportedTwice) {
  Placed p(kAguardando0100, 5, 6);
  p.fx.Feed("|0105|");
  EXPECT_EQ(StructureMessages(p.fx),
            (std::vector<std::string>{
                L1("O registro anterior deveria ser 0100 e não 0005."),
                L1("Para finalidade de arquivo 6 - '6 - Autorização para Instituição Parceira' "
                   "não pode ter o registro 0105.")}));
  EXPECT_EQ(p.fx.run.ctx.state, kAguardando0100);
}

// The movement indicator of 0001, 1001 and 9001 decides where the file goes;
// it is read only when the field analysis found it usable.
struct IndMovCase {
  int state;
  int fin;
  const char* line;
  int next;
  bool accepted;
  const char* message;  // pointing at field 02
};

const IndMovCase kIndMovCases[] = {
    {kAguardando0001, 1, "|0001|1|", kAguardando0005, true, nullptr},
    {kAguardando0001, 1, "|0001|0|", kAguardando0005, true,
     "No registro 0001 é obrigatório o Indicador de movimento = 1."},
    {kAguardando0001, 1, "|0001|2|", kAguardando0001, false,
     "Indicador de movimento pode ser 0 ou 1 e não 2."},
    {kAguardando0001, 1, "|0001|X|", kAguardando0001, false, nullptr},
    {kAguardando0001, 1, "|0001||", kAguardando0001, false, nullptr},
    {kAguardando0001, 1, "|0001|11|", kAguardando0001, false, nullptr},

    {kAguardando1001, 1, "|1001|1|", kAguardando1100, true, nullptr},
    {kAguardando1001, 1, "|1001|0|", kAguardando1990, true,
     "O Indicador de movimento deve ser 1 para remessa de arquivo normal."},
    {kAguardando1001, 2, "|1001|0|", kAguardando1990, true, nullptr},
    {kAguardando1001, 4, "|1001|0|", kAguardando1990, true, nullptr},
    {kAguardando1001, 4, "|1001|1|", kAguardando1100, true,
     "O Indicador de movimento deve ser 0 para remessa de arquivo zerado."},
    {kAguardando1001, 5, "|1001|1|", kAguardando1100, true,
     "O Indicador de movimento deve ser 1 para remessa de arquivo de encerramento de "
     "atividades."},
    {kAguardando1001, 5, "|1001|0|", kAguardando1990, true, nullptr},
    {kAguardando1001, 1, "|1001|3|", kAguardando1100, true,
     "Indicador de movimento pode ser 0 ou 1 e não 3."},
    {kAguardando1001, 1, "|1001|A|", kAguardando1001, false, nullptr},

    {kAguardando9001, 1, "|9001|1|", kAguardando9900, true, nullptr},
    {kAguardando9001, 1, "|9001|0|", kAguardando9900, true,
     "No registro 9001 é obrigatório o Indicador de movimento = 1."},
    {kAguardando9001, 1, "|9001|7|", kAguardando9900, true,
     "Indicador de movimento pode ser 0 ou 1 e não 7."},
    {kAguardando9001, 1, "|9001||", kAguardando9001, false, nullptr},
};

TEST(StateMachine, MovementIndicators) {
  for (const IndMovCase& c : kIndMovCases) {
    SCOPED_TRACE(std::string(c.line) + " fin=" + std::to_string(c.fin));
    Placed p(c.state, 0, c.fin);
    p.fx.Feed(c.line);
    EXPECT_EQ(p.fx.run.ctx.state, c.next);
    EXPECT_EQ(p.fx.run.ctx.previous_state, c.accepted ? c.state : Placed::kUntouched);
    std::vector<std::string> want;
    if (c.message != nullptr) want.push_back(L1(c.message));
    EXPECT_EQ(StructureMessages(p.fx), want);
    for (const Finding& f : p.fx.ps.findings.list)
      if (FromStructure(f.message)) {
        EXPECT_EQ(f.field_number, 2);
      }
  }
}

// The calls made for one record, in order, read from the trace: group
// closings, the emptying of the per-group sets and sums, and validators.
class Trace {
 public:
  explicit Trace(RunFixture& fx) : file_(std::tmpfile()) { fx.log.Configure(5, "", false, file_); }
  ~Trace() { std::fclose(file_); }
  std::vector<std::string> Calls() {
    std::vector<std::string> out;
    std::rewind(file_);
    char buf[2048];
    while (std::fgets(buf, sizeof buf, file_) != nullptr) {
      std::string l(buf);
      size_t b = l.find_first_not_of(' ');
      if (b == std::string::npos) continue;
      l = l.substr(b);
      if (l.rfind("Zerando", 0) == 0) {
        out.push_back(l.substr(0, l.find(" Linha fonte")));
      } else if (l.rfind("Verificacao", 0) == 0 || l.rfind("ValidarRegistro_", 0) == 0) {
        out.push_back(l.substr(0, l.find('(')));
      }
    }
    return out;
  }

 private:
  std::FILE* file_;
};

struct ActionCase {
  int state;
  int prev;
  const char* line;
  std::vector<std::string> calls;
};

const char* const kC1110 = "VerificacaoRegistro_1110";
const char* const kC1100 = "VerificacaoRegistro_1100";
const char* const kCCpf = "VerificacaoRegistro_1100_TransacoesComCPF";
const char* const kD1100 = "Zerando R1100_Distintos";
const char* const kD1110 = "Zerando R1110_Distintos";
const char* const kD1115 = "Zerando R1115_Distintos";
const char* const kD1200 = "Zerando R1200_Distintos";
const char* const kZ1110 = "Zerando Contadores R1110";
const char* const kZ1115 = "Zerando Contadores R1115";

const ActionCase kActionCases[] = {
    {kAguardando1100,
     1001,
     "|1100|",
     {kD1100, kD1110, kD1200, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {kAguardando1100, 1110, "|1100|", {kC1100, kD1110, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {kAguardando1100,
     1115,
     "|1100|",
     {kC1110, kC1100, kD1110, kZ1110, kZ1115, "ValidarRegistro_1100"}},
    {kAguardando1100, 1001, "|1200|", {kC1110, kC1100, kD1110, "ValidarRegistro_1200"}},
    {kAguardando1110, 1100, "|1110|", {kZ1115, kD1115, "ValidarRegistro_1110"}},
    {kAguardando1110, 1115, "|1110|", {kC1110, kZ1115, kD1115, "ValidarRegistro_1110"}},
    {kAguardando1110, 1110, "|1110|", {kD1115, "ValidarRegistro_1110"}},
    {kAguardando1115, 1110, "|1115|", {"ValidarRegistro_1115"}},
    {kAguardando1115, 1115, "|1110|", {kC1110, kZ1115, kD1115, "ValidarRegistro_1110"}},
    {kAguardando1115,
     1120,
     "|1100|",
     {kC1110, kC1100, kZ1110, kZ1115, kD1110, kD1115, "ValidarRegistro_1100"}},
    {kAguardando1115,
     1115,
     "|1200|",
     {kC1110, kC1100, kZ1110, kZ1115, kD1110, kD1115, "ValidarRegistro_1200"}},
    {kAguardando1115,
     1115,
     "|1990|",
     {kC1110, kC1100, kZ1110, kZ1115, kD1110, kD1115, kCCpf, "ValidarRegistro_1990"}},
    {kAguardando1115, 1110, "|1990|", {}},
    {kAguardando1200,
     1110,
     "|1200|",
     {kC1100, kD1110, kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {kAguardando1200, 1115, "|1200|", {kC1110, kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {kAguardando1200, 1220, "|1200|", {kZ1110, kZ1115, kD1115, "ValidarRegistro_1200"}},
    {kAguardando1200, 1200, "|1990|", {kCCpf, "ValidarRegistro_1990", kZ1110, kZ1115, kD1115}},
    {kAguardando1990,
     1001,
     "|1990|",
     {kC1110, kC1100, kZ1110, kZ1115, kD1115, kCCpf, "ValidarRegistro_1990"}},
    {kAguardando9999,
     9990,
     "|9999|",
     {"ValidarRegistro_9999", "VerificacaoRegistro_9900", "VerificacaoRegistro_0100",
      "VerificacaoRegistro_0200"}},
    {kAguardandoFim, 9999, "|9999|", {}},
};

TEST(StateMachine, GroupClosingsRunInTableOrder) {
  for (const ActionCase& c : kActionCases) {
    SCOPED_TRACE(std::string(StateName(c.state)) + " " + c.line + " P=" + std::to_string(c.prev));
    Placed p(c.state, c.prev, 1);
    Trace trace(p.fx);
    p.fx.Feed(c.line);
    EXPECT_EQ(trace.Calls(), c.calls);
  }
}

// Whole sequences of records, as a file would bring them.
struct SequenceCase {
  const char* name;
  std::vector<std::string> lines;
  int final_state;
  std::vector<std::string> messages;  // structure messages, UTF-8
};

const std::string k0000 = "|0000|07|1|SP|11222333000181|Empresa|20250101|20250131|1|202501|";

const SequenceCase kSequences[] = {
    {"missing 0001 blocks the rest",
     {k0000, "|0005|", "|0100|", "|0001|1|"},
     kAguardando0005,
     {"Deveria ter o registro 0001 e não o 0005.", "Deveria ter o registro 0001 e não o 0100."}},
    {"two 0105 after one 0100",
     {k0000, "|0001|1|", "|0005|", "|0100|", "|0105|", "|0105|", "|0990|"},
     kAguardando1001,
     {}},
    {"0105 right after 0005",
     {k0000, "|0001|1|", "|0005|", "|0105|"},
     kAguardando0105,
     {"O registro anterior deveria ser 0100 e não 0005."}},
    {"block 1 without data",
     {k0000, "|0001|1|", "|0005|", "|0990|", "|1001|0|", "|1100|", "|1990|", "|9001|1|"},
     kAguardando9900,
     {"O Indicador de movimento deve ser 1 para remessa de arquivo normal.",
      "Deveria ter o registro 1990 e não o 1100 porque o campo 02 - 'IND_MOV - Indicador de "
      "movimento' do registro 1001 tem valor 0 - 'Bloco sem dados informados'."}},
    {"records after 9999",
     {k0000, "|0001|1|", "|0005|", "|0990|", "|1001|0|", "|1990|", "|9001|1|", "|9900|", "|9990|",
      "|9999|", "|9900|", "|9999|", "|0000|"},
     kAguardandoEncerrar,
     {"O Indicador de movimento deve ser 1 para remessa de arquivo normal.",
      "Deveria ter encerrado o arquivo mas ainda encontrou o registro 9900."}},
};

TEST(StateMachine, Sequences) {
  for (const SequenceCase& c : kSequences) {
    SCOPED_TRACE(c.name);
    RunFixture fx;
    for (const std::string& l : c.lines) fx.Feed(l);
    EXPECT_EQ(fx.run.ctx.state, c.final_state);
    std::vector<std::string> want;
    for (const std::string& m : c.messages) want.push_back(L1(m));
    EXPECT_EQ(StructureMessages(fx), want);
  }
}

// A notification file (purpose 3) may declare a 1100 with nothing in it; it
// then needs no daily total. Any other 1100 does.
TEST(StateMachine, EmptyMonthlySummaryOfANotification) {
  struct Case {
    int fin;
    const char* valor;
    const char* qtd;
    const char* next_line;
    int next;
  } cases[] = {
      {3, "0,00", "0", "|1990|", kAguardando9001},  {3, "0,00", "0", "|1100|", kAguardando1110},
      {3, "10,00", "0", "|1990|", kAguardando1110}, {3, "0,00", "1", "|1990|", kAguardando1110},
      {1, "0,00", "0", "|1990|", kAguardando1110},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.fin) + " " + c.valor + " " + c.qtd + " " + c.next_line);
    Placed p(kAguardando1100, 1001, c.fin);
    p.fx.Feed(std::string("|1100||C1|0|0|20250101|20250131|") + c.valor + "|" + c.qtd + "|");
    ASSERT_EQ(p.fx.run.ctx.state, kAguardando1110);
    p.fx.Feed(c.next_line);
    EXPECT_EQ(p.fx.run.ctx.state, c.next);
  }
}

}  // namespace
}  // namespace volp
