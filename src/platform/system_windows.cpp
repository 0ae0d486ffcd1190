// The module, version resources, machine description and event log on
// Windows. Paths and texts are in the ANSI code page.
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// windows.h first: winver.h needs its types.
#include <winver.h>

#include <cstdio>
#include <vector>

#include "platform/platform.hpp"
#include "platform/system.hpp"

namespace volp::platform {

namespace {

constexpr const char* kTransmitter = "\\zul_kop.exe";

// "7.0.9.9" -> "7.0.9"; a text without "." stays whole.
std::string CutAtLastDot(std::string v) {
  const size_t dot = v.find_last_of('.');
  if (dot != std::string::npos) v.resize(dot);
  return v;
}

HMODULE ThisModule() {
  HMODULE h = nullptr;
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCSTR>(&ThisModule), &h))
    return nullptr;
  return h;
}

std::string PathOf(HMODULE h) {
  char buf[MAX_PATH + 1];
  const DWORD n = GetModuleFileNameA(h, buf, sizeof buf);
  if (n == 0 || n >= sizeof buf) return {};
  return std::string(buf, n);
}

}  // namespace

int DirectoryError() { return ERROR_ACCESS_DENIED; }

std::string ModulePath() {
  HMODULE h = ThisModule();
  return h != nullptr ? PathOf(h) : std::string();
}

bool ProductVersion(const std::string& path, std::string* version, std::string* why) {
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeA(path.c_str(), &ignored);
  if (size == 0) {
    *why = ErrorText(LastError());
    return false;
  }
  std::vector<char> info(size);
  if (!GetFileVersionInfoA(path.c_str(), 0, size, info.data())) {
    *why = ErrorText(LastError());
    return false;
  }
  struct Translation {
    WORD language;
    WORD code_page;
  };
  Translation* tr = nullptr;
  UINT len = 0;
  if (!VerQueryValueA(info.data(), "\\VarFileInfo\\Translation", reinterpret_cast<void**>(&tr),
                      &len) ||
      len < sizeof(Translation)) {
    *why = ErrorText(LastError());
    return false;
  }
  char key[64];
  std::snprintf(key, sizeof key, "\\StringFileInfo\\%04x%04x\\ProductVersion", tr->language,
                tr->code_page);
  char* text = nullptr;
  if (!VerQueryValueA(info.data(), key, reinterpret_cast<void**>(&text), &len) || len == 0) {
    *why = ErrorText(LastError());
    return false;
  }
  version->assign(text, strnlen(text, len));
  return true;
}

Versions ReadVersionsFor(const std::string& module_path) {
  Versions v;
  std::string full;
  if (!ProductVersion(module_path, &full, &v.why)) {
    v.failure = -1;
    return v;
  }
  v.library = CutAtLastDot(full);
  // The transmitter lives in the library's own directory.
  const size_t sep = module_path.find_last_of("\\/");
  const std::string transmitter =
      (sep == std::string::npos ? std::string(".") : module_path.substr(0, sep)) + kTransmitter;
  std::string ignored;
  if (FileExists(transmitter) && ProductVersion(transmitter, &full, &ignored))
    v.transmitter = CutAtLastDot(full);
  return v;
}

Versions ReadVersions() {
  HMODULE h = ThisModule();
  if (h == nullptr) {
    Versions v;
    v.failure = 9100;
    v.why = ErrorText(LastError());
    return v;
  }
  const std::string path = PathOf(h);
  if (path.empty()) {
    Versions v;
    v.failure = 9101;
    v.why = ErrorText(LastError());
    return v;
  }
  return ReadVersionsFor(path);
}

bool MoveFileOver(const std::string& from, const std::string& to, int* error) {
  if (SameFile(from, to)) {
    *error = ERROR_INVALID_PARAMETER;
    return false;
  }
  if (MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED))
    return true;
  *error = LastError();
  return false;
}

MachineInfo DescribeMachine() {
  MachineInfo m;
  char buf[MAX_PATH + 1];
  DWORD n = GetEnvironmentVariableA("USERNAME", buf, sizeof buf);
  if (n > 0 && n < sizeof buf) m.user.assign(buf, n);
  n = sizeof buf;
  if (GetComputerNameA(buf, &n)) m.computer.assign(buf, n);

  // GetVersionEx answers what the program's manifest claims; ntdll's
  // RtlGetVersion answers the truth.
  using RtlGetVersionFn = LONG(WINAPI*)(OSVERSIONINFOW*);
  OSVERSIONINFOW os{};
  os.dwOSVersionInfoSize = sizeof os;
  HMODULE ntdll = GetModuleHandleA("ntdll.dll");
  auto get = ntdll ? reinterpret_cast<RtlGetVersionFn>(
                         reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetVersion")))
                   : nullptr;
  if (get != nullptr && get(&os) == 0) {
    std::snprintf(buf, sizeof buf, "Windows %lu.%lu (build %lu)", os.dwMajorVersion,
                  os.dwMinorVersion, os.dwBuildNumber);
    m.system = buf;
  } else {
    m.system = "Windows";
  }

  char root[MAX_PATH + 1];
  n = GetWindowsDirectoryA(root, sizeof root);
  if (n >= 3 && n < sizeof root) {
    root[3] = '\0';  // "C:\"
    DWORD serial = 0;
    if (GetVolumeInformationA(root, nullptr, 0, &serial, nullptr, nullptr, nullptr, 0)) {
      std::snprintf(buf, sizeof buf, "%04lX-%04lX", (serial >> 16) & 0xFFFFUL, serial & 0xFFFFUL);
      m.disk_serial = buf;
    }
  }
  return m;
}

bool SystemLog(int type, const std::string& message) {
  HANDLE h = RegisterEventSourceA(nullptr, "volp");
  if (h == nullptr) return false;
  const WORD kind = type == 2   ? EVENTLOG_ERROR_TYPE
                    : type == 1 ? EVENTLOG_WARNING_TYPE
                                : EVENTLOG_INFORMATION_TYPE;
  const char* strings[1] = {message.c_str()};
  const BOOL ok = ReportEventA(h, kind, 0, 0, nullptr, 1, 0, strings, nullptr);
  DeregisterEventSource(h);
  return ok != 0;
}

}  // namespace volp::platform
