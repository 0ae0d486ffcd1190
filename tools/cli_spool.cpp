#include "cli_spool.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>
// windows.h first: sddl.h needs its types.
#include <sddl.h>
#else
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#endif

#include <zlib.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "cli_files.hpp"
#include "cli_signals.hpp"

namespace volp::cli {

namespace {

namespace fs = std::filesystem;

constexpr char kPrefix[] = ".volp-";

int ProcessId() {
#if defined(_WIN32)
  return _getpid();
#else
  return static_cast<int>(getpid());
#endif
}

// The pid of a folder named ".volp-<pid>-<n>", or -1 for any other name.
long long SpoolOwner(const std::string& name) {
  const size_t prefix = sizeof kPrefix - 1;
  if (name.compare(0, prefix, kPrefix) != 0) return -1;
  const size_t dash = name.find('-', prefix);
  if (dash == std::string::npos || dash == prefix || dash - prefix > 10 || dash + 1 == name.size())
    return -1;
  for (size_t i = prefix; i < name.size(); ++i) {
    if (i != dash && !std::isdigit(static_cast<unsigned char>(name[i]))) return -1;
  }
  return std::stoll(name.substr(prefix, dash - prefix));
}

void CloseFd(int fd) {
#if defined(_WIN32)
  _close(fd);
#else
  ::close(fd);
#endif
}

#if defined(_WIN32)
bool ProcessIsGone(long long pid) {
  HANDLE h = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(pid));
  if (h == nullptr) return GetLastError() == ERROR_INVALID_PARAMETER;  // no such process
  DWORD code = 0;
  const bool gone = GetExitCodeProcess(h, &code) && code != STILL_ACTIVE;
  CloseHandle(h);
  return gone;
}

// Free bytes for this user on the file system of `dir`; -1 when unknown.
int64_t FreeBytes(const std::string& dir) {
  ULARGE_INTEGER available;
  if (!GetDiskFreeSpaceExA(dir.c_str(), &available, nullptr, nullptr)) return -1;
  return static_cast<int64_t>(available.QuadPart);
}

// A security descriptor that lets the current user alone in: the folder and,
// by inheritance, the copy in it. Null when it cannot be made (the folder
// then takes its parent's, which for the user's temporary directory is the
// user's own).
PSECURITY_DESCRIPTOR OwnerOnly() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return nullptr;
  DWORD size = 0;
  GetTokenInformation(token, TokenUser, nullptr, 0, &size);
  std::vector<unsigned char> buf(size);
  PSECURITY_DESCRIPTOR sd = nullptr;
  char* sid = nullptr;
  if (size > 0 && GetTokenInformation(token, TokenUser, buf.data(), size, &size) &&
      ConvertSidToStringSidA(reinterpret_cast<TOKEN_USER*>(buf.data())->User.Sid, &sid)) {
    // Protected (P: nothing inherited from above), full access (FA) for the
    // user, passed on to files (OI) and folders (CI) made inside.
    const std::string sddl = std::string("D:P(A;OICI;FA;;;") + sid + ")";
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorA(sddl.c_str(), SDDL_REVISION_1, &sd,
                                                              nullptr))
      sd = nullptr;
    LocalFree(sid);
  }
  CloseHandle(token);
  return sd;
}
#else
int64_t FreeBytes(int fd) {
  struct statvfs st;
  if (::fstatvfs(fd, &st) != 0) return -1;
  return static_cast<int64_t>(st.f_bavail) * static_cast<int64_t>(st.f_frsize);
}
#endif

}  // namespace

std::string SpoolBase(const std::string& report_dir) {
  if (!report_dir.empty()) return report_dir;
  std::error_code ec;
  const fs::path tmp = fs::temp_directory_path(ec);
  return ec ? std::string() : tmp.string();
}

Spool::~Spool() { Remove(); }

