// 1110 is the daily total of one capture device under a 1100; 1115 is one
// transaction under a 1110 and by far the most frequent record of a file, so
// its path is kept to a few integer reads and one hash lookup.
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

// Fields of 1110.
enum : int { kMcapt = 1, kDtOp = 2, kValor1110 = 3, kQtd1110 = 4, kAdqui = 5 };
// Fields of 1115.
enum : int {
  kNsu = 1,
  kCodAut = 2,
  kIdTransac = 3,
  kSplit = 4,
  kBandeira = 5,
  kValor1115 = 7,
  kNatOper = 8,
};

// Technology 7 of a 0200: cash, or a payment structure of its own; such a
// device has no acquirer and its transactions are of nature 5.
constexpr int32_t kTecnDinheiro = 7;

}  // namespace

void ValidarRegistro_1110(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "    ", "1110", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;
  const Last1100& pai = b.last_1100;
  Last1110& last = b.last_1110;
  Msg m;

  last.present = true;
  last.line = ctx.line;
  last.offset = ctx.offset;
  last.cod_mcapt_filled = Filled(rec, kMcapt);
  last.dt_op_filled = Filled(rec, kDtOp);
  last.cnpj_adqui_filled = Filled(rec, kAdqui);
  last.cnpj_adqui_field.Set(rec.fields[kAdqui]);
  last.in_distintos = false;
  last.valor = 0;
  last.valor_field.Set(rec.fields[kValor1110]);

  // 1. The capture device.
  const std::string_view mcapt = Text(rec, kMcapt);
  DeviceEntry* device = run.block0.FindDevice(mcapt);
  int32_t tipo_tecn = 0;
  int64_t linha_0200 = 0;
  int64_t posicao_0200 = 0;
  if (device == nullptr) {
    run.Report(rec, kMcapt, kErro,
               m("Não existe nenhum registro 0200 com esse COD_MCAPT '%.*s'."_l1,
                 static_cast<int>(mcapt.size()), mcapt.data()));
  } else {
    device->referenced = true;
    tipo_tecn = device->tipo_tecn;
    linha_0200 = device->line;
    posicao_0200 = device->offset;
  }
  last.device = device;
  last.tipo_tecn = tipo_tecn;

  // 2. The day lies inside the period of its 1100.
  if (Filled(rec, kDtOp) && pai.present && pai.dt_ini_filled && pai.dt_fin_filled) {
    b1::VerificarPeriodo(
        run, rec, kDtOp, pai.dt_ini,
        "No campo DT_OP a data da operação deve ser igual ou superior a data inicial %s do campo "
        "DT_INI no registro 1100 e não: %.*s."_l1,
        pai.dt_fin,
        "No campo DT_OP a data da operação deve ser inferior ou igual a data final %s do campo "
        "DT_FIN no registro 1100 e não: %.*s."_l1);
  }

  // 3. One 1110 per client, indicator, device, day and acquirer.
  if (pai.present && pai.cod_cliente_filled && pai.ind_comex_filled) {
    KeyBuffer& key = b.key;
    key.Clear();
    key.Add(pai.cod_cliente);
    key.Add(pai.ind_comex);
    key.Add(mcapt);
    key.Add(Text(rec, kDtOp));
    key.Add(Text(rec, kAdqui));
    b1::RegistroUnico(run, rec, b.r1110, b.r1110_keys, key);
    last.in_distintos = true;
  }

  // 4. The acquirer is named exactly when the device is not of technology 7
  // (an unknown device counts as not 7).
  if (!Filled(rec, kAdqui) && tipo_tecn != kTecnDinheiro) {
    run.Report(rec, kAdqui, kErro,
               m("É obrigatório o preenchimento do campo %02d - CNPJ_ADQUI porque no campo %02d "
                 "- TIPO_TECN do registro 0200 correspondente não tem o valor '7 - Pagamento "
                 "efetuado em dinheiro ou por outra estrutura' na linha %s e posição %s no "
                 "arquivo."_l1,
                 6, 4, Milhar(linha_0200).c_str(), Milhar(posicao_0200).c_str()));
  } else if (Filled(rec, kAdqui) && tipo_tecn == kTecnDinheiro) {
    run.Report(rec, kAdqui, kErro,
               m("É vedado o preenchimento do campo %02d - CNPJ_ADQUI porque no campo %02d - "
                 "TIPO_TECN do registro 0200 correspondente tem o valor '7 - Pagamento efetuado "
                 "em dinheiro ou por outra estrutura' na linha %s e posição %s no arquivo."_l1,
                 6, 4, Milhar(linha_0200).c_str(), Milhar(posicao_0200).c_str()));
  }

  // 5.
  if (Filled(rec, kAdqui)) {
    const std::string_view adqui = Text(rec, kAdqui);
    auto it = b.adquirentes.find(adqui);
    if (it == b.adquirentes.end()) it = b.adquirentes.emplace(b.arena.Copy(adqui), 0).first;
    ++it->second;
  }

  // 6. VALOR, summed into the 1100 group whether or not QTD is there.
  last.valor = LerCentavos(Text(rec, kValor1110));
  if (last.valor == 0 && ctx.finalidade != 3) {
    run.Report(rec, kValor1110, kErro,
               m("No campo %02d - '%s' o valor é 0,00!"_l1, 4, rec.def(kValor1110).name));
  }
  Acumular(b.contadores_1110.valor, last.valor);

  // 7. QTD; a 1110 without it is not counted, and leaves in the slot the QTD
  // of the 1110 before it, which the closing of this day then compares.
  if (!Filled(rec, kQtd1110)) return;
  last.qtd = LerDigitos(Text(rec, kQtd1110));
  last.qtd_field.Set(rec.fields[kQtd1110]);
  if (last.qtd == 0 && ctx.finalidade != 3) {
    run.Report(rec, kQtd1110, kErro,
               m("No campo %02d - '%s' o valor é 0!"_l1, 5, rec.def(kQtd1110).name));
  }
  Acumular(b.contadores_1110.qtd, last.qtd);
  ++b.contadores_1110.registros;
}

