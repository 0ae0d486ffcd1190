// The totals a declaration states about itself: 0990 the lines of block 0,
// 9900 the records of each type (one 9900 per type), 9990 the lines of
// block 9 and 9999 the lines of the whole file. The run counts every record
// before its validator runs, so each count includes the record that states
// it. The 9900 totals can only be compared once the whole file is read, and
// so can the 9990's, which counts the 9999 after it.
#include "rules/block9.hpp"

#include <cinttypes>
#include <cstdio>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/rows.hpp"
#include "fields/field_analysis.hpp"
#include "rules/common.hpp"

namespace volp {
namespace {

// The record supplied the field (it may still be empty).
bool Present(const Record& rec, int row) { return row < rec.found; }

const char* Plural(int64_t n) { return n == 1 ? "" : "s"; }

}  // namespace

void ValidarRegistro_0990(Run& run, Record& rec, int prev_type, int src_line) {
  const int64_t count = run.ctx.block0;
  if (run.log.On(5)) {
    run.log.Write(5,
                  "  ValidarRegistro_0990(%lld, %lld, 0x%08x, 0x%08x, %lld) Registro anterior: %d "
                  "Linha fonte: %d\n",
                  static_cast<long long>(run.ctx.offset), static_cast<long long>(run.ctx.line),
                  Addr(&rec), Addr(&run.ctx), static_cast<long long>(count), prev_type, src_line);
  }
  AnalisarRegistro(run, rec);
  if (!Present(rec, f0990::kQtdLin0)) return;
  const int64_t stated = LerInteiro(rec.text(f0990::kQtdLin0));
  if (stated != count) {
    run.Report(rec, f0990::kQtdLin0, MsgId::kQtdLin0Divergente, Milhar(stated), Milhar(count));
  }
}

void ValidarRegistro_9001(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "9001", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
}

void ValidarRegistro_9900(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "9900", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  if (!Present(rec, f9900::kRegBlc)) return;

  const std::string_view reg = rec.text(f9900::kRegBlc);
  const int type = FindRecordType(reg);
  if (type < 0) {
    // The message names the field, not the value, which the report shows
    // beside it anyway.
    run.Report(rec, f9900::kRegBlc, MsgId::kRegBlcInvalido, rec.def(f9900::kRegBlc).name);
    return;
  }
  if (!Present(rec, f9900::kQtdRegBlc)) return;

  Total9900& slot = run.block9.totals[type];
  if (slot.seen) {
    run.Report(rec, f9900::kRegBlc, MsgId::kRegBlcRepetido, reg, Milhar(slot.line),
               Milhar(slot.offset));
    return;
  }
  const Field qtd = rec.field(f9900::kQtdRegBlc);
  slot.seen = true;
  slot.offset = run.ctx.offset;
  slot.line = run.ctx.line;
  slot.stated = LerInteiro(qtd.text);
  slot.column = qtd.column;
  slot.content.assign(qtd.text);
}

void ValidarRegistro_9990(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "9990", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block9State& st = run.block9;
  st.seen_9990 = true;
  st.offset_9990 = run.ctx.offset;
  st.line_9990 = run.ctx.line;
  st.has_qtd_lin_9 = Present(rec, f9990::kQtdLin9);
  if (st.has_qtd_lin_9) {
    const Field f = rec.field(f9990::kQtdLin9);
    st.qtd_lin_9 = LerInteiro(f.text);
    st.qtd_lin_9_column = f.column;
    st.qtd_lin_9_text.assign(f.text);
  }
}

void ValidarRegistro_9999(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "9999", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  const int64_t lines = run.ps.known_records;
  if (Present(rec, f9999::kQtdLin)) {
    const int64_t stated = LerInteiro(rec.text(f9999::kQtdLin));
    if (stated != lines) {
      run.Report(rec, f9999::kQtdLin, MsgId::kQtdLinDivergente, Milhar(stated), Milhar(lines));
    }
  }

  // Block 9 is complete now: judge the 9990 read before, at its own line.
  const Block9State& st = run.block9;
  const int64_t block9 = run.ctx.block9;
  if (st.seen_9990 && st.has_qtd_lin_9 && st.qtd_lin_9 != block9) {
    const std::string& text = st.qtd_lin_9_text;
    FieldRef f{kRecordTypes[kR9990].fields[f9990::kQtdLin9].name, st.qtd_lin_9_column, text,
               static_cast<int32_t>(text.size())};
    run.ReportAt(st.offset_9990, st.line_9990, kR9990, f9990::kQtdLin9, &f,
                 MsgId::kQtdLin9Divergente, Milhar(st.qtd_lin_9), Milhar(block9));
  }
}

void VerificacaoRegistro_9900(Run& run, int64_t offset, int64_t line, int src_line) {
  if (run.log.On(5)) {
    run.log.Write(5, "  VerificacaoRegistro_9900(%lld, %lld) Linha fonte: %d\n",
                  static_cast<long long>(offset), static_cast<long long>(line), src_line);
  }
  if (run.TooManyErrors()) return;

  const FieldDef& qtd_def = kRecordTypes[kR9900].fields[f9900::kQtdRegBlc];
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const RecordTypeDef& type = kRecordTypes[i];
    const int64_t counted = run.ps.findings.per_type[i].count;
    const Total9900& slot = run.block9.totals[i];
    if (slot.seen) {
      if (slot.stated == counted) continue;
      // The field block shows the stated count as the number it was read as.
      char digits[24];
      const int len = std::snprintf(digits, sizeof digits, "%" PRId64, slot.stated);
      FieldRef f{qtd_def.name, slot.column, slot.content, len};
      run.ReportAt(slot.offset, slot.line, kR9900, f9900::kQtdRegBlc, &f,
                   MsgId::kQtdRegBlcDivergente, Milhar(slot.stated), Plural(slot.stated), type.code,
                   Milhar(counted), Plural(counted));
    } else if (type.required == 'S' || counted > 0) {
      run.ReportAt(offset, line, kR9900, 0, nullptr, MsgId::kSem9900, type.code);
    }
  }
}

}  // namespace volp
