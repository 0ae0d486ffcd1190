// 1200 reports the cancellation, inside the declared period, of a transaction
// declared in an earlier one; only whole cancellations are accepted. 1990
// closes block 1 with its line count.
#include <string_view>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/rows.hpp"
#include "fields/field_analysis.hpp"
#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block1_util.hpp"

namespace volp {

using b1::Filled;
using b1::LerCentavos;
using b1::LerDigitos;
using b1::Text;

namespace F = f1200;

void ValidarRegistro_1200(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1200", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;

  // 1. Cancellations of earlier periods belong to a normal declaration.
  if (ctx.finalidade != 1) run.Report(rec, 0, MsgId::kCancelamentoForaDeNormal);

  // 2-4. Partner, client and device: each is only marked as referenced. The
  // current client stays the one of the last 1100, and the 1220 that follows
  // is judged against that client, not against this COD_CLIENTE.
  if (Filled(rec, F::kCodIpPar)) {
    const std::string_view t = Text(rec, F::kCodIpPar);
    if (PartnerEntry* p = run.block0.FindPartner(t)) {
      p->referenced = true;
    } else {
      run.Report(rec, F::kCodIpPar, MsgId::kIpParSem0300, t);
    }
  }
  if (Filled(rec, F::kCodCliente)) {
    const std::string_view t = Text(rec, F::kCodCliente);
    if (ClientEntry* c = run.block0.FindClient(t)) {
      c->referenced = true;
    } else {
      run.Report(rec, F::kCodCliente, MsgId::kClienteSem0100, t);
    }
  }
  if (Filled(rec, F::kCodMcapt)) {
    const std::string_view t = Text(rec, F::kCodMcapt);
    if (DeviceEntry* d = run.block0.FindDevice(t)) {
      d->referenced = true;
    } else {
      run.Report(rec, F::kCodMcapt, MsgId::kMcaptSem0200, t);
    }
  }

  // 5.
  if (!Filled(rec, F::kNsu) && !Filled(rec, F::kIdTransac))
    run.Report(rec, F::kIdTransac, MsgId::kIdTransacObrigatorio1200);

  // 6. The cancelled transaction is of an earlier period.
  const std::string_view dt_op = Text(rec, F::kDtOp);
  if (Filled(rec, F::kDtOp) && !ctx.dt_ini.empty() && dt_op >= std::string_view(ctx.dt_ini))
    run.Report(rec, F::kDtOp, MsgId::kDtOpNoPeriodo1200, ctx.dt_ini.c_str(), dt_op);

  // 7. The same cancellation twice.
  if (Filled(rec, F::kCodCliente) && Filled(rec, F::kCodMcapt) && Filled(rec, F::kDtOp)) {
    KeyBuffer& key = b.key;
    key.Clear();
    const std::initializer_list<int> kChave = {F::kCodIpPar, F::kCodCliente, F::kCodMcapt, F::kNsu,
                                               F::kCodAut,   F::kIdTransac,  F::kDtOp};
    for (int i : kChave) key.Add(Text(rec, i));
    b1::RegistroUnico(run, rec, b.r1200, key, kChave);
  }

  // 8. The cancellation itself happened inside the declared period.
  if (Filled(rec, F::kDtCanc) && !ctx.dt_ini.empty() && !ctx.dt_fin.empty()) {
    b1::VerificarPeriodo(run, rec, F::kDtCanc, ctx.dt_ini, MsgId::kDtCancAntesDoPeriodo, ctx.dt_fin,
                         MsgId::kDtCancAposOPeriodo);
  }

  // 9.
  if (Filled(rec, F::kTipoCanc)) {
    const int64_t tipo = LerDigitos(Text(rec, F::kTipoCanc));
    if (tipo != 0 && tipo != 1 && tipo != 2)
      run.Report(rec, F::kTipoCanc, MsgId::kTipoCancInvalido, Text(rec, F::kTipoCanc));
  }

  // 10-11. Values: only the whole transaction may be cancelled, and the two
  // texts must be the same bytes (100,00 and 0100,00 differ).
  if (!Filled(rec, F::kVlOrig) || !Filled(rec, F::kVlCanc)) return;
  if (LerCentavos(Text(rec, F::kVlOrig)) == 0 && ctx.finalidade != 3) {
    run.Report(rec, F::kVlOrig, MsgId::kValorZero, CampoNumero(F::kVlOrig),
               rec.def(F::kVlOrig).name);
  }
  if (LerCentavos(Text(rec, F::kVlCanc)) == 0 && ctx.finalidade != 3) {
    run.Report(rec, F::kVlCanc, MsgId::kValorZero, CampoNumero(F::kVlCanc),
               rec.def(F::kVlCanc).name);
  }
  const std::string_view vl_canc = Text(rec, F::kVlCanc);
  if (vl_canc != Text(rec, F::kVlOrig))
    run.Report(rec, F::kVlCanc, MsgId::kVlCancDiferente, vl_canc);
}

void ValidarRegistro_1990(Run& run, Record& rec, int prev_type, int src_line) {
  if (run.log.On(5)) {
    run.log.Write(5,
                  "  ValidarRegistro_1990(%lld, %lld, 0x%08x, 0x%08x, %lld) Registro anterior: "
                  "%d Linha fonte: %d\n",
                  static_cast<long long>(run.ctx.line), static_cast<long long>(run.ctx.offset),
                  b1::Addr(&rec), b1::Addr(&run.ctx), static_cast<long long>(run.ctx.block1),
                  prev_type, src_line);
  }
  // The months that no 1100 covered are reported before the record's own
  // analysis.
  if (run.ctx.finalidade == 3) b1::VarrerMeses(run, rec);
  AnalisarRegistro(run, rec);

  if (Filled(rec, f1990::kQtdLin1)) {
    const int64_t declarado = LerDigitos(Text(rec, f1990::kQtdLin1));
    const int64_t contado = run.ctx.block1;
    if (declarado != contado) {
      run.Report(rec, f1990::kQtdLin1, MsgId::kQtdLin1Divergente, Milhar(declarado),
                 Milhar(contado));
    }
  }
}

}  // namespace volp
