// Running the built `volp` program from a test: its arguments, its status and
// output, and the files the CLI tests build their cases from.
#pragma once

#include <string>
#include <vector>

#include "spawn.hpp"

namespace volp::test {

struct CliRun {
  int status = -1;  // exit status; 128 + signal when killed; -2 when it never ended
  std::string out;
  std::string err;
};

struct EnvVar {
  std::string name;
  const char* value;  // null: unset
};

// Runs the CLI with a wide COLUMNS and no NO_COLOR (so that no line is cut
// and the terminal the tests run in does not matter), then `env`; its input
// from the file `in` (empty: none). A run that has not ended after
// `timeout_seconds` is killed and gives status -2.
CliRun RunCli(const std::vector<std::string>& args, const std::string& cwd = "",
              const std::vector<EnvVar>& env = {}, const std::string& in = "",
              int timeout_seconds = 120);

// "validate FILE --today <kToday> --tables <data> EXTRA...".
std::vector<std::string> ValidateArgs(const std::string& file, std::vector<std::string> extra = {});

// The bundled example: a valid declaration.
std::string ExampleText();
// The example with its first occurrence of `from` replaced by `to`.
std::string ExampleWith(const std::string& from, const std::string& to);
// The example with a wrong check digit in the declarant's CNPJ: one error.
std::string ErrorText();
// The example followed by `extra` records that the structure ignores after
// the 9999: a large file that is quick to read (one finding).
std::string LargeFile(int extra);

// The line of `out` that starts with `prefix`, without its line end; empty
// when there is none.
std::string LineStartingWith(const std::string& out, const std::string& prefix);

// Writes `bytes` gzip-compressed to `path`.
void WriteGzip(const std::string& path, const std::string& bytes);

// The temporary copies' folders (".volp-<pid>-<n>") in `dir`.
std::vector<std::string> SpoolFolders(const std::string& dir);
inline bool HasSpool(const std::string& dir) { return !SpoolFolders(dir).empty(); }

#if !defined(_WIN32)
// Waits until the file at `path` holds `text` (ten seconds at most); true
// when it does.
bool WaitForText(const std::string& path, const std::string& text);

// Runs the CLI with `args` in `dir` (its input from the file `in`, empty:
// none), sends it `signals` one after the other (each once the one before has
// been taken: the header shows the handler in place, the stop note shows the
// first signal seen), and returns its status and output.
CliRun RunAndSignal(const std::vector<std::string>& args, const std::string& dir,
                    const std::vector<int>& signals, const std::string& in = "");
#endif

}  // namespace volp::test
