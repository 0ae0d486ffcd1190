// The three phases of a validation run, each a function of the run's state:
// the set-up (the declaration opened, the report's working file claimed, the
// digest ready), the reading loop (every line through the framing checks, the
// split and the structure machine) and the end sequence (the checks of the
// file as a whole, the reports). ExecutarValidacao (driver/validator.cpp)
// runs them in turn.
#pragma once

#include <cstdint>
#include <string>

#include "core/context.hpp"
#include "driver/validator.hpp"
#include "platform/platform.hpp"
#include "reading/line_source.hpp"

namespace volp {

// The outputs of a run that does not end with its report in place: the
// working file it claimed goes (unless it holds a whole report that could
// not take its name), and so does a summary written for it.
class UnfinishedOutputs {
 public:
  explicit UnfinishedOutputs(ValidationContext& ctx) : ctx_(ctx) {}
  ~UnfinishedOutputs();
  UnfinishedOutputs(const UnfinishedOutputs&) = delete;
  UnfinishedOutputs& operator=(const UnfinishedOutputs&) = delete;
  void SummaryWritten(std::string name) { summary_ = std::move(name); }
  void Done() { done_ = true; }

 private:
  ValidationContext& ctx_;
  std::string summary_;
  bool done_ = false;
};

// Records of unknown type after which the run stops.
inline constexpr int64_t kMaxUnknown = 100;

// ---- set-up (driver/setup.cpp) ----

// The run's start, the day of the run and the declaration: its size (and
// that it is a regular file), its report name within the limits, and the
// lock on the report's working file. False (logged) when the run cannot go
// on; nothing has been written then.
bool AbrirDeclaracao(Run& run, const std::string& path, platform::InputFile& file,
                     RunSummary* summary);
// What the reading needs once the working file is this run's: no summary of
// an earlier run left behind (its name in `summary_name`), a digest that
// works, the declared line count and the machine at its start. False
// (logged) when the run cannot go on.
bool PrepararLeitura(Run& run, platform::InputFile& file, Sha256& sha, std::string* summary_name);
// Bytes read from the declaration at a time.
size_t BlocoDeLeitura(const RunOptions& options, int64_t file_size);

// ---- the reading loop (driver/loop.cpp) ----

// Reads and validates every line until the end of the file, a stop request
// or too many errors. Returns the end of the last line that went into the
// digest.
int64_t LerRegistros(Run& run, LineSource& source);

// ---- the end sequence (driver/finish.cpp) ----

// The digest finished, the checks of the file as a whole, the final report,
// the summary of a run without errors, the completing write. Returns what
// ExecutarValidacao returns.
int Encerrar(Run& run, platform::InputFile& file, Sha256& sha, LineSource& source,
             int64_t hashed_to, const std::string& summary_name, UnfinishedOutputs& outputs,
             RunSummary* summary);

// Brings the derived figures the report prints up to date: the microsecond
// timers (from clock ticks) and the average record length.
void BeforeReport(ProcessState& ps, ValidationContext& ctx);

inline int64_t ElapsedUs(int64_t since_ns) { return (platform::NowNs() - since_ns) / 1000; }

}  // namespace volp
