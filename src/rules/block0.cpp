// Placeholder: the rules of these records arrive with their own change.
#include "rules/block0.hpp"

#include "layout/field_analysis.hpp"
#include "validation/context.hpp"

namespace volp {

void ValidarRegistro_0100(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_0105(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_0200(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_0300(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_0600(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }

void VerificacaoRegistro_0100(Run&, int) {}
void VerificacaoRegistro_0200(Run&, int) {}

}  // namespace volp
