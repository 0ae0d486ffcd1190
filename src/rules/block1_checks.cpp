// The checks that close the groups of block 1 (a 1110 against its 1115, a
// 1100 against its 1110, the CPF clients' monthly minimums), the resets that
// the structure machine calls between groups, and the key pool.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/rows.hpp"
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

}  // namespace

void VerificacaoRegistro_1110(Run& run, int src_line) {
  if (run.log.On(5)) run.log.Write(5, "    VerificacaoRegistro_1110() Linha fonte: %d\n", src_line);
  if (run.TooManyErrors()) return;
  const Block1State& b = run.block1;
  // A notification answered with an empty month has nothing to add up.
  if (run.ctx.finalidade == 3 && b.contadores_1110.qtd == 0) return;

  const Last1110& l = b.last_1110;
  const Contadores1115& soma = b.contadores_1115;
  if (l.valor != soma.valor) {
    const FieldRef ref = l.valor_field.Ref(NomeCampo(kR1110, f1110::kValor));
    run.ReportAt(l.offset, l.line, kR1110, f1110::kValor, &ref, MsgId::kValor1110Divergente,
                 Moeda(l.valor), Moeda(soma.valor), Milhar(soma.registros), Plural(soma.registros));
  }
  // QTD counts transactions: it is compared with the number of 1115, not
  // with any sum of theirs.
  if (l.qtd != soma.registros) {
    if (run.TooManyErrors()) return;
    const FieldRef ref = l.qtd_field.Ref(NomeCampo(kR1110, f1110::kQtd));
    run.ReportAt(l.offset, l.line, kR1110, f1110::kQtd, &ref, MsgId::kQtd1110Divergente,
                 Milhar(l.qtd), Milhar(soma.registros), Plural(soma.registros));
  }
}

void VerificacaoRegistro_1100(Run& run, int src_line) {
  if (run.log.On(5)) run.log.Write(5, "  VerificacaoRegistro_1100() Linha fonte: %d\n", src_line);
  if (run.TooManyErrors()) return;
  const Block1State& b = run.block1;
  const Last1100& l = b.last_1100;
  if (run.ctx.finalidade == 3 && l.qtd == 0) return;

  const Contadores1110& soma = b.contadores_1110;
  if (l.valor != soma.valor) {
    const FieldRef ref = l.valor_field.Ref(NomeCampo(kR1100, f1100::kValor));
    run.ReportAt(l.offset, l.line, kR1100, f1100::kValor, &ref, MsgId::kValor1100Divergente,
                 Moeda(l.valor), Moeda(soma.valor), Milhar(soma.registros), Plural(soma.registros));
  }
  if (l.qtd != soma.qtd) {
    if (run.TooManyErrors()) return;
    const FieldRef ref = l.qtd_field.Ref(NomeCampo(kR1100, f1100::kQtd));
    run.ReportAt(l.offset, l.line, kR1100, f1100::kQtd, &ref, MsgId::kQtd1100Divergente,
                 Milhar(l.qtd), Milhar(soma.qtd), Milhar(soma.registros), Plural(soma.registros));
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
  b.cpfs.ForEach([&](const CpfTotals& totals) {
    if (!totals.reached) abaixo.emplace_back(totals.client->cpf(), &totals);
  });
  std::sort(abaixo.begin(), abaixo.end(),
            [](const auto& x, const auto& y) { return x.first < y.first; });

  const FieldDef& campo = kRecordTypes[kR1100].fields[f1100::kCodCliente];
  for (const auto& [cpf, t] : abaixo) {
    // Below both minimums, or one of them (a CPF that reached both is not
    // in the list).
    const bool valor = t->valor < kCpfValorMinimo;
    const bool qtd = t->qtd < kCpfQtdMinima;
    for (int32_t i = t->first; i >= 0;) {
      if (run.TooManyErrors()) return;
      const CpfContribution& c = b.cpf_contributions.At(static_cast<uint32_t>(i));
      i = c.next;
      const std::string_view code = c.client->code.view();
      const FieldRef ref{campo.name, static_cast<int32_t>(c.column), code,
                         static_cast<int32_t>(code.size())};
      const auto line = static_cast<int64_t>(c.line);
      // Negated: the finding names COD_CLIENTE but is about the whole 1100.
      const int field = -f1100::kCodCliente;
      if (valor && qtd) {
        run.ReportAt(c.offset, line, kR1100, field, &ref, MsgId::kCpfAbaixoValorEQtd, cpf,
                     Moeda(t->valor), Moeda(kCpfValorMinimo), Milhar(t->qtd),
                     Milhar(kCpfQtdMinima));
      } else if (valor) {
        run.ReportAt(c.offset, line, kR1100, field, &ref, MsgId::kCpfAbaixoValor, cpf,
                     Moeda(t->valor), Moeda(kCpfValorMinimo));
      } else {
        run.ReportAt(c.offset, line, kR1100, field, &ref, MsgId::kCpfAbaixoQtd, cpf, Milhar(t->qtd),
                     Milhar(kCpfQtdMinima));
      }
    }
  }
}

void ZerarDistintos(Run& run, Distintos which, int src_line) {
  Block1State& b = run.block1;
  const char* nome = "";
  switch (which) {
    case Distintos::kR1100:
      b.r1100.clear();
      // A file usually has a 1100 for each client it registers (one a
      // month, per trade indicator): the set starts that large the first
      // time instead of growing to it. Only once, so a file that empties it
      // at every 1100 after a 1200 does not pay for the size again each time.
      if (!b.r1100_reserved) {
        b.r1100.Reserve(run.block0.clients.size());
        b.r1100_reserved = true;
      }
      nome = "R1100";
      break;
    case Distintos::kR1110:
      b.r1110.clear();
      b.r1110_keys.Reset();
      nome = "R1110";
      break;
    case Distintos::kR1115:
      b.r1115.Reset();
      nome = "R1115";
      break;
    case Distintos::kR1200:
      b.r1200.clear();
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
