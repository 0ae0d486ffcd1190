#include "cli_files.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace volp::cli {

namespace fs = std::filesystem;

namespace {

bool StartsWith(std::string_view s, std::string_view head) {
  return s.size() >= head.size() && s.compare(0, head.size(), head) == 0;
}

// Skips blanks from `at`; the position of the next other byte.
size_t SkipBlanks(std::string_view s, size_t at) {
  while (at < s.size() && (s[at] == ' ' || s[at] == '\t' || s[at] == '\r' || s[at] == '\n')) ++at;
  return at;
}

// `at` past `word` (after blanks) when it is there; npos otherwise.
size_t Expect(std::string_view s, size_t at, std::string_view word) {
  if (at == std::string_view::npos) return at;
  at = SkipBlanks(s, at);
  return s.compare(at, word.size(), word) == 0 ? at + word.size() : std::string_view::npos;
}

#if defined(_WIN32)
std::string WindowsErrorText(DWORD code) {
  char buf[512];
  DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                           code, 0, buf, sizeof buf, nullptr);
  while (n > 0 && (buf[n - 1] == '\n' || buf[n - 1] == '\r' || buf[n - 1] == ' ')) --n;
  return n > 0 ? std::string(buf, n) : "error " + std::to_string(code);
}

bool NotThere(DWORD code) {
  return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ||
         code == ERROR_INVALID_NAME || code == ERROR_BAD_NETPATH;
}

// A handle that reads nothing: enough to ask what the path is. Directories
// need the backup flag to be opened at all.
HANDLE OpenToLook(const std::string& path) {
  return CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// What the handle is, with its identity for a file on a disk.
PathKind KindOfHandle(HANDLE h, FileKey* key) {
  switch (GetFileType(h)) {
    case FILE_TYPE_DISK:
      break;
    case FILE_TYPE_CHAR:
      return PathKind::kDevice;
    case FILE_TYPE_PIPE:
      return PathKind::kFifo;
    default:
      return PathKind::kOther;
  }
  BY_HANDLE_FILE_INFORMATION info;
  if (!GetFileInformationByHandle(h, &info)) return PathKind::kOther;
  if (key != nullptr) {
    key->device = info.dwVolumeSerialNumber;
    key->file = (static_cast<uint64_t>(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    key->rest.clear();
  }
  return (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? PathKind::kDirectory
                                                                 : PathKind::kRegular;
}

// kMissing when nothing is at the path; kOther with `*error` when it cannot
// be looked at.
PathKind Look(const std::string& path, FileKey* key, std::string* error) {
  HANDLE h = OpenToLook(path);
  if (h == INVALID_HANDLE_VALUE) {
    const DWORD code = GetLastError();
    if (NotThere(code)) return PathKind::kMissing;
    if (error != nullptr) *error = WindowsErrorText(code);
    return PathKind::kOther;
  }
  const PathKind kind = KindOfHandle(h, key);
  CloseHandle(h);
  if (key != nullptr && kind != PathKind::kRegular && kind != PathKind::kDirectory) {
    // A device or a pipe has no file id: its name is what it is.
    key->device = ~uint64_t{0};
    key->file = 0;
    key->rest = path;
    CharLowerBuffA(key->rest.data(), static_cast<DWORD>(key->rest.size()));
  }
  return kind;
}
#else
PathKind KindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return PathKind::kRegular;
  if (S_ISDIR(mode)) return PathKind::kDirectory;
  if (S_ISFIFO(mode)) return PathKind::kFifo;
  if (S_ISCHR(mode) || S_ISBLK(mode)) return PathKind::kDevice;
  if (S_ISSOCK(mode)) return PathKind::kSocket;
  return PathKind::kOther;
}

PathKind Look(const std::string& path, FileKey* key, std::string* error) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) {
    // A name under a file (ENOTDIR) cannot be there either.
    if (errno == ENOENT || errno == ENOTDIR) return PathKind::kMissing;
    if (error != nullptr) *error = ErrnoText(errno);
    return PathKind::kOther;
  }
  if (key != nullptr) {
    key->device = static_cast<uint64_t>(st.st_dev);
    key->file = static_cast<uint64_t>(st.st_ino);
    key->rest.clear();
  }
  return KindOfMode(st.st_mode);
}
#endif

}  // namespace

