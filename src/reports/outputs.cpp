// Placeholders for the JSON and HTML reports and the atomic file write.
#include "volp/reports.hpp"

namespace volp {

std::string JsonReport(const Result&, const ReportOptions&) { return "{}\n"; }

std::string HtmlReport(const Result&, const ReportOptions&) { return "<!DOCTYPE html>\n"; }

bool WriteFileAtomically(const std::string&, std::string_view, std::string* error) {
  if (error) *error = "not implemented";
  return false;
}

}  // namespace volp
