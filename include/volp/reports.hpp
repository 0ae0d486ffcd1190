// Reports for people and programs besides the XML report: a JSON document
// (UTF-8, well-formed whatever bytes the declaration holds) and one
// self-contained HTML page. Both are made from a Result alone; every text
// they carry from the file is escaped, so a declarant's own text can never
// pose as part of the report (the XML report, whose layout is fixed, writes
// field contents as they are: take the verdict from the result, the JSON
// report or the C API, never by scanning the XML).
#pragma once

#include <string>
#include <string_view>

#include "volp/validator.hpp"

namespace volp {

struct ReportOptions {
  // The name shown for the input; empty = Result::path.
  std::string input_name;
  // The input was gzip-compressed: its size, lines and SHA-256 are those of
  // the decompressed bytes, and the reports say so.
  bool decompressed = false;
  // Examples listed under each group of findings (one group per code,
  // record type and field).
  int examples = 5;
  // JSON: list every finding as well as the groups.
  bool all_findings = false;
};

// The JSON report (schema: docs/report.schema.json).
VOLP_API std::string JsonReport(const Result& result, const ReportOptions& options = {});

// The HTML page: verdict, completeness, counts per record type, one section
// per group of findings and the full list.
VOLP_API std::string HtmlReport(const Result& result, const ReportOptions& options = {});

// Writes `bytes` to "<path>.parcial-<pid>", a new file private to its owner
// (never one that was there, never through a link), checking every write,
// flush and close, then puts it in place over `path` in one step with the
// access the umask gives; a link at `path` is replaced, never written
// through. On failure nothing is left but a previous `path`, untouched, and
// `*error` says why.
VOLP_API bool WriteFileAtomically(const std::string& path, std::string_view bytes,
                                  std::string* error);

}  // namespace volp
