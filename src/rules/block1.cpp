// Placeholder: the rules of these records arrive with their own change.
#include "rules/block1.hpp"

#include "layout/field_analysis.hpp"
#include "validation/context.hpp"

namespace volp {

void ValidarRegistro_1001(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1100(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1110(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1115(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1120(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1200(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1220(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }
void ValidarRegistro_1990(Run& run, Record& rec, int, int) { AnalisarRegistro(run, rec); }

void VerificacaoRegistro_1110(Run&, int) {}
void VerificacaoRegistro_1100(Run&, int) {}
void VerificacaoRegistro_1100_TransacoesComCPF(Run&, int) {}
void ZerarDistintos(Run&, Distintos, int) {}
void ZerarContadoresR1110(Run&, int) {}
void ZerarContadoresR1115(Run&, int) {}
bool Ultimo1100Zerado(const Run&) { return false; }

}  // namespace volp
