// The two ways in: the exported C entry, whose findings and counters live for
// the process, and the C++ API, which gives every call its own.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/messages.hpp"
#include "driver/validator.hpp"
#include "entry/lifetime.hpp"
#include "entry/tables_search.hpp"
#include "platform/platform.hpp"
#include "volp/validator.hpp"
#include "volp/volp.h"

namespace volp {

namespace {

// The log directory from the transmitter's third argument: its first 999
// characters, cut before the last "\" or "/", then "<dir>/log_VOLP_<pid>".
std::string LogDirectoryFrom(const char* caminho) {
  std::string dir(caminho ? caminho : "");
  if (dir.size() > 999) dir.resize(999);
  const size_t sep = dir.find_last_of("/\\");
  if (sep != std::string::npos) dir.resize(sep);
  std::string out =
      dir + platform::Separator() + "log_VOLP_" + std::to_string(platform::ProcessId());
  if (out.size() > 511) out.resize(511);
  return out;
}

struct ProcessWide {
  ProcessState ps;
  Log log;
};

// Made at the first call; released when the library is unloaded
// (ReleaseEntryState), so that a library loaded again starts from zero.
ProcessWide* g_process = nullptr;

ProcessWide& Process() {
  if (g_process == nullptr) g_process = new ProcessWide;
  return *g_process;
}

}  // namespace

void ReleaseEntryState() {
  delete g_process;
  g_process = nullptr;
}

Result Validate(const std::string& path, const Options& options) {
  ProcessState ps;
  Log log;
  log.Configure(
      options.log_level,
      options.log_dir + platform::Separator() + "log_VOLP_" + std::to_string(platform::ProcessId()),
      options.log_file);
  // Opened at once, so that the result can say where the log is, or that
  // there is none, whatever level of lines the run writes.
  log.Open();
  log.Write(3, "Validate(%s)\n", path.c_str());

  RunOptions ro;
  // No directory given: the current one, then the installed tree's data
  // (ValidadorVOLP keeps to the current directory).
  ro.tables_dir = options.tables_dir.empty() ? DefaultTablesDir() : options.tables_dir;
  ro.today = options.today;
  ro.stop_request = options.stop;
  ro.progress = options.progress;
  ro.report_stem = options.report_stem;
  ro.threads = options.threads;

  RunSummary summary;
  Result r;
  r.path = path;
  const int64_t start_ns = platform::NowNs();
  r.completed = ExecutarValidacao(ps, log, path, ro, &summary) == 1;
  r.failure = log.last_error();
  r.report_path = summary.report_path;
  r.tables_path = summary.tables_path;
  r.cancelled = ps.stop;
  r.file_size = summary.file_size;
  r.records_read = summary.records_read;
  r.errors = ps.findings.errors;
  r.warnings = ps.findings.warnings;
  r.rejected_lines = ps.findings.rejected_lines;
  r.unknown_records = ps.unknown_records;
  r.sha256 = summary.sha256;
  r.stop_reason = summary.stop_reason;
  r.last_line = summary.last_line;
  r.bytes_read = summary.bytes_read;
  r.validation_date = summary.validation_date;
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const TypeCounters& t = ps.findings.per_type[i];
    r.types.push_back({kRecordTypes[i].code, t.count, t.rejected, t.warnings, t.errors});
  }
  r.findings = std::move(ps.findings.list);
  std::stable_sort(r.findings.begin(), r.findings.end(),
                   [](const Finding& a, const Finding& b) { return a.line < b.line; });
  r.elapsed_seconds = static_cast<double>(platform::NowNs() - start_ns) / 1e9;
  r.log_path = log.written();
  return r;
}

std::string ReportPath(const std::string& path) { return ReportNameFor(path); }

std::string_view MessageTemplate(std::string_view code) {
  for (const MessageDef& m : kMessages)
    if (code == m.code) return m.format;
  return {};
}

const char* StopReasonName(StopReason reason) {
  switch (reason) {
    case StopReason::kNone:
      break;
    case StopReason::kErrorLimit:
      return "error-limit";
    case StopReason::kUnknownTypeLimit:
      return "unknown-type-limit";
    case StopReason::kCancelled:
      return "cancelled";
    case StopReason::kReadError:
      return "read-error";
  }
  return "complete";
}

std::string Latin1ToUtf8(std::string_view latin1) {
  std::string out;
  out.reserve(latin1.size() + latin1.size() / 8);
  for (unsigned char c : latin1) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

}  // namespace volp

extern "C" VOLP_API int ValidadorVOLP(const char* arquivo, const char* nivelLog,
                                      const char* caminhoLog, const char* ligarLog) {
  using namespace volp;
  // No exception crosses into the transmitter: a run that runs out of memory
  // or meets any other failure is simply not done.
  try {
    ProcessWide& p = Process();
    const int level = static_cast<int16_t>(std::atoi(nivelLog ? nivelLog : "0"));
    const bool enabled = std::atoi(ligarLog ? ligarLog : "0") != 0;
    p.log.Configure(level, LogDirectoryFrom(caminhoLog), enabled);
    p.log.Write(3, "ValidadorVOLP(%s, %s, %s, %s)\n", arquivo ? arquivo : "(null)",
                nivelLog ? nivelLog : "(null)", caminhoLog ? caminhoLog : "(null)",
                ligarLog ? ligarLog : "(null)");
    if (arquivo == nullptr) {
      p.log.Write(3, "Fim ValidadorVOLP: 0\n");
      return 0;
    }
    RunOptions options;  // municipality table from the current directory, today's date
    return ExecutarValidacao(p.ps, p.log, arquivo, options, nullptr);
  } catch (...) {
    return 0;
  }
}