void Spool::Remove() {
  SetSpoolLeftovers("", "");
#if defined(_WIN32)
  if (!file_.empty()) DeleteFileA(file_.c_str());
  if (!dir_.empty()) RemoveDirectoryA(dir_.c_str());
#else
  if (!file_.empty()) ::unlink(file_.c_str());
  if (dir_fd_ >= 0) ::close(dir_fd_);  // lets go of the lock
  if (!dir_.empty()) ::rmdir(dir_.c_str());
#endif
  dir_fd_ = -1;
  file_.clear();
  dir_.clear();
}

bool Spool::MakeFolder(const std::string& base, std::string* error) {
  // A folder of our own: its name cannot be taken by another process between
  // our look and our use, and whatever was planted at a name (a link, a
  // folder of someone else's) makes us try the next one.
  const std::string stem = (fs::path(base) / kPrefix).string() + std::to_string(ProcessId()) + "-";
#if defined(_WIN32)
  PSECURITY_DESCRIPTOR sd = OwnerOnly();
  SECURITY_ATTRIBUTES sa{sizeof sa, sd, FALSE};
  for (int n = 0; n < 1000 && dir_.empty(); ++n) {
    const std::string dir = stem + std::to_string(n);
    if (CreateDirectoryA(dir.c_str(), sd != nullptr ? &sa : nullptr)) {
      dir_ = dir;
    } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
      break;
    }
  }
  if (sd != nullptr) LocalFree(sd);
  if (dir_.empty()) {
    *error = "cannot make a temporary folder in " + base;
    return false;
  }
  return true;
#else
  for (int n = 0; n < 1000; ++n) {
    const std::string dir = stem + std::to_string(n);
    if (::mkdir(dir.c_str(), 0700) != 0) {
      if (errno == EEXIST) continue;
      *error = "cannot make a temporary folder in " + base + ": " + ErrnoText(errno);
      return false;
    }
    dir_ = dir;
    // What we made, not a link put in its place since; ours and closed to
    // everyone else, whatever the umask said.
    dir_fd_ = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat st;
    if (dir_fd_ < 0 || ::fstat(dir_fd_, &st) != 0 || st.st_uid != ::geteuid() ||
        (st.st_mode & 077) != 0 || ::flock(dir_fd_, LOCK_EX | LOCK_NB) != 0) {
      *error = "the temporary folder " + dir + " is not private to this process";
      // Not removed: what is there now may not be what we made.
      if (dir_fd_ >= 0) ::close(dir_fd_);
      dir_fd_ = -1;
      dir_.clear();
      return false;
    }
    return true;
  }
  *error = "cannot make a temporary folder in " + base;
  return false;
#endif
}

