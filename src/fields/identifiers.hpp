// Check digits of CNPJ, CPF and IBGE municipality codes, and the table of the
// 27 federative units with their IBGE prefixes and CEP ranges.
#pragma once

#include <cstdint>
#include <string_view>

namespace volp {

struct Run;
struct Record;

struct UfDef {
  const char* sigla;
  const char* ibge_prefix;
  int32_t cep_low_1, cep_high_1;
  int32_t cep_low_2, cep_high_2;  // 0, 0 when the unit has one range
  const char* name;               // Latin-1
};

inline constexpr int kUfCount = 27;
extern const UfDef kUfs[kUfCount];

// Row of the unit with this sigla, or nullptr.
const UfDef* FindUf(std::string_view sigla);
// First row whose IBGE prefix starts the municipality code, or nullptr.
const UfDef* FindUfByMunicipio(std::string_view codigo);
// First row whose ranges hold the CEP's first five digits as a number, or nullptr.
const UfDef* FindUfByCep(std::string_view cep);
// The leading digits of the CEP's first five characters as a number (0 when
// it starts with something else): the value FindUfByCep compares.
int CepPrefix(std::string_view cep);

// Modulus-11 check of the last two digits. Returns 0 when both agree; -1 at
// the first that does not, after recording "O dígito verificador ..." against
// field `field_index` of the current record.
int VerificarDigitos(std::string_view digits, int length, int first_weight, int min_weight,
                     int reset_weight, Run& run, const Record& rec, int field_index);
int VerificarCNPJ(std::string_view digits, Run& run, const Record& rec, int field_index);
int VerificarCPF(std::string_view digits, Run& run, const Record& rec, int field_index);

// Pure forms of the two checks, for callers that report nothing (and tests).
bool CnpjDigitsOk(std::string_view digits);
bool CpfDigitsOk(std::string_view digits);

// True when the seven-digit code is one of the nine codes accepted as they
// are, or its seventh digit is the right check digit.
bool VerificarMunicipioIBGE(std::string_view code);

}  // namespace volp
