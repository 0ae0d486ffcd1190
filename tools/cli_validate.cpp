#include "cli_validate.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <process.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include "cli_data.hpp"
#include "cli_progress.hpp"

#ifndef VOLP_DATA_DIR
#define VOLP_DATA_DIR ""
#endif
#ifndef VOLP_SOURCE_DATA_DIR
#define VOLP_SOURCE_DATA_DIR ""
#endif

namespace volp::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTableFile = "RELATORIO_DTB_BRASIL_MUNICIPIO.csv";

// Raised by Ctrl-C (and by a request to terminate); the run polls it at its
// checkpoints (every 100,000 lines) and ends as a cancelled run with its
// report in place.
std::atomic<bool> g_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler needs a lock-free flag");

// The working file of the running validation, "<report>.parcial": a second
// Ctrl-C ends volp at once and takes it away, so that no half-written partial
// report stays behind. Filled before the handlers are in place.
char g_working_file[4096];

constexpr char kStopNote[] =
    "\nvolp: stopping at the next checkpoint; press Ctrl-C again to end at once\n";

#if defined(_WIN32)
int ProcessIdNow() { return _getpid(); }
bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

// Signalled when the validation is over, so that closing the console waits
// for the cancelled report before the system ends the process.
HANDLE g_run_over = nullptr;

BOOL WINAPI OnConsoleEvent(DWORD event) {
  if (event == CTRL_C_EVENT && g_stop.load()) {
    // The second Ctrl-C: the default handler ends the process.
    if (g_working_file[0] != '\0') DeleteFileA(g_working_file);
    return FALSE;
  }
  const bool was_stopping = g_stop.exchange(true);
  if (!was_stopping) {
    DWORD ignored = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), kStopNote, sizeof kStopNote - 1, &ignored, nullptr);
  }
  if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
    // The process ends when this handler returns: give the run the few
    // seconds the system allows to reach its checkpoint and write the report.
    if (g_run_over != nullptr) WaitForSingleObject(g_run_over, 4500);
  }
  return TRUE;
}

void InstallInterruptHandler() {
  if (g_run_over == nullptr) g_run_over = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

void RemoveInterruptHandler() {
  if (g_run_over != nullptr) SetEvent(g_run_over);
  SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
}
#else
int ProcessIdNow() { return static_cast<int>(getpid()); }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) != 0; }

extern "C" void OnInterrupt(int signal_number) {
  if (signal_number == SIGINT && g_stop.load()) {
    // The second Ctrl-C ends volp at once, as the default action would, but
    // without leaving the working file behind. unlink, signal and raise are
    // async-signal-safe.
    if (g_working_file[0] != '\0') unlink(g_working_file);
    std::signal(SIGINT, SIG_DFL);
    std::raise(SIGINT);
    return;
  }
  if (g_stop.exchange(true)) return;
  // write() is async-signal-safe; its result is of no use here.
  [[maybe_unused]] ssize_t n = write(STDERR_FILENO, kStopNote, sizeof kStopNote - 1);
}

void InstallInterruptHandler() {
  struct sigaction sa = {};
  sa.sa_handler = OnInterrupt;
  sigemptyset(&sa.sa_mask);
  // Ctrl-C asks for a clean stop, a second one ends the process; a request
  // to terminate (SIGTERM) is a clean stop as well.
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);
}

void RemoveInterruptHandler() {
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
}
#endif

bool HasTable(const std::string& dir) {
  std::error_code ec;
  return !dir.empty() && fs::is_regular_file(fs::path(dir) / kTableFile, ec);
}

const char* SourceName(TableSource source) {
  switch (source) {
    case TableSource::kOption:
      return "--tables";
    case TableSource::kCurrentDirectory:
      return "current directory";
    case TableSource::kInstalled:
      return "installed data";
    case TableSource::kSourceTree:
      return "source tree";
    case TableSource::kNotFound:
      break;
  }
  return "not found";
}

