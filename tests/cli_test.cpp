// End-to-end tests of the `volp` command line: the built binary runs on small
// files in a temporary directory; its exit status, summary and messages are
// what a person or a script at a terminal relies on.
#include <gtest/gtest.h>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "cli_support.hpp"
#include "platform/platform.hpp"
#include "spawn.hpp"
#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;

using test::CliRun;
using test::EnvVar;
using test::ErrorText;
using test::ExampleText;
using test::ExampleWith;
using test::HasSpool;
using test::LargeFile;
using test::LineStartingWith;
using test::RunCli;
using test::ValidateArgs;
using test::WriteGzip;

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

TEST(Cli, HelpExplainsTheCommandsTheReportAndTheExitStatus) {
  const CliRun top = RunCli({"--help"});
  EXPECT_EQ(top.status, 0);
  for (const char* command : {"validate", "generate"}) {
    EXPECT_NE(top.out.find(command), std::string::npos) << top.out;
  }

  const CliRun help = RunCli({"validate", "--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* topic : {"--today",
                            "--tables",
                            "--log-level",
                            "--log-dir",
                            "--findings",
                            "--quiet",
                            "--report-dir",
                            "--json",
                            "--json-findings",
                            "--html",
                            "--force",
                            "--max-size",
                            "--name",
                            "--color",
                            "NO_COLOR",
                            "*.txt.gz",
                            "standard input",
                            ".validacao.xml",
                            "RELATORIO_DTB_BRASIL_MUNICIPIO.csv",
                            ".parar_ValidadorVOLP-<pid>",
                            "Validação Cancelada",
                            "Exit status",
                            "the worst"}) {
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
  EXPECT_NE(run.out.find("      line 1 0000 field 05 (CNPJ do informante) '35123456000124': O "
                         "dígito verificador 2 não confere!"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("  1 error"), std::string::npos) << run.out;
}

TEST(Cli, FindingsAreGroupedByCodeWithTheFirstExamplesAndQuietPrintsNothing) {
  test::TempDir dir;
  // IND_SPLIT out of its list in every transaction: many findings of one code.
  std::string text = ExampleText();
  for (size_t at = 0; (at = text.find("\n|1115|", at)) != std::string::npos; ++at) {
    text.replace(text.find("||0|", at), 4, "||7|");
  }
  const std::string file = dir.Write("muitos.txt", text);

  const CliRun limited = RunCli(ValidateArgs(file, {"--findings", "2"}));
  EXPECT_EQ(limited.status, 1);
  // One finding per transaction: one group, its count, two examples, the rest counted.
  const std::vector<long long> row = TypeRow(limited.out, "1115");
  ASSERT_EQ(row.size(), 4u) << limited.out;
  const long long transactions = row[0];
  EXPECT_GT(transactions, 2);
  EXPECT_NE(limited.out.find("Findings by message code (1 code; the first 2 of each"),
            std::string::npos)
      << limited.out;
  EXPECT_TRUE(LineStartingWith(limited.out, "  " + std::to_string(transactions) + " errors ")
                  .find(" VOLP-") != std::string::npos)
      << limited.out;
  size_t examples = 0;
  for (size_t at = 0; (at = limited.out.find("\n      line ", at)) != std::string::npos; ++at) {
    ++examples;
  }
  EXPECT_EQ(examples, 2u) << limited.out;
  EXPECT_EQ(LineStartingWith(limited.out, "      ... "),
            "      ... " + std::to_string(transactions - 2) + " more in the report")
      << limited.out;

  const CliRun none = RunCli(ValidateArgs(file, {"--findings", "0"}));
  EXPECT_EQ(none.out.find("      line "), std::string::npos) << none.out;
  EXPECT_NE(none.out.find(" VOLP-"), std::string::npos) << none.out;

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
      {"directory without declarations", ValidateArgs(no_table.path()), "holds no *.txt"},
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

// A path from the root ("/dados/decl.txt"; on Windows the root of the
// current drive) is a file, never a Windows-style "/option".
TEST(Cli, PathFromTheRootIsAFileNotAnOption) {
  test::TempDir dir;
  dir.Write("declaracao.txt", ExampleText());
  std::string rooted = fs::absolute(dir.path() + "/declaracao.txt").generic_string();
#if defined(_WIN32)
  // Wine reads a path from "/" as one of the host's own; Windows as one from
  // the root of the current drive.
  using UnixName = char*(__cdecl*)(const wchar_t*);
  const auto unix_name = reinterpret_cast<UnixName>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
  if (unix_name != nullptr) {
    char* name = unix_name(fs::absolute(dir.path() + "/declaracao.txt").wstring().c_str());
    ASSERT_NE(name, nullptr);
    rooted = name;
    HeapFree(GetProcessHeap(), 0, name);
  } else if (rooted.size() > 1 && rooted[1] == ':') {
    rooted.erase(0, 2);  // "C:/x" -> "/x"
  }
#endif
  ASSERT_EQ(rooted[0], '/') << rooted;
  const CliRun run = RunCli(ValidateArgs(rooted), dir.path());
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_TRUE(fs::exists(dir.path() + "/declaracao.validacao.xml"));
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
      run = test::RunAndSignal(ValidateArgs(file), dir.path(), {sig});
      if (run.status != 1) break;
    }
    // Killed by the signal (128 + n) would mean that no handler was in place.
    EXPECT_EQ(run.status, 2) << run.out << run.err;
    EXPECT_NE(run.out.find("Verdict:  Arquivo possui registros rejeitados - Validação Cancelada"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.err.find("stopping at the next checkpoint"), std::string::npos) << run.err;
    // The summary says the file was not read to its end, and why.
    EXPECT_NE(run.out.find("Read:     NOT the whole file. Stopped at line "), std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("of the file): cancelled"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("no verdict on the whole file"), std::string::npos) << run.out;
    const std::string report = test::ReadText(dir.path() + "/grande.validacao.xml");
    EXPECT_NE(report.find(test::L1("<SituacaoValidacao>Validação Cancelada</SituacaoValidacao>")),
              std::string::npos);
    EXPECT_FALSE(fs::exists(dir.path() + "/grande.validacao.xml.parcial"));
  }
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

// The report with what differs between two runs of the same bytes masked:
// the times, the moment of the run and the name of the file read.
std::string MaskedReport(const std::string& path) {
  static const std::regex kVaries(
      "<(NomeArquivo|DataHoraValidacao|TempoTotalProcessamento|Leitura|Varredura|Registros|"
      "GravacaoValidacao|GravacaoRCAD|ValidadorMicrosegundos|ValidadorSegundos)>[^<]*<");
  return std::regex_replace(test::ReadFile(path), kVaries, "<$1>*<");
}

// Several inputs: each validated, a table at the end, the worst status.
TEST(Cli, BatchExitsWithTheWorstStatusAndEndsWithATable) {
  test::TempDir dir;
  const std::string ok = dir.Write("ok.txt", ExampleText());
  const std::string ok2 = dir.Write("ok2.txt", ExampleText());
  const std::string bad = dir.Write("bad.txt", ErrorText());
  const std::string missing = dir.path() + "/nao-existe.txt";
  fs::create_directory(dir.path() + "/vazio");
  struct Case {
    const char* name;
    std::vector<std::string> files;
    int status;
    std::vector<std::pair<std::string, std::string>> rows;  // file and verdict, in order
  };
  const std::vector<Case> cases = {
      {"valid twice", {ok, ok2}, 0, {{ok, "valid"}, {ok2, "valid"}}},
      {"valid and invalid", {ok, bad}, 1, {{ok, "valid"}, {bad, "errors"}}},
      {"invalid and missing", {bad, missing}, 2, {{bad, "errors"}, {missing, "not done"}}},
      {"missing first", {missing, ok}, 2, {{missing, "not done"}, {ok, "valid"}}},
      {"empty directory",
       {ok, dir.path() + "/vazio"},
       2,
       {{ok, "valid"}, {dir.path() + "/vazio", "not done"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const CliRun run = RunCli(
        ValidateArgs(c.files[0], std::vector<std::string>(c.files.begin() + 1, c.files.end())));
    EXPECT_EQ(run.status, c.status) << run.out << run.err;
    const size_t table = run.out.find("\nfile ");
    ASSERT_NE(table, std::string::npos) << run.out;
    // Each row: the file, then (after the padding) its verdict.
    size_t at = table;
    for (const auto& [file, verdict] : c.rows) {
      at = run.out.find("\n" + file + " ", at + 1);
      ASSERT_NE(at, std::string::npos) << file << "\n" << run.out;
      const size_t cell = run.out.find_first_not_of(' ', at + 1 + file.size());
      EXPECT_EQ(run.out.compare(cell, verdict.size() + 1, verdict + " "), 0) << run.out;
    }
  }
}

// A directory stands for its *.txt and *.txt.gz files, in name order, and
// nothing else.
TEST(Cli, DirectoryContributesItsTxtAndTxtGzFilesSorted) {
  test::TempDir dir;
  const std::string lot = dir.path() + "/lote";
  fs::create_directories(lot + "/sub");
  dir.Write("lote/b.txt", ExampleText());
  dir.Write("lote/a.txt", ExampleText());
  WriteGzip(lot + "/c.txt.gz", ExampleText());
  dir.Write("lote/notas.md", "not a declaration");
  dir.Write("lote/d.TXT.bak", ExampleText());
  dir.Write("lote/sub/e.txt", ExampleText());
  const CliRun run = RunCli(ValidateArgs(lot));
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  std::vector<std::string> files;
  for (size_t at = 0; (at = run.out.find("File:     ", at)) != std::string::npos; ++at) {
    const size_t end = run.out.find_first_of(" \n", at + 10);
    files.push_back(fs::path(run.out.substr(at + 10, end - at - 10)).filename().string());
  }
  EXPECT_EQ(files, (std::vector<std::string>{"a.txt", "b.txt", "c.txt.gz"})) << run.out;
  EXPECT_TRUE(fs::exists(lot + "/c.validacao.xml"));
  EXPECT_FALSE(fs::exists(lot + "/sub/e.validacao.xml"));
}

// Standard input needs a report directory; its reports take --name.
TEST(Cli, StandardInputIsValidatedThroughATemporaryCopyNamedAfterName) {
  test::TempDir dir;
  const std::string plain = dir.Write("decl.txt", ExampleText());
  WriteGzip(dir.path() + "/decl.txt.gz", ErrorText());
  struct Case {
    const char* name;
    std::vector<std::string> extra;
    std::string in;
    int status;
    std::string report;  // under out/, "" for none
    std::string says;    // on stderr
  };
  const std::vector<Case> cases = {
      {"no report directory", {}, plain, 2, "", "needs --report-dir"},
      {"plain", {"--report-dir", "out"}, plain, 0, "stdin.validacao.xml", ""},
      {"named", {"--report-dir", "out", "--name", "maio"}, plain, 0, "maio.validacao.xml", ""},
      {"gzip", {"--report-dir", "out"}, dir.path() + "/decl.txt.gz", 1, "stdin.validacao.xml", ""},
      {"name with a directory", {"--report-dir", "out", "--name", "a/b"}, plain, 2, "", "--name"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir work;
    std::vector<std::string> args = ValidateArgs("-", c.extra);
    const CliRun run = RunCli(args, work.path(), {}, c.in);
    EXPECT_EQ(run.status, c.status) << run.out << run.err;
    EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    if (!c.report.empty()) {
      EXPECT_TRUE(fs::exists(work.path() + "/out/" + c.report)) << run.out;
      EXPECT_NE(
          run.out.find("Report:   out" + std::string(1, fs::path::preferred_separator) + c.report),
          std::string::npos)
          << run.out;
      EXPECT_FALSE(HasSpool(work.path() + "/out"));
    }
  }
}

// Gzip data, known by its first bytes: the same report as the plain file's
// (the digest is of the decompressed bytes), named as if without ".gz".
TEST(Cli, GzipInputGivesThePlainFilesReport) {
  test::TempDir dir;
  const std::string text = ErrorText();
  const std::string plain = dir.Write("decl.txt", text);
  fs::create_directory(dir.path() + "/gz");
  WriteGzip(dir.path() + "/gz/decl.txt.gz", text);
  WriteGzip(dir.path() + "/gz/disfarce.txt", text);  // gzip under a plain name
  const CliRun base = RunCli(ValidateArgs(plain));
  ASSERT_EQ(base.status, 1) << base.out << base.err;
  const std::string expected = MaskedReport(dir.path() + "/decl.validacao.xml");
  for (const std::string name : {"decl.txt.gz", "disfarce.txt"}) {
    SCOPED_TRACE(name);
    const CliRun run = RunCli(ValidateArgs(dir.path() + "/gz/" + name));
    EXPECT_EQ(run.status, 1) << run.out << run.err;
    const std::string stem = name == "decl.txt.gz" ? "decl" : "disfarce";
    EXPECT_EQ(MaskedReport(dir.path() + "/gz/" + stem + ".validacao.xml"), expected);
    EXPECT_NE(run.out.find("(of the decompressed bytes)"), std::string::npos) << run.out;
    EXPECT_EQ(LineStartingWith(run.out, "SHA-256:  ").substr(0, 74),
              LineStartingWith(base.out, "SHA-256:  "));
  }

  // Cut short: the run cannot be done, and no copy stays behind.
  std::string whole = test::ReadFile(dir.path() + "/gz/decl.txt.gz");
  dir.Write("cortado.txt.gz", whole.substr(0, whole.size() / 2));
  test::TempDir out;
  const CliRun cut =
      RunCli(ValidateArgs(dir.path() + "/cortado.txt.gz", {"--report-dir", out.path()}));
  EXPECT_EQ(cut.status, 2) << cut.out << cut.err;
  EXPECT_NE(cut.err.find("volp: cannot read"), std::string::npos) << cut.err;
  EXPECT_FALSE(HasSpool(out.path()));
  EXPECT_FALSE(fs::exists(out.path() + "/cortado.validacao.xml"));
}

// --report-dir takes every output of the run, made when missing; the input's
// directory is left as it was.
TEST(Cli, ReportDirTakesEveryOutputAndLeavesTheInputAlone) {
  test::TempDir dir;
  const std::string in = dir.path() + "/entrada";
  fs::create_directory(in);
  const std::string file = dir.Write("entrada/decl.2025.txt", ExampleText());
  fs::permissions(in, fs::perms::owner_read | fs::perms::owner_exec);
  const std::string out = dir.path() + "/relatorios/novo";
  const CliRun run = RunCli(ValidateArgs(file, {"--report-dir", out}));
  fs::permissions(in, fs::perms::owner_all);
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_TRUE(fs::exists(out + "/decl.2025.validacao.xml"));
  EXPECT_TRUE(fs::exists(out + "/decl.2025.rcad.txt"));
  std::vector<std::string> left;
  for (const auto& e : fs::directory_iterator(in)) left.push_back(e.path().filename().string());
  EXPECT_EQ(left, (std::vector<std::string>{"decl.2025.txt"}));

  // Two inputs that would share a report name in it are refused up front.
  fs::create_directory(dir.path() + "/outra");
  const std::string twin = dir.Write("outra/decl.2025.txt", ExampleText());
  const CliRun twins = RunCli(ValidateArgs(file, {twin, "--report-dir", out}));
  EXPECT_EQ(twins.status, 2);
  EXPECT_NE(twins.err.find("under one name"), std::string::npos) << twins.err;
}

// The 3,000-error limit: the summary says the run stopped, where, why and
// how much of the file it read; the verdict says it is about part of it.
TEST(Cli, SummaryOfARunStoppedByTheErrorLimitSaysSo) {
  test::TempDir dir;
  const std::string generated = dir.path() + "/gerado.txt";
  ASSERT_EQ(RunCli({"generate", "--transactions", "6000", "-o", generated}).status, 0);
  // Every line ends in LF alone: one error per line.
  std::string text = test::ReadFile(generated);
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  const std::string file = dir.Write("sem-cr.txt", text);
  const CliRun run = RunCli(ValidateArgs(file));
  EXPECT_EQ(run.status, 1) << run.out << run.err;
  const std::string read = LineStartingWith(run.out, "Read:     ");
  EXPECT_EQ(read.rfind("Read:     NOT the whole file. Stopped at line 3,00", 0), 0u) << run.out;
  EXPECT_NE(read.find("% of the file): 3,000 errors, the most a run reports"), std::string::npos)
      << read;
  EXPECT_EQ(read.find("(100%"), std::string::npos) << read;
  EXPECT_NE(run.out.find("only: no verdict on the whole file"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("Time:     "), std::string::npos);
  EXPECT_NE(run.out.find(" MB/s, "), std::string::npos) << run.out;
}

// Colours only when asked for or on a terminal; and then never with NO_COLOR.
// Lines fit the width that COLUMNS gives.
TEST(Cli, ColoursAndWidthFollowTheOptionsAndTheEnvironment) {
  test::TempDir dir;
  const std::string file = dir.Write("erro.txt", ErrorText());
  struct Case {
    const char* name;
    std::vector<std::string> extra;
    std::vector<EnvVar> env;
    bool escapes;
  };
  const std::vector<Case> cases = {
      {"auto, not a terminal", {}, {}, false},
      {"never", {"--color=never"}, {}, false},
      {"always", {"--color=always"}, {}, true},
      {"always beats NO_COLOR", {"--color=always"}, {{"NO_COLOR", "1"}}, true},
      {"auto with NO_COLOR", {"--color=auto"}, {{"NO_COLOR", "1"}}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const CliRun run = RunCli(ValidateArgs(file, c.extra), "", c.env);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out.find('\x1b') != std::string::npos, c.escapes) << run.out;
  }

  for (const char* columns : {"60", "80"}) {
    SCOPED_TRACE(columns);
    const CliRun run = RunCli(ValidateArgs(file), "", {{"COLUMNS", columns}});
    EXPECT_EQ(run.status, 1);
    std::istringstream lines(run.out);
    bool cut = false;
    for (std::string line; std::getline(lines, line);) {
      // Paths are never cut: they must stay whole to be of use.
      if (line.rfind("File:", 0) == 0 || line.rfind("Tables:", 0) == 0 ||
          line.rfind("Report:", 0) == 0 || line.rfind("SHA-256:", 0) == 0) {
        continue;
      }
      int width = 0;  // UTF-8 characters, each one column here
      for (unsigned char ch : line) width += (ch & 0xC0) != 0x80 ? 1 : 0;
      EXPECT_LE(width, std::atoi(columns)) << line;
      cut = cut || line.ends_with("\xE2\x80\xA6");
    }
    EXPECT_TRUE(cut) << run.out;  // the example lines are longer than that
  }
}

// With --json -, standard output carries the JSON report alone and the
// summary goes to stderr; one JSON report cannot hold several files.
TEST(Cli, JsonToStandardOutputKeepsTheSummaryOnStderr) {
  test::TempDir dir;
  const std::string file = dir.Write("erro.txt", ErrorText());
  const CliRun run = RunCli(ValidateArgs(file, {"--json", "-"}));
  EXPECT_EQ(run.status, 1) << run.err;
  EXPECT_EQ(run.out.substr(0, 1), "{") << run.out;
  EXPECT_EQ(run.out.find("Verdict:"), std::string::npos);
  EXPECT_NE(run.err.find("Verdict:  Arquivo possui registros rejeitados"), std::string::npos);

  const CliRun two = RunCli(ValidateArgs(file, {file, "--json", "-"}));
  EXPECT_EQ(two.status, 2);
  EXPECT_NE(two.err.find("--json DIR"), std::string::npos) << two.err;
}

}  // namespace
}  // namespace volp
