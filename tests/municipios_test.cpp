#include "fields/municipios.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "core/log.hpp"
#include "platform/platform.hpp"
#include "support.hpp"

namespace volp {
namespace {

// Loads the table of `dir` (or of a temporary directory holding `content`)
// and returns what the loader logged.
std::string Load(const std::string& dir, Municipios& out, bool* ok) {
  std::FILE* echo = std::tmpfile();
  {
    Log log;
    log.Configure(7, "", false, echo);
    *ok = LerCodigosMunicipioIBGE(dir, log, out);
  }
  std::string text(static_cast<size_t>(std::ftell(echo)), '\0');
  std::rewind(echo);
  text.resize(std::fread(text.data(), 1, text.size(), echo));
  std::fclose(echo);
  return text;
}

TEST(Municipios, BundledTable) {
  Municipios m;
  bool ok = false;
  std::string log = Load(test::DataDir(), m, &ok);
  ASSERT_TRUE(ok) << log;
  EXPECT_EQ(m.size(), 5570u);
  EXPECT_NE(log.find("Abriu " + m.source + " com descritor: "), std::string::npos) << log;
  EXPECT_EQ(log.find("E#C"), std::string::npos) << log;
  for (const char* code : {"1100015", "5300108", "2201919"}) EXPECT_TRUE(m.Contains(code));
  for (const char* code : {"3550316", "355030", "35503080", "0000000"}) {
    EXPECT_FALSE(m.Contains(code)) << code;
  }
}

// Published copies come in either encoding, with any of three separators,
// the code in any column; bad lines are logged and skipped; a table without
// its header or without a single code is refused.
TEST(Municipios, Variants) {
  const std::string bad = "E#C9112: O arquivo %s contém informação inválida no campo ";
  const std::string no_header = "E#C9111: O arquivo %s não contém a linha de cabeçalho na ";
  const std::string no_codes =
      "E#C9113: O arquivo %s não contém nenhum código de município válido!";
  struct Case {
    std::string content;  // "-": no file
    size_t codes;         // 0: refused
    std::string log;      // UTF-8, %s = the path
  };
  const Case cases[] = {
      {test::L1("UF;Nome;Código Município Completo;N\r\n35;SP;3550308;x\r\n53;DF;5300108;y\r\n"), 2,
       ""},
      {"\xEF\xBB\xBF\"Código Município Completo\",Nome\n\"3550308\",x\n5300108,y", 2, ""},
      {"Nome, sigla\tCódigo Município Completo\nSP, x\t3550308\n\nDF\t5300108\n", 2, ""},
      {"UF;Nome;Código Município Completo\n35;a;35503X8\n35;b\n53;d;5300108\n", 1,
       bad + "3 da linha 3!\n"},
      {"UF;Código Município Completo\n35;355030\n", 0, bad + "2 da linha 2!\n"},
      {"UF;Código Município Completo\n35;355030\n", 0, no_codes},
      {"UF;Código Município Completo\r\n", 0, no_codes},
      {"UF;Código Município Completo\r\n\r\n  \r\n", 0, no_codes},
      {"Lista\nUF;Código Município Completo\n35;3550308\n", 0, no_header},
      {"", 0, no_header},
      {"-", 0, "E#C9101: Erro ao tentar abrir o arquivo %s: "},
  };
  for (const Case& c : cases) {
    test::TempDir dir;
    if (c.content != "-") dir.Write(kMunicipiosFile, c.content);
    Municipios m;
    m.Add(1234567);  // an earlier table must not survive
    bool ok = false;
    std::string log = Load(dir.path(), m, &ok);
    EXPECT_EQ(ok, c.codes > 0) << c.content;
    EXPECT_EQ(m.size(), c.codes) << c.content;
    EXPECT_EQ(m.source, dir.path() + platform::Separator() + kMunicipiosFile);
    std::string want = test::L1(c.log);
    if (size_t p = want.find("%s"); p != std::string::npos) want.replace(p, 2, m.source);
    EXPECT_NE(log.find(want), std::string::npos) << c.content << "\n" << log;
    EXPECT_EQ(m.Contains("5300108"), c.codes > 0) << c.content;
  }
}

}  // namespace
}  // namespace volp
