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

// Looks `key` up in a registry and adds it when it is new. `make(interned)`
// builds the entry; the key is copied into the arena only when it is added.
// Returns the entry (the first one's, for a duplicate) and whether it is new.
template <class Map, class Make>
std::pair<typename Map::mapped_type*, bool> Register(Arena& arena, Map& map, std::string_view key,
                                                     Make make) {
  bool added = false;
  auto it = map.lazy_emplace(key, [&](const typename Map::constructor& ctor) {
    added = true;
    std::string_view interned = arena.Copy(key);
    ctor(interned, make(interned));
  });
  return {&it->second, added};
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
    auto [entry, added] = Register(st.arena, st.clients, code.text, [&](std::string_view interned) {
      ClientEntry e;
      e.code = interned;
      e.offset = run.ctx.offset;
      e.line = run.ctx.line;
      e.code_column = code.column;
      e.uf_column = rec.column(f0100::kUf);
      e.uf = st.arena.Copy(Text(rec, f0100::kUf));
      if (rec.filled(f0100::kCpf) && !rec.filled(f0100::kCnpj))
        e.cpf = st.arena.Copy(Text(rec, f0100::kCpf));
      return e;
    });
    st.current_client = entry->code;
    if (!added) {
      ReportDuplicate(run, rec, f0100::kCodCliente, MsgId::kClienteRepetido, code.text,
                      RegisteredAt{entry->offset, entry->line});
    }
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
    auto [first, added] = Register(st.arena, st.vans, PairKey(st, st.current_client, cnpj.text),
                                   [&](std::string_view) { return Here(run); });
    if (!added) {
      ReportDuplicateNoKey(run, rec, f0105::kCnpjVan, MsgId::kVanRepetida, *first);
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
  auto [device, added] = Register(st.arena, st.devices, code.text, [&](std::string_view interned) {
    DeviceEntry e;
    e.code = interned;
    e.offset = run.ctx.offset;
    e.line = run.ctx.line;
    e.code_column = code.column;
    e.tipo_tecn = tipo < 0 ? 0 : tipo;
    return e;
  });
  if (!added) {
    ReportDuplicate(run, rec, f0200::kCodMcapt, MsgId::kMcaptRepetido, code.text,
                    RegisteredAt{device->offset, device->line});
    return;
  }
  // A new code for a terminal (logical number and brand) already declared
  // under another code is the same device registered twice.
  if (rec.filled(f0200::kNumLog)) {
    auto [first, new_terminal] = Register(
        st.arena, st.terminals, PairKey(st, Text(rec, f0200::kNumLog), Text(rec, f0200::kMarca)),
        [&](std::string_view) { return Here(run); });
    if (!new_terminal) {
      ReportDuplicateNoKey(run, rec, f0200::kNumLog, MsgId::kTerminalRepetido, *first);
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
  auto [partner, added] =
      Register(st.arena, st.partners, code.text, [&](std::string_view interned) {
        PartnerEntry e;
        e.code = interned;
        e.offset = run.ctx.offset;
        e.line = run.ctx.line;
        return e;
      });
  if (!added) {
    ReportDuplicate(run, rec, f0300::kCodIpPar, MsgId::kParceiraRepetida, code.text,
                    RegisteredAt{partner->offset, partner->line});
  }
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
    auto [first, added] =
        Register(st.arena, st.authorised, cnpj.text, [&](std::string_view) { return Here(run); });
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

namespace {

// The registry entries that `wanted` picks, in byte-wise key order. The
// registries are hash maps for speed while the file is read; the end of the
// file orders only the entries it reports, usually none.
// Each element carries the key's first eight bytes as a big-endian number,
// so that most comparisons of a million keys stay inside the vector instead
// of chasing two pointers into the arena.
template <class Map, class Pred>
std::vector<typename Map::mapped_type*> Sorted(Map& map, Pred wanted) {
  using Entry = typename Map::mapped_type;
  struct Item {
    uint64_t prefix;
    std::string_view key;
    Entry* entry;
  };
  std::vector<Item> items;
  items.reserve(map.size());
  for (auto& [key, entry] : map) {
    if (!wanted(entry)) continue;
    uint64_t prefix = 0;
    for (size_t i = 0; i < 8; ++i)
      prefix = prefix << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0u);
    items.push_back(Item{prefix, key, &entry});
  }
  std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
    return a.prefix != b.prefix ? a.prefix < b.prefix : a.key < b.key;
  });
  std::vector<Entry*> out;
  out.reserve(items.size());
  for (const Item& it : items) out.push_back(it.entry);
  return out;
}

}  // namespace

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
    return c.referenced && !c.uf.empty() && c.uf != uf_fisco && !c.has_1120 && !c.has_1220 &&
           run.ctx.finalidade != 3;
  };
  auto wanted = [&](const ClientEntry& c) { return c.referenced ? uf_finding(c) : !c.exempt; };
  for (ClientEntry* c : Sorted(run.block0.clients, wanted)) {
    if (run.TooManyErrors()) return;
    if (c->referenced) {
      FieldRef f{t.fields[f0100::kUf].name, c->uf_column, c->uf, 2};
      run.ReportAt(c->offset, c->line, kR0100, f0100::kUf, &f, MsgId::kUfClienteForaUfFisco,
                   CampoNumero(f0100::kUf), c->uf, uf_fisco.c_str(), CampoNumero(f0000::kUfFisco));
    } else {
      FieldRef f{t.fields[f0100::kCodCliente].name, c->code_column, c->code, Len(c->code)};
      run.ReportAt(c->offset, c->line, kR0100, f0100::kCodCliente, &f, MsgId::kClienteSemReferencia,
                   c->code);
    }
  }
}

void VerificacaoRegistro_0200(Run& run, int src_line) {
  if (run.log.On(5)) run.log.Write(5, "  VerificacaoRegistro_0200() Linha fonte: %d\n", src_line);
  if (run.TooManyErrors()) return;

  const RecordTypeDef& t = kRecordTypes[kR0200];
  auto unused = [](const DeviceEntry& d) { return !d.referenced; };
  for (DeviceEntry* d : Sorted(run.block0.devices, unused)) {
    if (run.TooManyErrors()) return;
    FieldRef f{t.fields[f0200::kCodMcapt].name, d->code_column, d->code, Len(d->code)};
    run.ReportAt(d->offset, d->line, kR0200, f0200::kCodMcapt, &f, MsgId::kMcaptSemReferencia,
                 d->code);
  }
}

}  // namespace volp
