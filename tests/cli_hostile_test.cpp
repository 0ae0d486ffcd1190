// Careless and hostile command lines: outputs that would land on an input or
// on one another, inputs that are not files, copies without bounds, links
// planted where volp writes, signals in the middle of a run. Each scenario
// sets a folder up, runs one command in it and looks at its status, its
// messages and what the folder holds afterwards.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli_files.hpp"
#include "cli_spool.hpp"
#include "cli_support.hpp"
#include "platform/platform.hpp"
#include "support.hpp"
#include "volp/reports.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;
using test::ExampleText;

// A scenario's folder, and what a scenario puts in it.
struct Folder {
  const test::TempDir& dir;
  std::string Path(const std::string& name) const { return dir.path() + "/" + name; }
  void File(const std::string& name, const std::string& bytes) const {
    fs::create_directories(fs::path(Path(name)).parent_path());
    dir.Write(name, bytes);
  }
  void Gzip(const std::string& name, const std::string& bytes) const {
    fs::create_directories(fs::path(Path(name)).parent_path());
    test::WriteGzip(Path(name), bytes);
  }
  void Dir(const std::string& name) const { fs::create_directories(Path(name)); }
  void Link(const std::string& name, const std::string& target) const {
    fs::create_symlink(target, Path(name));
  }
#if !defined(_WIN32)
  void Fifo(const std::string& name) const { ASSERT_EQ(mkfifo(Path(name).c_str(), 0600), 0); }
  void Socket(const std::string& name) const {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = Path(name);
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(fd);  // the socket's name stays in the folder
  }
#endif
};

struct Scenario {
  const char* name;
  std::function<void(const Folder&)> setup = {};
  // Run in the folder; "validate" gets --today and the repository's table.
  std::vector<std::string> args;
  int status;
  std::vector<std::string> says = {};       // each somewhere in the output (stdout or stderr)
  std::vector<std::string> present = {};    // afterwards, relative to the folder
  std::vector<std::string> absent = {};     // nothing at all there, not even a link
  std::vector<std::string> unchanged = {};  // byte for byte as set up
  std::vector<std::string> regular = {};    // a regular file, not a link
  int runs = 1;                             // each run gives `status`
};

// Modes of what a run creates are looked at under this umask.
[[maybe_unused]] constexpr int kUmask = 027;

void Play(const Scenario& c) {
  SCOPED_TRACE(c.name);
  test::TempDir dir;
  const Folder folder{dir};
  if (c.setup) c.setup(folder);
  std::map<std::string, std::string> before;
  for (const std::string& name : c.unchanged) before[name] = test::ReadFile(folder.Path(name));
  std::vector<std::string> args = c.args;
  if (args[0] == "validate" && std::find(args.begin(), args.end(), "--tables") == args.end()) {
    args.insert(args.end(), {"--today", test::kToday, "--tables", test::DataDir()});
  }
#if !defined(_WIN32)
  const mode_t mask = umask(kUmask);
#endif
  for (int i = 0; i < c.runs; ++i) {
    const test::CliRun run = test::RunCli(args, dir.path(), {}, "", 60);
    EXPECT_EQ(run.status, c.status) << "run " << i + 1 << "\n" << run.out << run.err;
    for (const std::string& text : c.says)
      EXPECT_NE((run.err + run.out).find(text), std::string::npos) << text;
  }
#if !defined(_WIN32)
  umask(mask);
#endif
  std::error_code ec;
  for (const std::string& name : c.present) {
    EXPECT_TRUE(fs::exists(fs::symlink_status(folder.Path(name), ec))) << name;
  }
  for (const std::string& name : c.absent) {
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder.Path(name), ec))) << name;
  }
  for (const std::string& name : c.unchanged) {
    EXPECT_EQ(test::ReadFile(folder.Path(name)), before[name]) << name;
  }
  for (const std::string& name : c.regular) {
    EXPECT_EQ(fs::symlink_status(folder.Path(name), ec).type(), fs::file_type::regular) << name;
#if !defined(_WIN32)
    struct stat st;
    ASSERT_EQ(lstat(folder.Path(name).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u & ~static_cast<unsigned>(kUmask)) << name;
#endif
  }
  // No temporary copy stays behind but those the scenario set up.
  for (const std::string& where : {std::string(), std::string("out/")}) {
    for (const std::string& spool : test::SpoolFolders(folder.Path(where))) {
      EXPECT_NE(std::find(c.present.begin(), c.present.end(), where + spool), c.present.end())
          << where + spool;
    }
  }
}

