// The module, versions, machine description and system log on POSIX. There
// are no version resources: the library's version is the build's and no
// transmitter is looked for.
#include <dlfcn.h>
#include <link.h>
#include <pwd.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/platform.hpp"
#include "platform/system.hpp"

#ifndef VOLP_VERSION_TEXT
#define VOLP_VERSION_TEXT "0.0"
#endif

namespace volp::platform {

int DirectoryError() { return EISDIR; }

std::string ModulePath() {
  Dl_info info{};
#if defined(__GLIBC__)
  // For code linked into the program itself the loader only knows the name
  // the program was started by (argv[0], perhaps relative or found through
  // PATH); the kernel knows its real path.
  link_map* map = nullptr;
  if (dladdr1(reinterpret_cast<void*>(&ModulePath), &info, reinterpret_cast<void**>(&map),
              RTLD_DL_LINKMAP) != 0 &&
      map != nullptr && map->l_name != nullptr && map->l_name[0] == '\0') {
    char buf[4096];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n > 0) return std::string(buf, static_cast<size_t>(n));
  }
#endif
  if (dladdr(reinterpret_cast<void*>(&ModulePath), &info) == 0 || info.dli_fname == nullptr)
    return {};
  return info.dli_fname;
}

bool ProductVersion(const std::string&, std::string*, std::string* why) {
  *why = "no version resources on this system";
  return false;
}

Versions ReadVersionsFor(const std::string&) {
  Versions v;
  v.library = VOLP_VERSION_TEXT;
  return v;
}

Versions ReadVersions() { return ReadVersionsFor(ModulePath()); }

bool MoveFileOver(const std::string& from, const std::string& to, int* error) {
  // rename() of a file onto itself (or onto another name of it) succeeds
  // doing nothing; the caller asked for a move that cannot be made.
  if (SameFile(from, to)) {
    *error = EINVAL;
    return false;
  }
  if (::rename(from.c_str(), to.c_str()) == 0) return true;
  if (errno != EXDEV) {
    *error = errno;
    return false;
  }
  // Another file system: a whole copy in place first, then the original goes.
  if (!CopyFileOver(from, to, error)) return false;
  if (::unlink(from.c_str()) == 0) return true;
  *error = errno;
  return false;
}

MachineInfo DescribeMachine() {
  MachineInfo m;
  char buf[256];
  struct passwd pw;
  struct passwd* found = nullptr;
  char pwbuf[1024];
  if (getpwuid_r(geteuid(), &pw, pwbuf, sizeof pwbuf, &found) == 0 && found != nullptr)
    m.user = found->pw_name;
  if (gethostname(buf, sizeof buf) == 0) {
    buf[sizeof buf - 1] = '\0';
    m.computer = buf;
  }
  struct utsname u;
  if (uname(&u) == 0) m.system = std::string(u.sysname) + " " + u.release + " " + u.machine;
  // The root file system's id stands in for the system disk's serial number.
  struct statvfs st;
  if (statvfs("/", &st) == 0) {
    std::snprintf(buf, sizeof buf, "%08lX", static_cast<unsigned long>(st.f_fsid & 0xFFFFFFFFUL));
    m.disk_serial = buf;
  }
  return m;
}

bool SystemLog(int type, const std::string& message) {
  const int priority = type == 2 ? LOG_ERR : type == 1 ? LOG_WARNING : LOG_INFO;
  ::syslog(LOG_USER | priority, "volp: %s", message.c_str());
  return true;
}

}  // namespace volp::platform