std::string TablePath(const TableChoice& choice) {
  if (choice.source == TableSource::kNotFound) return std::string(kTableFile) + " (not found)";
  return (fs::path(choice.dir) / kTableFile).string() + " (" + SourceName(choice.source) + ")";
}

std::string Verdict(const Result& r) {
  // The same verdict as the report's <SituacaoArquivo>.
  std::string v =
      r.rejected_lines != 0 ? "Arquivo possui registros rejeitados" : "Arquivo validado";
  if (r.cancelled) v += " - Validação Cancelada";
  return v;
}

const char* SeverityWord(int severity) { return severity == 1 ? "warning" : "error"; }

void Appendf(std::string& out, const char* fmt, long long a, long long b = 0, long long c = 0,
             long long d = 0) {
  char buf[160];
  std::snprintf(buf, sizeof buf, fmt, a, b, c, d);
  out += buf;
}

struct Settings {
  std::string file;
  std::string today;
  std::string tables;
  std::string log_dir;
  int log_level = 0;
  int findings = 20;
  bool quiet = false;
};

int RunValidate(const Settings& s, bool log_requested) {
  std::error_code ec;
  if (fs::is_directory(s.file, ec)) {
    std::fprintf(stderr, "volp: %s is a directory, not a declaration file\n", s.file.c_str());
    return kExitNotDone;
  }

  const TableChoice tables =
      FindTables(s.tables, InstalledDataDir(kTableFile), VOLP_SOURCE_DATA_DIR);
  Options options;
  options.today = s.today;
  options.log_level = s.log_level;
  options.log_file = log_requested;
  options.log_dir = s.log_dir.empty() ? "." : s.log_dir;
  // Not found anywhere: leave the current directory to the library, whose
  // E#C message names the file it could not open.
  options.tables_dir = tables.source == TableSource::kNotFound ? "" : tables.dir;
  options.stop = &g_stop;

  // From here on Ctrl-C asks for a clean stop (the header below tells a
  // watching process that the handler is in place).
  g_stop.store(false);
  std::snprintf(g_working_file, sizeof g_working_file, "%s.parcial", ReportPath(s.file).c_str());
  InstallInterruptHandler();

  if (!s.quiet) {
    std::printf("File:     %s\n", s.file.c_str());
    std::printf("Tables:   %s\n", TablePath(tables).c_str());
    if (log_requested) {
      std::printf("Log:      %s/log_VOLP_%d/\n", options.log_dir.c_str(), ProcessIdNow());
    }
    std::fflush(stdout);
  }

  // Only files big enough to take a while get a bar, and only on a terminal.
  std::error_code size_ec;
  const auto size = fs::file_size(s.file, size_ec);
  const bool bar_on =
      !s.quiet && StderrIsTerminal() && !size_ec && static_cast<int64_t>(size) >= kProgressMinBytes;
  auto bar = std::make_shared<ProgressBar>(stderr, bar_on);
  options.progress = [bar](int64_t read, int64_t total) { bar->Update(read, total); };

  const Result result = Validate(s.file, options);
  RemoveInterruptHandler();
  bar->Finish();

  const int status = ExitStatus(result);
  if (!result.completed) {
    std::fprintf(stderr, "volp: the run could not be done: %s\n",
                 ForTerminal(result.failure.empty() ? "unknown failure" : result.failure).c_str());
  }
  if (!s.quiet && result.completed) std::fputs(Summary(result, s.findings).c_str(), stdout);
  return status;
}

constexpr const char* kValidateFooter = R"(What is checked:
  The framing of every line (CR LF, the "|" delimiters, field sizes, ISO 8859-1
  text), the order of the records from 0000 to 9999, every field against its
  layout (numbers, dates, times, CNPJ and CPF check digits, IBGE municipality
  codes, UF and CEP ranges, e-mails, access keys of fiscal documents), the rules
  of each record type, the references between records (clients 0100, capture
  devices 0200, partner institutions 0300), the sums of the transactions 1115
  into their daily totals 1110 and of those into the monthly summaries 1100,
  the monthly minimum of clients identified by CPF, and the line counts of
  blocks 0, 1 and 9 with the per-type totals of the 9900 records.

