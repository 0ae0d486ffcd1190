// The checks that close the groups of block 1 (a 1110 against its 1115, a
// 1100 against its 1110, the CPF clients' monthly minimums), the resets that
// the structure machine calls between groups, and the key pool.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/latin1.hpp"
#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block1_util.hpp"

namespace volp {

std::string_view KeyPool::Copy(std::string_view s) {
  const size_t n = s.size();
  char* p;
  if (n > kChunk / 4) {
    big_.emplace_back(new char[n]);
    p = big_.back().get();
  } else {
    if (static_cast<size_t>(end_ - cur_) < n) {
      if (next_ == chunks_.size()) chunks_.emplace_back(new char[kChunk]);
      cur_ = chunks_[next_++].get();
      end_ = cur_ + kChunk;
    }
    p = cur_;
    cur_ += n;
  }
  if (n != 0) std::memcpy(p, s.data(), n);
  return {p, n};
}

void KeyPool::Reset() {
  big_.clear();
  next_ = 0;
  cur_ = end_ = nullptr;
}

namespace {

const char* Plural(int64_t n) { return n == 1 ? "" : "s"; }

const char* NomeCampo(int type_index, int field_index) {
  return kRecordTypes[type_index].fields[field_index].name;
}

// Field rows of the closings' findings.
constexpr int kValor1100 = 7;
constexpr int kQtd1100 = 8;
constexpr int kValor1110 = 3;
constexpr int kQtd1110 = 4;
constexpr int kCliente1100 = 2;

}  // namespace

void VerificacaoRegistro_1110(Run& run, int src_line) {
  if (run.log.On(5)) run.log.Write(5, "    VerificacaoRegistro_1110() Linha fonte: %d\n", src_line);
  if (run.TooManyErrors()) return;
  const Block1State& b = run.block1;
  // A notification answered with an empty month has nothing to add up.
  if (run.ctx.finalidade == 3 && b.contadores_1110.qtd == 0) return;

  const Last1110& l = b.last_1110;
  const Contadores1115& soma = b.contadores_1115;
  Msg m;
  if (l.valor != soma.valor) {
    const FieldRef ref = l.valor_field.Ref(NomeCampo(kR1110, kValor1110));
    run.ReportAt(l.offset, l.line, kR1110, kValor1110, &ref, kErro,
                 m("Registro 1110 com VALOR '%s' que não confere com o somatório VALOR '%s' de %s "
                   "registro%s 1115."_l1,
                   Moeda(l.valor).c_str(), Moeda(soma.valor).c_str(),
                   Milhar(soma.registros).c_str(), Plural(soma.registros)));
  }
  // QTD counts transactions: it is compared with the number of 1115, not
  // with any sum of theirs.
  if (l.qtd != soma.registros) {
    if (run.TooManyErrors()) return;
    const FieldRef ref = l.qtd_field.Ref(NomeCampo(kR1110, kQtd1110));
    run.ReportAt(l.offset, l.line, kR1110, kQtd1110, &ref, kErro,
                 m("Registro 1110 com QTD '%s' que não confere com %s registro%s 1115."_l1,
                   Milhar(l.qtd).c_str(), Milhar(soma.registros).c_str(), Plural(soma.registros)));
  }
}

void VerificacaoRegistro_1100(Run& run, int src_line) {
  if (run.log.On(5)) run.log.Write(5, "  VerificacaoRegistro_1100() Linha fonte: %d\n", src_line);
  if (run.TooManyErrors()) return;
  const Block1State& b = run.block1;
  const Last1100& l = b.last_1100;
  if (run.ctx.finalidade == 3 && l.qtd == 0) return;

  const Contadores1110& soma = b.contadores_1110;
  Msg m;
  if (l.valor != soma.valor) {
    const FieldRef ref = l.valor_field.Ref(NomeCampo(kR1100, kValor1100));
    run.ReportAt(l.offset, l.line, kR1100, kValor1100, &ref, kErro,
                 m("Registro 1100 com VALOR '%s' que não confere com o somatório VALOR '%s' de %s "
                   "registro%s 1110."_l1,
                   Moeda(l.valor).c_str(), Moeda(soma.valor).c_str(),
                   Milhar(soma.registros).c_str(), Plural(soma.registros)));
  }
  if (l.qtd != soma.qtd) {
    if (run.TooManyErrors()) return;
    const FieldRef ref = l.qtd_field.Ref(NomeCampo(kR1100, kQtd1100));
    run.ReportAt(l.offset, l.line, kR1100, kQtd1100, &ref, kErro,
                 m("Registro 1100 com QTD '%s' que não confere com o somatório QTD '%s' de %s "
                   "registro%s 1110."_l1,
                   Milhar(l.qtd).c_str(), Milhar(soma.qtd).c_str(), Milhar(soma.registros).c_str(),
                   Plural(soma.registros)));
  }
}

// A client identified by CPF is declared only when its month reaches both
// R$ 3.375,00 and 30 operations; below that, every 1100 that fed its totals
// is to be removed from the file.
void VerificacaoRegistro_1100_TransacoesComCPF(Run& run, int src_line) {
  if (run.log.On(5)) {
    run.log.Write(5, "  VerificacaoRegistro_1100_TransacoesComCPF() Linha fonte: %d\n", src_line);
  }
  if (run.TooManyErrors()) return;
  const Block1State& b = run.block1;

  std::vector<std::pair<std::string_view, const CpfTotals*>> abaixo;
  for (const auto& [cpf, totals] : b.cpfs) {
    if (!totals.reached) abaixo.emplace_back(cpf, &totals);
  }
  std::sort(abaixo.begin(), abaixo.end(),
            [](const auto& x, const auto& y) { return x.first < y.first; });

  const FieldDef& campo = kRecordTypes[kR1100].fields[kCliente1100];
  for (const auto& [cpf, t] : abaixo) {
    Msg valor;
    Msg qtd;
    valor.buf[0] = '\0';
    qtd.buf[0] = '\0';
    if (t->valor < kCpfValorMinimo) {
      valor(" O valor total mensal é %s inferior a %s."_l1, Moeda(t->valor).c_str(),
            Moeda(kCpfValorMinimo).c_str());
    }
    if (t->qtd < kCpfQtdMinima) {
      qtd(" A quantidade total mensal é %s inferior a %s."_l1, Milhar(t->qtd).c_str(),
          Milhar(kCpfQtdMinima).c_str());
    }
    for (int32_t i = t->first; i >= 0; i = b.cpf_contributions[i].next) {
      if (run.TooManyErrors()) return;
      const CpfContribution& c = b.cpf_contributions[i];
      const FieldRef ref{campo.name, c.column, c.client->code, c.length};
      Msg m;
      run.ReportAt(c.offset, c.line, kR1100, -kCliente1100, &ref, kErro,
                   m("Deve ser removido esse registro 1100 e seus registros descendentes "
                     "referente ao CPF %.*s. Motivo:%s%s",
                     static_cast<int>(cpf.size()), cpf.data(), valor.buf, qtd.buf));
    }
  }
}

void ZerarDistintos(Run& run, Distintos which, int src_line) {
  Block1State& b = run.block1;
  const char* nome = "";
  switch (which) {
    case Distintos::kR1100:
      b.r1100.clear();
      b.r1100_keys.Reset();
      nome = "R1100";
      break;
    case Distintos::kR1110:
      b.r1110.clear();
      b.r1110_keys.Reset();
      nome = "R1110";
      break;
    case Distintos::kR1115:
      b.r1115.clear();
      b.r1115_keys.Reset();
      nome = "R1115";
      break;
    case Distintos::kR1200:
      b.r1200.clear();
      b.r1200_keys.Reset();
      nome = "R1200";
      break;
  }
  if (run.log.On(5)) run.log.Write(5, "  Zerando %s_Distintos Linha fonte: %d\n", nome, src_line);
}

void ZerarContadoresR1110(Run& run, int src_line) {
  run.block1.contadores_1110 = Contadores1110{};
  if (run.log.On(5)) run.log.Write(5, "  Zerando Contadores R1110 Linha fonte: %d\n", src_line);
}

void ZerarContadoresR1115(Run& run, int src_line) {
  run.block1.contadores_1115 = Contadores1115{};
  if (run.log.On(5)) run.log.Write(5, "    Zerando Contadores R1115 Linha fonte: %d\n", src_line);
}

bool Ultimo1100Zerado(const Run& run) {
  return run.block1.last_1100.valor == 0 && run.block1.last_1100.qtd == 0;
}

}  // namespace volp
