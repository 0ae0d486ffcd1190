// End-to-end tests of the `volp` command line: the built binary runs on small
// files in a temporary directory; its exit status, summary and messages are
// what a person or a script at a terminal relies on.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#endif

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.hpp"
#include "spawn.hpp"
#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;

struct CliRun {
  int status = -1;  // exit status; 128 + signal when killed
  std::string out;
  std::string err;
};

CliRun RunCli(const std::vector<std::string>& args, const std::string& cwd = "") {
  test::TempDir io;
  const std::string out_path = io.path() + "/out";
  const std::string err_path = io.path() + "/err";
  CliRun run;
  run.status = test::RunProgram(VOLP_CLI_PATH, args, cwd, out_path, err_path);
  run.out = test::ReadText(out_path);
  run.err = test::ReadText(err_path);
  return run;
}

std::string ExampleText() {
  return test::ReadFile(std::string(VOLP_TEST_DATA_DIR) + "/../../examples/declaracao-exemplo.txt");
}

// The example with its first occurrence of `from` replaced by `to`.
std::string ExampleWith(const std::string& from, const std::string& to) {
  std::string text = ExampleText();
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

// The line of `out` that starts with `prefix`, without its line end; empty
// when there is none.
std::string LineStartingWith(const std::string& out, const std::string& prefix) {
  size_t at = 0;
  if (out.compare(0, prefix.size(), prefix) != 0) {
    at = out.find("\n" + prefix);
    if (at == std::string::npos) return "";
    ++at;
  }
  const size_t end = out.find('\n', at);
  return out.substr(at, end == std::string::npos ? std::string::npos : end - at);
}

// The numbers of a record type's row in the per-type table: errors,
// warnings, rejected, total.
std::vector<long long> TypeRow(const std::string& out, const std::string& type) {
  const std::string line = LineStartingWith(out, "  " + type + " ");
  if (line.empty()) return {};
  std::istringstream row(line.substr(2 + type.size()));
  std::vector<long long> numbers;
  for (long long n; row >> n;) numbers.push_back(n);
  return numbers;
}

std::vector<std::string> ValidateArgs(const std::string& file,
                                      std::vector<std::string> extra = {}) {
  std::vector<std::string> args = {"validate",   file,       "--today",
                                   test::kToday, "--tables", test::DataDir()};
  args.insert(args.end(), extra.begin(), extra.end());
  return args;
}

TEST(Cli, HelpExplainsTheCommandsTheReportAndTheExitStatus) {
  const CliRun top = RunCli({"--help"});
  EXPECT_EQ(top.status, 0);
  for (const char* command : {"validate", "generate"}) {
    EXPECT_NE(top.out.find(command), std::string::npos) << top.out;
  }

  const CliRun help = RunCli({"validate", "--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* topic : {"--today", "--tables", "--log-level", "--log-dir", "--findings",
                            "--quiet", ".validacao.xml", "RELATORIO_DTB_BRASIL_MUNICIPIO.csv",
                            ".parar_ValidadorVOLP-<pid>", "Validação Cancelada", "Exit status"}) {
    EXPECT_NE(help.out.find(topic), std::string::npos) << topic;
  }
}

TEST(Cli, FileWithErrorsExitsOneAndListsTheFindingsInUtf8) {
  test::TempDir dir;
  // The declarant's CNPJ with a wrong last check digit.
  const std::string file =
      dir.Write("erro.txt", ExampleWith("|35123456000123|", "|35123456000124|"));
  const CliRun run = RunCli(ValidateArgs(file));
  EXPECT_EQ(run.status, 1) << run.out << run.err;
  EXPECT_NE(run.out.find("Verdict:  Arquivo possui registros rejeitados"), std::string::npos)
      << run.out;
  // The digit and the invalid-CNPJ findings on the one rejected 0000.
  EXPECT_EQ(TypeRow(run.out, "0000"), (std::vector<long long>{2, 0, 1, 1})) << run.out;
  // Latin-1 messages and names come out as UTF-8.
  EXPECT_NE(run.out.find("line 1 0000 field 05 (CNPJ do informante): O dígito verificador 2 "
                         "não confere!"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("[error]"), std::string::npos);
}

TEST(Cli, FindingsOptionLimitsTheListAndQuietPrintsNothing) {
  test::TempDir dir;
  // IND_SPLIT out of its list in every transaction: many findings.
  std::string text = ExampleText();
  for (size_t at = 0; (at = text.find("\n|1115|", at)) != std::string::npos; ++at) {
    text.replace(text.find("||0|", at), 4, "||7|");
  }
  const std::string file = dir.Write("muitos.txt", text);

  const CliRun limited = RunCli(ValidateArgs(file, {"--findings", "3"}));
  EXPECT_EQ(limited.status, 1);
  // One finding per transaction; three listed, the others counted.
  const std::vector<long long> row = TypeRow(limited.out, "1115");
  ASSERT_EQ(row.size(), 4u) << limited.out;
  const long long transactions = row[0];
  EXPECT_GT(transactions, 3);
  EXPECT_EQ(LineStartingWith(limited.out, "First 3 of "),
            "First 3 of " + std::to_string(transactions) + " findings:")
      << limited.out;
  EXPECT_EQ(LineStartingWith(limited.out, "  ... "),
            "  ... " + std::to_string(transactions - 3) + " more in the report.")
      << limited.out;

  const CliRun none = RunCli(ValidateArgs(file, {"--findings", "0"}));
  EXPECT_EQ(none.out.find("line "), std::string::npos) << none.out;

  const CliRun quiet = RunCli(ValidateArgs(file, {"--quiet"}));
  EXPECT_EQ(quiet.status, 1);
  EXPECT_EQ(quiet.out, "");
  EXPECT_EQ(quiet.err, "");
}

TEST(Cli, WrongArgumentsAndRunsThatCannotBeDoneExitTwoAndSayWhy) {
  test::TempDir dir;
  test::TempDir no_table;
  const std::string file = dir.Write("ok.txt", ExampleText());
  const std::string usage = "Run with --help";
  struct Case {
    const char* name;
    std::vector<std::string> args;
    std::string says;  // on stderr
  };
  const std::vector<Case> cases = {
      {"no command", {}, usage},
      {"unknown command", {"check", "x.txt"}, usage},
      {"no file", {"validate"}, usage},
      {"short date", {"validate", "x.txt", "--today", "2026011"}, usage},
      {"not digits", {"validate", "x.txt", "--today", "2026-01-15"}, usage},
      {"negative count", {"validate", "x.txt", "--findings", "-1"}, usage},
      {"missing directory", {"validate", "x.txt", "--tables", "/no/such/dir"}, usage},
      {"missing file", ValidateArgs(dir.path() + "/nao-existe.txt"), "volp: "},
      {"directory", ValidateArgs(dir.path()), "volp: "},
      {"no municipality table", {"validate", file, "--tables", no_table.path()}, "volp: "},
  };
  for (const Case& c : cases) {
    const CliRun run = RunCli(c.args);
    EXPECT_EQ(run.status, 2) << c.name << "\n" << run.out << run.err;
    EXPECT_NE(run.err.find(c.says), std::string::npos) << c.name << ": " << run.err;
    EXPECT_EQ(run.out.find("Verdict:"), std::string::npos) << c.name;
  }
}

TEST(Cli, EmptyFileExitsOneAlthoughTheReportSaysValidated) {
  test::TempDir dir;
  const std::string file = dir.Write("vazio.txt", "");
  const CliRun run = RunCli(ValidateArgs(file));
  // The required-record findings stand on line 0, which the rejected-line
  // count never sees: the report keeps its verdict, the status says errors.
  EXPECT_EQ(run.status, 1) << run.out << run.err;
  EXPECT_NE(run.out.find("Verdict:  Arquivo validado"), std::string::npos) << run.out;
  EXPECT_NE(
      run.out.find("line 0 0000: O registro 0000 é obrigatório mas não foi encontrado no arquivo."),
      std::string::npos)
      << run.out;
  EXPECT_EQ(TypeRow(run.out, "0000"), (std::vector<long long>{1, 0, 0, 0})) << run.out;
}

// The municipality table is looked for in the current directory first.
TEST(Cli, ValidExampleExitsZeroWithTheVerdictTheTableAndNoFindings) {
  test::TempDir dir;
  const std::string file = dir.Write("declaracao.txt", ExampleText());
  const std::string table = "RELATORIO_DTB_BRASIL_MUNICIPIO.csv";

  // Without a table in the current directory: the installed or source copy.
  const CliRun elsewhere = RunCli({"validate", file, "--today", test::kToday}, dir.path());
  EXPECT_EQ(elsewhere.status, 0) << elsewhere.out << elsewhere.err;
  EXPECT_NE(elsewhere.out.find("Verdict:  Arquivo validado\n"), std::string::npos);
  EXPECT_NE(elsewhere.out.find("Errors:   0   warnings: 0   rejected lines: 0"), std::string::npos);
  EXPECT_EQ(elsewhere.out.find("Findings"), std::string::npos) << elsewhere.out;
  EXPECT_NE(elsewhere.out.find("Report:   " + dir.path() + "/declaracao.validacao.xml"),
            std::string::npos);
  EXPECT_TRUE(fs::exists(dir.path() + "/declaracao.validacao.xml"));
  const std::string line = LineStartingWith(elsewhere.out, "Tables:   ");
  // The CLI joins directory and name with the system's separator.
  const std::string sep = (fs::path("a") / "b").string().substr(1, 1);
  EXPECT_TRUE(line.ends_with(sep + table + " (installed data)") ||
              line.ends_with(sep + table + " (source tree)"))
      << elsewhere.out;

  fs::copy_file(test::DataDir() + "/" + table, dir.path() + "/" + table);
  const CliRun here = RunCli({"validate", file, "--today", test::kToday}, dir.path());
  EXPECT_EQ(here.status, 0) << here.out << here.err;
  EXPECT_NE(here.out.find("Tables:   " + fs::canonical(dir.path()).string() + sep + table +
                          " (current directory)\n"),
            std::string::npos)
      << here.out;
}

// The example followed by `extra` records that the structure ignores after
// the 9999: a large file that is quick to read.
[[maybe_unused]] std::string LargeFile(int extra) {
  std::string text = ExampleText();
  const std::string tail = "|9999|1|\r\n";
  text.reserve(text.size() + tail.size() * extra);
  for (int i = 0; i < extra; ++i) text += tail;
  return text;
}

#if !defined(_WIN32)
// Terminals, signals and their exit statuses are POSIX's; the console events
// of Windows have no counterpart a test can send under Wine.

TEST(Cli, ProgressBarOnlyWhenStderrIsATerminalAndTheFileIsLarge) {
  test::TempDir dir;
  const std::string small = dir.Write("pequeno.txt", ExampleText());
  const std::string large = dir.Write("grande.txt", LargeFile(3'600'000));  // 36 MB
  struct Case {
    std::string file;
    bool bar;
    int status;  // the large file has one finding: a record after the 9999
  };
  for (const Case& c : {Case{large, true, 1}, Case{small, false, 0}}) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    // The child opens the terminal by its name as its standard error.
    const std::string slave_name = ptsname(master);
    const int slave = open(slave_name.c_str(), O_RDWR | O_NOCTTY);  // keeps it open meanwhile
    ASSERT_GE(slave, 0);
    test::Child child;
    ASSERT_TRUE(
        child.Start(VOLP_CLI_PATH, ValidateArgs(c.file), "", dir.path() + "/out", slave_name));
    close(slave);
    std::string err;
    char buf[4096];
    // Drain the terminal until the child closes it (read then fails with EIO).
    for (ssize_t n; (n = read(master, buf, sizeof buf)) > 0;) err.append(buf, n);
    close(master);
    EXPECT_EQ(child.Wait(), c.status) << c.file;
    EXPECT_EQ(err.find("\r[#") != std::string::npos, c.bar) << c.file << ": " << err;
    if (c.bar) {
      EXPECT_NE(err.find("% "), std::string::npos) << err;
      EXPECT_NE(err.find("MiB"), std::string::npos) << err;
      // The bar is erased before the summary.
      EXPECT_EQ(err.substr(err.size() - 4), "\r\x1b[K") << err;
    }
  }
}

// Waits until the file at `path` holds `text` (or the child has had ten
// seconds); true when it does.
bool WaitForText(const std::string& path, const std::string& text) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (test::ReadFile(path).find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() > until) return false;
    usleep(2000);
  }
  return true;
}

