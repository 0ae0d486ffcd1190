// The generic analysis of every field of a record against its layout row.
#pragma once

#include <cstdint>

#include "fields/shapes.hpp"

namespace volp {

struct Run;
struct Record;

// Checks the field count and then every field in layout order, reporting each
// problem; leaves the filled and valid marks on every field.
void AnalisarRegistro(Run& run, Record& rec);
// The same with every field through the full checks, none of them decided
// by the shortcut for plainly good fields: what the shortcut must agree with.
void AnalisarRegistroCompleto(Run& run, Record& rec);

// The fields of `rec` that the analysis would find plainly good without
// reporting anything, one bit each: pure, so a split worker can work it out
// ahead of the rules, and AnalisarRegistro then skips a record whose every
// field is in it (Record::known_valid).
uint32_t CamposSemAchado(const Record& rec);

// The shape checks behind the analysis (ContarCaracteresInvalidos,
// EmailValido, DataValida, HoraValida, ChaveValida) are in fields/shapes.hpp,
// for callers that report nothing.

}  // namespace volp
