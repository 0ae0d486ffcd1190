// 1200 reports the cancellation, inside the declared period, of a transaction
// declared in an earlier one; only whole cancellations are accepted. 1990
// closes block 1 with its line count.
#include <string_view>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/latin1.hpp"
#include "fields/field_analysis.hpp"
#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block1_util.hpp"

namespace volp {

using b1::Filled;
using b1::LerCentavos;
using b1::LerDigitos;
using b1::Text;

namespace {

// Fields of 1200.
enum : int {
  kIpPar = 1,
  kCliente = 2,
  kMcapt = 3,
  kNsu = 4,
  kCodAut = 5,
  kIdTransac = 6,
  kDtOp = 7,
  kDtCanc = 8,
  kTipoCanc = 9,
  kVlOrig = 10,
  kVlCanc = 11,
};

}  // namespace

void ValidarRegistro_1200(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1200", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;
  Msg m;

  // 1. Cancellations of earlier periods belong to a normal declaration.
  if (ctx.finalidade != 1) {
    run.Report(rec, 0, kErro,
               "Registro 1200 de cancelamento extemporâneo são aceitos apenas em remessa de "
               "arquivo com finalidade 01 - Normal."_l1);
  }

  // 2-4. Partner, client and device: each is only marked as referenced. The
  // current client stays the one of the last 1100, and the 1220 that follows
  // is judged against that client, not against this COD_CLIENTE.
  if (Filled(rec, kIpPar)) {
    const std::string_view t = Text(rec, kIpPar);
    if (PartnerEntry* p = run.block0.FindPartner(t)) {
      p->referenced = true;
    } else {
      run.Report(rec, kIpPar, kErro,
                 m("Não existe nenhum registro 0300 com esse COD_IP_PAR '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
  }
  if (Filled(rec, kCliente)) {
    const std::string_view t = Text(rec, kCliente);
    if (ClientEntry* c = run.block0.FindClient(t)) {
      c->referenced = true;
    } else {
      run.Report(rec, kCliente, kErro,
                 m("Não existe nenhum registro 0100 com esse COD_CLIENTE '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
  }
  if (Filled(rec, kMcapt)) {
    const std::string_view t = Text(rec, kMcapt);
    if (DeviceEntry* d = run.block0.FindDevice(t)) {
      d->referenced = true;
    } else {
      run.Report(rec, kMcapt, kErro,
                 m("Não existe nenhum registro 0200 com esse COD_MCAPT '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
  }

  // 5.
  if (!Filled(rec, kNsu) && !Filled(rec, kIdTransac)) {
    run.Report(rec, kIdTransac, kErro,
               "O campo ID_TRANSAC é obrigatório porque o campo NSU está vazio."_l1);
  }

  // 6. The cancelled transaction is of an earlier period.
  const std::string_view dt_op = Text(rec, kDtOp);
  if (Filled(rec, kDtOp) && !ctx.dt_ini.empty() && dt_op >= std::string_view(ctx.dt_ini)) {
    run.Report(rec, kDtOp, kErro,
               m("No campo DT_OP a data da operação deve ser inferior a data inicial %s do campo "
                 "DT_INI no registro 0000 e não: %.*s."_l1,
                 ctx.dt_ini.c_str(), static_cast<int>(dt_op.size()), dt_op.data()));
  }

  // 7. The same cancellation twice.
  if (Filled(rec, kCliente) && Filled(rec, kMcapt) && Filled(rec, kDtOp)) {
    KeyBuffer& key = b.key;
    key.Clear();
    for (int i : {kIpPar, kCliente, kMcapt, kNsu, kCodAut, kIdTransac, kDtOp}) {
      key.Add(Text(rec, i));
    }
    b1::RegistroUnico(run, rec, b.r1200, b.r1200_keys, key);
  }

  // 8. The cancellation itself happened inside the declared period.
  if (Filled(rec, kDtCanc) && !ctx.dt_ini.empty() && !ctx.dt_fin.empty()) {
    b1::VerificarPeriodo(
        run, rec, kDtCanc, ctx.dt_ini,
        "No campo DT_CANC a data do cancelamento deve ser igual ou superior a data inicial %s do "
        "campo DT_INI no registro 0000 e não: %.*s."_l1,
        ctx.dt_fin,
        "No campo DT_CANC a data do cancelamento deve ser igual ou inferior a data final %s do "
        "campo DT_FIN no registro 0000 e não: %.*s."_l1);
  }

  // 9.
  if (Filled(rec, kTipoCanc)) {
    const int64_t tipo = LerDigitos(Text(rec, kTipoCanc));
    if (tipo != 0 && tipo != 1 && tipo != 2) {
      const std::string_view t = Text(rec, kTipoCanc);
      run.Report(rec, kTipoCanc, kErro,
                 m("No campo TIPO_CANC o tipo do cancelamento pode ser 0, 1 ou 2 e não: '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
  }

  // 10-11. Values: only the whole transaction may be cancelled, and the two
  // texts must be the same bytes (100,00 and 0100,00 differ).
  if (!Filled(rec, kVlOrig) || !Filled(rec, kVlCanc)) return;
  if (LerCentavos(Text(rec, kVlOrig)) == 0 && ctx.finalidade != 3) {
    run.Report(rec, kVlOrig, kErro,
               m("No campo %02d - '%s' o valor é 0,00!"_l1, 11, rec.def(kVlOrig).name));
  }
  if (LerCentavos(Text(rec, kVlCanc)) == 0 && ctx.finalidade != 3) {
    run.Report(rec, kVlCanc, kErro,
               m("No campo %02d - '%s' o valor é 0,00!"_l1, 12, rec.def(kVlCanc).name));
  }
  const std::string_view vl_canc = Text(rec, kVlCanc);
  if (vl_canc != Text(rec, kVlOrig)) {
    run.Report(rec, kVlCanc, kErro,
               m("No campo VL_CANC o valor cancelado deve ser igual ao campo VL_ORIG do valor "
                 "total e não: '%.*s'."_l1,
                 static_cast<int>(vl_canc.size()), vl_canc.data()));
  }
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

  if (Filled(rec, 1)) {
    const int64_t declarado = LerDigitos(Text(rec, 1));
    const int64_t contado = run.ctx.block1;
    if (declarado != contado) {
      Msg m;
      run.Report(rec, 1, kErro,
                 m("Informou %s registros no Bloco 1 mas encontrou %s registros."_l1,
                   Milhar(declarado).c_str(), Milhar(contado).c_str()));
    }
  }
}

}  // namespace volp
