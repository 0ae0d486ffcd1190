// The folders volp writes into may hold names someone planted: a link where a
// working file, a lock, a summary or a report will go, a directory, a FIFO, a
// file left by a run that died. Whatever is there, volp never writes through
// it, never removes what is not its own, and says why it stopped.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "reports/report.hpp"
#include "support.hpp"
#include "volp/reports.hpp"
#include "volp/volp.h"

namespace volp {
namespace {

namespace fs = std::filesystem;

constexpr const char* kVictim = "someone else's file\n";

std::string Example() {
  return test::ReadFile(std::string(VOLP_TEST_DATA_DIR) + "/../../examples/declaracao-exemplo.txt");
}

Result ValidateAt(const std::string& path, Options o = {}) {
  o.tables_dir = test::DataDir();
  o.today = test::kToday;
  return Validate(path, o);
}

enum class Plant { kStaleFile, kHardLink, kDirectory, kSymlink, kDanglingSymlink, kFifo };

// Puts `what` at `name`; the links lead to `victim`.
void PlantAt(const std::string& name, Plant what, const std::string& victim) {
  switch (what) {
    case Plant::kStaleFile:
      std::ofstream(name) << "<a run that died>";
      break;
    case Plant::kHardLink:
      fs::create_hard_link(victim, name);
      break;
    case Plant::kDirectory:
      fs::create_directory(name);
      break;
    case Plant::kSymlink:
      fs::create_symlink(victim, name);
      break;
    case Plant::kDanglingSymlink:
      fs::create_symlink(victim + ".nowhere", name);
      break;
    case Plant::kFifo:
#if !defined(_WIN32)
      ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
#endif
      break;
  }
}

TEST(HostileFolder, NothingPlantedAtAnOutputNameIsWrittenThrough) {
  const struct {
    const char* suffix;  // after the stem "decl"
    Plant plant;
    bool valid_run;    // the run ends with its report in place
    const char* code;  // else its E#C line starts so
  } cases[] = {
    // A file a dead run left is taken over; a hard link loses only its name.
    {".validacao.xml.parcial", Plant::kStaleFile, true, nullptr},
    {".validacao.xml.parcial", Plant::kHardLink, true, nullptr},
    {".validacao.xml.parcial", Plant::kDirectory, false, "E#C9126"},
    {".validacao.xml.trava", Plant::kDirectory, false, "E#C9126"},
    // The final names are replaced by a rename: a link there is replaced,
    // never followed.
    {".validacao.xml", Plant::kHardLink, true, nullptr},
    {".rcad.txt", Plant::kHardLink, true, nullptr},
#if !defined(_WIN32)
    {".validacao.xml.parcial", Plant::kSymlink, false, "E#C9126"},
    {".validacao.xml.parcial", Plant::kDanglingSymlink, false, "E#C9126"},
    {".validacao.xml.parcial", Plant::kFifo, false, "E#C9126"},
    {".validacao.xml.trava", Plant::kSymlink, false, "E#C9126"},
    {".validacao.xml.trava", Plant::kDanglingSymlink, false, "E#C9126"},
    {".validacao.xml.trava", Plant::kFifo, false, "E#C9126"},
    {".validacao.xml", Plant::kSymlink, true, nullptr},
    {".rcad.txt", Plant::kSymlink, true, nullptr},
#endif
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.suffix) + " plant " + std::to_string(static_cast<int>(c.plant)));
    test::TempDir dir;
    const std::string input = dir.Write("decl.txt", Example());
    const std::string victim = dir.Write("victim.txt", kVictim);
    const std::string planted = dir.path() + "/decl" + c.suffix;
    PlantAt(planted, c.plant, victim);
    const fs::file_status before = fs::symlink_status(planted);

    const Result r = ValidateAt(input);
    EXPECT_EQ(test::ReadFile(victim), kVictim);
    if (c.valid_run) {
      EXPECT_TRUE(r.completed && r.valid()) << r.failure;
      EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(dir.path() + "/decl.validacao.xml")));
      EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(dir.path() + "/decl.rcad.txt")));
    } else {
      EXPECT_FALSE(r.completed);
      EXPECT_TRUE(r.failure.starts_with(c.code)) << r.failure;
      EXPECT_NE(r.failure.find(planted), std::string::npos) << r.failure;
      // Refused, not removed: it was never the run's.
      EXPECT_EQ(fs::symlink_status(planted).type(), before.type());
      EXPECT_FALSE(fs::exists(dir.path() + "/decl.validacao.xml"));
    }
    if (planted != dir.path() + "/decl.validacao.xml.trava") {
      EXPECT_FALSE(fs::exists(dir.path() + "/decl.validacao.xml.trava")) << "lock file left";
    }
    if (c.valid_run) {
      EXPECT_FALSE(fs::exists(dir.path() + "/decl.validacao.xml.parcial"));
    }
  }
}

#if !defined(_WIN32)
mode_t ModeOf(const std::string& path) {
  struct stat st {};
  stat(path.c_str(), &st);
  return st.st_mode & 0777;
}

