// The order of the records in a declaration file.
//
// A file is: 0000 header, 0001 opening of block 0, 0005 declarant's address,
// the registries (0100 clients with their 0105 VANs, 0200 capture devices,
// 0300 partner institutions, or 0600 authorised institutions for a file of
// purpose 6), 0990, then block 1 (1001, groups of 1100 monthly summaries with
// their 1110 daily totals, 1115 transactions and 1120 destinations, then 1200
// cancellations with their 1220 destinations, 1990), then block 9 (9001,
// 9900 per-type counts, 9990, 9999). The machine below walks that order one
// record at a time. It is a table: for each state, the record types it
// accepts (some only under a condition on the file's purpose or on the type
// of the record before), the actions to run for an accepted record and the
// state that follows. A record that no row accepts is reported and
// otherwise ignored: its validator is not run and the state stays.
#include "structure/state_machine.hpp"

#include <array>
#include <cstdint>

#include "core/context.hpp"
#include "core/record_types.hpp"
#include "core/rows.hpp"
#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block9.hpp"
#include "rules/opening.hpp"
#include "rules/sequence.hpp"
#include "structure/states.hpp"

namespace volp {
namespace {

using S = State;

// When a row applies, beyond the record type. P is the type of the record
// before this one; "fin" is the purpose of the file (COD_FIN of 0000).
enum class When : uint8_t {
  kAlways,
  kFin6,  // a partner-authorisation file (purpose 6)
  kNotFin6,
  kPrev1110,        // P = 1110
  kPrev1115,        // P = 1115
  kPrev1115Or1120,  // P = 1115 or 1120: the 1110 before has transactions
  kFin3Zerado,      // purpose 3 and the last 1100 had VALOR and QTD both 0
};

// The actions of a row, run in order.
enum class Step : uint8_t {
  kNone,
  kValidate,  // the record's own ValidarRegistro_<type>
  kClose1110,
  kClose1100,
  kCloseCpf,
  kReset1100,
  kReset1110,
  kReset1115,
  kReset1200,
  kZero1110,
  kZero1115,
  kEndChecks,       // 9900, 0100 and 0200 cross-checks at the end of the file
  kPrevMustBe0100,  // a 0105 belongs right after its 0100
  kOpen1110,        // closes what the 1110 before left open (P = 1100 or 1115)
  kClose1200Prev,   // closes what the block before a 1200 left open
  kOnly1220After1200,
  kIndMov0001,  // the movement indicator decides where the file goes
  kIndMov1001,
  kIndMov9001,
};

// Whether a record is reported, and how its message is filled.
enum class Fill : uint8_t {
  kNada,           // not reported
  kType,           // %s = the record's type code
  kFinalidade,     // kForaDaFinalidade: the purpose, its text and the type code
  kBlocoSemDados,  // kEsperava1990SemDados: type code, IND_MOV of 1001 and its name
};

constexpr int kMaxSteps = 9;

struct Transition {
  int8_t state;
  int8_t type;  // RecordTypeIndex
  When when;
  std::array<Step, kMaxSteps> steps;
  int8_t next;   // state after an accepted record (IND_MOV steps may change it)
  MsgId reject;  // with a fill other than kNada: after the steps, the record is
  Fill fill;     // reported with this message and the state stays
  int16_t tag;   // source-position tag passed to the validators (the row's line)
};

using St = Step;
constexpr int8_t kStay = -1;

#define ROW(state, type, when, next, ...) \
  Transition { state, type, When::when, {__VA_ARGS__}, next, MsgId{}, Fill::kNada, __LINE__ }
#define REJECT(state, type, when, msg, fill, ...) \
  Transition { state, type, When::when, {__VA_ARGS__}, kStay, msg, Fill::fill, __LINE__ }

// clang-format off
constexpr Transition kTransitions[] = {
  ROW(S::kAguardando0000, kR0000, kAlways, S::kAguardando0001, St::kValidate),

  ROW(S::kAguardando0001, kR0001, kAlways, S::kAguardando0005, St::kValidate, St::kIndMov0001),

  ROW(S::kAguardando0005, kR0005, kAlways, S::kAguardando0100, St::kValidate),

  // Registries: purpose 6 declares authorised institutions (0600) only, the
  // other purposes clients, devices and partners but no 0600.
  ROW(S::kAguardando0100, kR0100, kNotFin6, S::kAguardando0100, St::kValidate),
  REJECT(S::kAguardando0100, kR0100, kFin6, MsgId::kForaDaFinalidade, kFinalidade),
  ROW(S::kAguardando0100, kR0105, kNotFin6, S::kAguardando0105, St::kPrevMustBe0100, St::kValidate),
  REJECT(S::kAguardando0100, kR0105, kFin6, MsgId::kForaDaFinalidade, kFinalidade, St::kPrevMustBe0100),
  ROW(S::kAguardando0100, kR0200, kNotFin6, S::kAguardando0200, St::kValidate),
  REJECT(S::kAguardando0100, kR0200, kFin6, MsgId::kForaDaFinalidade, kFinalidade),
  ROW(S::kAguardando0100, kR0300, kNotFin6, S::kAguardando0300, St::kValidate),
  REJECT(S::kAguardando0100, kR0300, kFin6, MsgId::kForaDaFinalidade, kFinalidade),
  ROW(S::kAguardando0100, kR0600, kFin6, S::kAguardando0600, St::kValidate),
  REJECT(S::kAguardando0100, kR0600, kNotFin6, MsgId::kForaDaFinalidade, kFinalidade),
  ROW(S::kAguardando0100, kR0990, kAlways, S::kAguardando1001, St::kValidate),

  ROW(S::kAguardando0105, kR0100, kAlways, S::kAguardando0100, St::kValidate),
  ROW(S::kAguardando0105, kR0105, kAlways, S::kAguardando0105, St::kValidate),
  ROW(S::kAguardando0105, kR0200, kAlways, S::kAguardando0200, St::kValidate),
  ROW(S::kAguardando0105, kR0300, kAlways, S::kAguardando0300, St::kValidate),
  ROW(S::kAguardando0105, kR0990, kAlways, S::kAguardando1001, St::kValidate),

  ROW(S::kAguardando0200, kR0200, kAlways, S::kAguardando0200, St::kValidate),
  ROW(S::kAguardando0200, kR0300, kAlways, S::kAguardando0300, St::kValidate),
  ROW(S::kAguardando0200, kR0990, kAlways, S::kAguardando1001, St::kValidate),

  ROW(S::kAguardando0300, kR0300, kAlways, S::kAguardando0300, St::kValidate),
  ROW(S::kAguardando0300, kR0990, kAlways, S::kAguardando1001, St::kValidate),

  ROW(S::kAguardando0600, kR0600, kAlways, S::kAguardando0600, St::kValidate),
  ROW(S::kAguardando0600, kR0990, kAlways, S::kAguardando1001, St::kValidate),

  ROW(S::kAguardando0990, kR0990, kAlways, S::kAguardando1001, St::kValidate),

  ROW(S::kAguardando1001, kR1001, kAlways, S::kAguardando1100, St::kValidate, St::kIndMov1001),

  // First 1100 of block 1 (or a 1100 after a 1200 group): every per-file set
  // of block 1 starts empty. The P tests are part of the rule even though
  // this state is only entered after 1001.
  ROW(S::kAguardando1100, kR1100, kPrev1110, S::kAguardando1110,
      St::kClose1100, St::kReset1110, St::kZero1110, St::kZero1115, St::kValidate),
  ROW(S::kAguardando1100, kR1100, kPrev1115, S::kAguardando1110,
      St::kClose1110, St::kClose1100, St::kReset1110, St::kZero1110, St::kZero1115, St::kValidate),
  ROW(S::kAguardando1100, kR1100, kAlways, S::kAguardando1110,
      St::kReset1100, St::kReset1110, St::kReset1200, St::kZero1110, St::kZero1115, St::kValidate),
  ROW(S::kAguardando1100, kR1200, kAlways, S::kAguardando1200,
      St::kClose1110, St::kClose1100, St::kReset1110, St::kValidate),

  // After a 1100: its daily totals; a notification file (purpose 3) may have
  // a 1100 with nothing in it and no daily total.
  ROW(S::kAguardando1110, kR1110, kAlways, S::kAguardando1115, St::kOpen1110, St::kReset1115, St::kValidate),
  ROW(S::kAguardando1110, kR1100, kFin3Zerado, S::kAguardando1110, St::kValidate),
  ROW(S::kAguardando1110, kR1990, kFin3Zerado, S::kAguardando9001, St::kCloseCpf, St::kValidate),

  // After a 1110: its transactions, each possibly with one destination; then
  // the next 1110, the next 1100, the cancellations or the end of block 1.
  ROW(S::kAguardando1115, kR1115, kAlways, S::kAguardando1115, St::kValidate),
  ROW(S::kAguardando1115, kR1120, kPrev1115, S::kAguardando1115, St::kValidate),
  ROW(S::kAguardando1115, kR1110, kPrev1115Or1120, S::kAguardando1115,
      St::kClose1110, St::kZero1115, St::kReset1115, St::kValidate),
  ROW(S::kAguardando1115, kR1100, kPrev1115Or1120, S::kAguardando1110,
      St::kClose1110, St::kClose1100, St::kZero1110, St::kZero1115, St::kReset1110, St::kReset1115, St::kValidate),
  ROW(S::kAguardando1115, kR1200, kPrev1115Or1120, S::kAguardando1200,
      St::kClose1110, St::kClose1100, St::kZero1110, St::kZero1115, St::kReset1110, St::kReset1115, St::kValidate),
  ROW(S::kAguardando1115, kR1990, kPrev1115Or1120, S::kAguardando9001,
      St::kClose1110, St::kClose1100, St::kZero1110, St::kZero1115, St::kReset1110, St::kReset1115, St::kCloseCpf, St::kValidate),
  REJECT(S::kAguardando1115, kR1100, kAlways, MsgId::kEsperava1115, kType),
  REJECT(S::kAguardando1115, kR1110, kAlways, MsgId::kEsperava1115, kType),
  REJECT(S::kAguardando1115, kR1120, kAlways, MsgId::kEsperava1115, kType),
  REJECT(S::kAguardando1115, kR1200, kAlways, MsgId::kEsperava1115, kType),
  REJECT(S::kAguardando1115, kR1990, kAlways, MsgId::kEsperava1115, kType),

  ROW(S::kAguardando1200, kR1200, kAlways, S::kAguardando1200,
      St::kClose1200Prev, St::kZero1110, St::kZero1115, St::kReset1115, St::kValidate),
  ROW(S::kAguardando1200, kR1220, kAlways, S::kAguardando1200, St::kOnly1220After1200, St::kValidate),
  ROW(S::kAguardando1200, kR1990, kAlways, S::kAguardando9001,
      St::kCloseCpf, St::kValidate, St::kZero1110, St::kZero1115, St::kReset1115),

  // Block 1 declared without data (IND_MOV 0): only its closing may follow.
  ROW(S::kAguardando1990, kR1990, kAlways, S::kAguardando9001,
      St::kClose1110, St::kClose1100, St::kZero1110, St::kZero1115, St::kReset1115, St::kCloseCpf, St::kValidate),

  ROW(S::kAguardando9001, kR9001, kAlways, S::kAguardando9900, St::kValidate, St::kIndMov9001),

  ROW(S::kAguardando9900, kR9900, kAlways, S::kAguardando9900, St::kValidate),
  ROW(S::kAguardando9900, kR9990, kAlways, S::kAguardando9999, St::kValidate),

  ROW(S::kAguardando9990, kR9990, kAlways, S::kAguardando9999, St::kValidate),

  ROW(S::kAguardando9999, kR9999, kAlways, S::kAguardandoFim, St::kValidate, St::kEndChecks),
};
// clang-format on
#undef ROW
#undef REJECT

// What happens to a record that no row of its state accepts.
struct Otherwise {
  MsgId message;
  Fill fill;    // kNada: nothing at all
  int8_t next;  // kStay, or the state to move to (keeping the previous state)
};

// clang-format off
constexpr Otherwise kOtherwise[kStateCount] = {
  {MsgId::kEsperava0000, Fill::kType, kStay},
  {MsgId::kEsperava0001, Fill::kType, kStay},
  {MsgId::kEsperava0005, Fill::kType, kStay},
  {MsgId::kEsperavaCadastro, Fill::kType, kStay},
  {MsgId::kEsperavaApos0105, Fill::kType, kStay},
  {MsgId::kEsperavaApos0200, Fill::kType, kStay},
  {MsgId::kEsperavaApos0300, Fill::kType, kStay},
  {MsgId::kEsperava0990, Fill::kType, kStay},
  {MsgId::kEsperava0990, Fill::kType, kStay},
  {MsgId::kEsperava1001, Fill::kType, kStay},
  {MsgId::kEsperava1100, Fill::kType, kStay},
  {MsgId::kEsperava1110, Fill::kType, kStay},
  {MsgId::kEsperavaApos1115, Fill::kType, kStay},
  {MsgId::kEsperavaApos1200, Fill::kType, kStay},
  {MsgId::kEsperava1990SemDados, Fill::kBlocoSemDados, kStay},
  {MsgId::kEsperava9001, Fill::kType, kStay},
  {MsgId::kEsperava9900, Fill::kType, kStay},
  {MsgId::kEsperava9990, Fill::kType, kStay},
  {MsgId::kEsperava9999, Fill::kType, kStay},
  // After 9999 the first further record is reported, the rest ignored.
  {MsgId::kRegistroAposFim, Fill::kType, S::kAguardandoEncerrar},
  {MsgId{}, Fill::kNada, kStay},
};
// clang-format on

// The rows of each state are contiguous: kFirstRow[s] .. kFirstRow[s + 1].
constexpr std::array<int, kStateCount + 1> FirstRows() {
  std::array<int, kStateCount + 1> first{};
  constexpr int n = static_cast<int>(std::size(kTransitions));
  int row = 0;
  for (int s = 0; s <= kStateCount; ++s) {
    while (row < n && kTransitions[row].state < s) ++row;
    first[s] = row;
  }
  return first;
}
constexpr std::array<int, kStateCount + 1> kFirstRow = FirstRows();

constexpr bool RowsSortedByState() {
  for (size_t i = 1; i < std::size(kTransitions); ++i)
    if (kTransitions[i].state < kTransitions[i - 1].state) return false;
  return true;
}
static_assert(RowsSortedByState(), "the rows of one state must stay together, in state order");

using Validator = void (*)(Run&, Record&, int, int);
constexpr Validator kValidators[kRecordTypeCount] = {
    ValidarRegistro_0000, ValidarRegistro_0001, ValidarRegistro_0005, ValidarRegistro_0100,
    ValidarRegistro_0105, ValidarRegistro_0200, ValidarRegistro_0300, ValidarRegistro_0600,
    ValidarRegistro_0990, ValidarRegistro_1001, ValidarRegistro_1100, ValidarRegistro_1110,
    ValidarRegistro_1115, ValidarRegistro_1120, ValidarRegistro_1200, ValidarRegistro_1220,
    ValidarRegistro_1990, ValidarRegistro_9001, ValidarRegistro_9900, ValidarRegistro_9990,
    ValidarRegistro_9999,
};

const char* FinalidadeTexto(int fin) {
  return fin >= 1 && fin <= kFinalidadeCount ? kFinalidades[fin - 1] : "";
}

bool Applies(When when, const Run& run) {
  const int prev = run.ctx.previous_type;
  switch (when) {
    case When::kAlways:
      return true;
    case When::kFin6:
      return run.ctx.finalidade == 6;
    case When::kNotFin6:
      return run.ctx.finalidade != 6;
    case When::kPrev1110:
      return prev == 1110;
    case When::kPrev1115:
      return prev == 1115;
    case When::kPrev1115Or1120:
      return prev == 1115 || prev == 1120;
    case When::kFin3Zerado:
      return run.ctx.finalidade == 3 && Ultimo1100Zerado(run);
  }
  return false;
}

// Every message of the two tables takes the values its fill gives it.
constexpr bool Fits(MsgId id, Fill fill) {
  switch (fill) {
    case Fill::kNada:
      return true;
    case Fill::kType:
      return msg::Matches<const char*>(id);
    case Fill::kFinalidade:
      return id == MsgId::kForaDaFinalidade;
    case Fill::kBlocoSemDados:
      return id == MsgId::kEsperava1990SemDados;
  }
  return false;
}

constexpr bool AllFit() {
  for (const Transition& t : kTransitions)
    if (!Fits(t.reject, t.fill)) return false;
  for (const Otherwise& o : kOtherwise)
    if (!Fits(o.message, o.fill)) return false;
  return true;
}
static_assert(AllFit(), "a rejection's message does not take the values of its fill");

// Message `id` of a kType row: its one placeholder, checked above, takes the
// record's type code.
void ReportType(Run& run, Record& rec, MsgId id) { run.ReportChosen(rec, 0, id, rec.type->code); }

void Wrong(Run& run, Record& rec, MsgId id, Fill fill) {
  const int fin = run.ctx.finalidade;
  switch (fill) {
    case Fill::kNada:
      break;
    case Fill::kType:
      ReportType(run, rec, id);
      break;
    case Fill::kFinalidade:
      run.Report(rec, 0, MsgId::kForaDaFinalidade, fin, FinalidadeTexto(fin), rec.type->code);
      break;
    case Fill::kBlocoSemDados:
      run.Report(rec, 0, MsgId::kEsperava1990SemDados, rec.type->code, CampoNumero(f1001::kIndMov),
                 kRecordTypes[kR1001].fields[f1001::kIndMov].name);
      break;
  }
}

// Where an accepted record leads. The movement indicators may turn a record
// into a non-accepted one (field 02 unusable, or an impossible value in 0001).
struct Outcome {
  int next;
  bool accepted = true;
};

// The state a block's opening leads to, as its movement indicator says.
void Follow(Movimento m, int with_data, int without_data, Outcome& out) {
  if (m == Movimento::kRecusado)
    out.accepted = false;
  else
    out.next = m == Movimento::kSemDados ? without_data : with_data;
}

void DoStep(Step step, Run& run, Record& rec, int tag, Outcome& out) {
  const int prev = run.ctx.previous_type;
  switch (step) {
    case Step::kNone:
      break;
    case Step::kValidate:
      kValidators[rec.type_index](run, rec, prev, tag);
      break;
    case Step::kClose1110:
      VerificacaoRegistro_1110(run, tag);
      break;
    case Step::kClose1100:
      VerificacaoRegistro_1100(run, tag);
      break;
    case Step::kCloseCpf:
      VerificacaoRegistro_1100_TransacoesComCPF(run, tag);
      break;
    case Step::kReset1100:
      ZerarDistintos(run, Distintos::kR1100, tag);
      break;
    case Step::kReset1110:
      ZerarDistintos(run, Distintos::kR1110, tag);
      break;
    case Step::kReset1115:
      ZerarDistintos(run, Distintos::kR1115, tag);
      break;
    case Step::kReset1200:
      ZerarDistintos(run, Distintos::kR1200, tag);
      break;
    case Step::kZero1110:
      ZerarContadoresR1110(run, tag);
      break;
    case Step::kZero1115:
      ZerarContadoresR1115(run, tag);
      break;
    case Step::kEndChecks:
      VerificacaoRegistro_9900(run, run.ctx.offset, run.ctx.line, tag);
      VerificacaoRegistro_0100(run, tag);
      VerificacaoRegistro_0200(run, tag);
      break;
    case Step::kPrevMustBe0100:
      VerificarAnterior0100(run, rec, prev);
      break;
    case Step::kOpen1110:
      // A 1110 right after its 1100 starts the transaction sums afresh; one
      // after a 1115 first closes the daily total that those 1115 belonged to.
      if (prev == 1100) {
        ZerarContadoresR1115(run, tag);
      } else if (prev == 1115) {
        VerificacaoRegistro_1110(run, tag);
        ZerarContadoresR1115(run, tag);
      }
      break;
    case Step::kClose1200Prev:
      if (prev == 1110) {
        VerificacaoRegistro_1100(run, tag);
        ZerarDistintos(run, Distintos::kR1110, tag);
      } else if (prev == 1115) {
        VerificacaoRegistro_1110(run, tag);
      }
      break;
    case Step::kOnly1220After1200:
      VerificarUm1220(run, rec, prev);
      break;
    case Step::kIndMov0001:
      Follow(IndicadorMovimento0001(run, rec), S::kAguardando0005, S::kAguardando0005, out);
      break;
    case Step::kIndMov1001:
      Follow(IndicadorMovimento1001(run, rec), S::kAguardando1100, S::kAguardando1990, out);
      break;
    case Step::kIndMov9001:
      Follow(IndicadorMovimento9001(run, rec), S::kAguardando9900, S::kAguardando9900, out);
      break;
  }
}

}  // namespace

void StepStateMachine(Run& run, Record& rec) {
  ValidationContext& ctx = run.ctx;
  const int state = ctx.state;
  if (state < 0 || state >= kStateCount || rec.type == nullptr) return;

  for (int i = kFirstRow[state]; i < kFirstRow[state + 1]; ++i) {
    const Transition& t = kTransitions[i];
    if (t.type != rec.type_index || !Applies(t.when, run)) continue;
    Outcome out{t.next};
    for (Step step : t.steps) {
      if (step == Step::kNone) break;
      DoStep(step, run, rec, t.tag, out);
    }
    if (t.fill != Fill::kNada) {
      Wrong(run, rec, t.reject, t.fill);
    } else if (out.accepted) {
      ctx.previous_state = state;
      ctx.state = out.next;
    }
    return;
  }

  const Otherwise& o = kOtherwise[state];
  Wrong(run, rec, o.message, o.fill);
  if (o.next != kStay) ctx.state = o.next;
}

}  // namespace volp
