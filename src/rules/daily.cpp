// 1110 is the daily total of one capture device under a 1100; 1115 is one
// transaction under a 1110 and by far the most frequent record of a file, so
// its path is kept to a few integer reads and one hash lookup.
#include <cstring>
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

namespace {

namespace D = f1110;  // the daily total
namespace T = f1115;  // one transaction

// Technology 7 of a 0200: cash, or a payment structure of its own; such a
// device has no acquirer and its transactions are of nature 5.
constexpr int32_t kTecnDinheiro = 7;

// The 0200 of a COD_MCAPT, or null; asks the registry only when the code is
// not the one of the previous lookup.
DeviceEntry* DispositivoDe(Run& run, std::string_view mcapt) {
  Block1State::UltimoMcapt& u = run.block1.ultimo_mcapt;
  if (u.known && mcapt.size() == u.size && std::memcmp(mcapt.data(), u.code, u.size) == 0)
    return u.device;
  DeviceEntry* device = run.block0.FindDevice(mcapt);
  u.known = mcapt.size() <= Block1State::UltimoMcapt::kMaxCode;
  if (u.known) {
    if (!mcapt.empty()) std::memcpy(u.code, mcapt.data(), mcapt.size());
    u.size = mcapt.size();
    u.device = device;
  }
  return device;
}

}  // namespace

void ValidarRegistro_1110(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "    ", "1110", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;
  const Last1100& pai = b.last_1100;
  Last1110& last = b.last_1110;

  last.present = true;
  last.line = ctx.line;
  last.offset = ctx.offset;
  last.cod_mcapt_filled = Filled(rec, D::kCodMcapt);
  last.dt_op_filled = Filled(rec, D::kDtOp);
  last.cnpj_adqui_filled = Filled(rec, D::kCnpjAdqui);
  last.cnpj_adqui_field.Set(rec.field(D::kCnpjAdqui));
  last.in_distintos = false;
  last.valor = 0;
  last.valor_field.Set(rec.field(D::kValor));

  // 1. The capture device.
  const std::string_view mcapt = Text(rec, D::kCodMcapt);
  DeviceEntry* device = DispositivoDe(run, mcapt);
  int32_t tipo_tecn = 0;
  int64_t linha_0200 = 0;
  int64_t posicao_0200 = 0;
  if (device == nullptr) {
    run.Report(rec, D::kCodMcapt, MsgId::kMcaptSem0200, mcapt);
  } else {
    device->referenced = true;
    tipo_tecn = device->tipo_tecn;
    linha_0200 = device->line;
    posicao_0200 = device->offset;
  }
  last.device = device;
  last.tipo_tecn = tipo_tecn;

  // 2. The day lies inside the period of its 1100.
  if (Filled(rec, D::kDtOp) && pai.present && pai.dt_ini_filled && pai.dt_fin_filled) {
    b1::VerificarPeriodo(run, rec, D::kDtOp, pai.dt_ini, MsgId::kDtOpAntesDo1100, pai.dt_fin,
                         MsgId::kDtOpAposO1100);
  }

  // 3. One 1110 per client, indicator, device, day and acquirer.
  if (pai.present && pai.cod_cliente_filled && pai.ind_comex_filled) {
    KeyBuffer& key = b.key;
    key.Clear();
    key.Add(pai.cod_cliente);
    key.Add(pai.ind_comex);
    key.Add(mcapt);
    key.Add(Text(rec, D::kDtOp));
    key.Add(Text(rec, D::kCnpjAdqui));
    b1::RegistroUnico(run, rec, b.r1110, b.r1110_keys, key);
    last.in_distintos = true;
  }

  // 4. The acquirer is named exactly when the device is not of technology 7
  // (an unknown device counts as not 7).
  if (!Filled(rec, D::kCnpjAdqui) && tipo_tecn != kTecnDinheiro) {
    run.Report(rec, D::kCnpjAdqui, MsgId::kAdquiObrigatorio, CampoNumero(D::kCnpjAdqui),
               CampoNumero(f0200::kTipoTecn), Milhar(linha_0200), Milhar(posicao_0200));
  } else if (Filled(rec, D::kCnpjAdqui) && tipo_tecn == kTecnDinheiro) {
    run.Report(rec, D::kCnpjAdqui, MsgId::kAdquiVedado, CampoNumero(D::kCnpjAdqui),
               CampoNumero(f0200::kTipoTecn), Milhar(linha_0200), Milhar(posicao_0200));
  }

  // 5.
  if (Filled(rec, D::kCnpjAdqui)) {
    const std::string_view adqui = Text(rec, D::kCnpjAdqui);
    auto it = b.adquirentes.find(adqui);
    if (it == b.adquirentes.end()) it = b.adquirentes.emplace(b.arena.Copy(adqui), 0).first;
    ++it->second;
  }

  // 6. VALOR, summed into the 1100 group whether or not QTD is there.
  last.valor = LerCentavos(Text(rec, D::kValor));
  if (last.valor == 0 && ctx.finalidade != 3) {
    run.Report(rec, D::kValor, MsgId::kValorZero, CampoNumero(D::kValor), rec.def(D::kValor).name);
  }
  Acumular(b.contadores_1110.valor, last.valor);

  // 7. QTD; a 1110 without it is not counted, and leaves in the slot the QTD
  // of the 1110 before it, which the closing of this day then compares.
  if (!Filled(rec, D::kQtd)) return;
  last.qtd = LerDigitos(Text(rec, D::kQtd));
  last.qtd_field.Set(rec.field(D::kQtd));
  if (last.qtd == 0 && ctx.finalidade != 3)
    run.Report(rec, D::kQtd, MsgId::kQtdZero, CampoNumero(D::kQtd), rec.def(D::kQtd).name);
  Acumular(b.contadores_1110.qtd, last.qtd);
  ++b.contadores_1110.registros;
}

