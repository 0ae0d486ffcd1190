// The UF of a record against its municipality code (by the code's IBGE state
// prefix) and its CEP (by the UF's CEP ranges): shared by 0005, 0100, 0300
// and 0600, whose messages differ only in the record type they name.
#pragma once

namespace volp {

struct Run;
struct Record;

// Compares the municipality (row `mun_index`, when filled) and the CEP (row
// `cep_index`, when filled) with the UF in row `uf_index`. The caller decides
// whether the UF is usable (filled, or filled and valid).
void VerificarUfMunicipioCep(Run& run, Record& rec, int cep_index, int mun_index, int uf_index);

}  // namespace volp
