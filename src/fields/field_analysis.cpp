// The generic analysis of every field of a record against its layout row: presence,
// length, the shape of its type (numbers, money with decimals, dates, year-month,
// time of day, CEP, municipality, UF, CNPJ, CPF, e-mail, access keys) and the
// group of alternative fields (a client is either a company with a CNPJ or a
// person with a CPF). Each field gets at most one finding per family of checks:
// after the first failure its later checks are skipped, except that a bad CNPJ
// or CPF check digit is followed by the "inválido" message of the number.
//
// This runs for every field of every record of files with tens of millions of
// lines, so it allocates nothing, uses no regex or locale, and formats a
// message only when it has something to report.
#include "fields/field_analysis.hpp"

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "core/context.hpp"
#include "core/latin1.hpp"
#include "core/layouts.hpp"
#include "core/record_types.hpp"
#include "fields/identifiers.hpp"
#include "fields/municipios.hpp"

namespace volp {

namespace {

// Rows of the 0000 layout that the date rules of the header read.
constexpr int k0000CodFin = 2;
constexpr int k0000DtFin = 7;
// Row of DT_FIM_AUT in 0600: an authorisation may be set to end in the future.
constexpr int k0600DtFimAut = 13;
// A COD_FIN of 3 answers a notification for any span of days, so its DT_FIN
// need not close a month.
constexpr int kFinalidadeNotificacao = 3;
// From this day on the municipality code of addresses became mandatory.
constexpr std::string_view kMunicipioObrigatorioDesde = "20210601";
constexpr int kAnoMesMinimo = 2010;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsAlpha(char c) { return IsUpper(c) || (c >= 'a' && c <= 'z'); }

// A byte is a digit when adding 0x46 does not carry it past 0x7F and
// subtracting 0x30 does not borrow below 0: eight (or four) bytes at a time.
bool Digits8(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, 8);
  return ((w | (w + 0x4646464646464646ULL) | (w - 0x3030303030303030ULL)) &
          0x8080808080808080ULL) == 0;
}
bool Digits4(const char* p) {
  uint32_t w;
  std::memcpy(&w, p, 4);
  return ((w | (w + 0x46464646U) | (w - 0x30303030U)) & 0x80808080U) == 0;
}

// True for the empty text too. The last word of a text is read so that it
// ends with the text (overlapping the word before), never past it.
inline bool AllDigits(std::string_view s) {
  const char* p = s.data();
  size_t n = s.size();
  if (n >= 8) {
    for (; n > 8; p += 8, n -= 8)
      if (!Digits8(p)) return false;
    return Digits8(p + n - 8);
  }
  if (n >= 4) return Digits4(p) && Digits4(p + n - 4);
  for (; n > 0; ++p, --n) {
    if (!IsDigit(*p)) return false;
  }
  return true;
}

// Decimal value of up to `n` leading characters, which the caller has
// checked to be digits.
int Num(std::string_view s, size_t pos, size_t n) {
  int v = 0;
  for (size_t i = pos; i < pos + n; ++i) v = v * 10 + (s[i] - '0');
  return v;
}

const char* Plural(int n) { return n == 1 ? "" : "s"; }

}  // namespace

// Bytes that ISO 8859-1 does not define as printable text: the C0 controls,
// DEL and the C1 controls. (Everything from 0xA0 up is a Latin-1 letter or sign.)
int ContarCaracteresInvalidos(std::string_view s) {
  int n = 0;
  for (char ch : s) {
    unsigned char c = static_cast<unsigned char>(ch);
    n += (c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F)) ? 1 : 0;
  }
  return n;
}

// The e-mail shape the format accepts, as the regular expression
//   ^([a-zA-Z0-9_\-\.]+)@([a-zA-Z0-9\-\.]+)\.([a-zA-Z]+)$
// reads it. Neither character class holds "@", so the user part ends at the
// first "@". The final letters cannot hold a ".", so whatever split of the
// rest the expression finds puts the last "." before them; the rest matches
// exactly when all of it is domain characters, its last "." is neither its
// first nor its last character, and only letters follow that ".".
bool EmailValido(std::string_view s) {
  size_t at = s.find('@');
  if (at == std::string_view::npos || at == 0) return false;
  for (size_t i = 0; i < at; ++i) {
    char c = s[i];
    if (!(IsAlpha(c) || IsDigit(c) || c == '_' || c == '-' || c == '.')) return false;
  }
  std::string_view rest = s.substr(at + 1);
  size_t last_dot = std::string_view::npos;
  for (size_t i = 0; i < rest.size(); ++i) {
    char c = rest[i];
    if (c == '.') {
      last_dot = i;
    } else if (!(IsAlpha(c) || IsDigit(c) || c == '-')) {
      return false;
    }
  }
  if (last_dot == std::string_view::npos || last_dot == 0 || last_dot + 1 == rest.size()) {
    return false;
  }
  for (size_t i = last_dot + 1; i < rest.size(); ++i) {
    if (!IsAlpha(rest[i])) return false;
  }
  return true;
}

