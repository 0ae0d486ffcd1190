// The analysis of every field of a record against its layout row. Most
// fields of most records are plainly good, and the shortcut below tells so
// from the text alone; only the others go through the full checks
// (fields/field_checks.cpp), which write every message.
//
// This runs for every field of every record of files with tens of millions of
// lines, so it allocates nothing, uses no regex or locale, and formats a
// message only when it has something to report.
#include "fields/field_analysis.hpp"

#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "core/context.hpp"
#include "core/layouts.hpp"
#include "core/record_types.hpp"
#include "fields/field_checks.hpp"
#include "fields/shapes.hpp"

namespace volp {

namespace {

using forma::AllDigits;

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
// (Whether the field is filled was noted by the split.)
VOLP_SEMPRE_INLINE void Campo(Run& run, Record& rec, int i, const Atalho& a, bool control) {
  if (SemAchado(a, rec.text(i), control)) {
    rec.valid_bits |= uint32_t{1} << i;
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

// The fields of one layout that pass their shortcut, as a bit mask.
template <const auto& Defs, size_t... I>
uint32_t SemAchadoDe(const Record& rec, bool control, std::index_sequence<I...>) {
  return ((static_cast<uint32_t>(
               SemAchado(AtalhoFixo<AtalhoDe(Defs[I])>, rec.text(static_cast<int>(I)), control))
           << I) |
          ...);
}

template <const auto& Defs>
uint32_t SemAchadoDe(const Record& rec, bool control) {
  return SemAchadoDe<Defs>(rec, control, std::make_index_sequence<std::size(Defs)>{});
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
    run.Report(rec, 0, MsgId::kCamposQuantidade, rec.type->code, rec.found, expected);
  }
  const bool control = rec.has_control;
  const uint32_t all = (uint32_t{1} << expected) - 1;
  if (!atalhos) {
    for (int i = 0; i < expected; ++i) AnalisarCampo(run, rec, i);
  } else if ((rec.known_valid & all) == all) {
    rec.valid_bits |= all;  // a split worker found every field plainly good
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

uint32_t CamposSemAchado(const Record& rec) {
  const bool control = rec.has_control;
  switch (rec.type_index) {
    case kR1100:
      return SemAchadoDe<layout::k1100>(rec, control);
    case kR1110:
      return SemAchadoDe<layout::k1110>(rec, control);
    case kR1115:
      return SemAchadoDe<layout::k1115>(rec, control);
    case kR1120:
      return SemAchadoDe<layout::k1120>(rec, control);
    default: {
      const Atalho* atalho = AtalhosDe(rec.type_index);
      uint32_t bits = 0;
      for (int i = 0; i < rec.field_count(); ++i)
        bits |= static_cast<uint32_t>(SemAchado(atalho[i], rec.text(i), control)) << i;
      return bits;
    }
  }
}

}  // namespace volp