// A directory is searched for declarations, and --json and --html replace
// reports, by the first bytes of what volp writes: each report as this build
// writes it must be known, and a declaration never taken for one.
TEST(CliHostile, VolpKnowsItsOwnReportsByTheirFirstBytes) {
  test::TempDir dir;
  Options options;
  options.today = test::kToday;
  options.tables_dir = test::DataDir();
  const Result r = Validate(dir.Write("d.txt", ExampleText()), options);
  ASSERT_TRUE(r.valid()) << r.failure;
  using cli::VolpOutput;
  const std::vector<std::pair<std::string, VolpOutput>> cases = {
      {test::ReadFile(dir.path() + "/d.validacao.xml"), VolpOutput::kXmlReport},
      {test::ReadFile(dir.path() + "/d.rcad.txt"), VolpOutput::kRegistrationSummary},
      {JsonReport(r), VolpOutput::kJsonReport},
      {HtmlReport(r), VolpOutput::kHtmlReport},
      {ExampleText(), VolpOutput::kNone},
      {"", VolpOutput::kNone},
      {"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<NFe>", VolpOutput::kNone},
      {"{\"format\": \"other\"}", VolpOutput::kNone},
      {"<!DOCTYPE html>\n<title>volp</title>", VolpOutput::kNone},
  };
  for (const auto& [text, kind] : cases) {
    EXPECT_EQ(cli::OutputKindOf(text.substr(0, 512)), kind) << text.substr(0, 80);
  }
}

TEST(CliHostile, SizesAreBytesOrPowersOf1024) {
  const std::vector<std::pair<std::string, int64_t>> cases = {
      {"1048576", 1 << 20},
      {"900k", 900 << 10},
      {"512M", int64_t{512} << 20},
      {"64G", cli::kDefaultMaxSpool},
      {"1GiB", int64_t{1} << 30},
      {"2tb", int64_t{2} << 40},
      {"0", -1},
      {"12Q", -1},
      {"1.5G", -1},
      {"G", -1},
      {"-1M", -1},
      {"99999999999T", -1},
  };
  for (const auto& [text, bytes] : cases) {
    int64_t got = -1;
    EXPECT_EQ(cli::ParseSize(text, &got), bytes > 0) << text;
    EXPECT_EQ(got, bytes) << text;  // left alone when refused
  }
  EXPECT_EQ(cli::SizeText(cli::kDefaultMaxSpool), "64 GiB");
  EXPECT_EQ(cli::SizeText(1536 << 10), "1.5 MiB");
}

void TwoDeclarations(const Folder& f) {
  f.File("d1.txt", ExampleText());
  f.File("d2.txt", ExampleText());
}

const std::string kXmlHead = "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<VOLP>\n</VOLP>\n";
const std::string kTable = "RELATORIO_DTB_BRASIL_MUNICIPIO.csv";

