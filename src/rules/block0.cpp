// The registry records of block 0. Each validator checks its record and
// files it in the registries that block 1 and the end of the file read:
// clients (0100) by COD_CLIENTE, capture devices (0200) by COD_MCAPT,
// partner institutions (0300) by COD_IP_PAR; the VANs of a client (0105),
// the physical terminals and the authorised institutions (0600) only need to
// be unique, so they are kept as keys with the place of their first record.
//
// The first record of a key stays registered; a later one is reported with
// the first one's line and byte position and is not stored. Keys are copied
// into the run's arena, since the record's fields are views into the read
// buffer that the next line overwrites.
#include "rules/block0.hpp"

#include <algorithm>
#include <cinttypes>
#include <vector>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/rows.hpp"
#include "fields/field_analysis.hpp"
#include "rules/common.hpp"
#include "rules/uf_check.hpp"

namespace volp {
namespace {

// The value of a one-digit code field, or -1 when the text is not made of
// digits only (so that "x" or " 1" never pass for a valid code).
int CodeValue(std::string_view text) {
  if (text.empty() || text.size() > 9) return -1;
  int v = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return -1;
    v = v * 10 + (c - '0');
  }
  return v;
}

// Files `key` in a registry of unique keys; a key already there gives the
// place of its first record.
std::pair<const RegisteredAt*, bool> Register(Registry<UniqueKey>& reg, std::string_view key,
                                              const RegisteredAt& here) {
  auto [entry, added] = reg.Insert(key);
  if (added) entry->first = here;
  return {&entry->first, added};
}

RegisteredAt Here(const Run& run) { return RegisteredAt{run.ctx.offset, run.ctx.line}; }

// "a|b" in the state's scratch buffer: fields never contain "|", so two
// different pairs never make the same key.
std::string_view PairKey(Block0State& st, std::string_view a, std::string_view b) {
  st.key_buf.assign(a);
  st.key_buf.push_back('|');
  st.key_buf.append(b);
  return st.key_buf;
}

// UF, municipality and CEP agree (only when the UF itself is usable).
void CheckUf(Run& run, Record& rec, int cep, int mun, int uf) {
  const Field f = rec.field(uf);
  if (f.filled && f.valid) VerificarUfMunicipioCep(run, rec, cep, mun, uf);
}

// A key registered before: the message names the key (or not) and the first
// record's line and byte position.
void ReportDuplicate(Run& run, Record& rec, int field,
                     MsgOf<std::string_view, NumText, NumText> msg, std::string_view key,
                     const RegisteredAt& first) {
  run.Report(rec, field, msg, key, Milhar(first.line), Milhar(first.offset));
}

void ReportDuplicateNoKey(Run& run, Record& rec, int field, MsgOf<NumText, NumText> msg,
                          const RegisteredAt& first) {
  run.Report(rec, field, msg, Milhar(first.line), Milhar(first.offset));
}

}  // namespace

void ValidarRegistro_0100(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0100", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block0State& st = run.block0;

  CheckUf(run, rec, f0100::kCep, f0100::kCodMun, f0100::kUf);

  const Field ind_sub = rec.field(f0100::kIndSub);
  if (ind_sub.filled) {
    int v = CodeValue(ind_sub.text);
    if (v != 0 && v != 1) {
      run.Report(rec, f0100::kIndSub, MsgId::kIndSubInvalido, CampoNumero(f0100::kIndSub),
                 rec.def(f0100::kIndSub).name, ind_sub.text);
    }
  }

  const Field code = rec.field(f0100::kCodCliente);
  st.current_client = {};
  if (code.filled) {
    const bool by_cpf = rec.filled(f0100::kCpf) && !rec.filled(f0100::kCnpj);
    auto [entry, added] = st.clients.Insert(
        code.text, {Text(rec, f0100::kUf), by_cpf ? Text(rec, f0100::kCpf) : std::string_view()});
    if (added) {
      entry->offset = run.ctx.offset;
      entry->line = run.ctx.line;
      entry->code_column = static_cast<uint16_t>(code.column);
      entry->uf_column = static_cast<uint16_t>(rec.column(f0100::kUf));
    } else {
      ReportDuplicate(
          run, rec, f0100::kCodCliente, MsgId::kClienteRepetido, code.text,
          RegisteredAt{static_cast<int64_t>(entry->offset), static_cast<int64_t>(entry->line)});
    }
    st.current_client = entry->code;
  }

  // A file answering a notification (finalidade 3) is about one beneficiary:
  // every 0100 after the first is one too many, whatever its code.
  ++st.client_records;
  if (run.ctx.finalidade == 3 && st.client_records > 1) {
    run.Report(rec, f0100::kCodCliente, MsgId::kBeneficiarioUnico);
  }
}

