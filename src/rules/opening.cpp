// The records that open a declaration: 0000 (who declares, for which fiscal
// authority, which period, for what purpose, in which environment), 0001
// (opening of block 0) and 0005 (the declarant's address and contact). The
// 0000 and 0005 values are kept in the run's context: the purpose of the file
// steers the order of records and many later rules, and the report and the
// registration summary print the declarant's data.
#include "rules/opening.hpp"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "core/context.hpp"
#include "core/latin1.hpp"
#include "core/record_types.hpp"
#include "fields/field_analysis.hpp"
#include "rules/common.hpp"
#include "rules/uf_check.hpp"

namespace volp {
namespace {

// The layout version this system reads.
constexpr int kVersaoLeiaute = 7;

// Rows of 0000.
constexpr int kRowCodVer = 1, kRowCodFin = 2, kRowUfFisco = 3, kRowCnpj = 4, kRowNome = 5,
              kRowDtIni = 6, kRowDtFin = 7, kRowTpAmb = 8, kRowMesVal = 9;
// Rows of 0005.
constexpr int kRowEndereco = 2, kRowCep = 3, kRowCodMun = 4, kRowUf = 5, kRowNomeResp = 6,
              kRowFone = 7, kRowEmail = 8;

void Keep(std::string& to, const Field& f) {
  if (f.filled) to.assign(f.text);
}

// The first of its month: day "01" and nothing after it.
bool PrimeiroDia(std::string_view date) { return date.size() == 8 && date.substr(6) == "01"; }

void RegrasDoPeriodo(Run& run, Record& rec, int fin) {
  const Field& ini = rec.fields[kRowDtIni];
  const Field& fim = rec.fields[kRowDtFin];
  Msg m;

  // A notification (purpose 3) may cover any span; other declarations are
  // made per calendar month.
  if (ini.filled && fin != 3 && !PrimeiroDia(ini.text)) {
    run.Report(rec, kRowDtIni, kErro,
               m("Campo %02d - '%s' contém %.*s que não é o primeiro dia do mês."_l1, kRowDtIni + 1,
                 rec.def(kRowDtIni).name, Len(ini.text), ini.text.data()));
  }
  if (!ini.filled || !fim.filled) return;

  // AAAAMMDD texts order as their dates do, so they are compared as text.
  const std::string_view ym_ini = ini.text.substr(0, 6);
  const std::string_view ym_fim = fim.text.substr(0, 6);
  if (fin != 6) {
    if (ini.text > fim.text) {
      run.Report(rec, kRowDtFin, kErro,
                 m("No campo %02d - DT_FIN a data final deve ser superior a data inicial %.*s do "
                   "campo %02d - DT_INI e não: %.*s."_l1,
                   kRowDtFin + 1, Len(ini.text), ini.text.data(), kRowDtIni + 1, Len(fim.text),
                   fim.text.data()));
    }
    if (fin != 3 && ym_ini != ym_fim) {
      run.Report(
          rec, kRowDtFin, kErro,
          m("No campo %02d - DT_FIN o Ano/Mês da data final %.*s está diferente do Ano/Mês "
            "da data inicial %.*s do campo %02d - DT_INI."_l1,
            kRowDtFin + 1, Len(ym_fim), ym_fim.data(), Len(ym_ini), ym_ini.data(), kRowDtIni + 1));
    }
  } else if (ym_ini != ym_fim) {
    // A partner authorisation covers one month; only year and month count.
    run.Report(rec, kRowDtFin, kErro,
               m("Para finalidade de arquivo '%s' o campo %02d - '%s' deve ser igual ao campo %02d "
                 "- '%s' e não: %.*s."_l1,
                 kFinalidades[5], kRowDtFin + 1, rec.def(kRowDtFin).name, kRowDtIni + 1,
                 rec.def(kRowDtIni).name, Len(fim.text), fim.text.data()));
  }
}

}  // namespace

void ValidarRegistro_0000(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0000", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  ValidationContext& ctx = run.ctx;
  Msg m;

  const Field& ver = rec.fields[kRowCodVer];
  if (ver.filled) {
    ctx.cod_ver.assign(ver.text);
    char expected[16];
    std::snprintf(expected, sizeof expected, "%02d", kVersaoLeiaute);
    if (ver.text != expected) {
      run.Report(rec, kRowCodVer, kErro,
                 m("No campo %02d - COD_VER a versão de leiaute deve ser %s e não %.*s."_l1,
                   kRowCodVer + 1, expected, Len(ver.text), ver.text.data()));
    }
  }

  const Field& cod_fin = rec.fields[kRowCodFin];
  if (cod_fin.filled) {
    // Kept even when out of range: the period rules below and the order of
    // the records read it as it is.
    const int fin = static_cast<int>(LerDigitos(cod_fin.text));
    ctx.finalidade = fin;
    if (fin < 1 || fin > kFinalidadeCount) {
      run.Report(rec, kRowCodFin, kErro,
                 m("No campo %02d - COD_FIN a finalidade do arquivo pode ser: 1, 2, 3, 4, 5 ou 6 e "
                   "não: %.*s."_l1,
                   kRowCodFin + 1, Len(cod_fin.text), cod_fin.text.data()));
    }
    RegrasDoPeriodo(run, rec, fin);
  }

  Keep(ctx.uf_fisco, rec.fields[kRowUfFisco]);
  Keep(ctx.cnpj, rec.fields[kRowCnpj]);
  Keep(ctx.nome, rec.fields[kRowNome]);
  Keep(ctx.dt_ini, rec.fields[kRowDtIni]);
  Keep(ctx.dt_fin, rec.fields[kRowDtFin]);
  Keep(ctx.mes_val, rec.fields[kRowMesVal]);

  // The environment is judged whenever the line has the field, even empty:
  // an empty one is named "vazio" in the message.
  if (kRowTpAmb < rec.found) {
    const Field& amb = rec.fields[kRowTpAmb];
    ctx.tp_amb = static_cast<int>(LerDigitos(amb.text));
    if (ctx.tp_amb != 1 && ctx.tp_amb != 2) {
      if (amb.text.empty()) {
        run.Report(rec, kRowTpAmb, kErro,
                   m("No campo %02d - TP_AMB o tipo de ambiente pode ser: 1 ou 2 e não: %s."_l1,
                     kRowTpAmb + 1, "vazio"));
      } else {
        run.Report(rec, kRowTpAmb, kErro,
                   m("No campo %02d - TP_AMB o tipo de ambiente pode ser: 1 ou 2 e não: %.*s."_l1,
                     kRowTpAmb + 1, Len(amb.text), amb.text.data()));
      }
    }
  }
}

void ValidarRegistro_0001(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0001", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
}

void ValidarRegistro_0005(Run& run, Record& rec, int prev_type, int src_line) {
  LogValidador(run, "0005", rec, prev_type, src_line);
  AnalisarRegistro(run, rec);
  ValidationContext& ctx = run.ctx;

  const Field& uf = rec.fields[kRowUf];
  if (uf.filled) {
    ctx.uf.assign(uf.text);
    VerificarUfMunicipioCep(run, rec, kRowCep, kRowCodMun, kRowUf);
  }

  Keep(ctx.endereco, rec.fields[kRowEndereco]);
  Keep(ctx.cep, rec.fields[kRowCep]);
  Keep(ctx.contato, rec.fields[kRowNomeResp]);
  Keep(ctx.telefone, rec.fields[kRowFone]);
  Keep(ctx.email, rec.fields[kRowEmail]);
}

}  // namespace volp