// Every path a command writes is a file of its own, apart from what it reads;
// the outputs given by option replace only reports of their own kind.
TEST(CliHostile, NoOutputLandsOnAnInputOrOnAnotherOutput) {
  const std::vector<Scenario> scenarios = {
    {.name = "an option's value that is a declaration is not taken for an input",
     .setup = TwoDeclarations,
     .args = {"validate", "--json", "d1.txt", "d2.txt"},
     .status = 2,
     .says = {"--json: d1.txt: it is a declaration and would be lost", "nothing was validated"},
     .absent = {"d2.validacao.xml", "d2.rcad.txt"},
     .unchanged = {"d1.txt"}},
    {.name = "--force never writes over an input",
     .setup = TwoDeclarations,
     .args = {"validate", "d1.txt", "--json", "d1.txt", "--force"},
     .status = 2,
     .says = {"the JSON report of d1.txt would be written over the input d1.txt"},
     .absent = {"d1.validacao.xml"},
     .unchanged = {"d1.txt"}},
    {.name = "an input is known by its identity: a hard link of it as its own report",
     .setup =
         [](const Folder& f) {
           f.File("d1.txt", ExampleText());
           fs::create_hard_link(f.Path("d1.txt"), f.Path("d1.validacao.xml"));
         },
     .args = {"validate", "d1.txt"},
     .status = 2,
     .says = {"the XML report of d1.txt would be written over the input d1.txt"},
     .unchanged = {"d1.txt"}},
    {.name = "--html over the run's own XML report",
     .setup = TwoDeclarations,
     .args = {"validate", "d1.txt", "--html", "d1.validacao.xml"},
     .status = 2,
     .says = {"the XML report of d1.txt and the HTML report of d1.txt would be written under "
              "one name"},
     .absent = {"d1.validacao.xml", "d1.rcad.txt"}},
    {.name = "--html over another file's XML report",
     .setup =
         [](const Folder& f) {
           TwoDeclarations(f);
           f.File("d2.validacao.xml", kXmlHead);
         },
     .args = {"validate", "d1.txt", "--html", "d2.validacao.xml"},
     .status = 2,
     .says = {"--html: d2.validacao.xml: it is an XML report and would be lost"},
     .absent = {"d1.validacao.xml"},
     .unchanged = {"d2.validacao.xml"}},
    {.name = "--force replaces a file that is no input",
     .setup =
         [](const Folder& f) {
           TwoDeclarations(f);
           f.File("d2.validacao.xml", kXmlHead);
         },
     .args = {"validate", "d1.txt", "--html", "d2.validacao.xml", "--force"},
     .status = 0,
     .present = {"d1.validacao.xml", "d2.validacao.xml"}},
    {.name = "an empty file and volp's own reports are replaced, run after run",
     .setup =
         [](const Folder& f) {
           f.File("d1.txt", ExampleText());
           f.File("r.json", "");
         },
     .args = {"validate", "d1.txt", "--json", "r.json", "--html", "r.html"},
     .status = 0,
     .present = {"r.json", "r.html"},
     .runs = 2},
    {.name = "the municipality table is read by the command, never written",
     .setup =
         [](const Folder& f) {
           f.File("d1.txt", ExampleText());
           f.File("tab/" + kTable, test::ReadFile(test::DataDir() + "/" + kTable));
         },
     .args = {"validate", "d1.txt", "--tables", "tab", "--json", "tab/" + kTable, "--force"},
     .status = 2,
     .says = {"the JSON report of d1.txt would be written over the municipality table"},
     .unchanged = {"tab/" + kTable}},
    {.name = "two inputs of one name into one JSON folder",
     .setup =
         [](const Folder& f) {
           f.File("a/x.txt", ExampleText());
           f.File("b/x.txt", ExampleText());
         },
     .args = {"validate", "a/x.txt", "b/x.txt", "--json", "J"},
     .status = 2,
     .says = {"the JSON report of a/x.txt and the JSON report of b/x.txt would be written "
              "under one name"},
     .absent = {"J", "a/x.validacao.xml", "b/x.validacao.xml"}},
    {.name = "a declaration beside its gzip copy: one report name, two verdicts",
     .setup =
         [](const Folder& f) {
           f.File("lote/x.txt", ExampleText());
           f.Gzip("lote/x.txt.gz", test::ErrorText());
         },
     .args = {"validate", "lote"},
     .status = 2,
     .says = {"x.txt.gz would be written under one name"},
     .absent = {"lote/x.validacao.xml", "lote/x.rcad.txt"}},
    {.name = "one file named twice",
     .setup = TwoDeclarations,
     .args = {"validate", "d1.txt", "./d1.txt"},
     .status = 2,
     .says = {"would be written under one name"},
     .absent = {"d1.validacao.xml"}},
#if !defined(_WIN32)
    {.name = "a link to the input as the JSON report",
     .setup =
         [](const Folder& f) {
           TwoDeclarations(f);
           f.Link("alias.json", "d1.txt");
         },
     .args = {"validate", "d1.txt", "--json", "alias.json", "--force"},
     .status = 2,
     .says = {"the JSON report of d1.txt would be written over the input d1.txt"},
     .unchanged = {"d1.txt"}},
#endif
  };
  for (const Scenario& c : scenarios) Play(c);
}

