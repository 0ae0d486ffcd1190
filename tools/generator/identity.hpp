// What the generator knows about Brazilian identifiers on its own: CNPJ and
// CPF check digits, the federative units with their IBGE prefixes and postal
// code ranges, a sample of real municipality codes, and the check digit of
// the 44-digit fiscal document keys. Nothing here comes from the validator:
// the generator is the oracle the validator is tested against.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "generator/rng.hpp"

namespace volpgen {

struct UfRow {
  const char* sigla;
  int ibge;         // first two digits of every municipality code of the unit
  int low1, high1;  // CEP prefixes (first five digits) of the unit
  int low2, high2;  // a second range, 0 and 0 where there is none
};

inline constexpr int kUfCount = 27;
extern const UfRow kUfs[kUfCount];

// Index of a sigla in kUfs, or -1.
int UfIndex(std::string_view sigla);
// The first unit (in table order) whose ranges hold the five-digit prefix, or -1.
int UfOfCep5(int cep5);

struct Municipio {
  int code;          // seven-digit IBGE code
  const char* name;  // UTF-8
};
// Real municipalities of a unit, from the national table (a few per unit).
std::span<const Municipio> MunicipiosOf(int uf);

// Modulus-11 check digit over `n` digits: weights start at `first` and fall by
// one to `min`, then start again at `reset`; a remainder below 2 gives 0.
int Mod11(const char* digits, int n, int first, int min, int reset);

// A valid CNPJ (14 digits, head office "0001") and CPF (11 digits, never one
// digit repeated). `out` is not NUL-terminated.
void MakeCnpj(Rng& rng, char out[14]);
void MakeCpf(Rng& rng, char out[11]);
// A valid 44-digit fiscal document key (check digit modulus 11, weights 2..9
// from the right, 10 and 11 giving 0).
void MakeAccessKey(Rng& rng, int uf_ibge, int yymm, const char cnpj[14], char out[44]);
int AccessKeyDigit(const char* first43);

// A CEP (as an eight-digit number) inside the first range of a unit.
int CepIn(Rng& rng, int uf);

// Days in a month.
int DaysInMonth(int year, int month);

// UTF-8 to ISO 8859-1 (every character of the generator's texts fits).
std::string ToLatin1(std::string_view utf8);

}  // namespace volpgen
