// Small helpers shared by the block 1 validators (not part of the interface).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "rules/block1.hpp"
#include "validation/context.hpp"

namespace volp::b1 {

// A number as the format reads it: the leading digits, stopping at the first
// other byte, so "12a" is 12 and a text of letters is 0. 64-bit, wrapping
// instead of overflowing on absurd lengths.
inline int64_t LerInteiro(std::string_view s) {
  uint64_t v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') break;
    v = v * 10 + static_cast<uint64_t>(c - '0');
  }
  return static_cast<int64_t>(v);
}

// Money in hundredths: the digits with the decimal comma taken out, so
// "1234,56" is 123456. Like LerInteiro, any other byte ends the number.
inline int64_t LerCentavos(std::string_view s) {
  uint64_t v = 0;
  for (char c : s) {
    if (c == ',') continue;
    if (c < '0' || c > '9') break;
    v = v * 10 + static_cast<uint64_t>(c - '0');
  }
  return static_cast<int64_t>(v);
}

inline unsigned Addr(const void* p) {
  return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p));
}

// The trace line every validator writes on entry.
inline void LogEntrada(Run& run, const char* indent, const char* code, const Record& rec,
                       int prev_type, int src_line) {
  if (!run.log.On(5)) return;
  run.log.Write(
      5, "%sValidarRegistro_%s(%lld, %lld, 0x%08x, 0x%08x) Registro anterior: %d Linha fonte: %d\n",
      indent, code, static_cast<long long>(run.ctx.line), static_cast<long long>(run.ctx.offset),
      Addr(&rec), Addr(&run.ctx), prev_type, src_line);
}

// Appends one text and the separator to the scratch key.
inline void KeyAdd(std::string& key, std::string_view part) {
  key.append(part.data(), part.size());
  key.push_back('|');
}

// The finalidade-3 sweep of missing months, run by the 1990 (monthly.cpp).
void VarrerMeses(Run& run, const Record& rec);

inline std::string_view Text(const Record& rec, int i) { return rec.fields[i].text; }
inline bool Filled(const Record& rec, int i) { return rec.fields[i].filled; }

}  // namespace volp::b1