// Only regular files are validated, and never a report volp wrote.
// The log goes where it is said to go, or it is said that none was written.
TEST(CliHostile, LogDirectoryIsMadeOrRefusedAndTheLogLineTellsTheTruth) {
  const std::vector<Scenario> scenarios = {
      {.name = "a missing log directory is made with its parents",
       .setup = [](const Folder& f) { f.File("d1.txt", ExampleText()); },
       .args = {"validate", "d1.txt", "--log-dir", "logs/a/b"},
       .status = 0,
       .says = {"ValidadorVOLP.log\n"},
       .present = {"logs/a/b"}},
      {.name = "a file where the log directory goes refuses the command",
       .setup =
           [](const Folder& f) {
             f.File("d1.txt", ExampleText());
             f.File("logs", "not a folder");
           },
       .args = {"validate", "d1.txt", "--log-dir", "logs"},
       .status = 2,
       .says = {"cannot make the log directory logs"},
       .absent = {"d1.validacao.xml"},
       .unchanged = {"logs"}},
  };
  for (const Scenario& c : scenarios) Play(c);
}

TEST(CliHostile, OnlyDeclarationsThatAreRegularFilesAreRead) {
  const std::vector<Scenario> scenarios = {
    {.name = "a folder validated again is valid again",
     .setup =
         [](const Folder& f) {
           f.File("lote/a.txt", ExampleText());
           f.File("lote/b.txt", ExampleText());
           // Named like a declaration, known by its first bytes.
           f.File("lote/resumo.txt",
                  "{\n  \"format\": \"volp-report\",\n  \"format_version\": 1\n}");
         },
     .args = {"validate", "lote"},
     .status = 0,
     .present = {"lote/a.rcad.txt", "lote/b.rcad.txt"},
     .absent = {"lote/a.rcad.validacao.xml", "lote/resumo.validacao.xml"},
     .runs = 2},
    {.name = "a report named among the inputs is left out, and says so",
     .setup =
         [](const Folder& f) {
           f.File("d1.txt", ExampleText());
           f.File("velho.rcad.txt", "|VOLP|1.0|6994|132|C39B|\n");
         },
     .args = {"validate", "d1.txt", "velho.rcad.txt"},
     .status = 0,
     .says = {"velho.rcad.txt: left out: a registration summary volp wrote"},
     .absent = {"velho.rcad.validacao.xml"}},
#if defined(_WIN32)
    {.name = "a device", .args = {"validate", "NUL"}, .status = 2, .says = {"it is a device"}},
#else
    {.name = "a device",
     .args = {"validate", "/dev/null"},
     .status = 2,
     .says = {"it is a device"}},
    {.name = "a named pipe is refused before anything waits on it",
     .setup = [](const Folder& f) { f.Fifo("p.txt"); },
     .args = {"validate", "p.txt"},
     .status = 2,
     .says = {"it is a named pipe (FIFO), not a regular file"}},
    {.name = "a named pipe in a folder is passed over",
     .setup =
         [](const Folder& f) {
           f.File("lote/a.txt", ExampleText());
           f.Fifo("lote/p.txt");
         },
     .args = {"validate", "lote"},
     .status = 0,
     .present = {"lote/a.validacao.xml"}},
    {.name = "a socket",
     .setup = [](const Folder& f) { f.Socket("s.txt"); },
     .args = {"validate", "s.txt"},
     .status = 2,
     .says = {"it is a socket"}},
#endif
  };
  for (const Scenario& c : scenarios) Play(c);
}

