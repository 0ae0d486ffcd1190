// Starting a program from a test on POSIX and on Windows alike: its standard
// input empty, its standard output and error written to files.
#pragma once

#include <string>
#include <vector>

namespace volp::test {

class Child {
 public:
  Child() = default;
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // Starts `exe` with `args` in `cwd` (empty: the current directory), its
  // output and errors going to the files `out_path` and `err_path` (created;
  // an existing file such as a terminal device is opened as it is), its
  // input read from `in_path` (empty: an empty input).
  bool Start(const std::string& exe, const std::vector<std::string>& args, const std::string& cwd,
             const std::string& out_path, const std::string& err_path,
             const std::string& in_path = "");
  // Waits for the end: the exit status, 128 + the signal's number when a
  // signal ended it, -1 when it never started.
  int Wait();
  // As Wait, but a program still running after `timeout_seconds` is killed
  // and gives -2: a test of something that must not block ends either way.
  int Wait(int timeout_seconds);
  // POSIX: sends the signal (SIGINT, SIGTERM); does nothing on Windows.
  void Signal(int signal_number);

 private:
  long long pid_ = -1;                        // POSIX pid
  [[maybe_unused]] void* process_ = nullptr;  // Windows process handle
  int status_ = -1;
};

// Runs a program to its end; its exit status as Child::Wait gives it.
int RunProgram(const std::string& exe, const std::vector<std::string>& args, const std::string& cwd,
               const std::string& out_path, const std::string& err_path,
               const std::string& in_path = "");

// The command line of a Windows program: each argument quoted so that the
// C runtime hands it back unchanged (exposed for its test).
std::string WindowsCommandLine(const std::vector<std::string>& argv);

}  // namespace volp::test