void ValidarRegistro_1115(Run& run, Record& rec, int prev_type, int src_line) {
  if (run.log.On(5)) b1::LogEntrada(run, "      ", "1115", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;

  // 1.
  if (!Filled(rec, T::kNsu) && !Filled(rec, T::kIdTransac)) {
    run.Report(rec, T::kIdTransac, MsgId::kIdTransacObrigatorio1115, CampoNumero(T::kIdTransac));
  }

  // 2. IND_SPLIT: a split payment may repeat the same transaction key.
  constexpr int kNumSplit = CampoNumero(T::kIndSplit);
  int32_t split = -1;
  if (Filled(rec, T::kIndSplit)) {
    split = static_cast<int32_t>(LerDigitos(Text(rec, T::kIndSplit)));
    if (split != 0 && split != 1) {
      run.Report(rec, T::kIndSplit, MsgId::kIndSplitInvalido, kNumSplit, Text(rec, T::kIndSplit));
    }
  }

  // 3. The same transaction twice under one 1110 (see Block1State::r1115
  // for why the key holds only the transaction's own texts).
  const Last1100& l1100 = b.last_1100;
  const Last1110& l1110 = b.last_1110;
  if (l1100.present && l1100.cod_cliente_filled && l1100.ind_comex_filled && l1110.present &&
      l1110.cod_mcapt_filled && l1110.dt_op_filled &&
      (Filled(rec, T::kNsu) || Filled(rec, T::kCodAut) || Filled(rec, T::kIdTransac))) {
    // The key is the three texts each followed by "|": on a line that has
    // them all, exactly the bytes from NSU to the pipe after ID_TRANSAC.
    std::string_view key;
    if (rec.found > T::kIdTransac) {
      const char* from = Text(rec, T::kNsu).data();
      const std::string_view last = Text(rec, T::kIdTransac);
      key = std::string_view(from, static_cast<size_t>(last.data() + last.size() + 1 - from));
    } else {
      b.key.Clear();
      b.key.Add(Text(rec, T::kNsu));
      b.key.Add(Text(rec, T::kCodAut));
      b.key.Add(Text(rec, T::kIdTransac));
      key = b.key;
    }
    const FirstTransaction* first =
        b.r1115.FindOrInsert(key, FirstTransaction{ctx.line, ctx.offset, split});
    if (first != nullptr) {
      if (first->ind_split == 0 && split == 1) {
        run.Report(rec, T::kIndSplit, MsgId::kSplit1AposSplit0, kNumSplit, Milhar(first->line),
                   Milhar(first->offset));
      } else if (first->ind_split == 1 && split == 0) {
        run.Report(rec, T::kIndSplit, MsgId::kSplit0AposSplit1, kNumSplit, Milhar(first->line),
                   Milhar(first->offset));
      } else if (first->ind_split == 0 && split == 0) {
        run.Report(rec, 0, MsgId::kTransacaoRepetida, Milhar(first->line), Milhar(first->offset));
      }
    }
  }

  // 4. Nature of the operation: 9 is not a nature, and a cash device only
  // takes nature 5.
  if (Filled(rec, T::kNatOper)) {
    const int64_t nat = LerDigitos(Text(rec, T::kNatOper));
    if (!((nat >= 1 && nat <= 8) || nat == 10 || nat == 11)) {
      run.Report(rec, T::kNatOper, MsgId::kNatOperInvalida, CampoNumero(T::kNatOper),
                 rec.def(T::kNatOper).name, Text(rec, T::kNatOper));
    }
    if (l1110.present && l1110.cod_mcapt_filled && l1110.device != nullptr &&
        l1110.tipo_tecn == kTecnDinheiro && nat != 5) {
      run.Report(rec, T::kNatOper, MsgId::kNatOperDinheiro, CampoNumero(T::kNatOper),
                 CampoNumero(f0200::kTipoTecn), Milhar(l1110.device->line),
                 Milhar(l1110.device->offset));
    }
  }

  // 5. The value, summed into the 1110 group.
  if (Filled(rec, T::kValor)) {
    const int64_t valor = LerCentavos(Text(rec, T::kValor));
    if (valor == 0 && ctx.finalidade != 3) {
      run.Report(rec, T::kValor, MsgId::kValorZero, CampoNumero(T::kValor),
                 rec.def(T::kValor).name);
    }
    Acumular(b.contadores_1115.valor, valor);
    ++b.contadores_1115.registros;
  }

  // 6. Card brand: 1 to 35, 98 and 99 (the message leaves 98 out, yet it is
  // accepted). Only a warning.
  if (Filled(rec, T::kBandeira)) {
    const int64_t bandeira = LerDigitos(Text(rec, T::kBandeira));
    if (!((bandeira >= 1 && bandeira <= 35) || bandeira == 98 || bandeira == 99))
      run.Report(rec, T::kBandeira, MsgId::kBandeiraInvalida, Text(rec, T::kBandeira));
  }
}

}  // namespace volp