// The temporary copy of a gzip file or of standard input has bounds, and
// those a killed process left are cleared by the next one.
TEST(CliHostile, TemporaryCopiesAreBoundedAndNeverOutliveTheirProcess) {
  const std::string live = ".volp-" + std::to_string(platform::ProcessId()) + "-0";
  const std::vector<Scenario> scenarios = {
      {.name = "a gzip bomb stops at --max-size",
       .setup = [](const Folder& f) { f.Gzip("bomba.txt.gz", std::string(16 << 20, '0')); },
       .args = {"validate", "bomba.txt.gz", "--report-dir", "out", "--max-size", "1M"},
       .status = 2,
       .says = {"the copy to validate would pass 1 MiB (--max-size): not validated"},
       .absent = {"out/bomba.validacao.xml"}},
      {.name = "--max-size takes a size",
       .setup = TwoDeclarations,
       .args = {"validate", "d1.txt", "--max-size", "12Q"},
       .status = 2,
       .says = {"--max-size"}},
      {.name = "the copies of dead processes go; a live one's, and links, stay",
       .setup =
           [&](const Folder& f) {
             f.File("d1.txt", ExampleText());
             f.File("out/.volp-999999999-0/d1.txt", ExampleText());
             f.Dir("out/" + live);
#if !defined(_WIN32)
             f.File("keep/d1.txt", ExampleText());
             f.Link("out/.volp-999999998-0", "../keep");
#endif
           },
       .args = {"validate", "d1.txt", "--report-dir", "out"},
       .status = 0,
       .present = {"out/" + live,
#if !defined(_WIN32)
                   "out/.volp-999999998-0", "keep/d1.txt"
#endif
       },
       .absent = {"out/.volp-999999999-0"}},
  };
  for (const Scenario& c : scenarios) Play(c);
}

#if !defined(_WIN32)
// The generator writes beside its output and renames: a link planted at the
// output or at the temporary is never written through.
TEST(CliHostile, GeneratorNeverWritesThroughALink) {
  auto target = [](const Folder& f) { f.File("alvo.txt", "do not touch\n"); };
  const std::vector<Scenario> scenarios = {
      {.name = "a link at the output is replaced",
       .setup =
           [&](const Folder& f) {
             target(f);
             f.Link("g.txt", "alvo.txt");
           },
       .args = {"generate", "--lines", "200", "-o", "g.txt"},
       .status = 0,
       .unchanged = {"alvo.txt"},
       .regular = {"g.txt"}},
      {.name = "a link at the temporary is passed by",
       .setup =
           [&](const Folder& f) {
             target(f);
             f.Link("g.txt.parcial", "alvo.txt");
           },
       .args = {"generate", "--lines", "200", "-o", "g.txt"},
       .status = 0,
       .present = {"g.txt.parcial"},
       .unchanged = {"alvo.txt"},
       .regular = {"g.txt"}},
      {.name = "a failure leaves nothing",
       .args = {"generate", "--lines", "200", "-o", "nada/g.txt"},
       .status = 2,
       .says = {"cannot create"},
       .absent = {"nada"}},
  };
  for (const Scenario& c : scenarios) Play(c);
}

