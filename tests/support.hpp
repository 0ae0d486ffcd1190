// Helpers shared by the tests: temporary directories, whole-file runs through
// the C++ API, and a run fixture that feeds single lines to the structure
// machine or straight to a validator.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/context.hpp"
#include "fields/municipios.hpp"
#include "rules/state.hpp"
#include "volp/validator.hpp"

namespace volp::test {

// The day the tests run "on", so that dates never turn "adiantada" with time.
inline constexpr const char* kToday = "20260115";

// The repository's data directory (municipality table).
std::string DataDir();

// A fresh directory under the system's temporary directory, removed at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string Write(const std::string& name, std::string_view bytes) const;

 private:
  std::string path_;
};

std::string ReadFile(const std::string& path);
// A text file the system wrote (a report, a program's output) with its line
// ends as "\n": Windows writes them as CR LF.
std::string ReadText(const std::string& path);

// Joins lines with CR LF after each one.
std::string Lines(const std::vector<std::string>& lines);

// Validates `content` written to a file in a temporary directory, with the
// repository's municipality table and the day fixed to kToday. `report`
// receives the XML when not null.
Result ValidateText(std::string_view content, std::string* report = nullptr, Options options = {});

// The report with what changes from run to run masked: times, the date and
// hour of the validation, versions, the input path and the process id.
std::string MaskReport(std::string xml);

// Latin-1 text from a UTF-8 literal in a test ("Código" -> "C\xF3digo").
std::string L1(std::string_view utf8);

// One run with its collaborators, for tests that feed lines one by one.
struct RunFixture {
  RunFixture();
  ProcessState ps;
  Log log;
  Municipios municipios;
  RunOptions options;
  RuleStates rules;
  Run run;
  Record rec;

  // Advances the position as the reader does and splits the line (CR LF is
  // added when the line has no line end at all); returns the type row or -1.
  int Split(std::string_view line);
  // The line exactly as given (no line end added).
  int SplitRaw(std::string_view line);
  // As SplitRaw, but the line sits `align` bytes into a block between
  // `filler` bytes and is split from the block's bit maps, as the reader
  // hands most lines over.
  int SplitFromBits(std::string_view line, size_t align, char filler);
  // Split + the structure machine, as the run loop does for a known type.
  int Feed(std::string_view line);
  // The kept findings' messages, in order.
  std::vector<std::string> Messages() const;

  // The lines fed so far by where they start, read again as the file would be.
  struct FedLines : EarlierLines {
    std::map<int64_t, std::string_view> at;
    bool LineAt(int64_t offset, std::string_view* line) override;
  } fed;

 private:
  void Advance(size_t bytes);
  std::deque<std::string> lines_;  // the texts the records' views point into
  std::deque<std::vector<uint64_t>> maps_;
};

}  // namespace volp::test