void ValidarRegistro_0105(Run& run, Record& rec, int prev_type, int src_line) {
  if (run.log.On(5)) {
    run.log.Write(5,
                  "  ValidarRegistro_0105(%lld, %lld, 0x%08x, 0x%08x, %d) Registro anterior: %d "
                  "Linha fonte: %d\n",
                  static_cast<long long>(run.ctx.offset), static_cast<long long>(run.ctx.line),
                  Addr(&rec), Addr(&run.ctx), prev_type, prev_type, src_line);
  }
  AnalisarRegistro(run, rec);
  Block0State& st = run.block0;

  const Field cnpj = rec.field(f0105::kCnpjVan);
  if (cnpj.filled) {
    const char* client = st.current_client.view().data();
    const Block0State::VanPlace* first = st.vans.FindOrAdd(
        KeyHash{}(PairKey(st, st.current_client, cnpj.text)), {Here(run), client},
        [&](const Block0State::VanPlace& p) {
          return p.client == client && run.SameFields(p.first.offset, rec, {f0105::kCnpjVan});
        });
    if (first != nullptr) {
      ReportDuplicateNoKey(run, rec, f0105::kCnpjVan, MsgId::kVanRepetida, first->first);
    }
  }

  // The client's number of transactions through the VAN is required from
  // January 2023 on. The period dates are AAAAMMDD text, so comparing them
  // with "202301" byte by byte orders them by year and month ("20230101" is
  // already greater).
  const Field qtd = rec.field(f0105::kQtdTransac);
  if ((!qtd.filled || !qtd.valid) && run.ctx.dt_ini > "202301" && run.ctx.dt_fin > "202301") {
    run.Report(rec, f0105::kQtdTransac, MsgId::kQtdTransacObrigatoria,
               CampoNumero(f0105::kQtdTransac), rec.def(f0105::kQtdTransac).name);
  }
}

void ValidarRegistro_0200(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0200", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block0State& st = run.block0;

  const Field tecn = rec.field(f0200::kTipoTecn);
  const Field prop = rec.field(f0200::kTermProp);
  const int tipo = tecn.filled ? CodeValue(tecn.text) : -1;
  const int term = prop.filled ? CodeValue(prop.text) : -1;
  constexpr int kNumTermProp = CampoNumero(f0200::kTermProp);

  if (tecn.filled && (tipo < 1 || tipo > 7)) {
    run.Report(rec, f0200::kTipoTecn, MsgId::kTipoTecnInvalido, CampoNumero(f0200::kTipoTecn),
               tecn.text);
  }
  if (prop.filled && term != 0 && term != 1)
    run.Report(rec, f0200::kTermProp, MsgId::kTermPropInvalido, kNumTermProp, prop.text);
  if (tipo == 4 && prop.filled && term != 0)
    run.Report(rec, f0200::kTermProp, MsgId::kTermPropEcommerce, kNumTermProp, prop.text);
  if (tipo == 7 && prop.filled && term != 1)
    run.Report(rec, f0200::kTermProp, MsgId::kTermPropDinheiro, kNumTermProp, prop.text);
  if (term == 1 && !rec.filled(f0200::kMarca)) {
    run.Report(rec, f0200::kMarca, MsgId::kMarcaObrigatoria, kNumTermProp,
               CampoNumero(f0200::kMarca));
  }

  const Field code = rec.field(f0200::kCodMcapt);
  if (!code.filled) return;
  auto [device, added] = st.devices.Insert(code.text);
  if (!added) {
    ReportDuplicate(
        run, rec, f0200::kCodMcapt, MsgId::kMcaptRepetido, code.text,
        RegisteredAt{static_cast<int64_t>(device->offset), static_cast<int64_t>(device->line)});
    return;
  }
  device->offset = run.ctx.offset;
  device->line = run.ctx.line;
  device->code_column = static_cast<uint16_t>(code.column);
  // The entry keeps TIPO_TECN in a byte: a longer, wrong text (263) must not
  // wrap around to a meaningful type (7), so larger values stay at 127, which
  // means nothing.
  device->tipo_tecn = static_cast<uint8_t>(tipo < 0 ? 0 : (tipo > 127 ? 127 : tipo));
  // A new code for a terminal (logical number and brand) already declared
  // under another code is the same device registered twice.
  if (rec.filled(f0200::kNumLog)) {
    const auto id = static_cast<FingerprintIndex::Id>(st.devices.size() - 1);
    const uint64_t hash =
        KeyHash{}(PairKey(st, Text(rec, f0200::kNumLog), Text(rec, f0200::kMarca)));
    const FingerprintIndex::Id first =
        st.terminals.FindOrAdd(hash, id, [&](FingerprintIndex::Id other) {
          return run.SameFields(st.devices.At(other).offset, rec, {f0200::kNumLog, f0200::kMarca});
        });
    if (first != FingerprintIndex::kNone) {
      const DeviceEntry& d = st.devices.At(first);
      ReportDuplicateNoKey(
          run, rec, f0200::kNumLog, MsgId::kTerminalRepetido,
          RegisteredAt{static_cast<int64_t>(d.offset), static_cast<int64_t>(d.line)});
    }
  }
}