// Standard input through a FIFO: the copy is looked at while it is being
// written. It is private whatever the umask, and goes when the run ends or
// when a signal stops the copy.
TEST(CliHostile, TheCopyOfStandardInputIsPrivateAndNeverStays) {
  for (const bool interrupted : {false, true}) {
    SCOPED_TRACE(interrupted ? "a signal while copying" : "copied whole");
    test::TempDir dir;
    const std::string fifo = dir.path() + "/entrada";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // Held open for writing before volp opens it for reading, which would
    // otherwise wait for a writer while the test waits for volp to start.
    const int writer = open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    const mode_t mask = umask(0);
    test::Child child;
    ASSERT_TRUE(child.Start(VOLP_CLI_PATH, test::ValidateArgs("-", {"--report-dir", "out"}),
                            dir.path(), dir.path() + "/o", dir.path() + "/e", fifo));
    umask(mask);
    const std::string text = ExampleText();
    ASSERT_EQ(write(writer, text.data(), text.size() / 2), static_cast<ssize_t>(text.size() / 2));
    std::vector<std::string> spools;
    for (int i = 0; i < 2000 && spools.empty(); ++i) {
      spools = test::SpoolFolders(dir.path() + "/out");
      if (spools.empty()) usleep(5000);
    }
    ASSERT_EQ(spools.size(), 1u);
    const std::string folder = dir.path() + "/out/" + spools[0];
    struct stat st;
    ASSERT_EQ(lstat(folder.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    ASSERT_EQ(lstat((folder + "/stdin.txt").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    if (interrupted) {
      // The wait for more input ends at once, and the copy with it.
      child.Signal(SIGTERM);
      EXPECT_EQ(child.Wait(30), 2);
      EXPECT_NE(test::ReadFile(dir.path() + "/e").find("cancelled while reading standard input"),
                std::string::npos);
    } else {
      ASSERT_EQ(write(writer, text.data() + text.size() / 2, text.size() - text.size() / 2),
                static_cast<ssize_t>(text.size() - text.size() / 2));
      close(writer);  // the end of the input
      EXPECT_EQ(child.Wait(30), 0) << test::ReadFile(dir.path() + "/e");
    }
    if (interrupted) close(writer);
    EXPECT_FALSE(test::HasSpool(dir.path() + "/out"));
  }
}

// A second Ctrl-C or request to terminate, in any order, ends volp at once
// and takes the run's working files with it, and the copy that standard
// input is validated through; a lock file that was there before the run is
// not the run's to take.
TEST(CliHostile, SecondSignalOfEitherKindEndsAtOnceWithoutWorkingFiles) {
  test::TempDir dir;
  const std::string file = dir.Write("grande.txt", test::LargeFile(6'000'000));
  fs::create_directory(dir.path() + "/out");
  const std::string work = dir.path() + "/grande.validacao.xml.parcial";
  const std::string lock = dir.path() + "/grande.validacao.xml.trava";
  struct Case {
    int first, second;
    bool lock_before;
    bool from_stdin;
  };
  for (const Case& c : {Case{SIGINT, SIGINT, false, false}, Case{SIGTERM, SIGTERM, false, false},
                        Case{SIGINT, SIGTERM, false, false}, Case{SIGTERM, SIGINT, false, false},
                        Case{SIGTERM, SIGTERM, true, false}, Case{SIGTERM, SIGINT, false, true}}) {
    SCOPED_TRACE(std::string(strsignal(c.first)) + ", " + strsignal(c.second) +
                 (c.lock_before ? ", a lock file there before" : "") +
                 (c.from_stdin ? ", standard input" : ""));
    fs::remove(lock);
    fs::remove(work);  // what the lock-before case leaves, as it should
    if (c.lock_before) dir.Write("grande.validacao.xml.trava", "");
    const std::vector<std::string> args =
        c.from_stdin ? test::ValidateArgs("-", {"--report-dir", "out", "--name", "grande"})
                     : test::ValidateArgs("grande.txt");
    // On a loaded machine the run may end, or the stop come, before the
    // second signal: tried again until the second one ends it.
    int status = 0;
    for (int attempt = 0; attempt < 5 && status != 128 + c.second; ++attempt) {
      status = test::RunAndSignal(args, dir.path(), {c.first, c.second}, c.from_stdin ? file : "")
                   .status;
      ASSERT_TRUE(status == 128 + c.second || status <= 2) << status;
      if (!c.lock_before) {
        EXPECT_FALSE(fs::exists(work));
        EXPECT_FALSE(fs::exists(lock));
        EXPECT_FALSE(fs::exists(dir.path() + "/out/grande.validacao.xml.parcial"));
        EXPECT_FALSE(test::HasSpool(dir.path() + "/out"));
      }
    }
    EXPECT_EQ(status, 128 + c.second);
    if (c.lock_before) {
      EXPECT_TRUE(fs::exists(lock));
    }
  }
}
#endif  // !_WIN32

}  // namespace
}  // namespace volp