namespace {

bool Bissexto(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DiasNoMes(int y, int m) {
  static constexpr int kDias[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && Bissexto(y) ? 29 : kDias[m - 1];
}

}  // namespace

// AAAAMMDD naming a day of the Gregorian calendar.
bool DataValida(std::string_view s) {
  if (s.size() != 8 || !AllDigits(s)) return false;
  int y = Num(s, 0, 4), m = Num(s, 4, 2), d = Num(s, 6, 2);
  return m >= 1 && m <= 12 && d >= 1 && d <= DiasNoMes(y, m);
}

// HHMMSS within one day.
bool HoraValida(std::string_view s) {
  return s.size() == 6 && Digits4(s.data()) && IsDigit(s[4]) && IsDigit(s[5]) &&
         (s[0] - '0') * 10 + (s[1] - '0') <= 23 && s[2] <= '5' && s[4] <= '5';
}

// The 44-digit access key of an electronic fiscal document ends with a
// modulus-11 digit over the other 43, weighted 2, 3, ..., 9, 2, 3, ... from
// the right; 10 and 11 become 0.
bool ChaveValida(std::string_view s) {
  if (s.size() != 44 || !AllDigits(s)) return false;
  int sum = 0, weight = 2;
  for (int i = 42; i >= 0; --i) {
    sum += (s[i] - '0') * weight;
    weight = weight == 9 ? 2 : weight + 1;
  }
  int dv = 11 - sum % 11;
  if (dv >= 10) dv = 0;
  return s[43] - '0' == dv;
}

namespace {

void Reportar(Run& run, Record& rec, int i, int32_t severity, const char* fmt, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 5, 6)))
#endif
    ;

void Reportar(Run& run, Record& rec, int i, int32_t severity, const char* fmt, ...) {
  char buf[300];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  if (severity >= kErro) rec.fields[i].valid = false;
  run.Report(rec, i, severity, buf);
}

// Money and other numbers with decimals: an integer part, one comma and
// exactly `decimals` digits, e.g. "1234,56". The integer part may take the
// layout size less the comma and the decimals.
void AnalisarDecimal(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.fields[i].text;
  const int num = i + 1;
  size_t p = 0;
  while (p < t.size() && IsDigit(t[p])) ++p;
  const int inteiros = static_cast<int>(p);
  const int limite = d.size > 0 ? d.size - d.decimals - 1 : INT32_MAX;
  if (inteiros > limite) {
    Reportar(run, rec, i, kErro,
             "Campo %02d - '%s' tem valor com %d dígito%s numérico%s mas o limite máximo é %d."_l1,
             num, d.name, inteiros, Plural(inteiros), Plural(inteiros), limite);
    return;
  }
  if (p < t.size() && t[p] != ',') {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' tem dígito não numérico."_l1, num, d.name);
    return;
  }
  if (p == t.size()) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' sem a parte decimal."_l1, num, d.name);
    return;
  }
  if (inteiros == 0) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' tem nenhum dígito numérico inteiro."_l1, num,
             d.name);
    return;
  }
  std::string_view dec = t.substr(p + 1);
  if (dec.find(',') != std::string_view::npos) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' com muitas vírgulas."_l1, num, d.name);
    return;
  }
  if (!AllDigits(dec)) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' tem dígito não numérico."_l1, num, d.name);
    return;
  }
  const int casas = static_cast<int>(dec.size());
  if (casas != d.decimals) {
    Reportar(
        run, rec, i, kErro,
        "Campo %02d - '%s' tem a parte decimal com %d dígito%s numérico%s mas deveria ter %d."_l1,
        num, d.name, casas, Plural(casas), Plural(casas), d.decimals);
  }
}

