// Where the municipality table is looked for when no directory is named: by
// the C++ API (current directory, then the installed tree the library sits
// in, then the install prefix) and by the installed volp program (its own
// tree's share/volp).
#include "entry/tables_search.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "spawn.hpp"
#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTable = "RELATORIO_DTB_BRASIL_MUNICIPIO.csv";

TEST(TablesSearch, CandidatesFollowTheInstallLayout) {
  struct Case {
    const char* name;
    std::string cwd, module;
    std::vector<std::string> from_module;
    bool beside;
    std::string install;
    std::vector<std::string> want;
  };
  const std::vector<Case> cases = {
      {"library in <prefix>/lib",
       "/home/u",
       "/opt/volp/lib/libvolp.so.1",
       {"../share/volp"},
       false,
       "/usr/local/share/volp",
       {"/home/u", "/opt/volp/share/volp", "/usr/local/share/volp"}},
      {"multiarch libdir goes up two levels",
       "/w",
       "/usr/lib/x86_64-linux-gnu/libvolp.so.1",
       {"../../share/volp"},
       false,
       "/usr/share/volp",
       {"/w", "/usr/share/volp"}},
      {"program in bin/ holding the library's code",
       "/w",
       "/opt/volp/bin/volp",
       {"../share/volp", "../share/volp"},
       false,
       "",
       {"/w", "/opt/volp/share/volp"}},
      {"one folder holding library and table",
       "/w",
       "/apps/volp/volp.dll",
       {"../share/volp"},
       true,
       "",
       {"/w", "/apps/share/volp", "/apps/volp"}},
      {"Windows install: bin\\volp.dll beside the tree's share",
       "C:\\work",
       "C:\\Programs\\volp\\bin\\volp.dll",
       {"../share/volp"},
       true,
       "",
       {"C:\\work", "C:\\Programs\\volp\\share\\volp", "C:\\Programs\\volp\\bin"}},
      {"module at the root",
       "/w",
       "/libvolp.so",
       {"../share/volp"},
       false,
       "",
       {"/w", "/share/volp"}},
      {"trailing separators and a plain subdirectory",
       "",
       "/opt/volp/lib/libvolp.so",
       {"../../../share/volp", "data"},
       false,
       "/opt/volp/lib/data",
       {"/share/volp", "/opt/volp/lib/data"}},
      {"module unknown: current directory and prefix only",
       "/w",
       "",
       {"../share/volp"},
       true,
       "/usr/local/share/volp",
       {"/w", "/usr/local/share/volp"}},
      {"the current directory is the installed one",
       "/opt/volp/share/volp",
       "/opt/volp/lib/libvolp.so.1",
       {"../share/volp"},
       false,
       "/opt/volp/share/volp",
       {"/opt/volp/share/volp"}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TableDirCandidates(c.cwd, c.module, c.from_module, c.beside, c.install), c.want)
        << c.name;
  }
}

TEST(TablesSearch, TheFirstDirectoryHoldingTheTableWins) {
  test::TempDir root;
  const std::vector<std::string> dirs = {root.path() + "/cwd", root.path() + "/share/volp",
                                         root.path() + "/prefix"};
  // Every combination of the three directories holding the table or not.
  for (int mask = 0; mask < 8; ++mask) {
    std::string want;
    for (int i = 0; i < 3; ++i) {
      fs::create_directories(dirs[i]);
      const fs::path table = fs::path(dirs[i]) / kTable;
      if (mask & (1 << i)) {
        std::ofstream(table) << "x";
        if (want.empty()) want = dirs[i];
      } else {
        fs::remove(table);
      }
    }
    EXPECT_EQ(FirstDirWithTable(dirs), want) << "mask " << mask;
  }
  // A missing directory or an empty entry is simply passed over.
  EXPECT_EQ(FirstDirWithTable({"", root.path() + "/nowhere", dirs[0]}), dirs[0]);
}

// Validate without a tables directory: the current directory when it holds
// the table, and when nothing holds it the run fails naming the current
// directory's file, as it always did.
TEST(TablesSearch, ValidateSearchesWhenNoDirectoryIsGiven) {
  test::TempDir with, without;
  fs::copy_file(test::DataDir() + "/" + kTable, with.path() + "/" + kTable);
  const std::string file = with.Write("decl.txt", test::Lines({"|XXXX|"}));
  const fs::path old = fs::current_path();

  fs::current_path(with.path());
  const Result found = Validate(file);
  fs::current_path(without.path());
  const std::string elsewhere = DefaultTablesDir();
  const Result missing = Validate(file);
  fs::current_path(old);

  EXPECT_TRUE(found.completed) << found.failure;
  EXPECT_EQ(fs::path(found.tables_path), fs::path(with.path()) / kTable);
  if (!elsewhere.empty()) GTEST_SKIP() << "an installed table exists at " << elsewhere;
  EXPECT_FALSE(missing.completed);
  EXPECT_NE(missing.failure.find(without.path()), std::string::npos) << missing.failure;
}

#if !defined(_WIN32)
// The volp program copied into a prefix of its own finds the table in that
// prefix's share/volp, from any directory, before the build's own places.
TEST(TablesSearch, ProgramFindsTheTableOfItsOwnTree) {
  struct Case {
    const char* name;
    bool in_tree, in_cwd;
    const char* want;  // under the temporary root
  };
  const Case cases[] = {
      {"installed tree", true, false, "/prefix/share/volp/"},
      {"current directory first", true, true, "/work/"},
      {"not in the tree: not taken from it", false, false, nullptr},
  };
  for (const Case& c : cases) {
    test::TempDir root;
    fs::create_directories(root.path() + "/prefix/bin");
    fs::create_directories(root.path() + "/prefix/share/volp");
    fs::create_directories(root.path() + "/work");
    fs::copy_file(VOLP_CLI_PATH, root.path() + "/prefix/bin/volp");
    if (c.in_tree)
      fs::copy_file(test::DataDir() + "/" + kTable, root.path() + "/prefix/share/volp/" + kTable);
    if (c.in_cwd) fs::copy_file(test::DataDir() + "/" + kTable, root.path() + "/work/" + kTable);
    const std::string file = root.Write("work/decl.txt", test::Lines({"|XXXX|"}));
    const std::string out = root.path() + "/out.txt";
    test::RunProgram(root.path() + "/prefix/bin/volp", {"validate", file}, root.path() + "/work",
                     out, root.path() + "/err.txt");
    const std::string text = test::ReadFile(out);
    const size_t at = text.find("Tables:");
    ASSERT_NE(at, std::string::npos) << c.name << "\n" << text;
    const std::string line = text.substr(at, text.find('\n', at) - at);
    if (c.want != nullptr) {
      EXPECT_NE(line.find(root.path() + c.want + kTable), std::string::npos)
          << c.name << ": " << line;
    } else {
      EXPECT_EQ(line.find(root.path()), std::string::npos) << c.name << ": " << line;
    }
  }
}
#endif

}  // namespace
}  // namespace volp
