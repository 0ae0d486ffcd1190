#include "generator/identity.hpp"

#include <algorithm>
#include <cstring>

namespace volpgen {

// Alphabetical by sigla, with the IBGE prefix and the CEP prefix ranges. DF
// and GO interleave, which is why a unit may have two ranges.
const UfRow kUfs[kUfCount] = {
    {"AC", 12, 69900, 69999, 0, 0},         {"AL", 27, 57000, 57999, 0, 0},
    {"AM", 13, 69000, 69299, 69400, 69899}, {"AP", 16, 68900, 68999, 0, 0},
    {"BA", 29, 40000, 48999, 0, 0},         {"CE", 23, 60000, 63999, 0, 0},
    {"DF", 53, 70000, 72799, 73000, 73699}, {"ES", 32, 29000, 29999, 0, 0},
    {"GO", 52, 72800, 72999, 73700, 76799}, {"MA", 21, 65000, 65999, 0, 0},
    {"MG", 31, 30000, 39999, 0, 0},         {"MS", 50, 79000, 79999, 0, 0},
    {"MT", 51, 78000, 78899, 0, 0},         {"PA", 15, 66000, 68899, 0, 0},
    {"PB", 25, 58000, 58999, 0, 0},         {"PE", 26, 50000, 56999, 0, 0},
    {"PI", 22, 64000, 64999, 0, 0},         {"PR", 41, 80000, 87999, 0, 0},
    {"RJ", 33, 20000, 28999, 0, 0},         {"RN", 24, 59000, 59999, 0, 0},
    {"RO", 11, 76800, 76999, 0, 0},         {"RR", 14, 69300, 69399, 0, 0},
    {"RS", 43, 90000, 99999, 0, 0},         {"SC", 42, 88000, 89999, 0, 0},
    {"SE", 28, 49000, 49999, 0, 0},         {"SP", 35, 1000, 19999, 0, 0},
    {"TO", 17, 77000, 77999, 0, 0},
};

namespace {

// A sample of the national municipality table: the first codes of every
// unit and the capitals, sorted by code (so by unit prefix).
const Municipio kMunicipios[] = {
    {1100015, "Alta Floresta D'Oeste"},
    {1100023, "Ariquemes"},
    {1100031, "Cabixi"},
    {1100205, "Porto Velho"},
    {1200013, "Acrelândia"},
    {1200054, "Assis Brasil"},
    {1200104, "Brasiléia"},
    {1200401, "Rio Branco"},
    {1300029, "Alvarães"},
    {1300060, "Amaturá"},
    {1300086, "Anamã"},
    {1302603, "Manaus"},
    {1400027, "Amajari"},
    {1400050, "Alto Alegre"},
    {1400100, "Boa Vista"},
    {1500107, "Abaetetuba"},
    {1500131, "Abel Figueiredo"},
    {1500206, "Acará"},
    {1501402, "Belém"},
    {1600055, "Serra do Navio"},
    {1600105, "Amapá"},
    {1600154, "Pedra Branca do Amapari"},
    {1600303, "Macapá"},
    {1700251, "Abreulândia"},
    {1700301, "Aguiarnópolis"},
    {1700350, "Aliança do Tocantins"},
    {1721000, "Palmas"},
    {2100055, "Açailândia"},
    {2100105, "Afonso Cunha"},
    {2100154, "Água Doce do Maranhão"},
    {2111300, "São Luís"},
    {2200053, "Acauã"},
    {2200103, "Agricolândia"},
    {2200202, "Água Branca"},
    {2211001, "Teresina"},
    {2300101, "Abaiara"},
    {2300150, "Acarape"},
    {2300200, "Acaraú"},
    {2304400, "Fortaleza"},
    {2400109, "Acari"},
    {2400208, "Açu"},
    {2400307, "Afonso Bezerra"},
    {2408102, "Natal"},
    {2500106, "Água Branca"},
    {2500205, "Aguiar"},
    {2500304, "Alagoa Grande"},
    {2501906, "Belém"},
    {2502151, "Boa Vista"},
    {2507507, "João Pessoa"},
    {2600054, "Abreu e Lima"},
    {2600104, "Afogados da Ingazeira"},
    {2600203, "Afrânio"},
    {2611606, "Recife"},
    {2700102, "Água Branca"},
    {2700201, "Anadia"},
    {2700300, "Arapiraca"},
    {2700805, "Belém"},
    {2701506, "Campo Grande"},
    {2704302, "Maceió"},
    {2800100, "Amparo de São Francisco"},
    {2800209, "Aquidabã"},
    {2800308, "Aracaju"},
    {2900108, "Abaíra"},
    {2900207, "Abaré"},
    {2900306, "Acajutiba"},
    {2927408, "Salvador"},
    {3100104, "Abadia dos Dourados"},
    {3100203, "Abaeté"},
    {3100302, "Abre Campo"},
    {3106200, "Belo Horizonte"},
    {3200102, "Afonso Cláudio"},
    {3200136, "Águia Branca"},
    {3200169, "Água Doce do Norte"},
    {3205309, "Vitória"},
    {3300100, "Angra dos Reis"},
    {3300159, "Aperibé"},
    {3300209, "Araruama"},
    {3304557, "Rio de Janeiro"},
    {3500105, "Adamantina"},
    {3500204, "Adolfo"},
    {3500303, "Aguaí"},
    {3509502, "Campinas"},
    {3518800, "Guarulhos"},
    {3548500, "Santos"},
    {3550308, "São Paulo"},
    {4100103, "Abatiá"},
    {4100202, "Adrianópolis"},
    {4100301, "Agudos do Sul"},
    {4106902, "Curitiba"},
    {4117602, "Palmas"},
    {4200051, "Abdon Batista"},
    {4200101, "Abelardo Luz"},
    {4200200, "Agrolândia"},
    {4205407, "Florianópolis"},
    {4300034, "Aceguá"},
    {4300059, "Água Santa"},
    {4300109, "Agudo"},
    {4314902, "Porto Alegre"},
    {5000203, "Água Clara"},
    {5000252, "Alcinópolis"},
    {5000609, "Amambai"},
    {5002704, "Campo Grande"},
    {5100102, "Acorizal"},
    {5100201, "Água Boa"},
    {5100250, "Alta Floresta"},
    {5103403, "Cuiabá"},
    {5107206, "Rio Branco"},
    {5200050, "Abadia de Goiás"},
    {5200100, "Abadiânia"},
    {5200134, "Acreúna"},
    {5208707, "Goiânia"},
    {5300108, "Brasília"},
};

}  // namespace

int UfIndex(std::string_view sigla) {
  for (int i = 0; i < kUfCount; ++i)
    if (sigla == kUfs[i].sigla) return i;
  return -1;
}

int UfOfCep5(int cep5) {
  for (int i = 0; i < kUfCount; ++i) {
    const UfRow& u = kUfs[i];
    if (cep5 >= u.low1 && cep5 <= u.high1) return i;
    if (u.low2 != 0 && cep5 >= u.low2 && cep5 <= u.high2) return i;
  }
  return -1;
}

std::span<const Municipio> MunicipiosOf(int uf) {
  const int prefix = kUfs[uf].ibge;
  const Municipio* begin = std::begin(kMunicipios);
  const Municipio* end = std::end(kMunicipios);
  const Municipio* first =
      std::find_if(begin, end, [&](const Municipio& m) { return m.code / 100000 == prefix; });
  const Municipio* last =
      std::find_if(first, end, [&](const Municipio& m) { return m.code / 100000 != prefix; });
  return {first, static_cast<size_t>(last - first)};
}

int Mod11(const char* digits, int n, int first, int min, int reset) {
  int sum = 0;
  int weight = first;
  for (int i = 0; i < n; ++i) {
    sum += (digits[i] - '0') * weight;
    weight = weight - 1 < min ? reset : weight - 1;
  }
  const int r = sum % 11;
  return r < 2 ? 0 : 11 - r;
}

void MakeCnpj(Rng& rng, char out[14]) {
  for (int i = 0; i < 8; ++i) out[i] = static_cast<char>('0' + rng.Below(10));
  if (out[0] == '0') out[0] = '1';  // never "00000000000000"
  std::memcpy(out + 8, "0001", 4);
  out[12] = static_cast<char>('0' + Mod11(out, 12, 5, 2, 9));
  out[13] = static_cast<char>('0' + Mod11(out, 13, 6, 2, 9));
}

void MakeCpf(Rng& rng, char out[11]) {
  for (;;) {
    for (int i = 0; i < 9; ++i) out[i] = static_cast<char>('0' + rng.Below(10));
    out[9] = static_cast<char>('0' + Mod11(out, 9, 10, 2, 11));
    out[10] = static_cast<char>('0' + Mod11(out, 10, 11, 2, 11));
    // Numbers made of one repeated digit are refused whatever their digits.
    // Keep the first ten digits mixed too, so that changing one check digit
    // can never produce such a number.
    bool same = true;
    for (int i = 1; i < 10; ++i) same = same && out[i] == out[0];
    if (!same) return;
  }
}

int AccessKeyDigit(const char* first43) {
  int sum = 0;
  int weight = 2;
  for (int i = 42; i >= 0; --i) {
    sum += (first43[i] - '0') * weight;
    weight = weight == 9 ? 2 : weight + 1;
  }
  const int dv = 11 - sum % 11;
  return dv >= 10 ? 0 : dv;
}

void MakeAccessKey(Rng& rng, int uf_ibge, int yymm, const char cnpj[14], char out[44]) {
  // cUF, AAMM, CNPJ of the issuer, model 65, series, number, form, code.
  out[0] = static_cast<char>('0' + uf_ibge / 10);
  out[1] = static_cast<char>('0' + uf_ibge % 10);
  for (int i = 0, v = yymm; i < 4; ++i, v /= 10) out[5 - i] = static_cast<char>('0' + v % 10);
  std::memcpy(out + 6, cnpj, 14);
  out[20] = '6';
  out[21] = '5';
  for (int i = 22; i < 43; ++i) out[i] = static_cast<char>('0' + rng.Below(10));
  out[34] = '1';  // normal emission
  out[43] = static_cast<char>('0' + AccessKeyDigit(out));
}

int CepIn(Rng& rng, int uf) {
  const UfRow& u = kUfs[uf];
  const int cep5 =
      u.low1 + static_cast<int>(rng.Below(static_cast<uint64_t>(u.high1 - u.low1 + 1)));
  return cep5 * 1000 + static_cast<int>(rng.Below(1000));
}

int DaysInMonth(int year, int month) {
  static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month == 2 && ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0)) return 29;
  return kDays[month - 1];
}

std::string ToLatin1(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if ((c & 0xE0) == 0xC0 && i + 1 < utf8.size()) {
      const unsigned code = ((c & 0x1Fu) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3Fu);
      out.push_back(code < 0x100 ? static_cast<char>(code) : '?');
      ++i;
    } else {
      out.push_back('?');
    }
  }
  return out;
}

}  // namespace volpgen