void AnalisarData(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.fields[i].text;
  const int num = i + 1;
  if (!DataValida(t)) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' contém data inválida."_l1, num, d.name);
    return;
  }
  if (Num(t, 0, 4) < rec.type->min_year) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' contém data muito antiga."_l1, num, d.name);
    return;
  }
  // AAAAMMDD texts of equal length compare as their dates do.
  const std::string_view hoje = run.today;
  if (hoje.size() == 8 && t > hoje && !(rec.type_index == kR0600 && i == k0600DtFimAut)) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' contém data adiantada."_l1, num, d.name);
    return;
  }
  if (rec.type_index == kR0000 && i == k0000DtFin) {
    std::string_view fin = rec.fields[k0000CodFin].text;
    size_t n = 0;
    while (n < fin.size() && n < 9 && IsDigit(fin[n])) ++n;
    if (Num(fin, 0, n) != kFinalidadeNotificacao &&
        Num(t, 6, 2) != DiasNoMes(Num(t, 0, 4), Num(t, 4, 2))) {
      Reportar(run, rec, i, kErro,
               "Campo %02d - '%s' contém %.*s que não é o último dia do mês."_l1, num, d.name,
               static_cast<int>(t.size()), t.data());
    }
  }
}

// MES_VAL, the year and month in which the declarant validated the file: not
// before the month the file declares, not after the month of the run.
void AnalisarAnoMes(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.fields[i].text;
  const int num = i + 1;
  const std::string_view hoje = run.today;
  const bool hoje_ok = hoje.size() >= 6 && AllDigits(hoje.substr(0, 6));
  const int ano = hoje_ok ? Num(hoje, 0, 4) : 0;
  const int mes = hoje_ok ? Num(hoje, 4, 2) : 0;
  const int len = static_cast<int>(t.size());
  if (!AllDigits(t) || Num(t, 0, 4) < kAnoMesMinimo || Num(t, 4, 2) < 1 || Num(t, 4, 2) > 12) {
    Reportar(run, rec, i, kErro,
             "Campo %02d - '%s' contém ano e mês %.*s inválido. Deveria ser %04d%02d."_l1, num,
             d.name, len, t.data(), ano, mes);
    return;
  }
  // The period end: of this very header when it is the 0000 (its validator
  // stores it only after this analysis), else the one already stored.
  std::string_view fim =
      rec.type_index == kR0000 ? rec.fields[k0000DtFin].text : std::string_view(run.ctx.dt_fin);
  if (fim.size() >= 6 && AllDigits(fim.substr(0, 6)) && t < fim.substr(0, 6)) {
    Reportar(run, rec, i, kErro,
             "Campo %02d - '%s' contém ano e mês %.*s invalido. Deveria ser %04d%02d."_l1, num,
             d.name, len, t.data(), ano, mes);
    return;
  }
  if (hoje_ok && t > hoje.substr(0, 6)) {
    Reportar(run, rec, i, kErro,
             "Campo %02d - '%s' contém ano e mês %.*s incorreto. Deveria ser %04d%02d."_l1, num,
             d.name, len, t.data(), ano, mes);
  }
}

void AnalisarCnpjCpf(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.fields[i].text;
  const bool cnpj = d.type == kCnpj;
  bool ok = AllDigits(t);
  if (ok) {
    // Numbers made of one repeated digit satisfy the arithmetic but were
    // never issued: all zeros for a CNPJ, any repeated digit for a CPF.
    bool repetido = true;
    for (char c : t) repetido = repetido && c == t[0];
    if (repetido && (!cnpj || t[0] == '0')) {
      ok = false;
    } else {
      ok = (cnpj ? VerificarCNPJ(t, run, rec, i) : VerificarCPF(t, run, rec, i)) == 0;
    }
  }
  if (!ok) {
    Reportar(run, rec, i, kErro,
             cnpj ? "Campo %02d - '%s' contém CNPJ '%.*s' inválido."_l1
                  : "Campo %02d - '%s' contém CPF '%.*s' inválido."_l1,
             i + 1, d.name, static_cast<int>(t.size()), t.data());
  }
}

bool TamanhoFixo(int type) {
  switch (type) {
    case kData:
    case kAnoMes:
    case kHora:
    case kCep:
    case kMunicipio:
    case kUf:
    case kCnpj:
    case kCpf:
      return true;
    default:
      return false;
  }
}