bool Spool::Fill(const std::string& source, const std::string& base_dir, const std::string& stem,
                 const SpoolLimits& limits, const std::atomic<bool>* stop, std::string* error) {
  Remove();
  const std::string base = SpoolBase(base_dir);
  if (base.empty()) {
    *error = "no temporary directory for the copy (give --report-dir)";
    return false;
  }
  if (!MakeFolder(base, error)) {
    Remove();
    return false;
  }
  file_ = (fs::path(dir_) / (stem + ".txt")).string();
  SetSpoolLeftovers(file_, dir_);

  const std::string what = source == "-" ? "standard input" : source;
  int in_fd = -1;
  if (source == "-") {
#if defined(_WIN32)
    _setmode(_fileno(stdin), _O_BINARY);
    in_fd = _dup(_fileno(stdin));
#else
    in_fd = ::dup(STDIN_FILENO);
#endif
  } else {
    std::string why;
    in_fd = OpenRegularForReading(source, &why);
    if (in_fd < 0) {
      *error = "cannot read " + what + ": " + why;
      Remove();
      return false;
    }
  }
  gzFile in = in_fd >= 0 ? gzdopen(in_fd, "rb") : nullptr;
  if (in == nullptr) {
    *error = "cannot read " + what + ": " + ErrnoText(errno);
    if (in_fd >= 0) CloseFd(in_fd);
    Remove();
    return false;
  }
  gzbuffer(in, 1 << 17);
  SetSpoolInput(in_fd);
  std::string why;
  const int out = CreateExclusive(file_, &why);
  if (out < 0) {
    *error = "cannot write the temporary copy " + file_ + ": " + why;
    SetSpoolInput(-1);  // before its number is let go
    gzclose(in);
    Remove();
    return false;
  }

  // Room is looked at again every 64 MiB: other programs write to the same
  // disk meanwhile.
  constexpr int64_t kRecheck = int64_t{64} << 20;
  int64_t free_bytes = -1;
  int64_t since_check = kRecheck;
  std::vector<char> buf(1 << 17);
  bool ok = true;
  int64_t copied = 0;
  for (;;) {
    const int n = gzread(in, buf.data(), static_cast<unsigned>(buf.size()));
    if (stop != nullptr && stop->load()) {
      *error = "cancelled while reading " + what;
      ok = false;
      break;
    }
    if (n < 0) {
      int code = 0;
      const char* zwhy = gzerror(in, &code);
      *error =
          "cannot read " + what + ": " + (code == Z_ERRNO ? ErrnoText(errno) : std::string(zwhy));
      ok = false;
      break;
    }
    if (n == 0) {
      // The end, or a gzip stream cut short (zlib tells it only here).
      int code = 0;
      const char* zwhy = gzerror(in, &code);
      if (code != Z_OK) {
        *error = "cannot read " + what + ": " + zwhy;
        ok = false;
      }
      break;
    }
    if (copied + n > limits.max_bytes) {
      *error = what + ": the copy to validate would pass " + SizeText(limits.max_bytes) +
               " (--max-size): not validated. Data that unpacks to that much is more likely a "
               "gzip bomb than a declaration; give a larger --max-size if it is real";
      ok = false;
      break;
    }
    if (since_check >= kRecheck) {
#if defined(_WIN32)
      free_bytes = FreeBytes(dir_);
#else
      free_bytes = FreeBytes(out);
#endif
      since_check = 0;
    }
    if (free_bytes >= 0 && free_bytes - n < limits.keep_free) {
      *error = what + ": the copy to validate would leave less than " + SizeText(limits.keep_free) +
               " free on the disk of " + base + " (" + SizeText(free_bytes) +
               " free): not validated. Give --report-dir on a disk " + "with more room";
      ok = false;
      break;
    }
    if (!WriteAll(out, buf.data(), static_cast<size_t>(n))) {
      *error = "cannot write the temporary copy " + file_ + ": " + ErrnoText(errno);
      ok = false;
      break;
    }
    copied += n;
    since_check += n;
    if (free_bytes >= 0) free_bytes -= n;
  }
  decompressed_ = copied > 0 && gzdirect(in) == 0;
  SetSpoolInput(-1);  // before its number is let go
  gzclose(in);
#if defined(_WIN32)
  const bool closed = _close(out) == 0;
#else
  const bool closed = ::close(out) == 0;
#endif
  if (!closed && ok) {
    *error = "cannot write the temporary copy " + file_ + ": " + ErrnoText(errno);
    ok = false;
  }
  if (!ok) Remove();
  return ok;
}

