#include "core/log.hpp"

#include "platform/platform.hpp"

namespace volp {

Log::~Log() = default;

void Log::Configure(int level, std::string dir, bool enabled, std::FILE* echo) {
  if (file_.is_open() && dir != dir_) file_.Close();
  level_ = level;
  dir_ = std::move(dir);
  enabled_ = enabled;
  echo_ = echo;
  open_failed_ = false;
}

void Log::Write(int level, const char* fmt, ...) {
  if (level == 0) {
    // Kept even when the log is off: the C++ API and the CLI tell the user.
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    last_error_ = buf;
    while (!last_error_.empty() && (last_error_.back() == '\n' || last_error_.back() == '\r'))
      last_error_.pop_back();
  }
  if (!On(level)) return;
  va_list ap;
  va_start(ap, fmt);
  VWrite(fmt, ap);
  va_end(ap);
}

void Log::VWrite(const char* fmt, va_list ap) {
  if (echo_ != nullptr) {
    va_list copy;
    va_copy(copy, ap);
    std::vfprintf(echo_, fmt, copy);
    va_end(copy);
  }
  if (!enabled_) return;
  if (!Open()) return;
  file_.VPrintf(fmt, ap);
  // Each line reaches the system at once: a run that ends abruptly keeps its
  // log up to its last line.
  file_.Flush();
}

bool Log::Open() {
  if (!enabled_) return false;
  if (!file_.is_open() && !open_failed_) {
    // The log directory is made on the first line (or when asked); a log
    // that cannot be written never stops a validation. The file is appended
    // to only when it is a regular file reached without a link: a link
    // planted at its name would otherwise have the log lines written into
    // whatever it points at.
    int error = 0;
    const std::string name = dir_ + platform::Separator() + "ValidadorVOLP.log";
    if (platform::MakeDirectory(dir_) && file_.OpenForAppend(name, false, &error))
      path_ = name;
    else
      open_failed_ = true;
  }
  return file_.is_open();
}

std::string Log::written() const { return file_.is_open() ? path_ : std::string(); }

}  // namespace volp