void AnalisarCampo(Run& run, Record& rec, int i) {
  Field& f = rec.fields[i];
  const FieldDef& d = rec.def(i);
  const std::string_view t = f.text;
  const int len = static_cast<int>(t.size());
  const int num = i + 1;
  f.filled = !t.empty();
  f.valid = true;

  if (t.empty()) {
    if (d.required == 'S') {
      Reportar(run, rec, i, kErro, "Campo %02d - '%s' é obrigatório."_l1, num, d.name);
    } else if (d.required == 'N' && d.type == kMunicipio && !run.ctx.dt_ini.empty() &&
               !run.ctx.dt_fin.empty()) {
      if (std::string_view(run.ctx.dt_fin) < kMunicipioObrigatorioDesde) {
        Reportar(run, rec, i, kAdvertencia,
                 "ATENÇÃO: A partir de 06/2021 o campo %02d - '%s' será obrigatório."_l1, num,
                 d.name);
      } else {
        Reportar(run, rec, i, kErro,
                 "A partir de 06/2021 o campo %02d - '%s' passou a ser obrigatório."_l1, num,
                 d.name);
      }
    }
    return;
  }

  // A size of 0 (QTD_REG_BLC of 9900) sets no maximum.
  if (d.size > 0 && len > d.size) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' tem tamanho %d superior ao máximo %d."_l1, num,
             d.name, len, d.size);
    return;
  }
  if (d.type == kNumerico) {
    if (d.decimals > 0) {
      AnalisarDecimal(run, rec, i);
    } else if (!AllDigits(t)) {
      Reportar(run, rec, i, kErro, "Campo %02d - '%s' deve ser numérico."_l1, num, d.name);
    }
    // Digits (and a comma) are neither blanks nor bytes outside Latin-1, and
    // a number has no fixed length or shape beyond this: nothing is left.
    return;
  }
  if (d.required == 'S') {
    if (t.find_first_not_of(' ') == std::string_view::npos) {
      Reportar(run, rec, i, kErro, "Campo %02d - '%s' é obrigatório mas está em branco."_l1, num,
               d.name);
      return;
    }
  }
  if (int n = rec.has_control ? ContarCaracteresInvalidos(t) : 0; n > 0) {
    Reportar(run, rec, i, kErro,
             "Campo %02d - '%s' contém %d caractere%s inválido%s não representável na codificação "
             "ASC-II - ISO 8859-1 (Latin-1)."_l1,
             num, d.name, n, Plural(n), Plural(n));
    return;
  }
  if (TamanhoFixo(d.type) && len != d.size) {
    Reportar(run, rec, i, kErro, "Campo %02d - '%s' tem tamanho %d mas deveria ter %d."_l1, num,
             d.name, len, d.size);
    return;
  }

  switch (d.type) {
    case kEmail:
      if (!EmailValido(t)) {
        Reportar(run, rec, i, kErro, "Campo %02d - '%s' contém e-mail [%.*s] inválido."_l1, num,
                 d.name, len, t.data());
      }
      break;
    case kData:
      AnalisarData(run, rec, i);
      break;
    case kAnoMes:
      AnalisarAnoMes(run, rec, i);
      break;
    case kHora:
      if (!HoraValida(t)) {
        Reportar(run, rec, i, kErro, "Campo %02d - '%s' contém hora inválida."_l1, num, d.name);
      }
      break;
    case kCep:
      // A CEP is eight digits; the UF rules read its first five as a number.
      if (!AllDigits(t)) {
        Reportar(run, rec, i, kErro, "Campo %02d - '%s' deve ser numérico."_l1, num, d.name);
      }
      break;
    case kMunicipio:
      if (!VerificarMunicipioIBGE(t) || !run.municipios.Contains(t)) {
        Reportar(run, rec, i, kErro,
                 "O campo %02d - '%s' contém o código %.*s não encontrado na tabela do IBGE de "
                 "29/05/2020!"_l1,
                 num, d.name, len, t.data());
      }
      break;
    case kUf:
      if (!IsUpper(t[0]) || !IsUpper(t[1])) {
        Reportar(run, rec, i, kErro, "Campo %02d - '%s' deve ser alfabético e maiúsculo."_l1, num,
                 d.name);
      } else if (FindUf(t) == nullptr) {
        Reportar(run, rec, i, kErro, "Campo %02d - '%s' contém UF inválida."_l1, num, d.name);
      }
      break;
    case kCnpj:
    case kCpf:
      AnalisarCnpjCpf(run, rec, i);
      break;
    case kChaveAcesso:
      if (len != d.size) {
        Reportar(run, rec, i, kErro, "O campo %02d - '%s' tem tamanho %d mas deveria ter %d."_l1,
                 num, d.name, len, d.size);
      } else if (!ChaveValida(t)) {
        Reportar(run, rec, i, kErro, "O campo %02d - '%s' contém chave inválida."_l1, num, d.name);
      }
      break;
    default:
      break;
  }
}