Report:
  <stem>.validacao.xml, where <stem> is FILE up to its last "." (a dot in a
  directory name counts: lote.2025/decl gives lote.validacao.xml), in
  ISO 8859-1: every finding with its line, byte position, field and message,
  the counts per record type, the SHA-256 of the file and the verdict
  "Arquivo validado" or "Arquivo possui registros rejeitados". While a large
  file is read, <stem>.validacao.xml.parcial holds a partial report (every
  100,000 lines, at most every 5 seconds). A file without errors also gets
  <stem>.rcad.txt, the registration summary.

Summary:
  volp prints the verdict, the counters, the counts per record type that has
  findings and the first findings (--findings N) with line, record type, field
  and message. A progress bar is drawn on stderr when it is a terminal and the
  file is large.

Municipality table:
  RELATORIO_DTB_BRASIL_MUNICIPIO.csv is read from --tables DIR when given, else
  from the current directory, else from the installed data directory, else from
  the source tree's data directory. The summary says which one was used.

Stopping a run:
  Ctrl-C (or SIGTERM) asks the run to stop at its next checkpoint (every
  100,000 lines); the report is still written and says "Validação Cancelada".
  A second Ctrl-C ends volp at once and removes the partial report. Another process can stop the run by creating the stop file
  .parar_ValidadorVOLP-<pid> in volp's current directory (looked at every
  100,000 lines, at most every 5 seconds; volp deletes it).

Exit status:
  0  the file is valid: no errors (warnings allowed)
  1  the file has errors
  2  the run could not be done (bad arguments, missing or unreadable file, a
     directory, no municipality table, report not writable) or was cancelled
)";

}  // namespace

TableChoice FindTables(const std::string& option_dir, const std::string& installed_dir,
                       const std::string& source_dir) {
  if (!option_dir.empty()) return {option_dir, TableSource::kOption};
  std::error_code ec;
  const std::string cwd = fs::current_path(ec).string();
  if (!ec && HasTable(cwd)) return {cwd, TableSource::kCurrentDirectory};
  if (HasTable(installed_dir)) return {installed_dir, TableSource::kInstalled};
  if (HasTable(source_dir)) return {source_dir, TableSource::kSourceTree};
  return {"", TableSource::kNotFound};
}

int ExitStatus(const Result& result) {
  if (!result.completed || result.cancelled) return kExitNotDone;
  // Errors and not the verdict: an empty file's findings stand on line 0,
  // which no rejected-line count ever sees, yet the file is not valid.
  return result.errors != 0 ? kExitErrors : kExitValid;
}

std::string ForTerminal(std::string_view latin1) {
  std::string clean(latin1);
  for (char& c : clean) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F || (b >= 0x80 && b <= 0x9F)) c = '?';
  }
  return Latin1ToUtf8(clean);
}

