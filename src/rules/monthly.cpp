// 1001 opens block 1; 1100 is the monthly summary of one client (or partner
// institution) for one period. In a file of finalidade 3 (answer to a
// notification) every client must have a 1100 for every month of the period:
// the month register below records each (client, month) covered and reports
// the missing ones.
#include <algorithm>
#include <string_view>
#include <vector>

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

namespace F = f1100;

// Year and month of an AAAAMM... text as year * 100 + month; 0 when the
// month is not 1 to 12 (the stepping below would never end on month 13).
int32_t AnoMes(std::string_view date) {
  if (date.size() < 6) return 0;
  int64_t ano = LerDigitos(date.substr(0, 4));
  int64_t mes = LerDigitos(date.substr(4, 2));
  if (mes < 1 || mes > 12) return 0;
  return static_cast<int32_t>(ano * 100 + mes);
}

int32_t ProximoMes(int32_t am) { return am % 100 == 12 ? (am / 100 + 1) * 100 + 1 : am + 1; }

void ReportarMesFaltante(Run& run, const Record& rec, int32_t am, const ClientEntry* c) {
  run.Report(rec, 0, MsgId::kMesFaltante, am % 100, am / 100, c->code.view());
}

// The month registration of a 1100 of finalidade 3 for (current client, the
// year-month of its DT_INI).
void RegistrarMes(Run& run, const Record& rec, int32_t mes) {
  Block1State& b = run.block1;
  const ClientEntry* client = b.current_client;

  // The months before this one that the other clients with months so far
  // still lack. Each pair is looked at once per client (the watermark), and
  // reported once (the reported set, shared with the sweep at 1990). The
  // range never goes past the declared period (the 0000 DT_FIN): a 1100 dated
  // far beyond it, already reported for its DT_FIN, must not turn into a
  // warning for every month up to its date.
  const int32_t inicio = AnoMes(run.ctx.dt_ini);
  const int32_t fim = AnoMes(run.ctx.dt_fin);
  if (inicio != 0 && fim != 0) {
    for (const ClientEntry* c : b.meses_ordem) {
      if (c == client) continue;
      int32_t& visto = b.meses_clientes[c];
      int32_t am = visto >= inicio ? ProximoMes(visto) : inicio;
      for (; am < mes && am <= fim; am = ProximoMes(am)) {
        visto = am;
        ClientMonth k{c, am};
        if (b.meses.contains(k) || b.meses_reportados.contains(k)) continue;
        b.meses_reportados.insert(k);
        ReportarMesFaltante(run, rec, am, c);
      }
    }
  }

  ClientMonth key{client, mes};
  auto it = b.meses.find(key);
  if (it != b.meses.end()) {
    run.Report(rec, 0, MsgId::kMesRepetido, mes % 100, mes / 100, Milhar(it->second.line),
               Milhar(it->second.offset));
    return;
  }
  b.meses.emplace(key, FirstSeen{run.ctx.line, run.ctx.offset});
  if (client != nullptr && b.meses_clientes.emplace(client, 0).second) {
    b.meses_ordem.push_back(client);
  }
}

}  // namespace

// At 1990: every client of the registry, every month of the 0000 period.
void b1::VarrerMeses(Run& run, const Record& rec) {
  // Skipped once the run holds 3,000 findings of any severity: unlike the
  // other checks, warnings count here too.
  if (run.ps.findings.list.size() >= static_cast<size_t>(kMaxErrors) || run.ctx.finalidade != 3)
    return;
  const int32_t inicio = AnoMes(run.ctx.dt_ini);
  const int32_t fim = AnoMes(run.ctx.dt_fin);
  if (inicio == 0 || fim == 0) return;

  const std::vector<ClientEntry*> clients =
      run.block0.clients.InKeyOrder([](const ClientEntry&) { return true; });

  Block1State& b = run.block1;
  for (const ClientEntry* c : clients) {
    for (int32_t am = inicio; am <= fim; am = ProximoMes(am)) {
      ClientMonth k{c, am};
      if (b.meses.contains(k) || b.meses_reportados.contains(k)) continue;
      ReportarMesFaltante(run, rec, am, c);
    }
  }
}

