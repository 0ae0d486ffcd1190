// The records that open a declaration: 0000 (who declares, for which fiscal
// authority, which period, for what purpose, in which environment), 0001
// (opening of block 0) and 0005 (the declarant's address and contact). The
// 0000 and 0005 values are kept in the run's context: the purpose of the file
// steers the order of records and many later rules, and the report and the
// registration summary print the declarant's data.
#include "rules/opening.hpp"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "core/context.hpp"
#include "core/record_types.hpp"
#include "core/rows.hpp"
#include "fields/field_analysis.hpp"
#include "rules/common.hpp"
#include "rules/uf_check.hpp"

namespace volp {
namespace {

// The layout version this system reads.
constexpr int kVersaoLeiaute = 7;

namespace F = f0000;

void Keep(std::string& to, const Field& f) {
  if (f.filled) to.assign(f.text);
}

// The first of its month: day "01" and nothing after it.
bool PrimeiroDia(std::string_view date) { return date.size() == 8 && date.substr(6) == "01"; }

void RegrasDoPeriodo(Run& run, Record& rec, int fin) {
  const Field ini = rec.field(F::kDtIni);
  const Field fim = rec.field(F::kDtFin);
  constexpr int kNumDtIni = CampoNumero(F::kDtIni), kNumDtFin = CampoNumero(F::kDtFin);

  // A notification (purpose 3) may cover any span; other declarations are
  // made per calendar month.
  if (ini.filled && fin != 3 && !PrimeiroDia(ini.text)) {
    run.Report(rec, F::kDtIni, MsgId::kDtIniNaoPrimeiroDia, kNumDtIni, rec.def(F::kDtIni).name,
               ini.text);
  }
  if (!ini.filled || !fim.filled) return;

  // AAAAMMDD texts order as their dates do, so they are compared as text.
  const std::string_view ym_ini = ini.text.substr(0, 6);
  const std::string_view ym_fim = fim.text.substr(0, 6);
  if (fin != 6) {
    if (ini.text > fim.text) {
      run.Report(rec, F::kDtFin, MsgId::kDtFinAntesDtIni0000, kNumDtFin, ini.text, kNumDtIni,
                 fim.text);
    }
    if (fin != 3 && ym_ini != ym_fim)
      run.Report(rec, F::kDtFin, MsgId::kDtFinOutroMes, kNumDtFin, ym_fim, ym_ini, kNumDtIni);
  } else if (ym_ini != ym_fim) {
    // A partner authorisation covers one month; only year and month count.
    run.Report(rec, F::kDtFin, MsgId::kDtFinOutroMesFinalidade6, kFinalidades[5], kNumDtFin,
               rec.def(F::kDtFin).name, kNumDtIni, rec.def(F::kDtIni).name, fim.text);
  }
}

}  // namespace

void ValidarRegistro_0000(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0000", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  ValidationContext& ctx = run.ctx;

  const Field ver = rec.field(F::kCodVer);
  if (ver.filled) {
    ctx.cod_ver.assign(ver.text);
    char expected[16];
    std::snprintf(expected, sizeof expected, "%02d", kVersaoLeiaute);
    if (ver.text != expected) {
      run.Report(rec, F::kCodVer, MsgId::kVersaoLeiaute, CampoNumero(F::kCodVer), kVersaoLeiaute,
                 ver.text);
    }
  }

  const Field cod_fin = rec.field(F::kCodFin);
  if (cod_fin.filled) {
    // Kept even when out of range: the period rules below and the order of
    // the records read it as it is.
    const int fin = static_cast<int>(LerDigitos(cod_fin.text));
    ctx.finalidade = fin;
    if (fin < 1 || fin > kFinalidadeCount) {
      run.Report(rec, F::kCodFin, MsgId::kFinalidadeInvalida, CampoNumero(F::kCodFin),
                 cod_fin.text);
    }
    RegrasDoPeriodo(run, rec, fin);
  }

  Keep(ctx.uf_fisco, rec.field(F::kUfFisco));
  Keep(ctx.cnpj, rec.field(F::kCnpj));
  Keep(ctx.nome, rec.field(F::kNome));
  Keep(ctx.dt_ini, rec.field(F::kDtIni));
  Keep(ctx.dt_fin, rec.field(F::kDtFin));
  Keep(ctx.mes_val, rec.field(F::kMesVal));

  // The environment is judged whenever the line has the field, even empty:
  // an empty one is named "vazio" in the message.
  if (F::kTpAmb < rec.found) {
    const Field amb = rec.field(F::kTpAmb);
    ctx.tp_amb = static_cast<int>(LerDigitos(amb.text));
    if (ctx.tp_amb != 1 && ctx.tp_amb != 2) {
      const std::string_view shown = amb.text.empty() ? std::string_view("vazio") : amb.text;
      run.Report(rec, F::kTpAmb, MsgId::kTpAmbInvalido, CampoNumero(F::kTpAmb), shown);
    }
  }
}

void ValidarRegistro_0001(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0001", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
}

void ValidarRegistro_0005(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0005", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  ValidationContext& ctx = run.ctx;

  const Field uf = rec.field(f0005::kUf);
  if (uf.filled) {
    ctx.uf.assign(uf.text);
    VerificarUfMunicipioCep(run, rec, f0005::kCep, f0005::kCodMun, f0005::kUf);
  }

  Keep(ctx.endereco, rec.field(f0005::kEnd));
  Keep(ctx.cep, rec.field(f0005::kCep));
  Keep(ctx.contato, rec.field(f0005::kNomeResp));
  Keep(ctx.telefone, rec.field(f0005::kFone));
  Keep(ctx.email, rec.field(f0005::kEmail));
}

}  // namespace volp
