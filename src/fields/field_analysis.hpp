// The generic analysis of every field of a record against its layout row.
#pragma once

#include <string_view>

namespace volp {

struct Run;
struct Record;

// Checks the field count and then every field in layout order, reporting each
// problem; leaves the filled and valid marks on every field.
void AnalisarRegistro(Run& run, Record& rec);
// The same with every field through the full checks, none of them decided
// by the shortcut for plainly good fields: what the shortcut must agree with.
void AnalisarRegistroCompleto(Run& run, Record& rec);

// The shape checks behind the analysis, for callers that report nothing.
// Bytes that are not Latin-1 text (C0 controls, DEL, C1 controls).
int ContarCaracteresInvalidos(std::string_view s);
// The e-mail pattern ^([a-zA-Z0-9_\-\.]+)@([a-zA-Z0-9\-\.]+)\.([a-zA-Z]+)$.
bool EmailValido(std::string_view s);
// AAAAMMDD naming a real day.
bool DataValida(std::string_view s);
// HHMMSS within one day.
bool HoraValida(std::string_view s);
// 44 digits whose last is the modulus-11 digit of the other 43.
bool ChaveValida(std::string_view s);

}  // namespace volp
