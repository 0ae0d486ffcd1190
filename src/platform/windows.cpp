// Windows implementation of the platform services. Paths are in the ANSI code
// page, as the transmitter passes them.
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <direct.h>
#include <intrin.h>
#include <process.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/platform.hpp"

namespace volp::platform {

char Separator() { return '\\'; }
int ProcessId() { return static_cast<int>(GetCurrentProcessId()); }

std::string CurrentDirectory() {
  char buf[MAX_PATH + 1];
  DWORD n = GetCurrentDirectoryA(sizeof buf, buf);
  if (n == 0 || n > sizeof buf) return ".";
  return std::string(buf, n);
}

std::string ErrorText(int error) {
  char buf[512];
  DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                           static_cast<DWORD>(error), 0, buf, sizeof buf, nullptr);
  while (n > 0 && (buf[n - 1] == '\r' || buf[n - 1] == '\n')) --n;
  return std::string(buf, n);
}
int LastError() { return static_cast<int>(GetLastError()); }

bool FileExists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}
bool RemoveFile(const std::string& path) { return DeleteFileA(path.c_str()) != 0; }
bool IsDirectory(const std::string& path) {
  DWORD a = GetFileAttributesA(path.c_str());
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) != 0;
}
bool MakeDirectory(const std::string& path) {
  if (CreateDirectoryA(path.c_str(), nullptr)) return true;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return false;
  const DWORD a = GetFileAttributesA(path.c_str());
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
         (a & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

bool SameFile(const std::string& a, const std::string& b) {
  auto id = [](const std::string& path, BY_HANDLE_FILE_INFORMATION* info) {
    HANDLE h = CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    const bool ok = GetFileInformationByHandle(h, info) != 0;
    CloseHandle(h);
    return ok;
  };
  BY_HANDLE_FILE_INFORMATION x, y;
  return id(a, &x) && id(b, &y) && x.dwVolumeSerialNumber == y.dwVolumeSerialNumber &&
         x.nFileIndexHigh == y.nFileIndexHigh && x.nFileIndexLow == y.nFileIndexLow;
}
void SleepMs(int ms) { Sleep(static_cast<DWORD>(ms)); }

int64_t NowNs() {
  // Counter x 1e9 / frequency, as whole seconds and remainder so that the
  // product cannot overflow.
  static const int64_t freq = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return f.QuadPart;
  }();
  LARGE_INTEGER c;
  QueryPerformanceCounter(&c);
  if (freq == 10000000) return c.QuadPart * 100;
  return (c.QuadPart / freq) * 1000000000 + (c.QuadPart % freq) * 1000000000 / freq;
}

LocalTime Local(std::time_t t) {
  struct tm tm {};
  localtime_s(&tm, &t);
  return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

InputFile::~InputFile() { Close(); }

bool InputFile::Stat(const std::string& path, int64_t* size, bool* is_dir, int* error) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  *size = (static_cast<int64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  *is_dir = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return true;
}

bool InputFile::Open(const std::string& path, int* error) {
  if (InjectedFault(FaultOp::kOpen)) {
    *error = ERROR_READ_FAULT;
    return false;
  }
  HANDLE h = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  // Only a file on a disk is read: a pipe or a console device put in the
  // file's place would hold the reading until a writer came.
  if (GetFileType(h) != FILE_TYPE_DISK) {
    CloseHandle(h);
    *error = ERROR_INVALID_FUNCTION;
    return false;
  }
  handle_ = h;
  fd_ = 0;  // no descriptor number on Windows; the log prints 0
  return true;
}

int64_t InputFile::Read(char* buf, int64_t n) {
  if (InjectedFault(FaultOp::kRead)) {
    SetLastError(ERROR_READ_FAULT);
    return -1;
  }
  DWORD got = 0;
  const DWORD want = n > 0x40000000 ? 0x40000000 : static_cast<DWORD>(n);
  if (!ReadFile(static_cast<HANDLE>(handle_), buf, want, &got, nullptr)) return -1;
  return static_cast<int64_t>(got);
}

bool InputFile::Seek(int64_t offset) {
  LARGE_INTEGER li;
  li.QuadPart = offset;
  return SetFilePointerEx(static_cast<HANDLE>(handle_), li, nullptr, FILE_BEGIN) != 0;
}

void InputFile::Close() {
  if (handle_ != nullptr) CloseHandle(static_cast<HANDLE>(handle_));
  handle_ = nullptr;
  fd_ = -1;
}

}  // namespace volp::platform
