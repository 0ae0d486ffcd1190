// The full checks of one field against its layout row: presence, length,
// the shape of its type (numbers, money with decimals, dates, year-month,
// time of day, CEP, municipality, UF, CNPJ, CPF, e-mail, access keys) and the
// group of alternative fields (a client is either a company with a CNPJ or a
// person with a CPF). Each field gets at most one finding per family of
// checks: after the first failure its later checks are skipped, except that a
// bad CNPJ or CPF check digit is followed by the "inválido" message of the
// number.
#include "fields/field_checks.hpp"

#include <array>
#include <cstdint>
#include <string_view>

#include "core/context.hpp"
#include "core/layouts.hpp"
#include "core/record_types.hpp"
#include "core/rows.hpp"
#include "fields/identifiers.hpp"
#include "fields/municipios.hpp"
#include "fields/shapes.hpp"

namespace volp {

namespace {

using forma::AllDigits;
using forma::IsDigit;
using forma::IsUpper;
using forma::Num;

// A COD_FIN of 3 answers a notification for any span of days, so its DT_FIN
// need not close a month.
constexpr int kFinalidadeNotificacao = 3;
// From this day on the municipality code of addresses became mandatory.
constexpr std::string_view kMunicipioObrigatorioDesde = "20210601";
constexpr int kAnoMesMinimo = 2010;

const char* Plural(int n) { return n == 1 ? "" : "s"; }

// Reports message `id` on field `i`; a field with an error is no longer
// valid for the rules that read it.
template <class... A>
void Reportar(Run& run, Record& rec, int i, MsgOf<A...> id, const A&... args) {
  if (Message(id.id).severity >= kErro) rec.set_valid(i, false);
  run.Report(rec, i, id, args...);
}

// Money and other numbers with decimals: an integer part, one comma and
// exactly `decimals` digits, e.g. "1234,56". The integer part may take the
// layout size less the comma and the decimals.
void AnalisarDecimal(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.text(i);
  const int num = CampoNumero(i);
  size_t p = 0;
  while (p < t.size() && IsDigit(t[p])) ++p;
  const int inteiros = static_cast<int>(p);
  const int limite = d.size > 0 ? d.size - d.decimals - 1 : INT32_MAX;
  if (inteiros > limite) {
    Reportar(run, rec, i, MsgId::kDecimalInteirosDemais, num, d.name, inteiros, Plural(inteiros),
             Plural(inteiros), limite);
    return;
  }
  if (p < t.size() && t[p] != ',') {
    Reportar(run, rec, i, MsgId::kDecimalNaoNumerico, num, d.name);
    return;
  }
  if (p == t.size()) {
    Reportar(run, rec, i, MsgId::kDecimalSemDecimais, num, d.name);
    return;
  }
  if (inteiros == 0) {
    Reportar(run, rec, i, MsgId::kDecimalSemInteiros, num, d.name);
    return;
  }
  std::string_view dec = t.substr(p + 1);
  if (dec.find(',') != std::string_view::npos) {
    Reportar(run, rec, i, MsgId::kDecimalVirgulasDemais, num, d.name);
    return;
  }
  if (!AllDigits(dec)) {
    Reportar(run, rec, i, MsgId::kDecimalNaoNumerico, num, d.name);
    return;
  }
  const int casas = static_cast<int>(dec.size());
  if (casas != d.decimals) {
    Reportar(run, rec, i, MsgId::kDecimalCasas, num, d.name, casas, Plural(casas), Plural(casas),
             d.decimals);
  }
}

void AnalisarData(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.text(i);
  const int num = CampoNumero(i);
  if (!DataValida(t)) {
    Reportar(run, rec, i, MsgId::kDataInvalida, num, d.name);
    return;
  }
  if (Num(t, 0, 4) < rec.type->min_year) {
    Reportar(run, rec, i, MsgId::kDataAntiga, num, d.name);
    return;
  }
  // AAAAMMDD texts of equal length compare as their dates do.
  const std::string_view hoje = run.today;
  if (hoje.size() == 8 && t > hoje && !(rec.type_index == kR0600 && i == f0600::kDtFimAut)) {
    Reportar(run, rec, i, MsgId::kDataAdiantada, num, d.name);
    return;
  }
  if (rec.type_index == kR0000 && i == f0000::kDtFin) {
    std::string_view fin = rec.text(f0000::kCodFin);
    size_t n = 0;
    while (n < fin.size() && n < 9 && IsDigit(fin[n])) ++n;
    if (Num(fin, 0, n) != kFinalidadeNotificacao &&
        Num(t, 6, 2) != forma::DiasNoMes(Num(t, 0, 4), Num(t, 4, 2))) {
      Reportar(run, rec, i, MsgId::kDtFinNaoFimDoMes, num, d.name, t);
    }
  }
}

// MES_VAL, the year and month in which the declarant validated the file: not
// before the month the file declares, not after the month of the run.
void AnalisarAnoMes(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.text(i);
  const int num = CampoNumero(i);
  const std::string_view hoje = run.today;
  const bool hoje_ok = hoje.size() >= 6 && AllDigits(hoje.substr(0, 6));
  const int ano = hoje_ok ? Num(hoje, 0, 4) : 0;
  const int mes = hoje_ok ? Num(hoje, 4, 2) : 0;
  if (!AllDigits(t) || Num(t, 0, 4) < kAnoMesMinimo || Num(t, 4, 2) < 1 || Num(t, 4, 2) > 12) {
    Reportar(run, rec, i, MsgId::kAnoMesInvalido, num, d.name, t, ano, mes);
    return;
  }
  // The period end: of this very header when it is the 0000 (its validator
  // stores it only after this analysis), else the one already stored.
  std::string_view fim =
      rec.type_index == kR0000 ? rec.text(f0000::kDtFin) : std::string_view(run.ctx.dt_fin);
  if (fim.size() >= 6 && AllDigits(fim.substr(0, 6)) && t < fim.substr(0, 6)) {
    Reportar(run, rec, i, MsgId::kAnoMesAntesDoPeriodo, num, d.name, t, ano, mes);
    return;
  }
  if (hoje_ok && t > hoje.substr(0, 6)) {
    Reportar(run, rec, i, MsgId::kAnoMesFuturo, num, d.name, t, ano, mes);
  }
}

void AnalisarCnpjCpf(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  std::string_view t = rec.text(i);
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
    if (cnpj)
      Reportar(run, rec, i, MsgId::kCnpjInvalido, CampoNumero(i), d.name, t);
    else
      Reportar(run, rec, i, MsgId::kCpfInvalido, CampoNumero(i), d.name, t);
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

}  // namespace

void AnalisarCampo(Run& run, Record& rec, int i) {
  const FieldDef& d = rec.def(i);
  const std::string_view t = rec.text(i);
  const int len = static_cast<int>(t.size());
  const int num = CampoNumero(i);
  rec.set_valid(i, true);

  if (t.empty()) {
    if (d.required == 'S') {
      Reportar(run, rec, i, MsgId::kCampoObrigatorio, num, d.name);
    } else if (d.required == 'N' && d.type == kMunicipio && !run.ctx.dt_ini.empty() &&
               !run.ctx.dt_fin.empty()) {
      if (std::string_view(run.ctx.dt_fin) < kMunicipioObrigatorioDesde) {
        Reportar(run, rec, i, MsgId::kMunicipioSeraObrigatorio, num, d.name);
      } else {
        Reportar(run, rec, i, MsgId::kMunicipioObrigatorio, num, d.name);
      }
    }
    return;
  }

  // A size of 0 (QTD_REG_BLC of 9900) sets no maximum.
  if (d.size > 0 && len > d.size) {
    Reportar(run, rec, i, MsgId::kCampoTamanhoMaximo, num, d.name, len, d.size);
    return;
  }
  if (d.type == kNumerico) {
    if (d.decimals > 0) {
      AnalisarDecimal(run, rec, i);
    } else if (!AllDigits(t)) {
      Reportar(run, rec, i, MsgId::kCampoNaoNumerico, num, d.name);
    }
    // Digits (and a comma) are neither blanks nor bytes outside Latin-1, and
    // a number has no fixed length or shape beyond this: nothing is left.
    return;
  }
  if (d.required == 'S') {
    if (t.find_first_not_of(' ') == std::string_view::npos) {
      Reportar(run, rec, i, MsgId::kCampoEmBranco, num, d.name);
      return;
    }
  }
  if (int n = rec.has_control ? ContarCaracteresInvalidos(t) : 0; n > 0) {
    Reportar(run, rec, i, MsgId::kCampoCaracteresInvalidos, num, d.name, n, Plural(n), Plural(n));
    return;
  }
  if (TamanhoFixo(d.type) && len != d.size) {
    Reportar(run, rec, i, MsgId::kCampoTamanhoFixo, num, d.name, len, d.size);
    return;
  }

  switch (d.type) {
    case kEmail:
      if (!EmailValido(t)) {
        Reportar(run, rec, i, MsgId::kEmailInvalido, num, d.name, t);
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
        Reportar(run, rec, i, MsgId::kHoraInvalida, num, d.name);
      }
      break;
    case kCep:
      // A CEP is eight digits; the UF rules read its first five as a number.
      if (!AllDigits(t)) {
        Reportar(run, rec, i, MsgId::kCampoNaoNumerico, num, d.name);
      }
      break;
    case kMunicipio:
      if (!VerificarMunicipioIBGE(t) || !run.municipios.Contains(t)) {
        Reportar(run, rec, i, MsgId::kMunicipioDesconhecido, num, d.name, t);
      }
      break;
    case kUf:
      if (!IsUpper(t[0]) || !IsUpper(t[1])) {
        Reportar(run, rec, i, MsgId::kUfNaoMaiuscula, num, d.name);
      } else if (FindUf(t) == nullptr) {
        Reportar(run, rec, i, MsgId::kUfInvalida, num, d.name);
      }
      break;
    case kCnpj:
    case kCpf:
      AnalisarCnpjCpf(run, rec, i);
      break;
    case kChaveAcesso:
      if (len != d.size) {
        Reportar(run, rec, i, MsgId::kChaveTamanho, num, d.name, len, d.size);
      } else if (!ChaveValida(t)) {
        Reportar(run, rec, i, MsgId::kChaveInvalida, num, d.name);
      }
      break;
    default:
      break;
  }
}

namespace {

// The alternatives come in pairs (the 0100's CNPJ or CPF), which the message
// for an empty group names both of.
template <const auto&... Layouts>
constexpr bool AlternativosAosPares() {
  auto pares = [](const auto& defs) {
    int n = 0;
    for (const FieldDef& d : defs) n += d.required == 'E' ? 1 : 0;
    return n == 0 || n == 2;
  };
  return (pares(Layouts) && ...);
}
static_assert(
    AlternativosAosPares<layout::k0000, layout::k0001, layout::k0005, layout::k0100, layout::k0105,
                         layout::k0200, layout::k0300, layout::k0600, layout::k0990, layout::k1001,
                         layout::k1100, layout::k1110, layout::k1115, layout::k1120, layout::k1200,
                         layout::k1220, layout::k1990, layout::k9001, layout::k9900, layout::k9990,
                         layout::k9999>());

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

}  // namespace

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
    if (!rec.filled(i)) continue;
    if (primeiro < 0) {
      primeiro = i;
      continue;
    }
    Reportar(run, rec, i, MsgId::kAlternativoDuplo, CampoNumero(i), rec.def(i).name,
             CampoNumero(primeiro), rec.def(primeiro).name);
  }
  if (primeiro >= 0) return;

  for (int k = 0; k < n; ++k) rec.set_valid(alt[k], false);
  run.Report(rec, alt[0], MsgId::kAlternativoAusente, CampoNumero(alt[0]), rec.def(alt[0]).name,
             CampoNumero(alt[1]), rec.def(alt[1]).name);
}

}  // namespace volp
