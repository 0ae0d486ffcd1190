// The support services of volp.h, through their C signatures, on every
// platform: line reading, copies and moves, sizes past 4 GiB, the library's
// own path, versions, the machine line, the system log and the error texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/platform.hpp"
#include "platform/system.hpp"
#include "support.hpp"
#include "volp/volp.h"

namespace volp {
namespace {

namespace fs = std::filesystem;

// Reads every line with buffers of `size` bytes; a line that does not fit is
// noted as "<small>" and read again with a buffer large enough.
std::vector<std::string> ReadAll(int handle, int size) {
  std::vector<std::string> lines;
  std::vector<char> buf(static_cast<size_t>(size));
  std::vector<char> big(1 << 20);
  for (int guard = 0; guard < 100; ++guard) {
    int n = LerRegistroArquivo(handle, buf.data(), size);
    if (n == VOLP_BUFFER_PEQUENO) {
      lines.push_back("<small>");
      n = LerRegistroArquivo(handle, big.data(), static_cast<int>(big.size()));
      if (n > 0) lines.push_back(std::string(big.data(), static_cast<size_t>(n)));
      continue;
    }
    if (n <= 0) {
      if (n < 0) lines.push_back("<error>");
      break;
    }
    EXPECT_EQ(std::strlen(buf.data()), static_cast<size_t>(n));
    lines.push_back(std::string(buf.data(), static_cast<size_t>(n)));
  }
  return lines;
}

TEST(Services, ReadsLinesWithTheirLineEndsAndRefusesBuffersTooSmall) {
  test::TempDir dir;
  const std::string long_line = std::string(100000, 'x') + "\r\n";  // longer than one block
  struct Case {
    const char* name;
    std::string content;
    int buffer;
    std::vector<std::string> lines;
  };
  const std::vector<Case> cases = {
      {"CR LF, LF and a last line without end",
       "|0000|\r\n|9999|\nfim",
       64,
       {"|0000|\r\n", "|9999|\n", "fim"}},
      {"empty file", "", 64, {}},
      {"a line exactly as long as the buffer allows", "abc\n", 5, {"abc\n"}},
      {"a line one byte too long", "abcd\nz", 5, {"<small>", "abcd\n", "z"}},
      {"a line across blocks", long_line + "x\n", 200000, {long_line, "x\n"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = dir.Write("linhas.txt", c.content);
    const int h = AbrirArquivoBinario(path.c_str());
    ASSERT_GT(h, 0);
    EXPECT_EQ(ReadAll(h, c.buffer), c.lines);
    EXPECT_EQ(FecharArquivoBinario(h), 0);
    EXPECT_EQ(FecharArquivoBinario(h), -1);  // already closed
  }
  char buf[8];
  EXPECT_EQ(LerRegistroArquivo(0, buf, sizeof buf), VOLP_ERRO);
  EXPECT_EQ(LerRegistroArquivo(9999, buf, sizeof buf), VOLP_ERRO);
  EXPECT_EQ(AbrirArquivoBinario((dir.path() + "/nada.txt").c_str()), VOLP_ERRO);
  EXPECT_NE(ObterUltimoErro(), 0);
  EXPECT_EQ(AbrirArquivoBinario(dir.path().c_str()), VOLP_ERRO);
  EXPECT_EQ(ObterUltimoErro(), platform::DirectoryError());
}

TEST(Services, CopiesAndMovesOverExistingFilesAndReportsMissingOnes) {
  test::TempDir dir;
  const std::string a = dir.Write("a.txt", "conteudo a");
  const std::string b = dir.Write("b.txt", "b");
  const std::string missing = dir.path() + "/nada.txt";

  EXPECT_EQ(CopiarArquivo(a.c_str(), b.c_str()), 0);
  EXPECT_EQ(test::ReadFile(b), "conteudo a");
  EXPECT_EQ(test::ReadFile(a), "conteudo a");
  EXPECT_GT(CopiarArquivo(missing.c_str(), b.c_str()), 0);
  EXPECT_EQ(CopiarArquivo(nullptr, b.c_str()), -1);

  dir.Write("c.txt", "c");
  const std::string c = dir.path() + "/c.txt";
  EXPECT_EQ(MoverArquivo(b.c_str(), c.c_str()), 0);
  EXPECT_FALSE(fs::exists(b));
  EXPECT_EQ(test::ReadFile(c), "conteudo a");
  EXPECT_GT(MoverArquivo(missing.c_str(), c.c_str()), 0);
  EXPECT_EQ(MoverArquivo(a.c_str(), nullptr), -1);
}

// Sizes and reads past 4 GiB (a sparse file: no disk space is taken).
TEST(Services, SizesAndOffsetsPastFourGibibytes) {
  test::TempDir dir;
  const std::string small = dir.Write("pequeno.txt", "12345");
  const std::string big = dir.Write("grande.txt", "");
  const int64_t big_size = (int64_t{5} << 30) + 7;
  std::error_code ec;
  fs::resize_file(big, static_cast<uintmax_t>(big_size), ec);
  if (ec) GTEST_SKIP() << "no sparse 5 GiB file here: " << ec.message();
  {
    // The last bytes of the big file are read where they are.
    std::fstream f(big, std::ios::in | std::ios::out | std::ios::binary);
    f.seekp(big_size - 3);
    f.write("fim", 3);
    ASSERT_TRUE(f.good());
  }
  struct Case {
    std::string path;
    long long size;
  };
  for (const Case& c : {Case{small, 5}, Case{big, big_size}, Case{dir.path() + "/nada", -1},
                        Case{dir.path(), -1}}) {
    EXPECT_EQ(ObterTamanhoArquivo(c.path.c_str()), c.size) << c.path;
  }
  platform::InputFile in;
  int error = 0;
  ASSERT_TRUE(in.Open(big, &error));
  ASSERT_TRUE(in.Seek(big_size - 3));
  char tail[4] = {};
  EXPECT_EQ(in.Read(tail, 3), 3);
  EXPECT_STREQ(tail, "fim");
}

TEST(Services, FindsTheLibrarysOwnPathAndProgramsBesideIt) {
  char path[4096];
  const int n = AcharCaminhoPrograma(nullptr, path, sizeof path);
  ASSERT_GT(n, 0);
  EXPECT_EQ(static_cast<size_t>(n), std::strlen(path));
  EXPECT_TRUE(fs::exists(path)) << path;
  const std::string self = path;
  const std::string name = fs::path(self).filename().string();
  // The module itself, found by its name beside itself.
  EXPECT_EQ(AcharCaminhoPrograma(name.c_str(), path, sizeof path), n);
  EXPECT_EQ(AcharCaminhoPrograma("nao-existe.exe", path, sizeof path), VOLP_ERRO);
  EXPECT_EQ(AcharCaminhoPrograma(nullptr, path, 4), VOLP_BUFFER_PEQUENO);
  EXPECT_EQ(path[0], '\0');
}

TEST(Services, DescribesTheMachineInOneLineOfFourFields) {
  char text[1024];
  const int n = InformacoesAdicionais(text, sizeof text);
  ASSERT_GT(n, 0);
  const std::string line(text, static_cast<size_t>(n));
  EXPECT_EQ(std::count(line.begin(), line.end(), '|'), 3) << line;
  EXPECT_NE(line.find('|'), 0u) << "no user name: " << line;
  EXPECT_EQ(InformacoesAdicionais(text, 3), VOLP_BUFFER_PEQUENO);
  EXPECT_EQ(InformacoesAdicionais(nullptr, 0), VOLP_ERRO);
}

TEST(Services, VersionIsTheBuildsAndIsComparedPartByPart) {
  char text[64];
  const int n = ObterVersao(text, sizeof text);
  ASSERT_GT(n, 0);
  const std::string version(text, static_cast<size_t>(n));
  EXPECT_EQ(version, VOLP_VERSION_TEXT);
  const int major = std::stoi(version);
  struct Case {
    std::string minimum;
    int result;
  };
  const std::vector<Case> cases = {
      {version, 1},
      {version + ".0", 1},
      {"0", 1},
      {std::to_string(major + 1), 0},
      {version + ".1", 0},
      {"", -1},
      {"1..0", -1},
      {"1.a", -1},
      {"1.2.3.4.5", -1},
      {"99999", -1},
  };
  for (const Case& c : cases)
    EXPECT_EQ(VerificarVersaoDLL(c.minimum.c_str()), c.result) << c.minimum;
  EXPECT_EQ(VerificarVersaoDLL(nullptr), -1);
}

TEST(Services, SystemLogTakesThreeKindsOfMessage) {
  for (int type : {0, 1, 2}) EXPECT_EQ(LogEvento(type, "volp: teste dos serviços"), 0) << type;
  EXPECT_EQ(LogEvento(3, "x"), -1);
  EXPECT_EQ(LogEvento(0, nullptr), -1);
}

TEST(Services, ErrorTextsArePortugueseWithTheirNumber) {
  struct Case {
    int error;
    const char* text;  // UTF-8 here, Latin-1 from the library
  };
  const std::vector<Case> cases = {
      {0, "Erro 000: A operação foi concluída com êxito."},
      {2, "Erro 002: O sistema não pode encontrar o arquivo especificado."},
      {5, "Erro 005: Acesso negado."},
      {32, "Erro 032: O arquivo já está sendo usado por outro processo."},
      {35, "Erro 035: Código de erro reservado do sistema."},
      {255, "Erro 255: Os atributos estendidos são inconsistentes."},
  };
  char text[512];
  for (const Case& c : cases) {
    const int n = TextoErroSistema(c.error, text, sizeof text);
    EXPECT_EQ(std::string(text, n > 0 ? static_cast<size_t>(n) : 0), test::L1(c.text));
  }
  // Past the table: the number and the system's own text.
  ASSERT_GE(TextoErroSistema(256, text, sizeof text), 10);
  EXPECT_EQ(std::string(text, 10), "Erro 256: ");
  EXPECT_EQ(TextoErroSistema(2, text, 12), VOLP_BUFFER_PEQUENO);
}

#if defined(_WIN32)
// A stand-in for the transmitter with a known version resource (7.0.9.9).
TEST(Services, VersionResourcesAreReadAndCutAtTheLastDot) {
  const std::string stub = VOLP_ZULKOP_STUB_PATH;
  std::string version, why;
  ASSERT_TRUE(platform::ProductVersion(stub, &version, &why)) << why;
  EXPECT_EQ(version, "7.0.9.9");
  // The stub as the module: the transmitter beside it is itself.
  platform::Versions v = platform::ReadVersionsFor(stub);
  EXPECT_EQ(v.failure, 0) << v.why;
  EXPECT_EQ(v.library, "7.0.9");
  EXPECT_EQ(v.transmitter, "7.0.9");
  // A file without a version resource.
  test::TempDir dir;
  v = platform::ReadVersionsFor(dir.Write("sem-versao.exe", "MZ"));
  EXPECT_EQ(v.failure, -1);
  EXPECT_FALSE(v.why.empty());
}
#endif

}  // namespace
}  // namespace volp
