// POSIX half of the output files, the file lock, the atomic rename, copies
// and the file kinds.
//
// Whatever folder volp writes into may hold names planted by someone else: a
// link where a working file will go would send its bytes to the link's
// target. So every file is made new (O_CREAT | O_EXCL, which refuses any
// existing name, a dangling link included, with O_NOFOLLOW besides), and the
// only files opened by name that already exist are a lock (opened for
// reading only, checked to be a regular file) and a log (appended to, same
// check).
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace volp::platform {

namespace {

constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kSharedMode = 0644;

// The process's file-creation mask. Linux shows it in /proc/self/status,
// which reads it without changing it; elsewhere it is set and put back, the
// one way POSIX has to read it.
mode_t CreationMask() {
  if (std::FILE* f = std::fopen("/proc/self/status", "re")) {
    char line[256];
    unsigned mask = 0;
    bool found = false;
    while (!found && std::fgets(line, sizeof line, f) != nullptr)
      found = std::sscanf(line, "Umask: %o", &mask) == 1;
    std::fclose(f);
    if (found) return static_cast<mode_t>(mask);
  }
  const mode_t mask = ::umask(022);
  ::umask(mask);
  return mask;
}

}  // namespace

FileKind KindOf(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return FileKind::kMissing;
  if (S_ISREG(st.st_mode)) return FileKind::kRegular;
  if (S_ISDIR(st.st_mode)) return FileKind::kDirectory;
  return FileKind::kOther;
}

FileKind NameKind(const std::string& path) {
  struct stat st;
  if (::lstat(path.c_str(), &st) != 0) return FileKind::kMissing;
  if (S_ISLNK(st.st_mode)) return FileKind::kLink;
  if (S_ISREG(st.st_mode)) return FileKind::kRegular;
  if (S_ISDIR(st.st_mode)) return FileKind::kDirectory;
  return FileKind::kOther;
}

bool ClearStaleFile(const std::string& path, bool* refused, int* error) {
  *refused = false;
  switch (NameKind(path)) {
    case FileKind::kMissing:
      return true;
    case FileKind::kRegular:
      // Removing a name never changes the file behind it: a hard link to
      // someone's file loses this name and nothing else.
      if (::unlink(path.c_str()) == 0 || errno == ENOENT) return true;
      *error = errno;
      return false;
    default:
      *refused = true;
      *error = EEXIST;
      return false;
  }
}

OutputFile::~OutputFile() { CloseQuietly(); }

void OutputFile::CloseQuietly() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  open_ = false;
  used_ = 0;
}

bool OutputFile::Create(const std::string& path, bool text, Access access, int* error) {
  CloseQuietly();
  error_ = 0;
  text_ = text;
  if (InjectedFault(FaultOp::kOpen)) {
    *error = EIO;
    return false;
  }
  const mode_t mode = access == Access::kPrivate ? kPrivateMode : kSharedMode;
  fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
  if (fd_ < 0) {
    *error = errno;
    return false;
  }
  if (!buf_) buf_.reset(new char[kBufferSize]);
  open_ = true;
  return true;
}

bool OutputFile::OpenForAppend(const std::string& path, bool text, int* error) {
  CloseQuietly();
  error_ = 0;
  text_ = text;
  if (InjectedFault(FaultOp::kOpen)) {
    *error = EIO;
    return false;
  }
  // Without waiting: a FIFO planted at the name is refused, not written to.
  fd_ = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
               kSharedMode);
  if (fd_ < 0) {
    *error = errno;
    return false;
  }
  struct stat st {};
  if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
    *error = EINVAL;
    CloseQuietly();
    return false;
  }
  ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
  if (!buf_) buf_.reset(new char[kBufferSize]);
  open_ = true;
  return true;
}

bool OutputFile::Share() {
  if (!open_) return Fail(-1);
  if (::fchmod(fd_, kSharedMode & ~CreationMask()) != 0) return Fail(errno);
  return true;
}

