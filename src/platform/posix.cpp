#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "platform/platform.hpp"

namespace volp::platform {

char Separator() { return '/'; }
int ProcessId() { return static_cast<int>(getpid()); }

std::string CurrentDirectory() {
  char buf[4096];
  if (getcwd(buf, sizeof buf) == nullptr) return ".";
  return buf;
}

std::string ErrorText(int error) {
  char buf[256];
  // The GNU and XSI variants differ; strerror is fine on one thread of a run.
  const char* s = std::strerror(error);
  std::snprintf(buf, sizeof buf, "%s", s ? s : "erro desconhecido");
  return buf;
}
int LastError() { return errno; }

bool FileExists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}
bool RemoveFile(const std::string& path) { return ::unlink(path.c_str()) == 0; }
bool MakeDirectory(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) == 0) return true;
  struct stat st;
  return errno == EEXIST && ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
bool IsDirectory(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

void SleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

LocalTime Local(std::time_t t) {
  struct tm tm {};
  localtime_r(&t, &tm);
  return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

InputFile::~InputFile() { Close(); }

bool InputFile::Stat(const std::string& path, int64_t* size, bool* is_dir, int* error) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) {
    *error = errno;
    return false;
  }
  *size = static_cast<int64_t>(st.st_size);
  *is_dir = S_ISDIR(st.st_mode);
  return true;
}

bool InputFile::Open(const std::string& path, int* error) {
  if (InjectedFault(FaultOp::kOpen)) {
    *error = EIO;
    return false;
  }
  // Opened without waiting: a FIFO put in the file's place after it was
  // looked at would otherwise hold the open until a writer came. Anything
  // but a regular file is refused.
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd_ < 0) {
    *error = errno;
    return false;
  }
  struct stat st {};
  if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
    *error = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    Close();
    return false;
  }
  ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
#if defined(POSIX_FADV_SEQUENTIAL)
  ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
#endif
  return true;
}

int64_t InputFile::Read(char* buf, int64_t n) {
  if (InjectedFault(FaultOp::kRead)) {
    errno = EIO;
    return -1;
  }
  for (;;) {
    ssize_t r = ::read(fd_, buf, static_cast<size_t>(n));
    if (r < 0 && errno == EINTR) continue;
    return r;
  }
}

bool InputFile::Seek(int64_t offset) { return ::lseek(fd_, offset, SEEK_SET) == offset; }

void InputFile::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

}  // namespace volp::platform
