// Placeholder: the rules of these records arrive with their own change.
#include "rules/opening.hpp"

#include "layout/field_analysis.hpp"
#include "validation/context.hpp"

namespace volp {

void ValidarRegistro_0000(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_0001(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_0005(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }


}  // namespace volp
