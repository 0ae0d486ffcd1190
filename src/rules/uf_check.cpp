// Placeholder until the UF check arrives.
#include "rules/uf_check.hpp"

namespace volp {

void VerificarUfMunicipioCep(Run&, Record&, int, int, int) {}

}  // namespace volp
