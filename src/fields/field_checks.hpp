// The full checks of one field against its layout row, each problem reported
// with its message: what the field analysis falls back to when the shortcut
// for plainly good fields cannot tell.
#pragma once

namespace volp {

struct Run;
struct Record;

// Field `i` of `rec`: its presence, length and the shape of its type. Sets the
// field's filled and valid marks.
void AnalisarCampo(Run& run, Record& rec, int i);
// The group of alternative fields of the record, if its layout has one
// (exactly one of them is to be filled).
void AnalisarAlternativos(Run& run, Record& rec);

}  // namespace volp
