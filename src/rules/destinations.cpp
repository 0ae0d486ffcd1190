// 1120 tells where the goods or services of a 1115 went (state, recipient,
// fiscal documents); 1220 does the same for a cancelled transaction (1200).
// A client outside the declaring state justifies itself through them: the
// destination, or else the client's own state, must be the declaring state.
#include <string_view>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/rows.hpp"
#include "fields/field_analysis.hpp"
#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block1_util.hpp"

namespace volp {

using b1::Filled;
using b1::Text;

namespace {

// 1120 and 1220 share the rows of the destination and the recipient, so the
// checks below read both through the 1120's names.
namespace D = f1120;
static_assert(int{f1220::kUfDest} == D::kUfDest && int{f1220::kCnpjDest} == D::kCnpjDest &&
              int{f1220::kCpfDest} == D::kCpfDest && int{f1220::kIdDest} == D::kIdDest);

// The UF rule of 1120 and 1220: true when the record must be reported. A
// destination that passes the rule marks the client (its has-1120 flag, or
// has-1220 when `is_1220`), which exempts it from the end-of-file UF check
// of 0100; one that does not pass (or is not judged at all: no current
// client, a client without UF, no UF_DEST) exempts nobody.
bool UfDestinoRecusada(Run& run, const Record& rec, bool is_1220) {
  ClientEntry* client = run.block1.current_client;
  if (client == nullptr || !Filled(rec, D::kUfDest)) return false;
  const std::string_view uf = client->uf();
  if (uf.empty()) return false;
  const std::string_view uf_dest = Text(rec, D::kUfDest);
  const std::string_view fisco = run.ctx.uf_fisco;
  auto pass = [&] {
    if (is_1220) {
      client->has_1220 = true;
    } else {
      client->has_1120 = true;
    }
  };
  if (uf_dest == fisco) {
    pass();
    return false;
  }
  if (uf == fisco) {
    pass();
    return false;
  }
  return run.ctx.finalidade != 3;
}

void ReportarUfDestino(Run& run, const Record& rec, const char* code) {
  const ClientEntry* c = run.block1.current_client;
  run.Report(rec, D::kUfDest, MsgId::kUfDestForaUfFisco, CampoNumero(D::kUfDest), code,
             Text(rec, D::kUfDest), CampoNumero(f0100::kUf), c->code.view(), c->uf(),
             Milhar(c->line), Milhar(c->offset), run.ctx.uf_fisco.c_str(),
             CampoNumero(f0000::kUfFisco));
}

// The recipient of a destination record: exactly one of CNPJ_DEST, CPF_DEST
// and ID_DEST. What is wrong with it, in the order it is reported; 1120 and
// 1220 say it in their own words (the 1120's messages name the fields by
// number, the 1220's do not).
struct Destinatario {
  bool cnpj_e_cpf = false;
  bool cnpj_e_id = false;
  bool cpf_e_id = false;
  bool id_longo = false;  // an identification alone, longer than its field
  bool faltou = false;
  int32_t length = 0;  // of ID_DEST
  int32_t size = 0;    // its maximum
};

Destinatario JulgarDestinatario(const Record& rec) {
  const bool cnpj = Filled(rec, D::kCnpjDest);
  const bool cpf = Filled(rec, D::kCpfDest);
  const bool id = Filled(rec, D::kIdDest);
  Destinatario d;
  d.cnpj_e_cpf = cnpj && cpf;
  d.cnpj_e_id = cnpj && id;
  d.cpf_e_id = !cnpj && cpf && id;
  if (!cnpj && !cpf && id) {
    // The length limit is checked only when the identification stands alone.
    d.size = rec.def(D::kIdDest).size;
    d.length = static_cast<int32_t>(Text(rec, D::kIdDest).size());
    d.id_longo = d.length > d.size;
  }
  d.faltou = !cnpj && !cpf && !id;
  return d;
}

}  // namespace

void ValidarRegistro_1120(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "      ", "1120", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block1State& b = run.block1;

  // 1.
  if (UfDestinoRecusada(run, rec, false)) ReportarUfDestino(run, rec, "1120");

  // 2. One recipient: a CNPJ, a CPF, or an identification for neither.
  constexpr int kCnpj = CampoNumero(f1120::kCnpjDest), kCpf = CampoNumero(f1120::kCpfDest),
                kId = CampoNumero(f1120::kIdDest);
  const Destinatario d = JulgarDestinatario(rec);
  if (d.cnpj_e_cpf) run.Report(rec, f1120::kCpfDest, MsgId::kCnpjECpfDest1120, kCnpj, kCpf);
  if (d.cnpj_e_id) run.Report(rec, f1120::kIdDest, MsgId::kCnpjEIdDest1120, kCnpj, kId);
  if (d.cpf_e_id) run.Report(rec, f1120::kIdDest, MsgId::kCpfEIdDest1120, kCpf, kId);
  if (d.id_longo) run.Report(rec, f1120::kIdDest, MsgId::kIdDestLongo1120, kId, d.length, d.size);
  if (d.faltou) run.Report(rec, f1120::kCnpjDest, MsgId::kSemDestinatario1120, kCnpj, kCpf, kId);

  // 3. A destination shows that the day's transactions went through an
  // acquirer: the parent 1110 should have named it. Recorded at the 1110.
  const Last1110& l = b.last_1110;
  if (l.present && l.cod_mcapt_filled && l.in_distintos && !l.cnpj_adqui_filled &&
      l.tipo_tecn != 7) {
    const FieldRef ref =
        l.cnpj_adqui_field.Ref(kRecordTypes[kR1110].fields[f1110::kCnpjAdqui].name);
    run.ReportAt(l.offset, l.line, kR1110, f1110::kCnpjAdqui, &ref, MsgId::kAdquiExigidoPor1120,
                 CampoNumero(f1110::kCnpjAdqui), Milhar(run.ctx.line), Milhar(run.ctx.offset));
  }
}

void ValidarRegistro_1220(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1220", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  // The client is the current one, that of the last 1100: the 1200 above
  // only marks its own client as referenced.
  if (UfDestinoRecusada(run, rec, true)) ReportarUfDestino(run, rec, "1220");

  const Destinatario d = JulgarDestinatario(rec);
  if (d.cnpj_e_cpf) run.Report(rec, f1220::kCpfDest, MsgId::kCnpjECpfDest1220);
  if (d.cnpj_e_id) run.Report(rec, f1220::kIdDest, MsgId::kCnpjEIdDest1220);
  if (d.cpf_e_id) run.Report(rec, f1220::kIdDest, MsgId::kCpfEIdDest1220);
  if (d.id_longo) run.Report(rec, f1220::kIdDest, MsgId::kIdDestLongo1220, d.length, d.size);
  if (d.faltou) run.Report(rec, f1220::kCnpjDest, MsgId::kSemDestinatario1220);
}

}  // namespace volp
