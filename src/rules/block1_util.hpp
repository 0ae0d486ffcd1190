// Small helpers shared by the block 1 validators (not part of the interface).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "rules/block1.hpp"
#include "rules/common.hpp"
#include "validation/context.hpp"

namespace volp::b1 {

using volp::Addr;
using volp::LerDigitos;

// Money in hundredths: the digits with the decimal comma taken out, so
// "1234,56" is 123456. Like LerDigitos, any other byte ends the number.
inline int64_t LerCentavos(std::string_view s) {
  uint64_t v = 0;
  for (char c : s) {
    if (c == ',') continue;
    if (c < '0' || c > '9') break;
    v = v * 10 + static_cast<uint64_t>(c - '0');
  }
  return static_cast<int64_t>(v);
}

// The trace line every validator of block 1 writes on entry: its line, then
// its position.
inline void LogEntrada(Run& run, const char* indent, const char* code, const Record& rec,
                       int prev_type, int src_line) {
  LogValidador(run, indent, code, run.ctx.line, run.ctx.offset, rec, prev_type, src_line);
}

// The finalidade-3 sweep of missing months, run by the 1990 (monthly.cpp).
void VarrerMeses(Run& run, const Record& rec);

using volp::Text;
inline bool Filled(const Record& rec, int i) { return rec.fields[i].filled; }

}  // namespace volp::b1
