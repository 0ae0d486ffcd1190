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

// Fields of 1100 (row index; the printed number is one more).
enum : int {
  kIpPar = 1,
  kCliente = 2,
  kComex = 3,
  kExtemp = 4,
  kDtIni = 5,
  kDtFin = 6,
  kValor = 7,
  kQtd = 8,
};

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
  Msg m;
  run.Report(rec, 0, kAdvertencia,
             m("Faltou o registro 1100 do Resumo Mensal referente ao mês %02d de %04d para o "
               "código de cliente '%.*s'."_l1,
               am % 100, am / 100, static_cast<int>(c->code.size()), c->code.data()));
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
    Msg m;
    run.Report(rec, 0, kAdvertencia,
               m("Já tem o registro 1100 do Resumo Mensal referente ao mês %02d de %04d na linha "
                 "%s e posição %s no arquivo."_l1,
                 mes % 100, mes / 100, Milhar(it->second.line).c_str(),
                 Milhar(it->second.offset).c_str()));
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

  std::vector<const ClientEntry*> clients;
  clients.reserve(run.block0.clients.size());
  for (const auto& [code, entry] : run.block0.clients) clients.push_back(&entry);
  std::sort(clients.begin(), clients.end(),
            [](const ClientEntry* a, const ClientEntry* b) { return a->code < b->code; });

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
  auto it = b.cpfs.find(client->cpf);
  if (it == b.cpfs.end()) it = b.cpfs.emplace(b.arena.Copy(client->cpf), CpfTotals{}).first;
  CpfTotals& t = it->second;
  if (t.reached) return;

  CpfContribution c;
  c.line = run.ctx.line;
  c.offset = run.ctx.offset;
  c.client = client;
  c.column = rec.fields[kCliente].column;
  c.length = rec.fields[kCliente].length;
  const int32_t index = static_cast<int32_t>(b.cpf_contributions.size());
  b.cpf_contributions.push_back(c);
  if (t.last >= 0) {
    b.cpf_contributions[t.last].next = index;
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
  const Field& ind_mov = rec.fields[1];
  if (ind_mov.valid && LerDigitos(ind_mov.text) == 0) {
    for (auto& [code, client] : run.block0.clients) client.exempt = true;
  }
}

