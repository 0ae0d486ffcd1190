// The registration summary "<stem>.rcad.txt", written beside a file that
// passed without errors. It repeats, one pipe-delimited line each, what the
// receiving side registers about the declaration: who declares (0000 and
// 0005), for which period, the file's identity (size, records, digest) and
// how many records of each type it holds.
//
//   |VOLP|<version>|<file size>|<records read>|<sha256>|
//   |0000|<COD_VER>|<COD_FIN>|<UF_FISCO>|<CNPJ>|<NOME>|<DT_INI>|<DT_FIN>|<TP_AMB>|<MES_VAL>|
//   |0005|<ENDERECO>|<CEP>|<CONTATO>|<TELEFONE>|<EMAIL>|<UF>|
//   |QTD|<type>|<records>|          one per record type present, in file order
//   |TOTAL|<records of known type>|<warnings>|
//
// Values are the file's own field texts; they hold no "|" (the splitter cut
// at every one), so no quoting is needed.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "core/context.hpp"
#include "core/record_types.hpp"
#include "platform/platform.hpp"
#include "reports/report.hpp"

#ifndef VOLP_VERSION_TEXT
#define VOLP_VERSION_TEXT "0.0"
#endif

namespace volp {

namespace {

// A code of the header kept as an integer; 0 means it was never read.
std::string CodeText(int code) { return code > 0 ? std::to_string(code) : std::string(); }

}  // namespace

int GerarArquivoRCAD(Run& run, const std::string& stem) {
  const ValidationContext& c = run.ctx;
  const ProcessState& ps = run.ps;
  const std::string name = stem + ".rcad.txt";

  std::string out;
  auto line = [&out](const char* fmt, auto... values) {
    char buf[512];
    const int n = std::snprintf(buf, sizeof buf, fmt, values...);
    if (n > 0 && static_cast<size_t>(n) < sizeof buf) {
      out.append(buf, static_cast<size_t>(n));
    } else if (n > 0) {
      // A line of long header texts: formatted again at its full size.
      std::string big(static_cast<size_t>(n) + 1, '\0');
      std::snprintf(big.data(), big.size(), fmt, values...);
      out.append(big.data(), static_cast<size_t>(n));
    }
  };
  const int64_t read = c.records_read_at_end != 0 ? c.records_read_at_end : c.records_read;
  line("|VOLP|%s|%" PRId64 "|%" PRId64 "|%s|\n", VOLP_VERSION_TEXT, c.file_size, read,
       c.sha256.c_str());
  line("|0000|%s|%s|%s|%s|%s|%s|%s|%s|%s|\n", c.cod_ver.c_str(), CodeText(c.finalidade).c_str(),
       c.uf_fisco.c_str(), c.cnpj.c_str(), c.nome.c_str(), c.dt_ini.c_str(), c.dt_fin.c_str(),
       CodeText(c.tp_amb).c_str(), c.mes_val.c_str());
  line("|0005|%s|%s|%s|%s|%s|%s|\n", c.endereco.c_str(), c.cep.c_str(), c.contato.c_str(),
       c.telefone.c_str(), c.email.c_str(), c.uf.c_str());
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const int64_t n = ps.findings.per_type[i].count;
    if (n != 0) line("|QTD|%s|%" PRId64 "|\n", kRecordTypes[i].code, n);
  }
  line("|TOTAL|%" PRId64 "|%" PRId64 "|\n", ps.known_records, ps.findings.warnings);

  // Whole or not at all, and never through whatever may have been put at
  // the name during the run: a summary cut short would pass for a whole one.
  WriteFailure why;
  if (!WriteWholeFile(name, out, /*text=*/true, &why)) {
    run.log.Write(0, "E#C9107: Erro ao tentar criar o arquivo %s: %d - %s\n", name.c_str(),
                  why.code, platform::ErrorText(why.code).c_str());
    return 1;
  }
  return 0;
}

}  // namespace volp
