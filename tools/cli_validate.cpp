#include "cli_validate.hpp"

#if defined(_WIN32)
#include <io.h>
#include <process.h>
#else
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include "cli_batch.hpp"
#include "cli_data.hpp"
#include "cli_files.hpp"
#include "cli_input.hpp"
#include "cli_outputs.hpp"
#include "cli_progress.hpp"
#include "cli_signals.hpp"
#include "cli_spool.hpp"
#include "cli_summary.hpp"
#include "cli_terminal.hpp"
#include "volp/reports.hpp"

#ifndef VOLP_SOURCE_DATA_DIR
#define VOLP_SOURCE_DATA_DIR ""
#endif

namespace volp::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTableFile = "RELATORIO_DTB_BRASIL_MUNICIPIO.csv";

#if defined(_WIN32)
int ProcessIdNow() { return _getpid(); }
bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }
#else
int ProcessIdNow() { return static_cast<int>(getpid()); }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) != 0; }
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

struct Settings {
  std::vector<std::string> files;
  std::string today;
  std::string tables;
  std::string log_dir;
  int log_level = 0;
  int examples = 3;
  bool quiet = false;
  std::string json;
  std::string json_findings = "groups";
  std::string html;
  std::string report_dir;
  std::string name;
  std::string color = "auto";
  int threads = 0;
  bool force = false;
  std::string max_size;
};

// What every file of one command shares.
struct Batch {
  const Settings* s = nullptr;
  bool log_requested = false;
  TableChoice tables;
  std::FILE* human = stdout;  // stderr when stdout carries the JSON report
  SummaryOptions summary;
  SpoolLimits limits;
};

// One input and where everything it gives goes, fixed before the first run.
struct Plan {
  Input input;
  bool gzip = false;
  std::string stem;  // Options::report_stem; "" = beside the input, the library's own name
  std::string xml;   // the XML report; its working file and lock add ".parcial", ".trava"
  std::string rcad;  // the registration summary
  std::string json;  // "" when not asked for; "-" = standard output
  std::string html;
};

// File names come from the command line or a directory listing: shown as
// they are, less the control bytes that could drive the terminal.
std::string SafeName(std::string name) {
  for (char& c : name) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F) c = '?';
  }
  return name;
}

bool EndsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

std::string StdinName(const Settings& s) { return s.name.empty() ? "stdin" : s.name; }

Plan PlanOf(const Input& input, const Settings& s, bool several) {
  const std::string kXml = ".validacao.xml";
  Plan p;
  p.input = input;
  const bool from_stdin = input.path == "-";
  p.gzip = !from_stdin && IsGzip(input.path);
  if (from_stdin) {
    p.stem = (fs::path(s.report_dir) / StdinName(s)).string();
  } else if (!s.report_dir.empty()) {
    p.stem = (fs::path(s.report_dir) / StemOf(input.path)).string();
  } else if (p.gzip) {
    // Beside the input, as if it were the file without ".gz".
    std::string plain = input.path;
    if (EndsWith(plain, ".gz")) plain.resize(plain.size() - 3);
    p.stem = ReportPath(plain);
    p.stem.resize(p.stem.size() - kXml.size());
  }
  p.xml = p.stem.empty() ? ReportPath(input.path) : p.stem + kXml;
  p.rcad = p.xml.substr(0, p.xml.size() - kXml.size()) + ".rcad.txt";
  // With several files, --json and --html name directories that take each
  // report under the XML report's name.
  std::string base = fs::path(p.xml).filename().string();
  base.resize(base.size() - kXml.size());
  auto place = [&](const std::string& out, const char* ext) {
    return out.empty() || !several ? out : (fs::path(out) / (base + ext)).string();
  };
  p.json = place(s.json, ".validacao.json");
  p.html = place(s.html, ".validacao.html");
  return p;
}