namespace {

// Adds a 1100 to its CPF's monthly totals until both minimums are reached.
void AcumularCpf(Run& run, const Record& rec, int64_t valor, int64_t qtd) {
  Block1State& b = run.block1;
  const ClientEntry* client = b.current_client;
  const std::string_view cpf = client->cpf();
  CpfTotals& t = *b.cpfs
                      .Insert(KeyHash{}(cpf), CpfTotals{client},
                              [&](const CpfTotals& other) { return other.client->cpf() == cpf; })
                      .first;
  if (t.reached) return;

  const auto [c, id] = b.cpf_contributions.Add();
  c->line = static_cast<uint64_t>(run.ctx.line);
  c->offset = run.ctx.offset;
  c->client = client;
  c->column = static_cast<uint64_t>(rec.column(F::kCodCliente));
  const auto index = static_cast<int32_t>(id);
  if (t.last >= 0) {
    b.cpf_contributions.At(static_cast<uint32_t>(t.last)).next = index;
  } else {
    t.first = index;
  }
  t.last = index;

  Acumular(t.valor, valor);
  Acumular(t.qtd, qtd);
  if (t.valor >= kCpfValorMinimo && t.qtd >= kCpfQtdMinima) t.reached = true;
}

}  // namespace

void ValidarRegistro_1001(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1001", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  // An empty block 1 (IND_MOV 0) cannot refer to any client: none of them is
  // then reported for lacking references.
  const Field ind_mov = rec.field(f1001::kIndMov);
  if (ind_mov.valid && LerDigitos(ind_mov.text) == 0) {
    run.block0.clients.ForEach([](ClientEntry& client) { client.exempt = true; });
  }
}

