#include "core/log.hpp"

#include "platform/platform.hpp"

namespace volp {

Log::~Log() {
  if (file_ != nullptr) std::fclose(file_);
}

void Log::Configure(int level, std::string dir, bool enabled, std::FILE* echo) {
  if (file_ != nullptr && dir != dir_) {
    std::fclose(file_);
    file_ = nullptr;
  }
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
  if (file_ == nullptr && !open_failed_) {
    // The log directory is made on the first line; a log that cannot be
    // written never stops a validation.
    if (platform::MakeDirectory(dir_)) {
      std::string name = dir_ + platform::Separator() + "ValidadorVOLP.log";
      file_ = std::fopen(name.c_str(), "ab");
    }
    if (file_ == nullptr) open_failed_ = true;
  }
  if (file_ == nullptr) return;
  std::vfprintf(file_, fmt, ap);
  std::fflush(file_);
}

}  // namespace volp
