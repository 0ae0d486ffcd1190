// What the library needs to know about the machine and the module it runs
// in: its own version and the transmitter's, the machine description of the
// support services, the system log, and moving files. One implementation per
// platform (system_posix.cpp, system_windows.cpp).
#pragma once

#include <cstdint>
#include <string>

namespace volp::platform {

// The error number that opening a directory as a declaration file gives (the
// run says so with the system's own text): EISDIR on POSIX; on Windows the
// access-denied error CreateFile returns for a directory.
int DirectoryError();

// The versions the report prints: this library's and the transmitter's (the
// program "zul_kop.exe" in the library's own directory), each cut at its last
// ".". On Windows they come from the version resources; elsewhere the
// library's is the build's and there is no transmitter.
struct Versions {
  // 0 when found; else what failed (9100 the module is unknown, 9101 its
  // path is unknown, -1 its version resource could not be read) with `why`
  // holding the system's text.
  int failure = 0;
  std::string why;
  std::string library;
  std::string transmitter;  // empty when there is none
};
Versions ReadVersions();
// The same lookup for a module at `module_path` (the transmitter beside it).
Versions ReadVersionsFor(const std::string& module_path);
// The ProductVersion of a program's version resource, as written there.
bool ProductVersion(const std::string& path, std::string* version, std::string* why);
// The full path of the module (DLL, shared object or program) holding this
// code; empty when unknown.
std::string ModulePath();

// Moves `from` to `to`, replacing it (across file systems, as a copy and a
// removal); `to` naming `from` itself is refused untouched, as CopyFileOver
// refuses it. False with the system error.
bool MoveFileOver(const std::string& from, const std::string& to, int* error);

// The machine, as the support services describe it.
struct MachineInfo {
  std::string user;
  std::string computer;
  std::string system;       // operating system name and version
  std::string disk_serial;  // of the system disk's volume, only reported
};
MachineInfo DescribeMachine();

// The system's event log (Windows) or syslog (POSIX): type 0 information,
// 1 warning, 2 error.
bool SystemLog(int type, const std::string& message);

}  // namespace volp::platform