std::string ErrnoText(int code) { return std::strerror(code); }

PathKind KindOf(const std::string& path, std::string* error) { return Look(path, nullptr, error); }

const char* KindName(PathKind kind) {
  switch (kind) {
    case PathKind::kMissing:
      return "nothing (no such file)";
    case PathKind::kRegular:
      return "a regular file";
    case PathKind::kDirectory:
      return "a directory";
    case PathKind::kFifo:
      return "a named pipe (FIFO)";
    case PathKind::kDevice:
      return "a device";
    case PathKind::kSocket:
      return "a socket";
    case PathKind::kOther:
      break;
  }
  return "not a regular file";
}

bool KeyOf(const std::string& path, FileKey* key, std::string* error) {
  std::error_code ec;
  fs::path p = fs::absolute(fs::path(path), ec);
  if (ec) {
    *error = ec.message();
    return false;
  }
  p = p.lexically_normal();
  // "out/" names what "out" does.
  while (p.filename().empty() && p.has_relative_path()) p = p.parent_path();
  fs::path rest;
  for (;;) {
    std::string why;
    const PathKind kind = Look(p.string(), key, &why);
    if (kind != PathKind::kMissing && why.empty()) break;
    if (!why.empty()) {
      *error = why;
      return false;
    }
    const fs::path parent = p.parent_path();
    if (parent == p || p.filename().empty()) {
      *error = "no directory above it can be looked at";
      return false;
    }
    rest = rest.empty() ? p.filename() : p.filename() / rest;
    p = parent;
  }
  key->rest = rest.generic_string();
#if defined(_WIN32)
  if (!key->rest.empty()) CharLowerBuffA(key->rest.data(), static_cast<DWORD>(key->rest.size()));
#endif
  return true;
}

VolpOutput OutputKindOf(const std::string& head) {
  const std::string_view s = head;
  constexpr std::string_view kXml = "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>";
  if (StartsWith(s, kXml)) {
    // The report's root follows on the next line (CR LF on Windows).
    const std::string_view after = s.substr(kXml.size());
    if (StartsWith(after, "\n<VOLP>") || StartsWith(after, "\r\n<VOLP>"))
      return VolpOutput::kXmlReport;
    return VolpOutput::kNone;
  }
  if (StartsWith(s, "|VOLP|")) return VolpOutput::kRegistrationSummary;
  size_t at = Expect(s, 0, "{");
  at = Expect(s, at, "\"format\"");
  at = Expect(s, at, ":");
  if (Expect(s, at, "\"volp-report\"") != std::string_view::npos) return VolpOutput::kJsonReport;
  if (StartsWith(s, "<!DOCTYPE html>") &&
      s.find("<meta name=\"generator\" content=\"volp ") != std::string_view::npos)
    return VolpOutput::kHtmlReport;
  return VolpOutput::kNone;
}

const char* OutputName(VolpOutput kind) {
  switch (kind) {
    case VolpOutput::kXmlReport:
      return "an XML report";
    case VolpOutput::kRegistrationSummary:
      return "a registration summary";
    case VolpOutput::kJsonReport:
      return "a JSON report";
    case VolpOutput::kHtmlReport:
      return "an HTML report";
    case VolpOutput::kNone:
      break;
  }
  return "not one of volp's reports";
}

int OpenRegularForReading(const std::string& path, std::string* error) {
#if defined(_WIN32)
  // No FIFOs in a Windows file system; devices ("CON", "NUL") are known by
  // the type of a handle that reads nothing.
  std::string why;
  const PathKind kind = Look(path, nullptr, &why);
  if (kind != PathKind::kRegular) {
    *error = !why.empty()                 ? why
             : kind == PathKind::kMissing ? ErrnoText(ENOENT)
                                          : std::string("it is ") + KindName(kind);
    return -1;
  }
  const int fd = _open(path.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
  if (fd < 0) *error = ErrnoText(errno);
  return fd;
#else
  // Without O_NONBLOCK, opening a FIFO waits for a writer.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    *error = ErrnoText(errno);
    return -1;
  }
  struct stat st;
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    *error = std::string("it is ") + KindName(KindOfMode(st.st_mode));
    ::close(fd);
    return -1;
  }
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags >= 0) ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
  return fd;
