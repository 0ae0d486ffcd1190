// 1120 tells where the goods or services of a 1115 went (state, recipient,
// fiscal documents); 1220 does the same for a cancelled transaction (1200).
// A client outside the declaring state justifies itself through them: the
// destination, or else the client's own state, must be the declaring state.
#include <string_view>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/latin1.hpp"
#include "fields/field_analysis.hpp"
#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block1_util.hpp"

namespace volp {

using b1::Filled;
using b1::Text;

namespace {

// Fields shared by 1120 and 1220.
enum : int { kUfDest = 1, kCnpjDest = 3, kCpfDest = 4, kIdDest = 5 };
// Field of 1110 that the 1120 acquirer finding points at.
constexpr int kAdqui1110 = 5;

// The UF rule of 1120 and 1220: true when the record must be reported. A
// destination that passes the rule marks the client (`has_dest`: its
// has-1120 or has-1220 flag), which exempts it from the end-of-file UF check
// of 0100; one that does not pass (or is not judged at all: no current
// client, a client without UF, no UF_DEST) exempts nobody.
bool UfDestinoRecusada(Run& run, const Record& rec, bool ClientEntry::*has_dest) {
  ClientEntry* client = run.block1.current_client;
  if (client == nullptr || client->uf.empty() || !Filled(rec, kUfDest)) return false;
  const std::string_view uf_dest = Text(rec, kUfDest);
  const std::string_view fisco = run.ctx.uf_fisco;
  if (uf_dest == fisco) {
    client->dest_matches_fisco = true;
    client->*has_dest = true;
    return false;
  }
  if (client->uf == fisco) {
    client->dest_matches_fisco = true;
    client->*has_dest = true;
    Block1State& b = run.block1;
    auto it = b.ufs.find(uf_dest);
    if (it == b.ufs.end()) it = b.ufs.insert(b.arena.Copy(uf_dest)).first;
    client->last_uf_dest = *it;
    return false;
  }
  return run.ctx.finalidade != 3;
}

void ReportarUfDestino(Run& run, const Record& rec, const char* code) {
  const ClientEntry* c = run.block1.current_client;
  const std::string_view uf_dest = Text(rec, kUfDest);
  Msg m;
  run.Report(rec, kUfDest, kErro,
             m("A UF_DEST informada no campo %02d do registro %s é '%.*s' e a UF informada no "
               "campo %02d do registro 0100 para o COD_CLIENTE '%.*s' é '%.*s' na linha %s e "
               "posição %s no arquivo. Uma delas deveria ser igual a UF_FISCO '%s' informada no "
               "campo %02d do registro 0000."_l1,
               2, code, static_cast<int>(uf_dest.size()), uf_dest.data(), 9,
               static_cast<int>(c->code.size()), c->code.data(), static_cast<int>(c->uf.size()),
               c->uf.data(), Milhar(c->line).c_str(), Milhar(c->offset).c_str(),
               run.ctx.uf_fisco.c_str(), 4));
}

// The recipient of a destination record: exactly one of CNPJ_DEST, CPF_DEST
// and ID_DEST. 1120 and 1220 say it in their own words: the 1120's messages
// name the fields by number, the 1220's do not.
struct TextosDestinatario {
  const char* cnpj_e_cpf;
  const char* cnpj_e_id;
  const char* cpf_e_id;
  const char* id_longo;
  const char* faltou;
  bool numerados;
};

const TextosDestinatario kTextos1120 = {
    "Já está preenchido o campo %02d - CNPJ_DEST então não pode preencher o campo %02d - "
    "CPF_DEST."_l1,
    "Já está preenchido o campo %02d - CNPJ_DEST então não pode preencher o campo %02d - "
    "ID_DEST."_l1,
    "Já está preenchido o campo %02d - CPF_DEST então não pode preencher o campo %02d - "
    "ID_DEST."_l1,
    "O campo %02d - ID_DEST tem %d posições mas deveria ter no máximo %d posições."_l1,
    "Faltou preencher o campo %02d - CNPJ_DEST ou %02d - CPF_DEST ou %02d - ID_DEST."_l1,
    true,
};

const TextosDestinatario kTextos1220 = {
    "Já está preenchido o campo CNPJ_DEST então não pode preencher o campo CPF_DEST."_l1,
    "Já está preenchido o campo CNPJ_DEST então não pode preencher o campo ID_DEST."_l1,
    "Já está preenchido o campo CPF_DEST então não pode preencher o campo ID_DEST."_l1,
    "O campo ID_DEST tem %d posições mas deveria ter no máximo %d posições."_l1,
    "Faltou preencher o campo CNPJ_DEST ou CPF_DEST ou ID_DEST.",
    false,
};

void VerificarDestinatario(Run& run, Record& rec, const TextosDestinatario& t) {
  // Field numbers as printed: CNPJ_DEST 04, CPF_DEST 05, ID_DEST 06.
  const int n_cnpj = kCnpjDest + 1, n_cpf = kCpfDest + 1, n_id = kIdDest + 1;
  const bool cnpj = Filled(rec, kCnpjDest);
  const bool cpf = Filled(rec, kCpfDest);
  const bool id = Filled(rec, kIdDest);
  Msg m;
  if (cnpj && cpf) run.Report(rec, kCpfDest, kErro, m(t.cnpj_e_cpf, n_cnpj, n_cpf));
  if (cnpj && id) run.Report(rec, kIdDest, kErro, m(t.cnpj_e_id, n_cnpj, n_id));
  if (!cnpj && cpf && id) run.Report(rec, kIdDest, kErro, m(t.cpf_e_id, n_cpf, n_id));
  if (!cnpj && !cpf && id) {
    // The length limit is checked only when the identification stands alone.
    const int32_t size = rec.def(kIdDest).size;
    const int32_t length = static_cast<int32_t>(Text(rec, kIdDest).size());
    if (length > size)
      run.Report(rec, kIdDest, kErro,
                 t.numerados ? m(t.id_longo, n_id, length, size) : m(t.id_longo, length, size));
  }
  if (!cnpj && !cpf && !id) run.Report(rec, kCnpjDest, kErro, m(t.faltou, n_cnpj, n_cpf, n_id));
}

}  // namespace

void ValidarRegistro_1120(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "      ", "1120", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  Block1State& b = run.block1;
  Msg m;

  // 1.
  if (UfDestinoRecusada(run, rec, &ClientEntry::has_1120)) ReportarUfDestino(run, rec, "1120");

  // 2. One recipient: a CNPJ, a CPF, or an identification for neither.
  VerificarDestinatario(run, rec, kTextos1120);

  // 3. A destination shows that the day's transactions went through an
  // acquirer: the parent 1110 should have named it. Recorded at the 1110.
  const Last1110& l = b.last_1110;
  if (l.present && l.cod_mcapt_filled && l.in_distintos && !l.cnpj_adqui_filled &&
      l.tipo_tecn != 7) {
    const FieldRef ref = l.cnpj_adqui_field.Ref(kRecordTypes[kR1110].fields[kAdqui1110].name);
    run.ReportAt(l.offset, l.line, kR1110, kAdqui1110, &ref, kErro,
                 m("O campo %02d - CNPJ_ADQUI deve ser preenchido porque encontrou o registro "
                   "1120 na linha %s e posição %s no arquivo."_l1,
                   6, Milhar(run.ctx.line).c_str(), Milhar(run.ctx.offset).c_str()));
  }
}

void ValidarRegistro_1220(Run& run, Record& rec, int prev_type, int src_line) {
  b1::LogEntrada(run, "  ", "1220", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);

  // The client is the current one, that of the last 1100: the 1200 above
  // only marks its own client as referenced.
  if (UfDestinoRecusada(run, rec, &ClientEntry::has_1220)) ReportarUfDestino(run, rec, "1220");

  VerificarDestinatario(run, rec, kTextos1220);
}

}  // namespace volp
