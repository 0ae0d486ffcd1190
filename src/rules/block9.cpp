// Placeholder: the rules of these records arrive with their own change.
#include "rules/block9.hpp"

#include "layout/field_analysis.hpp"
#include "validation/context.hpp"

namespace volp {

void ValidarRegistro_0990(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_9001(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_9900(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_9990(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_9999(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }

void VerificacaoRegistro_9900(Run&, int64_t, int64_t, int) {}

}  // namespace volp
