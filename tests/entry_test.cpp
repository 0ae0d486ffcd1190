// The exported C entry: its result, its log directory and E#C lines, and the
// counters it keeps for the whole process.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

#include <filesystem>
#include <string>

#include "platform/platform.hpp"
#include "support.hpp"
#include "volp/volp.h"

namespace volp {
namespace {

namespace fs = std::filesystem;

// Runs the C entry from a directory holding the municipality table, as the
// transmitter does.
class CEntry : public ::testing::Test {
 protected:
  void SetUp() override {
    old_ = fs::current_path();
    fs::copy_file(test::DataDir() + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv",
                  dir_.path() + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv");
    fs::current_path(dir_.path());
  }
  void TearDown() override { fs::current_path(old_); }
  std::string LogText() const {
    return test::ReadFile(dir_.path() + "/log_VOLP_" + std::to_string(platform::ProcessId()) +
                          "/ValidadorVOLP.log");
  }
  test::TempDir dir_;
  fs::path old_;
};

TEST_F(CEntry, MissingFileLogsItsCodeAndReturnsZero) {
  const std::string logpath = dir_.path() + "/qualquer.txt";
  EXPECT_EQ(ValidadorVOLP((dir_.path() + "/nada.txt").c_str(), "3", logpath.c_str(), "1"), 0);
  const std::string log = LogText();
  EXPECT_NE(log.find("ValidadorVOLP(" + dir_.path() + "/nada.txt, 3, " + logpath + ", 1)\n"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("E#C9102: Erro ao tentar obter informa"), std::string::npos) << log;
}

TEST_F(CEntry, WritesTheReportAndKeepsCountersForTheProcess) {
  const std::string file = dir_.Write("decl.txt", test::Lines({"|XXXX|"}));
  // The level filter: nothing above level 0 is written with level "0".
  EXPECT_EQ(ValidadorVOLP(file.c_str(), "0", (dir_.path() + "/x").c_str(), "1"), 1);
  EXPECT_TRUE(fs::exists(dir_.path() + "/decl.validacao.xml"));
  EXPECT_FALSE(fs::exists(dir_.path() + "/decl.validacao.xml.parcial"));
  const std::string first = test::ReadText(dir_.path() + "/decl.validacao.xml");

  // A second call in the same process starts from the first one's counters:
  // the unknown record of the first run is counted again with the second's.
  EXPECT_EQ(ValidadorVOLP(file.c_str(), "0", (dir_.path() + "/x").c_str(), "0"), 1);
  const std::string second = test::ReadText(dir_.path() + "/decl.validacao.xml");
  EXPECT_NE(first.find("<QtdInvalidos>"), std::string::npos);
  EXPECT_NE(first, second);
}

#if !defined(_WIN32)
// The shared library as a transmitter uses it: loaded, called, closed, and
// loaded again, which must start from zero (on Windows volp_host.exe checks
// the same for volp.dll).
TEST_F(CEntry, SharedLibraryLoadedAgainStartsClean) {
  using Validador = int (*)(const char*, const char*, const char*, const char*);
  const std::string file = dir_.Write("decl.txt", test::Lines({"|XXXX|"}));
  std::string reports[2];
  for (std::string& report : reports) {
    void* lib = dlopen(VOLP_SHARED_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    auto validador = reinterpret_cast<Validador>(dlsym(lib, "ValidadorVOLP"));
    ASSERT_NE(validador, nullptr);
    EXPECT_EQ(validador(file.c_str(), "0", file.c_str(), "0"), 1);
    report = test::MaskReport(test::ReadText(dir_.path() + "/decl.validacao.xml"));
    EXPECT_EQ(dlclose(lib), 0);
  }
  EXPECT_NE(reports[0].find("<QtdInvalidos>1</QtdInvalidos>"), std::string::npos) << reports[0];
  EXPECT_EQ(reports[0], reports[1]);
}
#endif

}  // namespace
}  // namespace volp
