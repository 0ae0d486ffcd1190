// The rules on the sequence of records that depend on their values.
#include "rules/sequence.hpp"

#include "core/context.hpp"
#include "core/record_types.hpp"
#include "core/rows.hpp"
#include "rules/common.hpp"

namespace volp {

namespace {

// The indicator is field 02 of all three opening records.
constexpr int kIndMov = f1001::kIndMov;
static_assert(kIndMov == static_cast<int>(f0001::kIndMov) &&
              kIndMov == static_cast<int>(f9001::kIndMov));

// The indicator, 0 (no data in the block) or 1; read only when the field
// analysis found the field valid.
bool LerIndicador(const Record& rec, int* value) {
  const Field f = rec.field(kIndMov);
  if (!f.valid) return false;
  *value = static_cast<int>(LerDigitos(f.text));
  return true;
}

void IndicadorInvalido(Run& run, Record& rec) {
  run.Report(rec, kIndMov, MsgId::kIndMovInvalido, rec.text(kIndMov));
}

// The purposes of a file (COD_FIN of 0000) that decide block 1's indicator.
constexpr int kRemessaNormal = 1;
constexpr int kRemessaZerada = 4;
constexpr int kEncerramento = 5;

}  // namespace

Movimento IndicadorMovimento0001(Run& run, Record& rec) {
  int v;
  if (!LerIndicador(rec, &v)) return Movimento::kRecusado;
  if (v == 0) {
    run.Report(rec, kIndMov, MsgId::kIndMov0001Zero);
  } else if (v != 1) {
    IndicadorInvalido(run, rec);
    return Movimento::kRecusado;
  }
  return Movimento::kSegue;
}

Movimento IndicadorMovimento1001(Run& run, Record& rec) {
  int v;
  if (!LerIndicador(rec, &v)) return Movimento::kRecusado;
  const int fin = run.ctx.finalidade;
  if (v == 0) {
    if (fin == kRemessaNormal) run.Report(rec, kIndMov, MsgId::kIndMovArquivoNormal);
    return Movimento::kSemDados;
  }
  if (v == 1) {
    if (fin == kRemessaZerada) run.Report(rec, kIndMov, MsgId::kIndMovArquivoZerado);
    if (fin == kEncerramento) run.Report(rec, kIndMov, MsgId::kIndMovEncerramento);
  } else {
    IndicadorInvalido(run, rec);
  }
  return Movimento::kSegue;
}

Movimento IndicadorMovimento9001(Run& run, Record& rec) {
  int v;
  if (!LerIndicador(rec, &v)) return Movimento::kRecusado;
  if (v == 0)
    run.Report(rec, kIndMov, MsgId::kIndMov9001Zero);
  else if (v != 1)
    IndicadorInvalido(run, rec);
  return Movimento::kSegue;
}

void VerificarAnterior0100(Run& run, Record& rec, int previous_type) {
  if (previous_type != 100) run.Report(rec, 0, MsgId::kAnteriorNao0100, previous_type);
}

void VerificarUm1220(Run& run, Record& rec, int previous_type) {
  if (previous_type == 1220) run.Report(rec, 0, MsgId::kUm1220Por1200);
}

void VerificarRegistrosObrigatorios(Run& run) {
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const RecordTypeDef& t = kRecordTypes[i];
    if (t.required != 'S' || run.ps.findings.per_type[i].count != 0) continue;
    run.ReportAt(run.ctx.offset, run.ctx.line, i, 0, nullptr, MsgId::kRegistroObrigatorio, t.code);
  }
}

}  // namespace volp