int RemoveStaleSpools(const std::string& base) {
  if (base.empty()) return 0;
  int removed = 0;
  const int self = ProcessId();
#if defined(_WIN32)
  WIN32_FIND_DATAA found;
  HANDLE list = FindFirstFileA((fs::path(base) / ".volp-*").string().c_str(), &found);
  if (list == INVALID_HANDLE_VALUE) return 0;
  do {
    const std::string name = found.cFileName;
    const long long pid = SpoolOwner(name);
    // A link or a junction is never followed: only a real folder is a copy's.
    if (pid < 0 || pid == self || (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ||
        (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 || !ProcessIsGone(pid))
      continue;
    const std::string dir = (fs::path(base) / name).string();
    WIN32_FIND_DATAA inner;
    HANDLE files = FindFirstFileA((dir + "\\*").c_str(), &inner);
    if (files != INVALID_HANDLE_VALUE) {
      do {
        if ((inner.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
          DeleteFileA((dir + "\\" + inner.cFileName).c_str());
      } while (FindNextFileA(files, &inner));
      FindClose(files);
    }
    if (RemoveDirectoryA(dir.c_str())) ++removed;
  } while (FindNextFileA(list, &found));
  FindClose(list);
#else
  const int base_fd = ::open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (base_fd < 0) return 0;
  const int list_fd = ::dup(base_fd);
  DIR* list = list_fd >= 0 ? ::fdopendir(list_fd) : nullptr;
  if (list == nullptr) {
    if (list_fd >= 0) ::close(list_fd);
    ::close(base_fd);
    return 0;
  }
  std::vector<std::string> stale;
  while (const dirent* e = ::readdir(list)) {
    const std::string name = e->d_name;
    const long long pid = SpoolOwner(name);
    if (pid <= 0 || pid == self) continue;
    // Alive, or not ours to ask about: left alone.
    if (::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;
    stale.push_back(name);
  }
  ::closedir(list);
  for (const std::string& name : stale) {
    // Never through a link; only a folder of this user that no process holds
    // (a process in another pid namespace may look gone and still run).
    const int dir_fd =
        ::openat(base_fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dir_fd < 0) continue;
    struct stat st;
    if (::fstat(dir_fd, &st) != 0 || st.st_uid != ::geteuid() ||
        ::flock(dir_fd, LOCK_EX | LOCK_NB) != 0) {
      ::close(dir_fd);
      continue;
    }
    const int inner_fd = ::dup(dir_fd);
    if (DIR* inner = inner_fd >= 0 ? ::fdopendir(inner_fd) : nullptr) {
      std::vector<std::string> files;
      while (const dirent* e = ::readdir(inner)) {
        if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0)
          files.push_back(e->d_name);
      }
      ::closedir(inner);
      // unlinkat removes a link itself, never what it leads to.
      for (const std::string& f : files) ::unlinkat(dir_fd, f.c_str(), 0);
    } else if (inner_fd >= 0) {
      ::close(inner_fd);
    }
    if (::unlinkat(base_fd, name.c_str(), AT_REMOVEDIR) == 0) ++removed;
    ::close(dir_fd);
  }
  ::close(base_fd);
#endif
  return removed;
}

bool ParseSize(const std::string& text, int64_t* bytes) {
  size_t at = 0;
  uint64_t value = 0;
  while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]))) {
    value = value * 10 + static_cast<uint64_t>(text[at] - '0');
    if (value > (uint64_t{1} << 50)) return false;
    ++at;
  }
  if (at == 0) return false;
  std::string unit;
  for (; at < text.size(); ++at)
    unit += static_cast<char>(std::tolower(static_cast<unsigned char>(text[at])));
  int shift = 0;
  if (!unit.empty() && unit != "b") {
    const char* units = "kmgt";
    const char* u = std::strchr(units, unit[0]);
    if (u == nullptr || *u == '\0') return false;
    shift = 10 * static_cast<int>(u - units + 1);
    const std::string tail = unit.substr(1);
    if (!tail.empty() && tail != "b" && tail != "ib") return false;
  }
  if (value == 0 || value > (uint64_t{1} << (62 - shift))) return false;
  *bytes = static_cast<int64_t>(value << shift);
  return true;
}

std::string SizeText(int64_t bytes) {
  static const char* const kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
  if (bytes < 1024) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  double v = static_cast<double>(bytes);
  int unit = -1;
  while (v >= 1024 && unit < 3) {
    v /= 1024;
    ++unit;
  }
  char buf[32];
  const bool whole = v == static_cast<double>(static_cast<int64_t>(v));
  std::snprintf(buf, sizeof buf, whole ? "%.0f %s" : "%.1f %s", v, kUnits[unit]);
  return buf;
}

}  // namespace volp::cli