// Every path the command reads and writes, for FindClashes.
std::vector<PlannedPath> PathsOf(const std::vector<Plan>& plans, const TableChoice& tables) {
  std::vector<PlannedPath> paths;
  for (size_t i = 0; i < plans.size(); ++i) {
    const Plan& p = plans[i];
    if (!p.input.problem.empty()) continue;
    const int owner = static_cast<int>(i);
    const bool from_stdin = p.input.path == "-";
    const std::string of = " of " + (from_stdin ? "standard input" : p.input.path);
    if (!from_stdin)
      paths.push_back({p.input.path, "the input " + p.input.path, true, false, owner});
    paths.push_back({p.xml, "the XML report" + of, false, false, owner});
    paths.push_back({p.xml + ".parcial", "the XML report's working file" + of, false, true, owner});
    paths.push_back({p.xml + ".trava", "the XML report's lock file" + of, false, true, owner});
    paths.push_back({p.rcad, "the registration summary" + of, false, false, owner});
    // Their working files are named after the process as well as the
    // report (WriteFileAtomically): no other output can take those names.
    for (const auto& [out, what] : {std::pair{p.json, "JSON"}, std::pair{p.html, "HTML"}}) {
      if (out.empty() || out == "-") continue;
      paths.push_back({out, std::string("the ") + what + " report" + of, false, false, owner});
    }
  }
  if (tables.source != TableSource::kNotFound) {
    paths.push_back(
        {(fs::path(tables.dir) / kTableFile).string(), "the municipality table", true, false, -1});
  }
  return paths;
}

// Writes one JSON or HTML report: to standard output for "-", else in one
// step to its place. False (and a message) when it could not be written.
bool WriteReport(const std::string& path, const std::string& bytes, VolpOutput kind, bool force) {
  const char* what = kind == VolpOutput::kJsonReport ? "JSON" : "HTML";
  if (path == "-") {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() ||
        std::fflush(stdout) != 0) {
      std::fprintf(stderr, "volp: could not write the %s report to standard output: %s\n", what,
                   std::strerror(errno));
      return false;
    }
    return true;
  }
  // Looked at before the first run already; again, since a run takes time.
  std::string error = CheckReplace(path, kind, force);
  if (error.empty() && WriteFileAtomically(path, bytes, &error)) return true;
  std::fprintf(stderr, "volp: could not write the %s report %s: %s\n", what, SafeName(path).c_str(),
               SafeName(error).c_str());
  return false;
}