// Whether a record type has a group of alternative fields (only 0100 does:
// its CNPJ and CPF), worked out once from the layout.
bool TemAlternativos(int type_index) {
  static const auto table = [] {
    std::array<bool, kRecordTypeCount> t{};
    for (int r = 0; r < kRecordTypeCount; ++r)
      for (int i = 0; i < kRecordTypes[r].field_count; ++i)
        t[r] = t[r] || kRecordTypes[r].fields[i].required == 'E';
    return t;
  }();
  return table[type_index];
}

// Fields flagged 'E' form one group of which exactly one is to be filled (the
// CNPJ of a company or the CPF of a person, in the 0100 client record).
void AnalisarAlternativos(Run& run, Record& rec) {
  if (!TemAlternativos(rec.type_index)) return;
  int alt[kMaxFields];
  int n = 0;
  for (int i = 0; i < rec.field_count(); ++i) {
    if (rec.def(i).required == 'E') alt[n++] = i;
  }
  if (n == 0) return;
  int primeiro = -1;
  for (int k = 0; k < n; ++k) {
    int i = alt[k];
    if (!rec.fields[i].filled) continue;
    if (primeiro < 0) {
      primeiro = i;
      continue;
    }
    Reportar(run, rec, i, kErro,
             "O campo %02d - '%s' deve ser vazio porque já tem o campo %02d - '%s'."_l1, i + 1,
             rec.def(i).name, primeiro + 1, rec.def(primeiro).name);
  }
  if (primeiro >= 0) return;

  char buf[300];
  int used = std::snprintf(buf, sizeof buf, "Faltou preencher um dos campos: %02d - '%s'.",
                           alt[0] + 1, rec.def(alt[0]).name);
  for (int k = 1; k < n && used >= 0 && used < static_cast<int>(sizeof buf); ++k) {
    used += std::snprintf(buf + used, sizeof buf - used,
                          k == n - 1 ? " ou %02d - '%s'." : ", %02d - '%s'.", alt[k] + 1,
                          rec.def(alt[k]).name);
  }
  for (int k = 0; k < n; ++k) rec.fields[alt[k]].valid = false;
  run.Report(rec, alt[0], kErro, buf);
}

// Most fields of most records are fine, and for the common shapes that is
// decided from the text alone: digits within the size, money with its
// decimals, free text without control bytes, a time of day, an optional
// field left empty. A field that passes such a test would get no finding, so
// only the others go through AnalisarCampo, which produces every message.
enum class Rapido : uint8_t {
  kGeral,       // only AnalisarCampo can tell
  kDigitos,     // number without decimals
  kDecimal,     // number with decimals
  kTexto,       // free text, optional
  kTextoObrig,  // free text, required (and so not all blanks)
  kHora,
};

struct Atalho {
  Rapido forma = Rapido::kGeral;
  bool vazio_ok = false;  // an empty text gets no finding
  uint16_t maximo = 0;    // longest text without a finding
  int16_t inteiros = 0;   // most digits before the comma
  int16_t casas = 0;      // digits after the comma
};

constexpr Atalho AtalhoDe(const FieldDef& d) {
  Atalho a;
  a.vazio_ok = d.required != 'S' && !(d.required == 'N' && d.type == kMunicipio);
  a.maximo = static_cast<uint16_t>(d.size > 0 ? d.size : 9999);
  a.inteiros = static_cast<int16_t>(d.size - d.decimals - 1);
  a.casas = static_cast<int16_t>(d.decimals);
  switch (d.type) {
    case kNumerico:
      a.forma = d.decimals > 0 ? Rapido::kDecimal : Rapido::kDigitos;
      break;
    case kTexto:
      a.forma = d.required == 'S' ? Rapido::kTextoObrig : Rapido::kTexto;
      break;
    case kHora:
      a.forma = d.size == 6 ? Rapido::kHora : Rapido::kGeral;
      break;
    default:
      break;
  }
  return a;
}

template <Atalho A>
inline constexpr Atalho AtalhoFixo = A;