void ValidarRegistro_1100(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1100", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  Block1State& b = run.block1;
  const ValidationContext& ctx = run.ctx;
  Msg m;

  // The group's slot: what the closing of this 1100 and its 1110/1115 read.
  Last1100& last = b.last_1100;
  last.present = true;
  last.cod_cliente.assign(Text(rec, kCliente));
  last.cod_cliente_filled = Filled(rec, kCliente);
  last.ind_comex.assign(Text(rec, kComex));
  last.ind_comex_filled = Filled(rec, kComex);
  last.dt_ini.assign(Text(rec, kDtIni));
  last.dt_ini_filled = Filled(rec, kDtIni);
  last.dt_fin.assign(Text(rec, kDtFin));
  last.dt_fin_filled = Filled(rec, kDtFin);

  // 1-3. Partner and client.
  b.current_client = nullptr;
  const std::string_view ip_par = Text(rec, kIpPar);
  const std::string_view cliente = Text(rec, kCliente);
  if (Filled(rec, kIpPar)) {
    if (PartnerEntry* p = run.block0.FindPartner(ip_par)) {
      p->referenced = true;
    } else {
      run.Report(rec, kIpPar, kErro,
                 m("Não existe nenhum registro 0300 com esse COD_IP_PAR '%.*s'."_l1,
                   static_cast<int>(ip_par.size()), ip_par.data()));
    }
  }
  if (Filled(rec, kCliente)) {
    if (ClientEntry* c = run.block0.FindClient(cliente)) {
      c->referenced = true;
      b.current_client = c;
    } else {
      run.Report(rec, kCliente, kErro,
                 m("Não existe nenhum registro 0100 com esse COD_CLIENTE '%.*s'."_l1,
                   static_cast<int>(cliente.size()), cliente.data()));
    }
  }
  // 4.
  if (Filled(rec, kIpPar) && Filled(rec, kCliente) && ip_par == cliente) {
    run.Report(rec, kCliente, kErro,
               m("O campo %02d - COD_CLIENTE '%.*s' não pode ser igual ao campo %02d - "
                 "COD_IP_PAR '%.*s'."_l1,
                 3, static_cast<int>(cliente.size()), cliente.data(), 2,
                 static_cast<int>(ip_par.size()), ip_par.data()));
  }

  // 5. Payment abroad.
  if (Filled(rec, kComex)) {
    const int64_t comex = LerDigitos(Text(rec, kComex));
    if (comex == 0) {
      b.comex0 = true;
    } else if (comex == 1) {
      b.comex1 = true;
    } else {
      const std::string_view t = Text(rec, kComex);
      run.Report(rec, kComex, kErro,
                 m("No campo IND_COMEX o indicador de pagamento ao exterior pode ser 0 ou 1 e "
                   "não: '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
  }

  // 6. Extemporaneous information: anything but an explicit 0 counts as such.
  int64_t extemp = -1;
  if (Filled(rec, kExtemp)) {
    extemp = LerDigitos(Text(rec, kExtemp));
    if (extemp != 0 && extemp != 1) {
      const std::string_view t = Text(rec, kExtemp);
      run.Report(rec, kExtemp, kErro,
                 m("No campo IND_EXTEMP o indicador de informação extemporânea pode ser 0 ou 1 "
                   "e não: '%.*s'."_l1,
                   static_cast<int>(t.size()), t.data()));
    }
    if (extemp == 1 && ctx.finalidade == 2) {
      run.Report(rec, kExtemp, kErro,
                 "Em remessa de arquivo retificador não são aceitos registros extemporâneos."_l1);
    }
  }
  const bool extemporaneo = extemp != 0;

  // 7. The period, against itself and against the 0000 period. Dates are
  // AAAAMMDD texts, so comparing the bytes compares the dates.
  const std::string_view ini = Text(rec, kDtIni);
  const std::string_view fin = Text(rec, kDtFin);
  const std::string_view ini0 = ctx.dt_ini;
  const std::string_view fin0 = ctx.dt_fin;
  [&] {
    if (!Filled(rec, kDtIni) || !Filled(rec, kDtFin)) return;
    if (ini > fin) {
      run.Report(
          rec, kDtFin, kErro,
          m("No campo DT_FIN a data final deve ser superior a data inicial %.*s do campo "
            "DT_INI e não: %.*s."_l1,
            static_cast<int>(ini.size()), ini.data(), static_cast<int>(fin.size()), fin.data()));
      return;
    }
    if (ini0.empty() || fin0.empty()) return;
    if (extemporaneo) {
      // Information of an earlier period: it must end before the declared
      // period starts (the 0000 start, not its end).
      if (ini >= ini0) {
        run.Report(rec, kDtIni, kErro,
                   m("Para informação extemporânea no campo DT_INI a data inicial deve ser "
                     "inferior a data inicial %s do campo DT_INI no registro 0000 e não: %.*s."_l1,
                     ctx.dt_ini.c_str(), static_cast<int>(ini.size()), ini.data()));
      }
      if (fin >= ini0) {
        run.Report(rec, kDtFin, kErro,
                   m("Para informação extemporânea no campo DT_FIN a data final deve ser "
                     "inferior a data inicial %s do campo DT_INI no registro 0000 e não: %.*s."_l1,
                     ctx.dt_ini.c_str(), static_cast<int>(fin.size()), fin.data()));
      }
      return;
    }
    if (ini < ini0) {
      run.Report(rec, kDtIni, kErro,
                 m("No campo DT_INI a data inicial deve ser igual ou superior a data inicial %s "
                   "do campo DT_INI no registro 0000 e não: %.*s."_l1,
                   ctx.dt_ini.c_str(), static_cast<int>(ini.size()), ini.data()));
    }
    if (fin > fin0) {
      run.Report(rec, kDtFin, kErro,
                 m("No campo DT_FIN a data final deve ser igual ou inferior a data final %s do "
                   "campo DT_FIN no registro 0000 e não: %.*s."_l1,
                   ctx.dt_fin.c_str(), static_cast<int>(fin.size()), fin.data()));
    }
    if (ctx.finalidade == 3) {
      // A notification is answered month by month: one 1100 per month.
      const std::string_view am_ini = ini.substr(0, 6);
      const std::string_view am_fin = fin.substr(0, 6);
      if (am_ini != am_fin) {
        run.Report(rec, kDtFin, kErro,
                   m("No campo %02d - DT_FIN o Ano/Mês da data final %.*s está diferente do "
                     "Ano/Mês da data inicial %.*s do campo %02d - DT_INI."_l1,
                     7, static_cast<int>(am_fin.size()), am_fin.data(),
                     static_cast<int>(am_ini.size()), am_ini.data(), 6));
      } else {
        const int64_t ano = LerDigitos(am_ini.substr(0, 4));
        const int64_t mes = am_ini.size() > 4 ? LerDigitos(am_ini.substr(4)) : 0;
        RegistrarMes(run, rec, static_cast<int32_t>(ano * 100 + mes));
      }
    }
  }();

  // 8. The same client, indicators and period twice.
  if (Filled(rec, kCliente) && Filled(rec, kComex) && Filled(rec, kExtemp) && Filled(rec, kDtIni) &&
      Filled(rec, kDtFin)) {
    KeyBuffer& key = b.key;
    key.Clear();
    for (int i = kIpPar; i <= kDtFin; ++i) key.Add(Text(rec, i));
    b1::RegistroUnico(run, rec, b.r1100, b.r1100_keys, key);
  }

  // 9. VALOR. Only a filled VALOR goes into the slot, with this record's
  // line and position: an empty one leaves the slot as an earlier 1100 left
  // it, and the group's closing then compares with that.
  int64_t valor = 0;  // this record's own, for the CPF totals
  if (Filled(rec, kValor)) {
    valor = LerCentavos(Text(rec, kValor));
    last.valor = valor;
    last.line = ctx.line;
    last.offset = ctx.offset;
    last.valor_field.Set(rec.fields[kValor]);
    if (last.valor == 0 && ctx.finalidade != 3) {
      run.Report(rec, kValor, kErro,
                 m("No campo %02d - '%s' o valor é 0,00!"_l1, 8, rec.def(kValor).name));
    }
  }

  // 10. QTD, likewise kept only when filled.
  if (!Filled(rec, kQtd)) return;
  last.qtd = LerDigitos(Text(rec, kQtd));
  last.qtd_field.Set(rec.fields[kQtd]);
  if (last.qtd == 0 && ctx.finalidade != 3) {
    run.Report(rec, kQtd, kErro, m("No campo %02d - '%s' o valor é 0!"_l1, 9, rec.def(kQtd).name));
  }

  // 11. Clients identified by CPF are declared only above a monthly minimum.
  if (!extemporaneo && b.current_client != nullptr && !b.current_client->cpf.empty()) {
    AcumularCpf(run, rec, valor, last.qtd);
  }
}

}  // namespace volp
