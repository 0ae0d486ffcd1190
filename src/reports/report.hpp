// The validation report <stem>.validacao.xml.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace volp {

struct Run;

enum ReportMode : int { kParcial = 0, kFinal = 1, kCompletar = 2 };

// Writes the report through its working file "<name>.parcial". Mode 0 (at
// most every 5 s) and mode 1 write a whole document; mode 2 completes the file
// mode 1 left open and copies it into place. Returns 0 on success.
int GerarArquivoValidacao(Run& run, int mode);

// The progress text of a partial report: "12,5% do arquivo a 1.234 reg/s
// terminando em 3min20s.". `elapsed_us` is the high-resolution time since the
// start of the run, `elapsed_s` the calendar seconds.
std::string SituacaoValidacao(int64_t bytes_read, int64_t file_size, int64_t records,
                              int64_t elapsed_us, int64_t elapsed_s);

// The registration summary <stem>.rcad.txt, written only when a run ends
// without errors. Returns 0 on success.
int GerarArquivoRCAD(Run& run, const std::string& stem);

// Puts `bytes` in place at `path` whole or not at all, through a working file
// of this process's own beside it (WorkingNameFor). `text`: lines end in CR LF
// on Windows. On failure `path` is as it was and `*failure` says which step
// failed on which name, with the system error.
struct WriteFailure {
  const char* what = "";  // "cannot create", "cannot write", "cannot put in place"
  std::string name;
  int code = 0;
};
bool WriteWholeFile(const std::string& path, std::string_view bytes, bool text,
                    WriteFailure* failure);
std::string WorkingNameFor(const std::string& path);

}  // namespace volp
