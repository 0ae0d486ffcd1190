// A record that carries an address (the declarant's 0005, a client's 0100, a
// partner's 0300, an authorised institution's 0600) names its UF, and its
// municipality code and CEP must agree with it: the first two digits of an
// IBGE municipality code are the code of its UF, and every UF owns one or
// two ranges of CEP prefixes.
#include "rules/uf_check.hpp"

#include "core/context.hpp"
#include "core/latin1.hpp"
#include "fields/identifiers.hpp"
#include "rules/common.hpp"

namespace volp {
namespace {

void ReportOtherUf(Run& run, Record& rec, int index, const UfDef& found, int uf_index) {
  const Field f = rec.field(index);
  const std::string_view uf = rec.text(uf_index);
  run.Report(rec, index, MsgId::kUfOutra, index + 1, rec.def(index).name, f.text, found.sigla, uf,
             uf_index + 1, rec.type->code);
}

}  // namespace

void VerificarUfMunicipioCep(Run& run, Record& rec, int cep_index, int mun_index, int uf_index) {
  const std::string_view uf = rec.text(uf_index);

  const Field mun = rec.field(mun_index);
  if (mun.filled) {
    // A code whose prefix is no UF's is left to the municipality table check.
    const UfDef* owner = FindUfByMunicipio(mun.text);
    if (owner != nullptr && uf != owner->sigla)
      ReportOtherUf(run, rec, mun_index, *owner, uf_index);
  }

  const Field cep = rec.field(cep_index);
  if (cep.filled) {
    const UfDef* owner = FindUfByCep(cep.text);
    if (owner == nullptr) {
      run.Report(rec, cep_index, MsgId::kCepSemUf, cep_index + 1, rec.def(cep_index).name,
                 cep.text);
    } else if (uf != owner->sigla) {
      ReportOtherUf(run, rec, cep_index, *owner, uf_index);
    }
  }
}

}  // namespace volp