#endif
}

bool ReadHead(const std::string& path, size_t max, std::string* head) {
  std::string ignored;
  const int fd = OpenRegularForReading(path, &ignored);
  if (fd < 0) return false;
  head->assign(max, '\0');
  size_t got = 0;
  while (got < max) {
#if defined(_WIN32)
    const int n = _read(fd, head->data() + got, static_cast<unsigned>(max - got));
#else
    const ssize_t n = ::read(fd, head->data() + got, max - got);
    if (n < 0 && errno == EINTR) continue;
#endif
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
#if defined(_WIN32)
  _close(fd);
#else
  ::close(fd);
#endif
  head->resize(got);
  return true;
}

int CreateExclusive(const std::string& path, std::string* error, bool* exists) {
#if defined(_WIN32)
  const int fd = _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                       _S_IREAD | _S_IWRITE);
#else
  // O_EXCL fails on any name already taken, a link included (even one to
  // nowhere); O_NOFOLLOW says the same where O_EXCL alone might not.
  const int fd =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC, 0600);
#endif
  if (fd < 0) {
    if (exists != nullptr) *exists = errno == EEXIST;
    *error = ErrnoText(errno);
  }
  return fd;
}

bool WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
#if defined(_WIN32)
    const int chunk = static_cast<int>(std::min<size_t>(size, 1u << 30));
    const int n = _write(fd, data, static_cast<unsigned>(chunk));
#else
    const ssize_t n = ::write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
#endif
    if (n <= 0) {
      if (n == 0) errno = EIO;
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool RenameOver(const std::string& from, const std::string& to, std::string* error) {
#if defined(_WIN32)
  if (MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
  *error = WindowsErrorText(GetLastError());
  return false;
#else
  if (::rename(from.c_str(), to.c_str()) == 0) return true;
  *error = ErrnoText(errno);
  return false;
#endif
}

bool FileInPlace::Open(const std::string& path, std::string* error) {
  Abandon();
  for (int n = 0; n < 100; ++n) {
    std::string work = path + ".parcial";
    if (n > 0) work += '-' + std::to_string(n);
    bool taken = false;
    const int fd = CreateExclusive(work, error, &taken);
    if (fd < 0) {
      if (taken) continue;  // a leftover, or something planted there: not ours
      *error = "cannot create " + work + ": " + *error;
      return false;
    }
#if defined(_WIN32)
    stream_ = _fdopen(fd, "wb");
#else
    stream_ = ::fdopen(fd, "wb");
#endif
    if (stream_ == nullptr) {
      *error = "cannot write " + work + ": " + ErrnoText(errno);
#if defined(_WIN32)
      _close(fd);
      _unlink(work.c_str());
#else
      ::close(fd);
      ::unlink(work.c_str());
#endif
      return false;
    }
    path_ = path;
    work_ = work;
    return true;
  }
  *error = "cannot create a temporary file beside " + path + ": every name is taken";
  return false;
}

bool FileInPlace::Commit(std::string* error) {
  if (stream_ == nullptr) {
    *error = "nothing to put in place";
    return false;
  }
  bool ok = std::fflush(stream_) == 0;
  int code = ok ? 0 : errno;
#if !defined(_WIN32)
  // Created private; in place it reads as any new file of this user would.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  if (ok && ::fchmod(::fileno(stream_), 0644 & ~mask) != 0) {
    ok = false;
    code = errno;
  }
#endif
  if (std::fclose(stream_) != 0 && ok) {
    ok = false;
    code = errno;
  }
  stream_ = nullptr;
  if (!ok) {
    *error = "cannot write " + work_ + ": " + ErrnoText(code);
    Abandon();
    return false;
  }
  std::string why;
  if (!RenameOver(work_, path_, &why)) {
    *error = "cannot put " + work_ + " in place of " + path_ + ": " + why;
    Abandon();
    return false;
  }
  work_.clear();
  return true;
}

void FileInPlace::Abandon() {
  if (stream_ != nullptr) std::fclose(stream_);
  stream_ = nullptr;
  if (!work_.empty()) std::remove(work_.c_str());
  work_.clear();
}

}  // namespace volp::cli
