// POSIX half of the output files, the file lock, the atomic rename and the
// file kinds.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/platform.hpp"

namespace volp::platform {

FileKind KindOf(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return FileKind::kMissing;
  if (S_ISREG(st.st_mode)) return FileKind::kRegular;
  if (S_ISDIR(st.st_mode)) return FileKind::kDirectory;
  return FileKind::kOther;
}

OutputFile::~OutputFile() { CloseQuietly(); }

void OutputFile::CloseQuietly() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  open_ = false;
  used_ = 0;
}

bool OutputFile::Open(const std::string& path, bool text, bool keep, int* error) {
  CloseQuietly();
  error_ = 0;
  text_ = text;
  if (InjectedFault(FaultOp::kOpen)) {
    *error = EIO;
    return false;
  }
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (keep ? 0 : O_TRUNC);
  fd_ = ::open(path.c_str(), flags, 0666);
  if (fd_ < 0) {
    *error = errno;
    return false;
  }
  if (!buf_) buf_.reset(new char[kBufferSize]);
  open_ = true;
  return true;
}

bool OutputFile::WriteOut(const char* p, size_t n) {
  while (n > 0) {
    if (InjectedFault(FaultOp::kWrite)) return Fail(ENOSPC);
    const ssize_t w = ::write(fd_, p, n);
    if (w < 0) {
      if (errno == EINTR) continue;
      return Fail(errno);
    }
    p += w;
    n -= static_cast<size_t>(w);
  }
  return true;
}

bool OutputFile::Restart() {
  if (!open_) return Fail(-1);
  used_ = 0;
  error_ = 0;
  if (InjectedFault(FaultOp::kWrite)) return Fail(EIO);
  if (::ftruncate(fd_, 0) != 0 || ::lseek(fd_, 0, SEEK_SET) != 0) return Fail(errno);
  return true;
}

bool OutputFile::Sync() {
  if (!Flush()) return false;
  if (InjectedFault(FaultOp::kFlush)) return Fail(EIO);
  if (::fsync(fd_) != 0) return Fail(errno);
  return true;
}

bool OutputFile::Close() {
  if (!open_) return Fail(-1);
  Flush();
  const int fd = fd_;
  fd_ = -1;
  open_ = false;
  if (InjectedFault(FaultOp::kClose)) {
    ::close(fd);
    return Fail(EIO);
  }
  if (::close(fd) != 0) return Fail(errno);
  return error_ == 0;
}

FileLock::~FileLock() { Release(); }

void FileLock::Release() {
  if (fd_ >= 0) ::close(fd_);  // closing the descriptor releases the lock
  fd_ = -1;
}

bool FileLock::TryLock(const std::string& path, bool* busy, int* error) {
  Release();
  *busy = false;
  // A holder that finishes renames the file away and then lets go; whoever
  // was waiting on that file looks again at what the name leads to now.
  for (int attempt = 0; attempt < 10; ++attempt) {
    if (InjectedFault(FaultOp::kOpen)) {
      *error = EIO;
      return false;
    }
    bool created = false;
    fd_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd_ < 0 && errno == ENOENT) {
      fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (fd_ < 0 && errno == EEXIST) continue;  // another run made it just now
      created = fd_ >= 0;
    }
    if (fd_ < 0) {
      *error = errno;
      return false;
    }
    int failed = 0;
    if (InjectedFault(FaultOp::kLock))
      failed = ENOLCK;
    else if (::flock(fd_, LOCK_EX | LOCK_NB) != 0)
      failed = errno;
    if (failed != 0) {
      *error = failed;
      *busy = failed == EWOULDBLOCK;
      // A file made here for a lock that could not be had for another
      // reason than a holder is nobody's: it goes.
      if (created && !*busy) ::unlink(path.c_str());
      Release();
      return false;
    }
    struct stat held, named;
    if (::fstat(fd_, &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
        held.st_dev == named.st_dev && held.st_ino == named.st_ino)
      return true;
    Release();
  }
  *busy = true;
  *error = EWOULDBLOCK;
  return false;
}

bool RenameOver(const std::string& from, const std::string& to, int* error) {
  if (InjectedFault(FaultOp::kRename)) {
    *error = EIO;
    return false;
  }
  if (::rename(from.c_str(), to.c_str()) != 0) {
    *error = errno;
    return false;
  }
  return true;
}

bool RemoveIfExists(const std::string& path, int* error) {
  if (::unlink(path.c_str()) == 0 || errno == ENOENT) return true;
  *error = errno;
  return false;
}

}  // namespace volp::platform