BatchRow RunOne(const Plan& plan, const Batch& b) {
  const Settings& s = *b.s;
  const Input& input = plan.input;
  const bool from_stdin = input.path == "-";
  BatchRow row;
  row.file = from_stdin ? "-" : SafeName(input.path);
  row.verdict = "not done";
  row.read = "-";
  row.status = kExitNotDone;
  if (!input.problem.empty()) {
    std::fprintf(stderr, "volp: %s: %s\n", row.file.c_str(), input.problem.c_str());
    return row;
  }

  // A stream or gzip data is validated through a plain temporary copy, the
  // reports named after the original.
  Spool spool;
  std::string path = input.path;
  if (from_stdin || plan.gzip) {
    std::string error;
    const std::string spool_stem = from_stdin ? StdinName(s) : StemOf(input.path);
    if (!spool.Fill(input.path, s.report_dir, spool_stem, b.limits, &g_stop, &error)) {
      std::fprintf(stderr, "volp: %s\n", SafeName(error).c_str());
      if (g_stop.load()) row.verdict = "cancelled";
      return row;
    }
    path = spool.path();
  }

  Options options;
  options.today = s.today;
  options.log_level = s.log_level;
  options.log_file = b.log_requested;
  options.log_dir = s.log_dir.empty() ? "." : s.log_dir;
  // Not found anywhere: leave the current directory to the library, whose
  // E#C message names the file it could not open.
  options.tables_dir = b.tables.source == TableSource::kNotFound ? "" : b.tables.dir;
  options.stop = &g_stop;
  options.report_stem = plan.stem;
  options.threads = s.threads;

  if (!s.quiet) {
    std::string shown = from_stdin ? "standard input" : row.file;
    if (spool.decompressed()) shown += " (gzip: validated decompressed, through a temporary copy)";
    std::fprintf(b.human, "File:     %s\n", shown.c_str());
    std::fprintf(b.human, "Tables:   %s\n", TablePath(b.tables).c_str());
    std::fflush(b.human);
  }

  // Only files big enough to take a while get a bar, and only on a terminal.
  std::error_code size_ec;
  const auto size = fs::file_size(path, size_ec);
  const bool bar_on =
      !s.quiet && StderrIsTerminal() && !size_ec && static_cast<int64_t>(size) >= kProgressMinBytes;
  auto bar = std::make_shared<ProgressBar>(stderr, bar_on);
  options.progress = [bar](int64_t read, int64_t total) { bar->Update(read, total); };

  // What a second signal takes away if it ends volp mid-run. A lock file
  // already there belongs to another run on the same file (which this one
  // will not get past), or to a run that was killed: the working file beside
  // it is then not this run's to remove either.
  const std::string lock = plan.xml + ".trava";
  const bool ours = KindOf(lock) == PathKind::kMissing;
  SetRunLeftovers(ours ? plan.xml + ".parcial" : "", ours ? lock : "");
  const Result result = Validate(path, options);
  SetRunLeftovers("", "");
  bar->Finish();
  // Where the log went is said once it is known: a log directory or file
  // that could not be made (or a link planted at its name) leaves the run
  // without a log, and that is said instead.
  if (b.log_requested && !s.quiet) {
    if (!result.log_path.empty())
      std::fprintf(b.human, "Log:      %s\n", SafeName(result.log_path).c_str());
    else
      std::fprintf(b.human, "Log:      none: %s/log_VOLP_%d/ could not be made or written\n",
                   SafeName(options.log_dir).c_str(), ProcessIdNow());
  }

  row.status = ExitStatus(result);
  if (!result.completed) {
    std::fprintf(stderr, "volp: the run could not be done: %s\n",
                 ForTerminal(result.failure.empty() ? "unknown failure" : result.failure).c_str());
    return row;
  }
  row.verdict = result.cancelled ? "cancelled" : result.errors != 0 ? "errors" : "valid";
  row.read =
      result.read_whole_file()
          ? "whole"
          : std::to_string(result.file_size > 0
                               ? std::min<int64_t>(result.bytes_read * 100 / result.file_size, 99)
                               : 0) +
                "%";
  row.errors = result.errors;
  row.warnings = result.warnings;
  row.lines = result.last_line;
  row.seconds = result.elapsed_seconds;

  // The reports for programs and for the browser, from the run's own
  // result: never from the text of any report.
  ReportOptions report;
  report.input_name = from_stdin ? StdinName(s) : input.path;
  report.decompressed = spool.decompressed();
  report.all_findings = s.json_findings == "all";
  if (!plan.json.empty() &&
      !WriteReport(plan.json, JsonReport(result, report), VolpOutput::kJsonReport, s.force)) {
    row.status = kExitNotDone;
  }
  if (!plan.html.empty() &&
      !WriteReport(plan.html, HtmlReport(result, report), VolpOutput::kHtmlReport, s.force)) {
    row.status = kExitNotDone;
  }

  if (!s.quiet) {
    SummaryOptions summary = b.summary;
    summary.decompressed = spool.decompressed();
    std::fputs(Summary(result, summary).c_str(), b.human);
    std::fflush(b.human);
  }
  return row;
}

// Checks what cannot be known one file at a time; a message and false when
// the command cannot be done as given.
bool CheckCommand(const Settings& s, const std::vector<Input>& inputs, bool several) {
  int stdin_count = 0;
  for (const Input& in : inputs) stdin_count += in.path == "-" ? 1 : 0;
  auto refuse = [](const std::string& why) {
    std::fprintf(stderr, "volp: %s\n", why.c_str());
    return false;
  };
  if (inputs.empty()) return refuse("nothing to validate");
  if (stdin_count > 1) return refuse("standard input (-) can be read only once");
  if (stdin_count == 1 && s.report_dir.empty()) {
    return refuse(
        "reading standard input (-) needs --report-dir DIR: its reports are named "
        "DIR/<name>.validacao.xml (--name NAME, default \"stdin\")");
  }
  if (!s.name.empty()) {
    if (stdin_count == 0) return refuse("--name names the reports of standard input (-) only");
    if (s.name == "." || s.name == ".." || s.name.find_first_of("/\\") != std::string::npos) {
      return refuse("--name takes a plain file name, without a directory");
    }
  }
  if (several && s.json == "-") {
    return refuse("--json - writes one report: with several files, give --json DIR");
  }
  return true;
}

