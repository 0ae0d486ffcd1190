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
  return errno == EEXIST && IsDirectory(path);
}
bool IsDirectory(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool CopyFileOver(const std::string& from, const std::string& to, int* error) {
  int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) {
    *error = errno;
    return false;
  }
  int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (out < 0) {
    *error = errno;
    ::close(in);
    return false;
  }
  char buf[1 << 16];
  bool ok = true;
  for (;;) {
    ssize_t n = ::read(in, buf, sizeof buf);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      ok = false;
      break;
    }
    for (ssize_t done = 0; done < n;) {
      ssize_t w = ::write(out, buf + done, static_cast<size_t>(n - done));
      if (w < 0) {
        if (errno == EINTR) continue;
        ok = false;
        break;
      }
      done += w;
    }
    if (!ok) break;
  }
  if (!ok) *error = errno;
  ::close(in);
  if (::close(out) != 0 && ok) {
    *error = errno;
    ok = false;
  }
  return ok;
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