void ValidarRegistro_1115(Run& run, Record& rec, int prev_type, int src_line) {
  if (run.log.On(5)) b1::LogEntrada(run, "      ", "1115", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;

  // 1.
  if (!Filled(rec, kNsu) && !Filled(rec, kIdTransac)) {
    Msg m;
    run.Report(rec, kIdTransac, kErro,
               m("O campo %02d - ID_TRANSAC é obrigatório porque o campo NSU está vazio."_l1, 4));
  }

  // 2. IND_SPLIT: a split payment may repeat the same transaction key.
  int32_t split = -1;
  if (Filled(rec, kSplit)) {
    split = static_cast<int32_t>(LerDigitos(Text(rec, kSplit)));
    if (split != 0 && split != 1) {
      const std::string_view t = Text(rec, kSplit);
      Msg m;
      run.Report(rec, kSplit, kErro,
                 m("No campo %02d - IND_SPLIT o indicador de operação splitada pode ser 0 ou 1 e "
                   "não: '%.*s'."_l1,
                   5, static_cast<int>(t.size()), t.data()));
    }
  }

  // 3. The same transaction twice under one 1110 (see Block1State::r1115
  // for why the key holds only the transaction's own texts).
  const Last1100& l1100 = b.last_1100;
  const Last1110& l1110 = b.last_1110;
  if (l1100.present && l1100.cod_cliente_filled && l1100.ind_comex_filled && l1110.present &&
      l1110.cod_mcapt_filled && l1110.dt_op_filled &&
      (Filled(rec, kNsu) || Filled(rec, kCodAut) || Filled(rec, kIdTransac))) {
    // The key is the three texts each followed by "|": on a line that has
    // them all, exactly the bytes from NSU to the pipe after ID_TRANSAC.
    std::string_view key;
    if (rec.found > kIdTransac) {
      const char* from = Text(rec, kNsu).data();
      const std::string_view last = Text(rec, kIdTransac);
      key = std::string_view(from, static_cast<size_t>(last.data() + last.size() + 1 - from));
    } else {
      b.key.Clear();
      b.key.Add(Text(rec, kNsu));
      b.key.Add(Text(rec, kCodAut));
      b.key.Add(Text(rec, kIdTransac));
      key = b.key;
    }
    bool inserted = false;
    auto it = b.r1115.lazy_emplace(key, [&](const auto& ctor) {
      inserted = true;
      ctor(b.r1115_keys.Copy(key), FirstTransaction{ctx.line, ctx.offset, split});
    });
    if (!inserted) {
      const FirstTransaction& first = it->second;
      Msg m;
      if (first.ind_split == 0 && split == 1) {
        run.Report(rec, kSplit, kErro,
                   m("No campo %02d - IND_SPLIT tem valor 1 mas no mesmo registro anterior tem "
                     "valor 0 encontrado na linha %s e posição %s no arquivo."_l1,
                     5, Milhar(first.line).c_str(), Milhar(first.offset).c_str()));
      } else if (first.ind_split == 1 && split == 0) {
        run.Report(rec, kSplit, kErro,
                   m("No campo %02d - IND_SPLIT tem valor 0 mas no mesmo registro anterior tem "
                     "valor 1 encontrado na linha %s e posição %s no arquivo."_l1,
                     5, Milhar(first.line).c_str(), Milhar(first.offset).c_str()));
      } else if (first.ind_split == 0 && split == 0) {
        run.Report(rec, 0, kErro,
                   m("Esse registro já foi encontrado na linha %s e posição %s no arquivo."_l1,
                     Milhar(first.line).c_str(), Milhar(first.offset).c_str()));
      }
    }
  }

  // 4. Nature of the operation: 9 is not a nature, and a cash device only
  // takes nature 5.
  if (Filled(rec, kNatOper)) {
    const int64_t nat = LerDigitos(Text(rec, kNatOper));
    if (!((nat >= 1 && nat <= 8) || nat == 10 || nat == 11)) {
      const std::string_view t = Text(rec, kNatOper);
      Msg m;
      run.Report(rec, kNatOper, kErro,
                 m("No campo %02d - '%s' o valor pode ser 1 a 8, ou 10 ou 11 e não: %.*s."_l1, 9,
                   rec.def(kNatOper).name, static_cast<int>(t.size()), t.data()));
    }
    if (l1110.present && l1110.cod_mcapt_filled && l1110.device != nullptr &&
        l1110.tipo_tecn == kTecnDinheiro && nat != 5) {
      Msg m;
      run.Report(rec, kNatOper, kErro,
                 m("O campo %02d - NAT_OPER deve ser 5 'Pagamento efetuado em dinheiro ou por "
                   "outra estrutura' porque o campo %02d - TIPO_TECN tem valor 7 'Pagamento "
                   "efetuado em dinheiro ou por outra estrutura' no registro 0200 "
                   "correspondente encontrado na linha %s e posição %s no arquivo."_l1,
                   9, 4, Milhar(l1110.device->line).c_str(), Milhar(l1110.device->offset).c_str()));
    }
  }

  // 5. The value, summed into the 1110 group.
  if (Filled(rec, kValor1115)) {
    const int64_t valor = LerCentavos(Text(rec, kValor1115));
    if (valor == 0 && ctx.finalidade != 3) {
      Msg m;
      run.Report(rec, kValor1115, kErro,
                 m("No campo %02d - '%s' o valor é 0,00!"_l1, 8, rec.def(kValor1115).name));
    }
    Acumular(b.contadores_1115.valor, valor);
    ++b.contadores_1115.registros;
  }

  // 6. Card brand: 1 to 35, 98 and 99 (the message leaves 98 out, yet it is
  // accepted). Only a warning.
  if (Filled(rec, kBandeira)) {
    const int64_t bandeira = LerDigitos(Text(rec, kBandeira));
    if (!((bandeira >= 1 && bandeira <= 35) || bandeira == 98 || bandeira == 99)) {
      const std::string_view t = Text(rec, kBandeira);
      Msg m;
      run.Report(rec, kBandeira, kAdvertencia,
                 m("No campo BANDEIRA a bandeira pode ter valor 1 a 35 ou 99 e não: '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
  }
}

}  // namespace volp
