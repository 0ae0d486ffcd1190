// volp for C++ programs: validate a declaration file and get the verdict, the
// counters and the findings in memory. Each call is independent of the last
// (unlike the C entry ValidadorVOLP, whose counters live for the process).
// The report "<stem>.validacao.xml" is written as by ValidadorVOLP (see
// ReportPath).
//
// Texts (messages, field names, contents) are ISO 8859-1 bytes, as in the
// report; Latin1ToUtf8 converts one for display.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "volp/volp.h"  // VOLP_API

namespace volp {

struct Options {
  // Log lines at or below this level are written (0 errors, 3 progress,
  // 5 records, 7 findings).
  int log_level = 0;
  // Write the log file "<log_dir>/log_VOLP_<pid>/ValidadorVOLP.log".
  bool log_file = false;
  std::string log_dir = ".";
  // Directory of RELATORIO_DTB_BRASIL_MUNICIPIO.csv. Empty = the first that
  // holds it of: the current directory, the data directory of the installed
  // tree this library sits in (<prefix>/share/volp; on Windows also the
  // library's own directory), the install prefix's share/volp. The one used
  // is in Result::tables_path. (ValidadorVOLP reads the current directory's.)
  std::string tables_dir;
  // The day of the run as AAAAMMDD ("data adiantada", "Deveria ser ...");
  // empty = today. Fix it for reproducible results on old files.
  std::string today;
  // Raise to stop the run early; the report then says "Validação Cancelada".
  const std::atomic<bool>* stop = nullptr;
  // Called every 100,000 lines with the bytes read and the file size.
  std::function<void(int64_t bytes_read, int64_t file_size)> progress;
  // Where the reports go, as a path without extension: the XML report is
  // "<report_stem>.validacao.xml" (and a valid file's summary
  // "<report_stem>.rcad.txt"). Empty = beside the input (ReportPath).
  std::string report_stem;
  // Threads for the run. 1: everything on the caller's thread. 2: a second
  // thread reads the file, hashes it and splits its clean lines ahead of the
  // validation. N > 2: that thread only reads and hashes, and N - 2 more
  // split the lines ahead, block by block, and check their plainly good
  // fields (up to 5 in all: the reading keeps three blocks ahead of the one
  // in hand). 0, the default: 3 on a machine with at least 4 hardware
  // threads, else 2. The findings and the report are the same whatever the
  // number.
  int threads = 0;
};

// One finding as the report lists it.
struct Finding {
  int64_t offset = 0;        // byte offset of the record's first byte
  int64_t line = 0;          // 1-based line number (0 for file-level findings)
  std::string record_type;   // "0000" ... or empty
  int32_t field_number = 0;  // 0 = the record as a whole (no field block)
  int32_t column = -1;
  std::string content;
  int32_t length = 0;
  std::string field_name;
  std::string message;
  int32_t severity = 2;  // 1 "Advertência", 2 and 3 "Rejeição"
  // The message's stable code ("VOLP-1110-MCAPT-SEM-0200"; docs/messages.md).
  std::string code;
  // Found by the end-of-file checks of a run that stopped early: it may only
  // say that the part never read would have held what was missing (a client
  // "sem referência" because block 1 was not reached).
  bool follows_stop = false;
};

// Why a run did not read its file to the end.
enum class StopReason {
  kNone,              // read to the end
  kErrorLimit,        // 3,000 errors
  kUnknownTypeLimit,  // too many lines of unknown record type
  kCancelled,         // the stop flag or the stop file
  kReadError,         // the file could not be read further
};

struct TypeSummary {
  std::string code;
  int64_t total = 0;
  int64_t rejected = 0;
  int64_t warnings = 0;
  int64_t errors = 0;
};

struct Result {
  // The run went to its end and the report is in place (ValidadorVOLP's 1).
  bool completed = false;
  std::string path;  // the file validated, as given to Validate
  // Why the run could not be done, when it could not (the E#C log line).
  std::string failure;
  std::string report_path;
  std::string tables_path;  // municipality table used
  bool cancelled = false;
  int64_t file_size = 0;
  int64_t records_read = 0;
  int64_t errors = 0;
  int64_t warnings = 0;
  int64_t rejected_lines = 0;
  int64_t unknown_records = 0;
  std::string sha256;
  std::vector<TypeSummary> types;  // the 21 record types in file order
  std::vector<Finding> findings;   // sorted by line, as in the report

  // How far the run went: why it stopped early (kNone when it read the whole
  // file), the last line it read and the bytes up to that line's end.
  StopReason stop_reason = StopReason::kNone;
  int64_t last_line = 0;
  int64_t bytes_read = 0;
  // The day the run validated as (AAAAMMDD: Options::today or the local date).
  std::string validation_date;
  // Wall-clock time of the whole call, in seconds.
  double elapsed_seconds = 0;
  // The log file of this call (Options::log_file), which holds the lines up
  // to Options::log_level; empty when there is none: the log was off, or its
  // directory or file could not be made, or a link or anything but a regular
  // file was at its name (a log never stops a validation).
  std::string log_path;

  // No errors: the report says "Arquivo validado".
  bool valid() const { return completed && errors == 0; }
  // The whole file was read (a verdict on part of a file is no verdict on it).
  bool read_whole_file() const { return completed && stop_reason == StopReason::kNone; }
};

VOLP_API Result Validate(const std::string& path, const Options& options = {});

VOLP_API std::string Latin1ToUtf8(std::string_view latin1);

// The message format behind a finding's code (Latin-1, printf placeholders
// such as "%s" where the values go; docs/messages.md), or "" for a code that
// is not in the table.
VOLP_API std::string_view MessageTemplate(std::string_view code);

// A short English name for a stop reason: "complete", "error-limit",
// "unknown-type-limit", "cancelled", "read-error".
VOLP_API const char* StopReasonName(StopReason reason);

// Where the report of `path` goes: the path up to its last "." — of the whole
// path, so a dot in a directory name counts ("dir.x/file" gives
// "dir.validacao.xml") — followed by ".validacao.xml"; a path without "." is
// used whole. The working file is this name followed by ".parcial", and the
// lock that keeps a second run on the same file out is this name followed by
// ".trava" (both there only while a run is going).
VOLP_API std::string ReportPath(const std::string& path);

}  // namespace volp