// Refuses, naming each one, a command whose outputs would land on one of its
// inputs or on one another, or whose --json or --html would replace a file
// that is not such a report; true when there is none.
bool CheckOutputs(const Settings& s, const std::vector<Plan>& plans, const TableChoice& tables,
                  bool several) {
  std::vector<std::string> problems = FindClashes(PathsOf(plans, tables));
  // With several files, --json and --html are directories.
  for (const auto& [option, value] : {std::pair{"--json", &s.json}, std::pair{"--html", &s.html}}) {
    if (!several || value->empty()) continue;
    const PathKind kind = KindOf(*value);
    if (kind != PathKind::kMissing && kind != PathKind::kDirectory) {
      problems.push_back(std::string(option) + " " + *value + ": with several files it names a " +
                         "directory, and it is " + KindName(kind));
    }
  }
  for (const Plan& p : plans) {
    if (!p.input.problem.empty()) continue;
    for (const auto& [option, out, kind] :
         {std::tuple{"--json", &p.json, VolpOutput::kJsonReport},
          std::tuple{"--html", &p.html, VolpOutput::kHtmlReport}}) {
      if (out->empty() || *out == "-") continue;
      const std::string why = CheckReplace(*out, kind, s.force);
      if (!why.empty()) problems.push_back(std::string(option) + ": " + *out + ": " + why);
    }
  }
  for (const std::string& problem : problems) {
    std::fprintf(stderr, "volp: %s\n", SafeName(problem).c_str());
  }
  if (!problems.empty()) {
    std::fprintf(stderr, "volp: refused before any run: nothing was validated or written\n");
  }
  return problems.empty();
}

bool MakeDirectory(const std::string& dir, const char* what) {
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (ec || !fs::is_directory(dir, ec)) {
    std::fprintf(stderr, "volp: cannot make the %s %s: %s\n", what, SafeName(dir).c_str(),
                 ec ? ec.message().c_str() : "not a directory");
    return false;
  }
  return true;
}

int RunValidate(const Settings& s, bool log_requested) {
  std::vector<std::string> notes;
  const std::vector<Input> inputs = ExpandInputs(s.files, &notes);
  if (!s.quiet) {
    for (const std::string& note : notes)
      std::fprintf(stderr, "volp: %s\n", SafeName(note).c_str());
  }
  bool several = inputs.size() > 1;
  for (const std::string& f : s.files) {
    if (f != "-" && KindOf(f) == PathKind::kDirectory) several = true;
  }
  if (!CheckCommand(s, inputs, several)) return kExitNotDone;

  Batch b;
  b.s = &s;
  b.log_requested = log_requested;
  b.tables = FindTables(s.tables, InstalledDataDir(kTableFile), VOLP_SOURCE_DATA_DIR);
  if (!s.max_size.empty()) ParseSize(s.max_size, &b.limits.max_bytes);  // checked by the parser

  std::vector<Plan> plans;
  plans.reserve(inputs.size());
  for (const Input& in : inputs) plans.push_back(PlanOf(in, s, several));
  if (!CheckOutputs(s, plans, b.tables, several)) return kExitNotDone;

  if (!s.report_dir.empty() && !MakeDirectory(s.report_dir, "report directory")) {
    return kExitNotDone;
  }
  if (!s.log_dir.empty() && !MakeDirectory(s.log_dir, "log directory")) return kExitNotDone;
  if (several) {
    if (!s.json.empty() && !MakeDirectory(s.json, "JSON report directory")) return kExitNotDone;
    if (!s.html.empty() && !MakeDirectory(s.html, "HTML report directory")) return kExitNotDone;
  }
  // Copies that killed processes left where this command may make its own.
  RemoveStaleSpools(SpoolBase(""));
  if (!s.report_dir.empty()) RemoveStaleSpools(s.report_dir);

  // With the JSON report on standard output, the summary goes to stderr.
  b.human = s.json == "-" ? stderr : stdout;
  const ColorMode mode = s.color == "always"  ? ColorMode::kAlways
                         : s.color == "never" ? ColorMode::kNever
                                              : ColorMode::kAuto;
  b.summary.style.on = UseColor(mode, IsTerminal(b.human), std::getenv("NO_COLOR"));
  b.summary.width = TerminalWidth(b.human);
  b.summary.examples = s.examples;

  // From here on Ctrl-C asks for a clean stop: the file being validated
  // ends as a cancelled run, and the files after it are skipped.
  g_stop.store(false);
  InstallStopHandlers();
  std::vector<BatchRow> rows;
  int status = kExitValid;
  for (const Plan& plan : plans) {
    if (several && !s.quiet && !rows.empty()) std::fputs("\n", b.human);
    BatchRow row;
    if (g_stop.load()) {
      row.file = plan.input.path == "-" ? "-" : SafeName(plan.input.path);
      row.verdict = "skipped";
      row.read = "-";
      row.status = kExitNotDone;
    } else {
      row = RunOne(plan, b);
    }
    status = WorstStatus(status, row.status);
    rows.push_back(row);
  }
  RemoveStopHandlers();

  if (several && !s.quiet) {
    std::fputs(("\n" + BatchTable(rows, b.summary.width, b.summary.style)).c_str(), b.human);
    if (g_stop.load()) {
      std::fputs("Stopped by Ctrl-C: the file being validated was cancelled, the rest skipped.\n",
                 b.human);
    }
    std::fflush(b.human);
  }
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

Inputs:
  Each FILE is validated in turn. A directory stands for its *.txt and
  *.txt.gz regular files (not those of its subdirectories), in name order.
  Only regular files are read: a FIFO, a device or a socket is refused. The
  reports volp writes (known by their first bytes, whatever their names) are
  never validated: a directory's *.rcad.txt are passed over, and one named
  on the command line is left out with a note. Gzip data (known by its first
  bytes, whatever the name) is decompressed into a temporary copy that is
  validated and then removed; its size, lines and SHA-256 are those of the
  decompressed bytes, and the summary says so. "-" reads standard input
  (plain or gzip) the same way; it needs --report-dir, and its reports are
  named after --name (default "stdin"). The temporary copy goes in a private
  folder .volp-<pid>-<n> (mode 0700, the copy 0600) in --report-dir, else in
  the system's temporary directory; it may take at most --max-size (default
  64G) and never leaves less than 1 GiB free on its disk. Copies that killed
  processes left there are removed when volp next starts.