bool OutputFile::NamedBy(const std::string& path) const {
  struct stat held, named;
  return open_ && ::fstat(fd_, &held) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
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

bool CopyFileOver(const std::string& from, const std::string& to, int* error) {
  // Opened without waiting and refused unless regular, as an input is.
  const int in = ::open(from.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (in < 0) {
    *error = errno;
    return false;
  }
  struct stat source {
  }, target{};
  if (::fstat(in, &source) != 0 || !S_ISREG(source.st_mode)) {
    *error = S_ISDIR(source.st_mode) ? EISDIR : EINVAL;
    ::close(in);
    return false;
  }
  // A copy onto itself (the same name, "./x", a link to it) would empty the
  // file before reading it.
  if (::stat(to.c_str(), &target) == 0 && target.st_dev == source.st_dev &&
      target.st_ino == source.st_ino) {
    *error = EINVAL;
    ::close(in);
    return false;
  }
  ::fcntl(in, F_SETFL, ::fcntl(in, F_GETFL) & ~O_NONBLOCK);

  const std::string work = to + ".parcial-" + std::to_string(::getpid());
  bool refused = false;
  OutputFile out;
  if (!ClearStaleFile(work, &refused, error) || !out.Create(work, false, Access::kPrivate, error)) {
    ::close(in);
    return false;
  }
  std::unique_ptr<char[]> buf(new char[1 << 16]);
  int read_error = 0;
  for (;;) {
    const ssize_t n = ::read(in, buf.get(), 1 << 16);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      read_error = errno;
      break;
    }
    out.Put(std::string_view(buf.get(), static_cast<size_t>(n)));
  }
  ::close(in);
  // The copy takes the source's access bits, as cp gives them: a private
  // declaration stays private.
  const bool written = read_error == 0 && out.Sync() &&
                       ::fchmod(out.descriptor(), source.st_mode & 0777 & ~CreationMask()) == 0 &&
                       out.Close();
  if (written && RenameOver(work, to, error)) return true;
  if (!written) *error = read_error != 0 ? read_error : out.error() > 0 ? out.error() : errno;
  if (out.is_open()) out.Close();
  ::unlink(work.c_str());
  return false;
}

FileLock::~FileLock() { Release(); }

void FileLock::Release() {
  if (fd_ < 0) return;
  // The name goes first, while the lock is still held: whoever opened the
  // file in the meantime finds, once the lock is theirs, that the name no
  // longer leads to it, and looks again.
  struct stat held, named;
  if (::fstat(fd_, &held) == 0 && ::lstat(path_.c_str(), &named) == 0 &&
      held.st_dev == named.st_dev && held.st_ino == named.st_ino)
    ::unlink(path_.c_str());
  ::close(fd_);  // closing the descriptor releases the lock
  fd_ = -1;
}

bool FileLock::TryLock(const std::string& path, bool* busy, bool* refused, int* error) {
  Release();
  *busy = false;
  *refused = false;
  path_ = path;
  for (int attempt = 0; attempt < 10; ++attempt) {
    if (InjectedFault(FaultOp::kOpen)) {
      *error = EIO;
      return false;
    }
    // Read-only is enough to lock; no byte of the file is ever written.
    // O_NONBLOCK: a FIFO planted at the name must not hold the open.
    fd_ = ::open(path.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                 kPrivateMode);
    if (fd_ < 0) {
      *error = errno;
      // O_NOFOLLOW meets a link (ELOOP); O_CREAT meets a directory (EISDIR).
      *refused = errno == ELOOP || errno == EISDIR;
      return false;
    }
    struct stat held {};
    if (::fstat(fd_, &held) != 0 || !S_ISREG(held.st_mode)) {
      *error = EEXIST;
      *refused = true;
      ::close(fd_);
      fd_ = -1;
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
      ::close(fd_);
      fd_ = -1;
      return false;
    }
    struct stat named;
    if (::lstat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
        held.st_ino == named.st_ino)
      return true;
    ::close(fd_);
    fd_ = -1;
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
  // rename() replaces the name `to`: a link there is replaced, never followed.
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
