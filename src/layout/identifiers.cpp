// Placeholder until the identifier checks arrive.
#include "layout/identifiers.hpp"

namespace volp {

const UfDef kUfs[kUfCount] = {};
const UfDef* FindUf(std::string_view) { return nullptr; }
const UfDef* FindUfByMunicipio(std::string_view) { return nullptr; }
const UfDef* FindUfByCep(std::string_view) { return nullptr; }
int VerificarDigitos(std::string_view, int, int, int, int, Run&, const Record&, int) { return 0; }
int VerificarCNPJ(std::string_view, Run&, const Record&, int) { return 0; }
int VerificarCPF(std::string_view, Run&, const Record&, int) { return 0; }
bool CnpjDigitsOk(std::string_view) { return true; }
bool CpfDigitsOk(std::string_view) { return true; }
bool VerificarMunicipioIBGE(std::string_view) { return true; }

}  // namespace volp
