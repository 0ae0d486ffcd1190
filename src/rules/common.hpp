// What every record rule uses: reading numbers out of field texts and the
// trace line a validator writes when it is called.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/record.hpp"

namespace volp {

struct Run;

// A number as the C library's decimal conversion reads it: leading blanks, an
// optional sign, then digits up to the first other byte; 0 when there are
// none; saturated at the 64-bit limits. The totals of blocks 0 and 9 are read
// this way.
int64_t LerInteiro(std::string_view text);

// The leading digits of a text as a number, stopping at the first other byte
// ("12a" is 12, a text of letters 0). Codes and quantities of the records are
// read this way. 64-bit, wrapping rather than overflowing on absurd lengths.
inline int64_t LerDigitos(std::string_view s) {
  const auto* p = reinterpret_cast<const unsigned char*>(s.data());
  const size_t n = s.size();
  // Most texts read this way are codes of one or two digits (IND_SPLIT,
  // BANDEIRA, NAT_OPER of every transaction): no loop for them.
  if (n == 1 || n == 2) {
    const unsigned d0 = p[0] - unsigned{'0'};
    if (d0 > 9) return 0;
    const unsigned d1 = n == 2 ? p[1] - unsigned{'0'} : 10;
    return d1 > 9 ? d0 : d0 * 10 + d1;
  }
  uint64_t v = 0;
  for (size_t i = 0; i < n; ++i) {
    const unsigned d = p[i] - unsigned{'0'};
    if (d > 9) break;
    v = v * 10 + d;
  }
  return static_cast<int64_t>(v);
}

// Adds `value` to a running sum of money or quantities. A file can state
// 19-digit values whose sum does not fit in 64 bits; the sum then wraps
// around in two's complement, the same on every build and platform, instead
// of being left to the compiler (signed overflow is undefined).
inline void Acumular(int64_t& sum, int64_t value) {
  sum = static_cast<int64_t>(static_cast<uint64_t>(sum) + static_cast<uint64_t>(value));
}

// The low 32 bits of an address, as the traces print them.
inline unsigned Addr(const void* p) {
  return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p));
}

// "<indent>ValidarRegistro_<code>(<a>, <b>, 0x.., 0x..) Registro anterior: %d Linha fonte: %d"
// at level 5. The records of block 1 print their line before their position,
// the others their position first: the caller passes them in its order.
void LogValidador(Run& run, const char* indent, const char* code, int64_t a, int64_t b,
                  const Record& rec, int prev_type, int src_line);
// The same for the records of blocks 0 and 9: two blanks, position first.
void LogValidador(Run& run, const char* code, const Record& rec, int prev_type, int src_line);

// A field's text, and a text's length as the int a FieldRef holds.
inline std::string_view Text(const Record& rec, int row) { return rec.text(row); }
inline int Len(std::string_view s) { return static_cast<int>(s.size()); }

}  // namespace volp
