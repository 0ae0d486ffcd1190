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
  // Directory of RELATORIO_DTB_BRASIL_MUNICIPIO.csv; empty = current directory.
  std::string tables_dir;
  // The day of the run as AAAAMMDD ("data adiantada", "Deveria ser ...");
  // empty = today. Fix it for reproducible results on old files.
  std::string today;
  // Raise to stop the run early; the report then says "Validação Cancelada".
  const std::atomic<bool>* stop = nullptr;
  // Called every 100,000 lines with the bytes read and the file size.
  std::function<void(int64_t bytes_read, int64_t file_size)> progress;
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

  // No errors: the report says "Arquivo validado".
  bool valid() const { return completed && errors == 0; }
};

VOLP_API Result Validate(const std::string& path, const Options& options = {});

VOLP_API std::string Latin1ToUtf8(std::string_view latin1);

// Where the report of `path` goes: the path up to its last "." — of the whole
// path, so a dot in a directory name counts ("dir.x/file" gives
// "dir.validacao.xml") — followed by ".validacao.xml"; a path without "." is
// used whole. The working file is this name followed by ".parcial".
VOLP_API std::string ReportPath(const std::string& path);

}  // namespace volp
