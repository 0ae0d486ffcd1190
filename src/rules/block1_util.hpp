// Small helpers shared by the block 1 validators (not part of the interface).
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/rows.hpp"
#include "rules/block1.hpp"
#include "rules/common.hpp"

namespace volp::b1 {

using volp::Addr;
using volp::LerDigitos;

// Money in hundredths: the digits with the decimal comma taken out, so
// "1234,56" is 123456. Like LerDigitos, any other byte ends the number.
inline int64_t LerCentavos(std::string_view s) {
  const auto* p = reinterpret_cast<const unsigned char*>(s.data());
  uint64_t v = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    const unsigned d = p[i] - unsigned{'0'};  // one test for a digit, the usual byte
    if (d <= 9) {
      v = v * 10 + d;
    } else if (p[i] != ',') {
      break;
    }
  }
  return static_cast<int64_t>(v);
}

// The trace line every validator of block 1 writes on entry: its line, then
// its position.
inline void LogEntrada(Run& run, const char* indent, const char* code, const Record& rec,
                       int prev_type, int src_line) {
  LogValidador(run, indent, code, run.ctx.line, run.ctx.offset, rec, prev_type, src_line);
}

// A record whose key was seen before in `seen` (1100, 1110 with the same
// identifying texts) is reported against the first one; a new key is copied
// into `pool` and kept. One lookup either way.
inline void RegistroUnico(Run& run, const Record& rec, KeyMap<FirstSeen>& seen, KeyPool& pool,
                          std::string_view key) {
  bool novo = false;
  auto it = seen.lazy_emplace(key, [&](const auto& ctor) {
    novo = true;
    ctor(pool.Copy(key), FirstSeen{run.ctx.line, run.ctx.offset});
  });
  if (novo) return;
  run.Report(rec, 0, MsgId::kRegistroRepetido, rec.type->code, Milhar(it->second.line),
             Milhar(it->second.offset));
}

// The same for a set that keeps only fingerprints (1100, 1200 over the whole
// block): `key` joins the texts of `fields`, and a fingerprint that matches is
// confirmed against those fields of the first record's line, read again.
inline void RegistroUnico(Run& run, const Record& rec, FingerprintMap<PackedPlace>& seen,
                          std::string_view key, std::initializer_list<int> fields) {
  const PackedPlace* first =
      seen.FindOrAdd(KeyHash{}(key), PackedPlace::Of(run.ctx.line, run.ctx.offset),
                     [&](const PackedPlace& p) { return run.SameFields(p.offset(), rec, fields); });
  if (first == nullptr) return;
  run.Report(rec, 0, MsgId::kRegistroRepetido, rec.type->code, Milhar(first->line()),
             Milhar(first->offset()));
}

// A message about a date against a bound: the bound, then the date.
using MsgPeriodo = MsgOf<const char*, std::string_view>;

// A date that must lie within a period: AAAAMMDD texts order as their dates
// do. Each side has its own message, filled with the bound and the date.
inline void VerificarPeriodo(Run& run, const Record& rec, int row, const std::string& inicio,
                             MsgPeriodo antes, const std::string& fim, MsgPeriodo depois) {
  const std::string_view d = rec.text(row);
  if (d < std::string_view(inicio)) run.Report(rec, row, antes, inicio.c_str(), d);
  if (d > std::string_view(fim)) run.Report(rec, row, depois, fim.c_str(), d);
}

// The finalidade-3 sweep of missing months, run by the 1990 (monthly.cpp).
void VarrerMeses(Run& run, const Record& rec);

using volp::Text;
inline bool Filled(const Record& rec, int i) { return rec.filled(i); }

}  // namespace volp::b1
