// One validation run from set-up to the completed report, shared by the
// exported C entry and the C++ API.
#pragma once

#include <cstdint>
#include <string>

#include "core/context.hpp"

namespace volp {

// What the caller may want to know after the run besides the counters kept in
// ProcessState.
struct RunSummary {
  std::string report_path;
  std::string tables_path;
  std::string sha256;
  int64_t file_size = 0;
  int64_t records_read = 0;
  bool report_written = false;
  std::string validation_date;  // AAAAMMDD
  // How far the reading went and why it ended before the end of the file.
  StopReason stop_reason = StopReason::kNone;
  int64_t last_line = 0;
  int64_t bytes_read = 0;
};

// Validates `path`. Returns 1 when the run reached its end and the final
// report was put in place, 0 otherwise.
int ExecutarValidacao(ProcessState& ps, Log& log, const std::string& path,
                      const RunOptions& options, RunSummary* summary);

// The report name for a declaration path: the path up to its last "." (of
// the whole path, a directory's dot included; all of it when it has none),
// then ".validacao.xml".
std::string ReportNameFor(const std::string& path);

}  // namespace volp