void ValidarRegistro_1100(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1100", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;

  // The group's slot: what the closing of this 1100 and its 1110/1115 read.
  Last1100& last = b.last_1100;
  last.present = true;
  last.cod_cliente.assign(Text(rec, F::kCodCliente));
  last.cod_cliente_filled = Filled(rec, F::kCodCliente);
  last.ind_comex.assign(Text(rec, F::kIndComex));
  last.ind_comex_filled = Filled(rec, F::kIndComex);
  last.dt_ini.assign(Text(rec, F::kDtIni));
  last.dt_ini_filled = Filled(rec, F::kDtIni);
  last.dt_fin.assign(Text(rec, F::kDtFin));
  last.dt_fin_filled = Filled(rec, F::kDtFin);

  // 1-3. Partner and client.
  b.current_client = nullptr;
  const std::string_view ip_par = Text(rec, F::kCodIpPar);
  const std::string_view cliente = Text(rec, F::kCodCliente);
  if (Filled(rec, F::kCodIpPar)) {
    if (PartnerEntry* p = run.block0.FindPartner(ip_par)) {
      p->referenced = true;
    } else {
      run.Report(rec, F::kCodIpPar, MsgId::kIpParSem0300, ip_par);
    }
  }
  if (Filled(rec, F::kCodCliente)) {
    if (ClientEntry* c = run.block0.FindClient(cliente)) {
      c->referenced = true;
      b.current_client = c;
    } else {
      run.Report(rec, F::kCodCliente, MsgId::kClienteSem0100, cliente);
    }
  }
  // 4.
  if (Filled(rec, F::kCodIpPar) && Filled(rec, F::kCodCliente) && ip_par == cliente) {
    run.Report(rec, F::kCodCliente, MsgId::kClienteIgualIpPar, CampoNumero(F::kCodCliente), cliente,
               CampoNumero(F::kCodIpPar), ip_par);
  }

  // 5. Payment abroad.
  if (Filled(rec, F::kIndComex)) {
    const int64_t comex = LerDigitos(Text(rec, F::kIndComex));
    if (comex == 0) {
      b.comex0 = true;
    } else if (comex == 1) {
      b.comex1 = true;
    } else {
      run.Report(rec, F::kIndComex, MsgId::kIndComexInvalido, Text(rec, F::kIndComex));
    }
  }

  // 6. Extemporaneous information: anything but an explicit 0 counts as such.
  int64_t extemp = -1;
  if (Filled(rec, F::kIndExtemp)) {
    extemp = LerDigitos(Text(rec, F::kIndExtemp));
    if (extemp != 0 && extemp != 1)
      run.Report(rec, F::kIndExtemp, MsgId::kIndExtempInvalido, Text(rec, F::kIndExtemp));
    if (extemp == 1 && ctx.finalidade == 2)
      run.Report(rec, F::kIndExtemp, MsgId::kExtempEmRetificador);
  }
  const bool extemporaneo = extemp != 0;

  // 7. The period, against itself and against the 0000 period. Dates are
  // AAAAMMDD texts, so comparing the bytes compares the dates.
  const std::string_view ini = Text(rec, F::kDtIni);
  const std::string_view fin = Text(rec, F::kDtFin);
  const std::string_view ini0 = ctx.dt_ini;
  const std::string_view fin0 = ctx.dt_fin;
  [&] {
    if (!Filled(rec, F::kDtIni) || !Filled(rec, F::kDtFin)) return;
    if (ini > fin) {
      run.Report(rec, F::kDtFin, MsgId::kDtFinAntesDtIni1100, ini, fin);
      return;
    }
    if (ini0.empty() || fin0.empty()) return;
    if (extemporaneo) {
      // Information of an earlier period: it must end before the declared
      // period starts (the 0000 start, not its end).
      if (ini >= ini0)
        run.Report(rec, F::kDtIni, MsgId::kExtempDtIniNoPeriodo, ctx.dt_ini.c_str(), ini);
      if (fin >= ini0)
        run.Report(rec, F::kDtFin, MsgId::kExtempDtFinNoPeriodo, ctx.dt_ini.c_str(), fin);
      return;
    }
    if (ini < ini0)
      run.Report(rec, F::kDtIni, MsgId::kDtIniAntesDoPeriodo, ctx.dt_ini.c_str(), ini);
    if (fin > fin0) run.Report(rec, F::kDtFin, MsgId::kDtFinAposOPeriodo, ctx.dt_fin.c_str(), fin);
    if (ctx.finalidade == 3) {
      // A notification is answered month by month: one 1100 per month.
      const std::string_view am_ini = ini.substr(0, 6);
      const std::string_view am_fin = fin.substr(0, 6);
      if (am_ini != am_fin) {
        run.Report(rec, F::kDtFin, MsgId::kDtFinOutroMes, CampoNumero(F::kDtFin), am_fin, am_ini,
                   CampoNumero(F::kDtIni));
      } else {
        const int64_t ano = LerDigitos(am_ini.substr(0, 4));
        const int64_t mes = am_ini.size() > 4 ? LerDigitos(am_ini.substr(4)) : 0;
        RegistrarMes(run, rec, static_cast<int32_t>(ano * 100 + mes));
      }
    }
  }();

  // 8. The same client, indicators and period twice.
  if (Filled(rec, F::kCodCliente) && Filled(rec, F::kIndComex) && Filled(rec, F::kIndExtemp) &&
      Filled(rec, F::kDtIni) && Filled(rec, F::kDtFin)) {
    KeyBuffer& key = b.key;
    key.Clear();
    for (int i = F::kCodIpPar; i <= F::kDtFin; ++i) key.Add(Text(rec, i));
    b1::RegistroUnico(
        run, rec, b.r1100, key,
        {F::kCodIpPar, F::kCodCliente, F::kIndComex, F::kIndExtemp, F::kDtIni, F::kDtFin});
  }

  // 9. VALOR. Only a filled VALOR goes into the slot, with this record's
  // line and position: an empty one leaves the slot as an earlier 1100 left
  // it, and the group's closing then compares with that.
  int64_t valor = 0;  // this record's own, for the CPF totals
  if (Filled(rec, F::kValor)) {
    valor = LerCentavos(Text(rec, F::kValor));
    last.valor = valor;
    last.line = ctx.line;
    last.offset = ctx.offset;
    last.valor_field.Set(rec.field(F::kValor));
    if (last.valor == 0 && ctx.finalidade != 3) {
      run.Report(rec, F::kValor, MsgId::kValorZero, CampoNumero(F::kValor),
                 rec.def(F::kValor).name);
    }
  }

  // 10. QTD, likewise kept only when filled.
  if (!Filled(rec, F::kQtd)) return;
  last.qtd = LerDigitos(Text(rec, F::kQtd));
  last.qtd_field.Set(rec.field(F::kQtd));
  if (last.qtd == 0 && ctx.finalidade != 3)
    run.Report(rec, F::kQtd, MsgId::kQtdZero, CampoNumero(F::kQtd), rec.def(F::kQtd).name);

  // 11. Clients identified by CPF are declared only above a monthly minimum.
  if (!extemporaneo && b.current_client != nullptr && !b.current_client->cpf().empty()) {
    AcumularCpf(run, rec, valor, last.qtd);
  }
}

}  // namespace volp