// Working files may hold a declaration's clients and amounts: only their
// owner reads them. Finished reports are as readable as the umask allows.
TEST(HostileFolder, WorkingFilesArePrivateAndReportsFollowTheUmask) {
  test::TempDir dir;
  std::string text = Example();
  // Enough records past the 9999 for the progress call at line 100,000.
  for (int i = 0; i < 100000; ++i) text += "|9999|1|\r\n";
  const std::string input = dir.Write("decl.txt", text);
  const std::string work = dir.path() + "/decl.validacao.xml.parcial";
  const std::string lock = dir.path() + "/decl.validacao.xml.trava";
  mode_t work_mode = 0, lock_mode = 0;
  Options o;
  o.progress = [&](int64_t, int64_t) {
    work_mode = ModeOf(work);
    lock_mode = ModeOf(lock);
  };
  const mode_t old_mask = umask(027);
  const Result r = ValidateAt(input, o);
  umask(old_mask);
  ASSERT_TRUE(r.completed) << r.failure;
  EXPECT_EQ(work_mode, 0600u);
  EXPECT_EQ(lock_mode, 0600u);
  EXPECT_EQ(ModeOf(r.report_path), 0640u);

  std::string error;
  const std::string json = dir.path() + "/r.json";
  umask(022);
  ASSERT_TRUE(WriteFileAtomically(json, "{}", &error)) << error;
  umask(old_mask);
  EXPECT_EQ(ModeOf(json), 0644u);
}

TEST(HostileFolder, ReportWrittenByOptionNeverThroughALink) {
  test::TempDir dir;
  const std::string victim = dir.Write("victim.txt", kVictim);
  const std::string out = dir.path() + "/r.json";
  std::string error;
  // At the working name: refused, and left alone.
  fs::create_symlink(victim, WorkingNameFor(out));
  EXPECT_FALSE(WriteFileAtomically(out, "{}", &error));
  EXPECT_NE(error.find(WorkingNameFor(out)), std::string::npos) << error;
  EXPECT_TRUE(fs::is_symlink(WorkingNameFor(out)));
  fs::remove(WorkingNameFor(out));
  // At the name itself: replaced.
  fs::create_symlink(victim, out);
  ASSERT_TRUE(WriteFileAtomically(out, "{}", &error)) << error;
  EXPECT_FALSE(fs::is_symlink(out));
  EXPECT_EQ(test::ReadFile(out), "{}");
  EXPECT_EQ(test::ReadFile(victim), kVictim);
}

TEST(HostileFolder, LogIsAppendedOnlyToARegularFileOfItsOwnDirectory) {
  const struct {
    const char* name;
    bool link_the_directory;  // else link the file
  } cases[] = {{"the log file is a link", false}, {"the log directory is a link", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const std::string input = dir.Write("decl.txt", Example());
    const std::string victim = dir.Write("victim.txt", kVictim);
    fs::create_directory(dir.path() + "/elsewhere");
    const std::string log_dir = dir.path() + "/log_VOLP_" + std::to_string(getpid());
    if (c.link_the_directory) {
      fs::create_directory_symlink(dir.path() + "/elsewhere", log_dir);
    } else {
      fs::create_directory(log_dir);
      fs::create_symlink(victim, log_dir + "/ValidadorVOLP.log");
    }
    Options o;
    o.log_file = true;
    o.log_level = 5;
    o.log_dir = dir.path();
    const Result r = ValidateAt(input, o);
    EXPECT_TRUE(r.completed) << "a log that cannot be written never stops a run";
    EXPECT_EQ(r.log_path, "");
    EXPECT_EQ(test::ReadFile(victim), kVictim);
    EXPECT_TRUE(fs::is_empty(dir.path() + "/elsewhere"));
  }
}
#endif

// The transmitter's copy and move services, with the same file on both
// sides under another spelling: refused, the file untouched.
TEST(HostileFolder, CopyAndMoveOntoTheSourceItselfAreRefused) {
  test::TempDir dir;
  const std::string file = dir.Write("decl.txt", "the declaration\n");
  std::vector<std::string> same = {file, dir.path() + "/./decl.txt"};
#if !defined(_WIN32)
  fs::create_symlink(file, dir.path() + "/link.txt");
  same.push_back(dir.path() + "/link.txt");
#endif
  for (const std::string& to : same) {
    SCOPED_TRACE(to);
    EXPECT_NE(CopiarArquivo(file.c_str(), to.c_str()), 0);
    EXPECT_NE(MoverArquivo(file.c_str(), to.c_str()), 0);
    EXPECT_EQ(test::ReadFile(file), "the declaration\n");
  }
  // A link at the destination is replaced by the copy, not written through.
  const std::string victim = dir.Write("victim.txt", kVictim);
#if !defined(_WIN32)
  fs::create_symlink(victim, dir.path() + "/copy.txt");
#endif
#if !defined(_WIN32)
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
#endif
  ASSERT_EQ(CopiarArquivo(file.c_str(), (dir.path() + "/copy.txt").c_str()), 0);
  EXPECT_EQ(test::ReadFile(dir.path() + "/copy.txt"), "the declaration\n");
#if !defined(_WIN32)
  EXPECT_EQ(ModeOf(dir.path() + "/copy.txt"), 0600u)
      << "a private declaration's copy stays private";
#endif
  EXPECT_EQ(test::ReadFile(victim), kVictim);
  for (const auto& e : fs::directory_iterator(dir.path()))
    EXPECT_EQ(e.path().filename().string().find(".parcial"), std::string::npos) << e.path();
}

}  // namespace
}  // namespace volp
