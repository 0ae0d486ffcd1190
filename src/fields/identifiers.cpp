// Check digits of the Brazilian taxpayer numbers (CNPJ for companies, CPF for
// people) and of IBGE municipality codes, and the federative units with the
// CEP (postal code) ranges the post office assigns to each of them.
#include "fields/identifiers.hpp"

#include "core/context.hpp"
#include "core/latin1.hpp"

namespace volp {

// CEP prefixes are the first five digits read as a number, so São Paulo's
// 01000 is 1000. DF and GO interleave around Brasília, hence two ranges.
const UfDef kUfs[kUfCount] = {
    {"AC", "12", 69900, 69999, 0, 0, "Acre"},
    {"AL", "27", 57000, 57999, 0, 0, "Alagoas"},
    {"AM", "13", 69000, 69299, 69400, 69899, "Amazonas"},
    {"AP", "16", 68900, 68999, 0, 0, "Amapá"_l1},
    {"BA", "29", 40000, 48999, 0, 0, "Bahia"},
    {"CE", "23", 60000, 63999, 0, 0, "Ceará"_l1},
    {"DF", "53", 70000, 72799, 73000, 73699, "Distrito Federal"},
    {"ES", "32", 29000, 29999, 0, 0, "Espírito Santo"_l1},
    {"GO", "52", 72800, 72999, 73700, 76799, "Goiás"_l1},
    {"MA", "21", 65000, 65999, 0, 0, "Maranhão"_l1},
    {"MG", "31", 30000, 39999, 0, 0, "Minas Gerais"},
    {"MS", "50", 79000, 79999, 0, 0, "Mato Grosso do Sul"},
    {"MT", "51", 78000, 78899, 0, 0, "Mato Grosso"},
    {"PA", "15", 66000, 68899, 0, 0, "Pará"_l1},
    {"PB", "25", 58000, 58999, 0, 0, "Paraíba"_l1},
    {"PE", "26", 50000, 56999, 0, 0, "Pernambuco"},
    {"PI", "22", 64000, 64999, 0, 0, "Piauí"_l1},
    {"PR", "41", 80000, 87999, 0, 0, "Paraná"_l1},
    {"RJ", "33", 20000, 28999, 0, 0, "Rio de Janeiro"},
    {"RN", "24", 59000, 59999, 0, 0, "Rio Grande do Norte"},
    {"RO", "11", 76800, 76999, 0, 0, "Rondônia"_l1},
    {"RR", "14", 69300, 69399, 0, 0, "Roraima"},
    {"RS", "43", 90000, 99999, 0, 0, "Rio Grande do Sul"},
    {"SC", "42", 88000, 89999, 0, 0, "Santa Catarina"},
    {"SE", "28", 49000, 49999, 0, 0, "Sergipe"},
    {"SP", "35", 1000, 19999, 0, 0, "São Paulo"_l1},
    {"TO", "17", 77000, 77999, 0, 0, "Tocantins"},
};

const UfDef* FindUf(std::string_view sigla) {
  if (sigla.size() != 2) return nullptr;
  for (const UfDef& uf : kUfs) {
    if (sigla[0] == uf.sigla[0] && sigla[1] == uf.sigla[1]) return &uf;
  }
  return nullptr;
}

const UfDef* FindUfByMunicipio(std::string_view codigo) {
  for (const UfDef& uf : kUfs) {
    if (codigo.starts_with(uf.ibge_prefix)) return &uf;
  }
  return nullptr;
}

int CepPrefix(std::string_view cep) {
  // The CEP prefix is the number of the leading digits of the first five
  // characters: "01310-100" gives 1310, "7A..." gives 7.
  int n = 0;
  for (size_t i = 0; i < cep.size() && i < 5; ++i) {
    char c = cep[i];
    if (c < '0' || c > '9') break;
    n = n * 10 + (c - '0');
  }
  return n;
}

const UfDef* FindUfByCep(std::string_view cep) {
  int prefix = CepPrefix(cep);
  for (const UfDef& uf : kUfs) {
    if (prefix >= uf.cep_low_1 && prefix <= uf.cep_high_1) return &uf;
    if (uf.cep_low_2 != 0 && prefix >= uf.cep_low_2 && prefix <= uf.cep_high_2) return &uf;
  }
  return nullptr;
}

namespace {

// The modulus-11 digit over the first `count` digits: weights run down from
// `weight` and jump back to `reset_weight` when they would fall below
// `min_weight`; remainders 0 and 1 give 0, the others 11 - remainder.
int ExpectedDigit(std::string_view digits, int count, int weight, int min_weight,
                  int reset_weight) {
  int sum = 0;
  for (int i = 0; i < count; ++i) {
    sum += (digits[i] - '0') * weight;
    weight = weight - 1 < min_weight ? reset_weight : weight - 1;
  }
  int r = sum % 11;
  return r < min_weight ? 0 : 11 - r;
}

bool AllDigits(std::string_view s) {
  for (char c : s) {
    if (c < '0' || c > '9') return false;
  }
  return !s.empty();
}

// The first check digit that does not agree (0 or 1), or -1 when both agree.
int FirstBadDigit(std::string_view digits, int length, int first_weight, int min_weight,
                  int reset_weight, int* found, int* expected) {
  for (int k = 0; k < 2; ++k) {
    int want = ExpectedDigit(digits, length - 2 + k, first_weight + k, min_weight, reset_weight);
    int have = digits[length - 2 + k] - '0';
    if (have != want) {
      *found = have;
      *expected = want;
      return k;
    }
  }
  return -1;
}

constexpr int kCnpjLength = 14, kCnpjFirstWeight = 5, kCnpjReset = 9;
constexpr int kCpfLength = 11, kCpfFirstWeight = 10, kCpfReset = 11;
constexpr int kMinWeight = 2;

}  // namespace

int VerificarDigitos(std::string_view digits, int length, int first_weight, int min_weight,
                     int reset_weight, Run& run, const Record& rec, int field_index) {
  if (length < 2 || static_cast<int>(digits.size()) < length) return -1;
  int found = 0, expected = 0;
  int k = FirstBadDigit(digits, length, first_weight, min_weight, reset_weight, &found, &expected);
  if (k < 0) return 0;
  run.Report(rec, field_index, MsgId::kDigitoVerificador, k + 1, found, expected);
  return -1;
}

int VerificarCNPJ(std::string_view digits, Run& run, const Record& rec, int field_index) {
  return VerificarDigitos(digits, kCnpjLength, kCnpjFirstWeight, kMinWeight, kCnpjReset, run, rec,
                          field_index);
}

int VerificarCPF(std::string_view digits, Run& run, const Record& rec, int field_index) {
  return VerificarDigitos(digits, kCpfLength, kCpfFirstWeight, kMinWeight, kCpfReset, run, rec,
                          field_index);
}

bool CnpjDigitsOk(std::string_view digits) {
  int found, expected;
  return digits.size() == kCnpjLength && AllDigits(digits) &&
         FirstBadDigit(digits, kCnpjLength, kCnpjFirstWeight, kMinWeight, kCnpjReset, &found,
                       &expected) < 0;
}

bool CpfDigitsOk(std::string_view digits) {
  int found, expected;
  return digits.size() == kCpfLength && AllDigits(digits) &&
         FirstBadDigit(digits, kCpfLength, kCpfFirstWeight, kMinWeight, kCpfReset, &found,
                       &expected) < 0;
}

namespace {

// Codes of municipalities created or renamed after the check-digit rule was
// fixed, whose seventh digit does not follow it; IBGE keeps them as issued.
constexpr std::string_view kMunicipiosSemDigito[] = {
    "2201919", "2201988", "2202251", "2611533", "3117836",
    "3152131", "4305871", "5203939", "5203962",
};

constexpr int kPesosMunicipio[6] = {1, 2, 1, 2, 1, 2};

}  // namespace

bool VerificarMunicipioIBGE(std::string_view code) {
  if (code.size() != 7 || !AllDigits(code)) return false;
  for (std::string_view accepted : kMunicipiosSemDigito) {
    if (code == accepted) return true;
  }
  int sum = 0;
  for (int i = 0; i < 6; ++i) {
    int p = (code[i] - '0') * kPesosMunicipio[i];
    if (p > 9) p -= 9 * (p / 10);  // digit sum of a two-digit product
    sum += p;
  }
  int t = (sum / 10) * 10;
  int expected = t == sum ? 0 : t - sum + 10;
  return code[6] - '0' == expected;
}

}  // namespace volp
