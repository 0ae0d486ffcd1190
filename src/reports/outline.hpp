// What the JSON report and the HTML page share: the outcome of a run in one
// word, how much of the file it read, and its findings grouped by code,
// record type and field, so that 2,982 findings of one kind read as one line
// with a count and a few examples.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "volp/validator.hpp"

namespace volp::outline {

// What a reader of a report needs to know first.
enum class Outcome {
  kValid,       // the whole file was read and holds no error
  kRejected,    // errors on the part that was read (not only the stop's consequences)
  kIncomplete,  // stopped early with no error of its own: no verdict on the file
  kFailed,      // the run could not be done (Result::failure)
};
Outcome OutcomeOf(const Result& r);
const char* OutcomeName(Outcome o);  // "valid", "rejected", "incomplete", "failed"

// The word for a severity, as the XML report prints it but in UTF-8:
// "Advertência" (1), "Rejeição" (2 and 3), "???" (anything else).
const char* SeverityWord(int32_t severity);

// The verdict in the XML report's own words (UTF-8), with " - Validação
// Cancelada" after a stop request; empty when the run left no report.
std::string XmlVerdict(const Result& r);

// Tenths of a per cent of the file's bytes that the run read, rounded down so
// that a run one byte short never shows 100: 0 to 1000.
int64_t PerMilleRead(const Result& r);

// A file name as UTF-8. Paths come in the system's own encoding: UTF-8 on
// most POSIX systems, a Latin-1-like code page on Windows. A name that is
// valid UTF-8 is taken as it is, any other as Latin-1 (a Latin-1 name that
// happens to be valid UTF-8 needs two or more high bytes in a row of just
// the right values, which names do not hold).
std::string NameToUtf8(std::string_view name);

// "AAAA-MM-DD" from the run's AAAAMMDD day; empty when that is not 8 digits.
std::string IsoDate(const std::string& yyyymmdd);

struct Group {
  size_t first = 0;  // index in Result::findings of the group's first finding
  int64_t count = 0;
  int64_t follows_stop = 0;
  std::vector<size_t> examples;  // indices of its first findings, in list order
};

struct Grouping {
  // In the order of their first finding: the findings are sorted by line, so
  // groups come by their first line (ties in the order found).
  std::vector<Group> groups;
  std::vector<uint32_t> group_of;  // per finding, the index of its group
};

// Groups by (code, record type, field number, severity): a code has one
// severity, so in practice the groups are by code, type and field; findings
// without a code group by the rest of the key. `examples` (negative = 0)
// findings of each group are kept as examples.
Grouping GroupFindings(const std::vector<Finding>& findings, int examples);

}  // namespace volp::outline
