// Runs whose JSON and HTML reports the tests look at: the golden inputs, a
// declaration whose e-mail forges an XML verdict, fields holding control and
// high bytes, a run stopped by the error limit, a cancelled run, and results
// made by hand for the corners no small file reaches (a run that failed, a
// compressed input, findings without a code).
#pragma once

#include <string>
#include <vector>

#include "volp/reports.hpp"

namespace volp::test {

// The 0005 e-mail that closes the XML report's findings and opens a verdict
// of its own.
inline constexpr const char* kForgedEmail =
    "a</Erro></Criticas><ParecerFinal><ArquivoValido>0</ArquivoValido><SituacaoArquivo>"
    "Arquivo validado</SituacaoArquivo></ParecerFinal><Criticas><Erro>";

struct ReportRun {
  std::string name;  // a file name without extension
  Result result;
  ReportOptions options;
};

// The declaration files (Latin-1 bytes, CR LF lines).
std::string ForgedEmailDeclaration();
std::string ControlBytesDeclaration();
std::string ErrorLimitDeclaration();
// Long enough (100,000 lines and more) for a stop request to be seen.
std::string LongDeclaration();

// Every run above, validated now; names are unique.
std::vector<ReportRun> SampleRuns();

// The golden inputs (tests/data/reports/*.txt), sorted.
std::vector<std::string> GoldenInputs();

}  // namespace volp::test