Report:
  <stem>.validacao.xml, where <stem> is FILE up to its last "." (a dot in a
  directory name counts: lote.2025/decl gives lote.validacao.xml; x.txt.gz
  gives x), in ISO 8859-1: every finding with its line, byte position, field
  and message, the counts per record type, the SHA-256 of the file and the
  verdict "Arquivo validado" or "Arquivo possui registros rejeitados". While
  a large file is read, <stem>.validacao.xml.parcial holds a partial report
  (every 100,000 lines, at most every 5 seconds). A file without errors also
  gets <stem>.rcad.txt, the registration summary. With --report-dir DIR the
  reports go to DIR/<name>, <name> being the file name up to its last "."
  (DIR is made when missing). Take the verdict from the exit status or the
  JSON report: never by searching the XML report's text, which quotes the
  file's own contents as they are.
  --json OUT and --html OUT write the JSON and HTML reports; with several
  files OUT is a directory (made when missing) that receives
  <name>.validacao.json and <name>.validacao.html for each file. They replace
  only nothing, an empty file or a report of their own kind that volp wrote;
  --force lets them replace any other regular file.
  Before any run, volp works out every file the command writes (the XML
  report, its .parcial working file and .trava lock, the .rcad.txt summary,
  the JSON and HTML reports) and refuses the whole command, naming each
  clash, when two of them are one file or one is a file the command reads
  (x.txt beside x.txt.gz, --json naming a declaration). Paths are compared
  as files (device and file number), not as texts.

Summary:
  volp prints whether the whole file was read (if not, the line it stopped at,
  the share of the file read and why: the 3,000-error limit, too many lines of
  unknown type, Ctrl-C, a read error), the time and rate, the verdict (for a
  run that stopped early, said to be on the lines read only), the counts per
  record type, and the findings grouped by message code with their counts and
  the first examples of each (--findings N). Findings that the end-of-file
  checks made after an early stop are listed apart: they follow from the
  stop, not from the file. Lines are fitted to the terminal's width (else
  $COLUMNS, else 100); colours only on a terminal when NO_COLOR is not set
  (--color). A progress bar is drawn on stderr when it is a terminal and the
  file is large. With several files, a table (file, verdict, share read,
  errors, warnings, lines, time) ends the output.

Municipality table:
  RELATORIO_DTB_BRASIL_MUNICIPIO.csv is read from --tables DIR when given, else
  from the current directory, else from the installed data directory, else from
  the source tree's data directory. The summary says which one was used.