const Atalho* AtalhosDe(int type_index) {
  static const auto table = [] {
    std::array<std::array<Atalho, kMaxFields>, kRecordTypeCount> t{};
    for (int r = 0; r < kRecordTypeCount; ++r)
      for (int i = 0; i < kRecordTypes[r].field_count; ++i)
        t[r][i] = AtalhoDe(kRecordTypes[r].fields[i]);
    return t;
  }();
  return table[type_index].data();
}

#if defined(__GNUC__)
#define VOLP_SEMPRE_INLINE inline __attribute__((always_inline))
#else
#define VOLP_SEMPRE_INLINE __forceinline
#endif

// True when the field would get no finding from AnalisarCampo (false says
// nothing: the field may still be fine).
VOLP_SEMPRE_INLINE bool SemAchado(const Atalho& a, std::string_view t, bool control) {
  if (t.empty()) return a.vazio_ok;
  const size_t len = t.size();
  if (len > a.maximo) return false;
  switch (a.forma) {
    case Rapido::kDigitos:
      return AllDigits(t);
    case Rapido::kDecimal: {
      // All digits but one comma with exactly `casas` digits after it.
      const size_t comma = len - static_cast<size_t>(a.casas) - 1;
      return len > static_cast<size_t>(a.casas) + 1 && static_cast<int>(comma) <= a.inteiros &&
             t[comma] == ',' && AllDigits(t.substr(0, comma)) && AllDigits(t.substr(comma + 1));
    }
    case Rapido::kTexto:
      return !control;
    case Rapido::kTextoObrig:
      return !control && t.front() != ' ';
    case Rapido::kHora:
      return !control && HoraValida(t);
    default:
      return false;
  }
}

// Inlined where the shortcut is a constant, so that only its own test is left.
VOLP_SEMPRE_INLINE void Campo(Run& run, Record& rec, int i, const Atalho& a, bool control) {
  Field& f = rec.fields[i];
  if (SemAchado(a, f.text, control)) {
    f.filled = !f.text.empty();
    f.valid = true;
  } else {
    AnalisarCampo(run, rec, i);
  }
}

// The field loop unrolled for one layout, each field's shortcut compiled for
// its own row: no table to read and no jump on the kind of field.
template <const auto& Defs, size_t... I>
void CamposRapidos(Run& run, Record& rec, bool control, std::index_sequence<I...>) {
  (Campo(run, rec, static_cast<int>(I), AtalhoFixo<AtalhoDe(Defs[I])>, control), ...);
}

template <const auto& Defs>
void CamposDe(Run& run, Record& rec, bool control) {
  CamposRapidos<Defs>(run, rec, control, std::make_index_sequence<std::size(Defs)>{});
}

void Analisar(Run& run, Record& rec, bool atalhos) {
  if (run.log.On(5)) {
    run.log.Write(5, "    AnalisarRegistro(%lld, %lld, 0x%08x, 0x%08x)\n",
                  static_cast<long long>(run.ctx.offset), static_cast<long long>(run.ctx.line),
                  static_cast<unsigned>(reinterpret_cast<uintptr_t>(rec.type)),
                  static_cast<unsigned>(reinterpret_cast<uintptr_t>(&run.ctx)));
  }
  const int expected = rec.field_count();
  if (rec.found != expected) {
    Msg m;
    run.Report(
        rec, 0, kErro,
        m("Registro '%s' tem %d campos mas deveria ter %d.", rec.type->code, rec.found, expected));
  }
  const bool control = rec.has_control;
  if (!atalhos) {
    for (int i = 0; i < expected; ++i) AnalisarCampo(run, rec, i);
  } else {
    switch (rec.type_index) {
      // The records that make up the bulk of a file.
      case kR1100:
        CamposDe<layout::k1100>(run, rec, control);
        break;
      case kR1110:
        CamposDe<layout::k1110>(run, rec, control);
        break;
      case kR1115:
        CamposDe<layout::k1115>(run, rec, control);
        break;
      case kR1120:
        CamposDe<layout::k1120>(run, rec, control);
        break;
      default: {
        const Atalho* atalho = AtalhosDe(rec.type_index);
        for (int i = 0; i < expected; ++i) Campo(run, rec, i, atalho[i], control);
      }
    }
  }
  AnalisarAlternativos(run, rec);
}

}  // namespace

void AnalisarRegistro(Run& run, Record& rec) { Analisar(run, rec, true); }

void AnalisarRegistroCompleto(Run& run, Record& rec) { Analisar(run, rec, false); }

}  // namespace volp
