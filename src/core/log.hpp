// The run's log: lines carry a level (0 errors with their E#C code, 3
// progress, 5 trace of records and validators, 7 trace of findings) and are
// written when their level is at or below the level asked for and the log is
// switched on. Lines are Latin-1, printf-formatted.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/platform.hpp"

namespace volp {

class Log {
 public:
  Log() = default;
  ~Log();
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;

  // `dir` is the log directory ("<dir>/log_VOLP_<pid>"); the file inside it
  // is opened on the first line written. `echo` (may be null) receives every
  // line that passes the level filter, even with the file switched off.
  void Configure(int level, std::string dir, bool enabled, std::FILE* echo = nullptr);

  bool On(int level) const { return level <= level_ && (enabled_ || echo_ != nullptr); }
  void Write(int level, const char* fmt, ...)
#if defined(__GNUC__)
      __attribute__((format(printf, 3, 4)))
#endif
      ;
  const std::string& dir() const { return dir_; }
  // The last level-0 line written or filtered out (what went wrong in a run
  // that could not be done), without its line end.
  const std::string& last_error() const { return last_error_; }
  int level() const { return level_; }
  // Makes the log directory and opens the log file now rather than at the
  // first line written; false when the log is off or cannot be written.
  bool Open();
  // The log file's path once it is open; empty while it is not.
  std::string written() const;

 private:
  void VWrite(const char* fmt, va_list ap);
  int level_ = 0;
  bool enabled_ = false;
  std::string dir_;
  platform::OutputFile file_;
  std::string path_;
  bool open_failed_ = false;
  std::FILE* echo_ = nullptr;
  std::string last_error_;
};

}  // namespace volp
