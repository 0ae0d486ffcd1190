// The summary `volp validate` prints after a run, for a person at a
// terminal: where the report went, how much of the file was read and why a
// run stopped early, the time it took, the verdict, the counts per record
// type and the findings grouped by message code with their first examples.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli_terminal.hpp"
#include "volp/validator.hpp"

namespace volp::cli {

struct SummaryOptions {
  int examples = 3;  // examples under each group of findings
  int width = kDefaultWidth;
  Style style;
  // The input was gzip-compressed (or read from standard input through a
  // temporary copy): size, lines and SHA-256 are of the bytes validated.
  bool decompressed = false;
};

// A report text (Latin-1) made safe for a UTF-8 terminal: control bytes
// become "?" so that file contents cannot drive the terminal.
std::string ForTerminal(std::string_view latin1);

// A message format with its printf placeholders shown as "…"
// ("Campo %02d - '%s' é obrigatório." -> "Campo … - '…' é obrigatório.").
std::string TemplateText(std::string_view format);

// One group of findings: those of one code (or, for a finding without a
// code, of one message), in file order.
struct FindingGroup {
  std::string code;
  int severity = 2;
  int64_t count = 0;
  std::vector<const Finding*> examples;  // the first ones, at most as asked
};

// The findings of `r` grouped, errors before warnings, larger groups first.
// `after_stop` picks the findings that follow from an early stop (true) or
// the others (false).
std::vector<FindingGroup> GroupFindings(const Result& r, bool after_stop, int examples);

// How far the run read, one line: "the whole file: ..." or "NOT the whole
// file. Stopped at line 75,601 (7% of the file): 3,000 errors, the most a
// run reports".
std::string Completeness(const Result& r);

// "0.84 s, 8.3 MB/s, 90,012 lines/s" (the rates only when time was measured).
std::string Timing(const Result& r);

// The whole summary, every line fitted to `options.width` but those that
// name a path (which must stay whole to be of use).
std::string Summary(const Result& r, const SummaryOptions& options);

}  // namespace volp::cli