Stopping a run:
  Ctrl-C (or SIGTERM) asks the run to stop at its next checkpoint (every
  100,000 lines); the report is still written and says "Validação Cancelada".
  With several files, the files not yet started are skipped. A second Ctrl-C
  or SIGTERM, in any order, ends volp at once and removes the partial
  report, the run's lock file and any temporary copy.
  Another process can stop the run by creating the stop file
  .parar_ValidadorVOLP-<pid> in volp's current directory (looked at every
  100,000 lines, at most every 5 seconds; volp deletes it).

Exit status (with several files, the worst of them):
  0  the file is valid: no errors (warnings allowed)
  1  the file has errors
  2  the run could not be done (bad arguments, missing or unreadable file, a
     FIFO or device, a directory without *.txt files, no municipality table,
     a report or the temporary copy not writable, a copy past --max-size,
     outputs that would land on an input or on one another) or was cancelled
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

void AddValidateCommand(CLI::App& app, int* exit_code) {
  auto settings = std::make_shared<Settings>();
  CLI::App* cmd = app.add_subcommand(
      "validate",
      "Validate VOLP declaration files, write their reports and print a summary of each.");
  cmd->footer(kValidateFooter);
  cmd->add_option("FILE", settings->files,
                  "Declaration files (ISO 8859-1, CR LF lines; plain or gzip), directories (their "
                  "*.txt and *.txt.gz files) or - for standard input")
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
  cmd->add_option("--threads", settings->threads,
                  "Threads: 1 does everything on one; 2 reads, hashes and splits lines ahead on "
                  "a second; 3 to 5 add threads that split and check lines ahead, leaving the "
                  "second to read and hash (default: 3 with at least 4 cores, else 2)")
      ->check(CLI::Range(1, 5));
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
      "Write the log under DIR/log_VOLP_<pid>/; DIR is made (with its parents) when missing "
      "(default: the current directory when --log-level is given)");
  cmd->add_option("--findings,--examples", settings->examples,
                  "Examples the summary shows under each message code (default 3; 0 shows the "
                  "codes and counts only; all findings are in the report)")
      ->check(CLI::NonNegativeNumber);
  cmd->add_option("--report-dir", settings->report_dir,
                  "Put every report (XML, rcad, JSON, HTML) in DIR, named after the input; DIR "
                  "is made when missing. Needed for -")
      ->type_name("DIR");
  cmd->add_option("--json", settings->json,
                  "Write the JSON report to OUT (- = standard output; the summary then goes to "
                  "stderr). With several files: a directory. Replaces only an empty file or a "
                  "JSON report volp wrote (see --force)")
      ->type_name("OUT");
  cmd->add_option("--json-findings", settings->json_findings,
                  "The JSON report lists the findings in groups (default) or all of them too")
      ->check(CLI::IsMember({"groups", "all"}));
  cmd->add_option("--html", settings->html,
                  "Write the HTML report (one self-contained page) to OUT. With several files: a "
                  "directory. Replaces only an empty file or an HTML report volp wrote")
      ->type_name("OUT");
  cmd->add_option("--name", settings->name,
                  "The name of standard input's reports (default \"stdin\"): "
                  "<report-dir>/<name>.validacao.xml")
      ->type_name("NAME");
  cmd->add_option("--color", settings->color,
                  "Colours in the summary: auto (on a terminal, unless NO_COLOR is set), always, "
                  "never")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  cmd->add_flag("--force", settings->force,
                "Let --json and --html replace a file that is not a report of that kind volp "
                "wrote (never an input or another output of the command)");
  cmd->add_option("--max-size", settings->max_size,
                  "The most a temporary copy of standard input or of a gzip file may take, e.g. "
                  "512M, 10G (default 64G); a copy also always leaves 1 GiB free on its disk")
      ->type_name("SIZE")
      ->check(CLI::Validator(
          [](std::string& v) -> std::string {
            int64_t bytes = 0;
            return ParseSize(v, &bytes) ? "" : "expected a size such as 900M, 10G or 1048576";
          },
          ""));
  cmd->add_flag("-q,--quiet", settings->quiet,
                "Print nothing but failures; the exit status tells the verdict");
  cmd->callback([settings, level, dir, exit_code] {
    *exit_code = RunValidate(*settings, level->count() > 0 || dir->count() > 0);
  });
}

}  // namespace volp::cli
