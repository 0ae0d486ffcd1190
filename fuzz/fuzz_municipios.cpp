// The municipality table loader on any file: it loads or refuses without
// crashing, and a table it loads answers for the codes it holds.
#include <cstdint>
#include <string>

#include "core/log.hpp"
#include "fields/municipios.hpp"
#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace volp::fuzz;
  const std::string text(reinterpret_cast<const char*>(data), size);
  WriteAll(ScratchDir() + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv", text);
  volp::Log log;
  volp::Municipios m;
  const bool loaded = volp::LerCodigosMunicipioIBGE(ScratchDir(), log, m);
  Check(loaded == (m.size() > 0), "loaded without codes, or codes without loading");
  Check(!m.Contains(""), "the empty code");
  Check(!m.Contains("abcdefg"), "a code of letters");
  return 0;
}