// Runs the CLI on `file`, sends it `signals` one after the other (each once
// the one before has been taken: the header shows the handler in place, the
// stop note shows the first signal seen), and returns its status and output.
CliRun RunAndSignal(const std::string& file, const std::string& dir,
                    const std::vector<int>& signals) {
  CliRun run;
  const std::string out = dir + "/out";
  const std::string err = dir + "/err";
  test::Child child;
  if (!child.Start(VOLP_CLI_PATH, ValidateArgs(file), "", out, err)) return run;
  WaitForText(out, "Tables:");
  for (size_t i = 0; i < signals.size(); ++i) {
    if (i > 0) WaitForText(err, "stopping at the next checkpoint");
    child.Signal(signals[i]);
  }
  run.status = child.Wait();
  run.out = test::ReadText(out);
  run.err = test::ReadText(err);
  return run;
}

// Ctrl-C and a request to terminate both stop the run at its next
// checkpoint with the report in place.
TEST(Cli, InterruptOrTerminateStopsTheRunWithACancelledReport) {
  for (const int sig : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(sig == SIGINT ? "SIGINT" : "SIGTERM");
    test::TempDir dir;
    // Long enough that the run is normally still going when the signal
    // arrives; on a loaded machine the run may win the race, so a run that
    // ended on its own (status 1, not cancelled) is tried again.
    const std::string file = dir.Write("grande.txt", LargeFile(3'000'000));
    CliRun run;
    for (int attempt = 0; attempt < 5; ++attempt) {
      run = RunAndSignal(file, dir.path(), {sig});
      if (run.status != 1) break;
    }
    // Killed by the signal (128 + n) would mean that no handler was in place.
    EXPECT_EQ(run.status, 2) << run.out << run.err;
    EXPECT_NE(run.out.find("Verdict:  Arquivo possui registros rejeitados - Validação Cancelada"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.err.find("stopping at the next checkpoint"), std::string::npos) << run.err;
    const std::string report = test::ReadText(dir.path() + "/grande.validacao.xml");
    EXPECT_NE(report.find(test::L1("<SituacaoValidacao>Validação Cancelada</SituacaoValidacao>")),
              std::string::npos);
    EXPECT_FALSE(fs::exists(dir.path() + "/grande.validacao.xml.parcial"));
  }
}

// A second Ctrl-C ends volp at once; the working file does not stay behind.
TEST(Cli, SecondInterruptEndsAtOnceWithoutLeavingTheWorkingFile) {
  test::TempDir dir;
  const std::string file = dir.Write("grande.txt", LargeFile(6'000'000));
  bool ended_at_once = false;
  for (int attempt = 0; attempt < 5 && !ended_at_once; ++attempt) {
    const CliRun run = RunAndSignal(file, dir.path(), {SIGINT, SIGINT});
    // 128 + SIGINT: ended by the second signal; 2: the stop came first.
    ASSERT_TRUE(run.status == 128 + SIGINT || run.status == 2) << run.status << run.err;
    ended_at_once = run.status == 128 + SIGINT;
    EXPECT_FALSE(fs::exists(dir.path() + "/grande.validacao.xml.parcial")) << attempt;
  }
  EXPECT_TRUE(ended_at_once);
}

#endif  // !_WIN32

// The report goes to the path up to its last "." — a directory's dot
// counts — and the summary says where that is.
TEST(Cli, ReportGoesToThePathUpToItsLastDot) {
  struct Case {
    std::string dir;   // made under the temporary directory, "" for none
    std::string file;  // the declaration, relative to the temporary directory
    std::string report;
  };
  const std::vector<Case> cases = {
      {"", "decl.txt", "decl.validacao.xml"},
      {"", "decl", "decl.validacao.xml"},
      {"", "decl.2025.txt", "decl.2025.validacao.xml"},
      {"lote.2025", "lote.2025/decl", "lote.validacao.xml"},
      {"lote.2025", "lote.2025/decl.txt", "lote.2025/decl.validacao.xml"},
      {"", "./decl", ".validacao.xml"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    test::TempDir dir;
    if (!c.dir.empty()) fs::create_directory(dir.path() + "/" + c.dir);
    dir.Write(c.file, ExampleText());
    const CliRun run = RunCli(ValidateArgs(c.file), dir.path());
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(LineStartingWith(run.out, "Report:   "), "Report:   " + c.report) << run.out;
    EXPECT_TRUE(fs::exists(dir.path() + "/" + c.report));
    EXPECT_EQ(ReportPath(c.file), c.report);
  }
}

// A municipality table with its header and no code: the run cannot be done
// and the CLI says why (the loader's E#C line), not "unknown failure".
TEST(Cli, TableWithoutCodesSaysWhatFailed) {
  test::TempDir dir;
  test::TempDir tables;
  const std::string file = dir.Write("decl.txt", ExampleText());
  for (const std::string table :
       {"UF;Código Município Completo\r\n", "UF;Código Município Completo\r\n35;355030\r\n"}) {
    SCOPED_TRACE(table);
    tables.Write("RELATORIO_DTB_BRASIL_MUNICIPIO.csv", test::L1(table));
    const CliRun run =
        RunCli({"validate", file, "--today", test::kToday, "--tables", tables.path()});
    EXPECT_EQ(run.status, 2) << run.out << run.err;
    EXPECT_NE(run.err.find("E#C9113: O arquivo " + tables.path() + platform::Separator() +
                           "RELATORIO_DTB_BRASIL_MUNICIPIO.csv não contém nenhum código de "
                           "município válido!"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(run.err.find("unknown failure"), std::string::npos) << run.err;
  }
}

}  // namespace
}  // namespace volp