void ValidarRegistro_0300(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0300", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block0State& st = run.block0;

  CheckUf(run, rec, f0300::kCep, f0300::kCodMun, f0300::kUf);

  const Field code = rec.field(f0300::kCodIpPar);
  if (!code.filled) return;
  auto [partner, added] = st.partners.Insert(code.text);
  if (!added) {
    ReportDuplicate(run, rec, f0300::kCodIpPar, MsgId::kParceiraRepetida, code.text,
                    RegisteredAt{partner->offset, partner->line});
    return;
  }
  partner->offset = run.ctx.offset;
  partner->line = run.ctx.line;
}

void ValidarRegistro_0600(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0600", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block0State& st = run.block0;

  CheckUf(run, rec, f0600::kCep, f0600::kCodMun, f0600::kUf);

  const Field autoriz = rec.field(f0600::kTpAutoriz);
  if (autoriz.filled) {
    int v = CodeValue(autoriz.text);
    if (v != 1 && v != 2) {
      run.Report(rec, f0600::kTpAutoriz, MsgId::kTpAutorizInvalido, CampoNumero(f0600::kTpAutoriz),
                 rec.def(f0600::kTpAutoriz).name, autoriz.text);
    }
  }

  const Field cnpj = rec.field(f0600::kCnpj);
  if (cnpj.filled) {
    auto [first, added] = Register(st.authorised, cnpj.text, Here(run));
    if (!added) {
      ReportDuplicate(run, rec, f0600::kCnpj, MsgId::kAutorizadaRepetida, cnpj.text, *first);
    }
  }

  const Field transac = rec.field(f0600::kTpTransac);
  if (transac.filled) {
    int v = CodeValue(transac.text);
    if (v != 0 && v != 1) {
      run.Report(rec, f0600::kTpTransac, MsgId::kTpTransacInvalido, CampoNumero(f0600::kTpTransac),
                 rec.def(f0600::kTpTransac).name, transac.text);
    }
  }

  // Dates are AAAAMMDD, so text order is date order. The end of the
  // authorisation must come strictly after its start.
  const Field ini = rec.field(f0600::kDtIniAut);
  const Field fim = rec.field(f0600::kDtFimAut);
  if (ini.filled && fim.filled && fim.text <= ini.text) {
    run.Report(rec, f0600::kDtFimAut, MsgId::kDtFimAutAntesDtIniAut, CampoNumero(f0600::kDtFimAut),
               rec.def(f0600::kDtFimAut).name, CampoNumero(f0600::kDtIniAut),
               rec.def(f0600::kDtIniAut).name, ini.text, fim.text);
  }
}

void VerificacaoRegistro_0100(Run& run, int src_line) {
  if (run.log.On(5))
    run.log.Write(5, "  VerificacaoRegistro_0100(0x%08x) Linha fonte: %d\n", Addr(&run.ctx),
                  src_line);
  if (run.TooManyErrors()) return;

  const RecordTypeDef& t = kRecordTypes[kR0100];
  const std::string& uf_fisco = run.ctx.uf_fisco;
  // A client that block 1 names must be in the fiscal authority's UF or
  // have a 1120 or 1220 saying where its operations went; one it never
  // names is reported unless exempt.
  auto uf_finding = [&](const ClientEntry& c) {
    return c.referenced && !c.uf().empty() && c.uf() != uf_fisco && !c.has_1120 && !c.has_1220 &&
           run.ctx.finalidade != 3;
  };
  auto wanted = [&](const ClientEntry& c) { return c.referenced ? uf_finding(c) : !c.exempt; };
  for (ClientEntry* c : run.block0.clients.InKeyOrder(wanted)) {
    if (run.TooManyErrors()) return;
    if (c->referenced) {
      const std::string_view uf = c->uf();
      FieldRef f{t.fields[f0100::kUf].name, static_cast<int32_t>(c->uf_column), uf, 2};
      run.ReportAt(c->offset, c->line, kR0100, f0100::kUf, &f, MsgId::kUfClienteForaUfFisco,
                   CampoNumero(f0100::kUf), uf, uf_fisco.c_str(), CampoNumero(f0000::kUfFisco));
    } else {
      const std::string_view code = c->code;
      FieldRef f{t.fields[f0100::kCodCliente].name, static_cast<int32_t>(c->code_column), code,
                 Len(code)};
      run.ReportAt(c->offset, c->line, kR0100, f0100::kCodCliente, &f, MsgId::kClienteSemReferencia,
                   code);
    }
  }
}

void VerificacaoRegistro_0200(Run& run, int src_line) {
  if (run.log.On(5)) run.log.Write(5, "  VerificacaoRegistro_0200() Linha fonte: %d\n", src_line);
  if (run.TooManyErrors()) return;

  const RecordTypeDef& t = kRecordTypes[kR0200];
  auto unused = [](const DeviceEntry& d) { return !d.referenced; };
  for (DeviceEntry* d : run.block0.devices.InKeyOrder(unused)) {
    if (run.TooManyErrors()) return;
    const std::string_view code = d->code;
    FieldRef f{t.fields[f0200::kCodMcapt].name, static_cast<int32_t>(d->code_column), code,
               Len(code)};
    run.ReportAt(d->offset, d->line, kR0200, f0200::kCodMcapt, &f, MsgId::kMcaptSemReferencia,
                 code);
  }
}

}  // namespace volp