std::string Summary(const Result& r, int max_findings) {
  std::string out;
  out += "Report:   " + r.report_path + "\n";
  if (!r.sha256.empty()) out += "SHA-256:  " + r.sha256 + "\n";
  Appendf(out, "Records:  %lld read, %lld bytes\n", r.records_read, r.file_size);
  Appendf(out,
          "Errors:   %lld   warnings: %lld   rejected lines: %lld   unknown record types: %lld\n",
          r.errors, r.warnings, r.rejected_lines, r.unknown_records);
  out += "Verdict:  " + Verdict(r) + "\n";
  if (r.errors != 0 && r.rejected_lines == 0) {
    out +=
        "          (the errors stand on no record line, so the report's verdict does not count "
        "them)\n";
  }

  // Per-type counts, only for the types that have findings, plus the
  // findings that belong to no record type (file-level ones).
  bool header = false;
  for (const TypeSummary& t : r.types) {
    if (t.errors == 0 && t.warnings == 0) continue;
    if (!header) {
      out += "\nFindings per record type:\n  type   errors warnings rejected    total\n";
      header = true;
    }
    char buf[128];
    std::snprintf(buf, sizeof buf, "  %-4s %8lld %8lld %8lld %8lld\n", t.code.c_str(),
                  static_cast<long long>(t.errors), static_cast<long long>(t.warnings),
                  static_cast<long long>(t.rejected), static_cast<long long>(t.total));
    out += buf;
  }
  long long file_level[2] = {0, 0};
  for (const Finding& f : r.findings) {
    if (f.record_type.empty()) ++file_level[f.severity == 1 ? 1 : 0];
  }
  if (file_level[0] + file_level[1] != 0) {
    if (!header) out += "\nFindings per record type:\n  type   errors warnings rejected    total\n";
    Appendf(out, "  file %8lld %8lld\n", file_level[0], file_level[1]);
  }

  if (!r.findings.empty() && max_findings > 0) {
    const size_t shown = std::min(r.findings.size(), static_cast<size_t>(max_findings));
    if (shown == r.findings.size()) {
      Appendf(out, "\nFindings (%lld):\n", static_cast<long long>(shown));
    } else {
      Appendf(out, "\nFirst %lld of %lld findings:\n", static_cast<long long>(shown),
              static_cast<long long>(r.findings.size()));
    }
    for (size_t i = 0; i < shown; ++i) {
      const Finding& f = r.findings[i];
      Appendf(out, "  line %lld", f.line);
      if (!f.record_type.empty()) out += " " + ForTerminal(f.record_type);
      if (f.field_number > 0) {
        Appendf(out, " field %02lld", f.field_number);
        if (!f.field_name.empty()) out += " (" + ForTerminal(f.field_name) + ")";
      }
      out += ": " + ForTerminal(f.message) + " [" + SeverityWord(f.severity) + "]\n";
    }
    if (shown < r.findings.size()) {
      Appendf(out, "  ... %lld more in the report.\n",
              static_cast<long long>(r.findings.size() - shown));
    }
  }
  return out;
}

void AddValidateCommand(CLI::App& app, int* exit_code) {
  auto settings = std::make_shared<Settings>();
  CLI::App* cmd = app.add_subcommand(
      "validate", "Validate a VOLP declaration file, write its report and print a summary.");
  cmd->footer(kValidateFooter);
  cmd->add_option("FILE", settings->file, "The declaration file (ISO 8859-1, CR LF lines)")
      ->required();
  cmd->add_option("--today", settings->today,
                  "Validate as if today were AAAAMMDD (dates after it are \"adiantada\"; "
                  "reproducible results for old files). Default: today")
      ->check(CLI::Validator(
          [](std::string& v) -> std::string {
            if (v.size() != 8 || v.find_first_not_of("0123456789") != std::string::npos) {
              return "expected a date AAAAMMDD, e.g. 20260115";
            }
            return "";
          },
          "AAAAMMDD"));
  cmd->add_option("--tables", settings->tables,
                  "Directory of RELATORIO_DTB_BRASIL_MUNICIPIO.csv (default: searched, see below)")
      ->check(CLI::ExistingDirectory);
  CLI::Option* level = cmd->add_option(
      "--log-level", settings->log_level,
      "Write a log file with the lines up to this level: 0 errors, 3 progress, 5 every record, "
      "7 every finding");
  level->check(CLI::Range(0, 9));
  CLI::Option* dir = cmd->add_option(
      "--log-dir", settings->log_dir,
      "Write the log under DIR/log_VOLP_<pid>/ (default: the current directory when "
      "--log-level is given)");
  cmd->add_option("--findings", settings->findings,
                  "How many findings to print (default 20; 0 prints none; all are in the report)")
      ->check(CLI::NonNegativeNumber);
  cmd->add_flag("-q,--quiet", settings->quiet,
                "Print nothing but failures; the exit status tells the verdict");
  cmd->callback([settings, level, dir, exit_code] {
    *exit_code = RunValidate(*settings, level->count() > 0 || dir->count() > 0);
  });
}

}  // namespace volp::cli
