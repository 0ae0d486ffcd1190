// The generic analysis of every field of a record against its layout row.
#pragma once

namespace volp {

struct Run;
struct Record;

// Checks the field count and then every field in layout order, reporting each
// problem; leaves the filled and valid marks on every field.
void AnalisarRegistro(Run& run, Record& rec);

}  // namespace volp
