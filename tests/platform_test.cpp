// What differs between the systems and must still come out the same: the
// line ends of the report, Latin-1 path names, and the E#C lines of inputs
// that cannot be validated, with each system's own error texts.
#include "platform/platform.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/system.hpp"
#include "support.hpp"

namespace volp {
namespace {

Options Fixed() {
  Options o;
  o.tables_dir = test::DataDir();
  o.today = test::kToday;
  return o;
}

// The report is a text file of its system: CR LF on Windows, LF elsewhere.
TEST(Platform, ReportLinesEndAsTheSystemsTextFilesDo) {
  test::TempDir dir;
  const std::string file = dir.Write("decl.txt", test::Lines({"|XXXX|"}));
  const Result r = Validate(file, Fixed());
  ASSERT_TRUE(r.completed) << r.failure;
  const std::string report = test::ReadFile(r.report_path);
#if defined(_WIN32)
  const std::string eol = "\r\n";
#else
  const std::string eol = "\n";
  EXPECT_EQ(report.find('\r'), std::string::npos);
#endif
  EXPECT_EQ(
      report.rfind("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>" + eol + "<VOLP>" + eol, 0), 0u)
      << report.substr(0, 80);
  EXPECT_EQ(report.substr(report.size() - 7 - eol.size()), "</VOLP>" + eol);
}

// A path name with Latin-1 letters (the ANSI code page of the transmitter's
// systems) is opened and its report written beside it under the same bytes.
TEST(Platform, LatinOnePathNamesWork) {
  test::TempDir dir;
  const std::string name = test::L1("declaração-março.txt");
  const std::string file = dir.Write(name, test::Lines({"|XXXX|"}));
  const Result r = Validate(file, Fixed());
  ASSERT_TRUE(r.completed) << r.failure;
  EXPECT_EQ(r.report_path, dir.path() + "/" + test::L1("declaração-março.validacao.xml"));
  EXPECT_TRUE(platform::FileExists(r.report_path));
  EXPECT_EQ(r.unknown_records, 1);
}

TEST(Platform, InputsThatCannotBeValidatedSayWhyInTheSystemsWords) {
  test::TempDir dir;
  struct Case {
    const char* name;
    std::string path;
    std::string failure;  // the start of the E#C line
  };
  const std::vector<Case> cases = {
      // Error number 2 is "no such file" on both systems (ENOENT,
      // ERROR_FILE_NOT_FOUND).
      {"missing file", dir.path() + "/nada.txt",
       test::L1("E#C9102: Erro ao tentar obter informações do arquivo ") + dir.path() +
           "/nada.txt: " + platform::ErrorText(2)},
      {"a directory", dir.path(),
       "E#C9103: Erro ao tentar abrir o arquivo " + dir.path() + ": " +
           platform::ErrorText(platform::DirectoryError())},
      // Longer than a file name may be (and than the ANSI path limit).
      {"a path too long", dir.path() + "/" + std::string(300, 'a') + ".txt",
       test::L1("E#C9102: Erro ao tentar obter informações do arquivo ")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Result r = Validate(c.path, Fixed());
    EXPECT_FALSE(r.completed);
    EXPECT_EQ(r.failure.rfind(c.failure, 0), 0u) << r.failure;
    EXPECT_GT(r.failure.size(), c.failure.size() - 1);
  }
}

}  // namespace
}  // namespace volp
