// The validation report <stem>.validacao.xml.
#pragma once

#include <string>

namespace volp {

struct Run;

enum ReportMode : int { kParcial = 0, kFinal = 1, kCompletar = 2 };

// Writes the report through its working file "<name>.parcial". Mode 0 (at
// most every 5 s) and mode 1 write a whole document; mode 2 completes the file
// mode 1 left open and copies it into place. Returns 0 on success.
int GerarArquivoValidacao(Run& run, int mode);

// The registration summary <stem>.rcad.txt, written only when a run ends
// without errors. Returns 0 on success.
int GerarArquivoRCAD(Run& run, const std::string& stem);

}  // namespace volp
