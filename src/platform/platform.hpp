// The few operating-system services the validator needs, one implementation
// per platform (posix.cpp, windows.cpp). Paths are narrow strings in the
// platform's own encoding.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#if defined(_MSC_VER)
#include <intrin.h>
#elif defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace volp::platform {

// "/" on POSIX, "\\" on Windows: the separator of the path formats.
char Separator();
int ProcessId();
std::string CurrentDirectory();
// Text of a system error number (errno on POSIX, GetLastError on Windows).
std::string ErrorText(int error);
int LastError();

bool FileExists(const std::string& path);
bool RemoveFile(const std::string& path);
bool MakeDirectory(const std::string& path);  // true when it exists afterwards
bool IsDirectory(const std::string& path);
// Copies `from` over `to`; on failure returns false with the system error.
bool CopyFileOver(const std::string& from, const std::string& to, int* error);
void SleepMs(int ms);

// High-resolution clock in nanoseconds (monotonic).
int64_t NowNs();
// A cheap counter for per-record timing; TicksToNs converts a difference.
#if defined(__x86_64__) || defined(_M_X64)
inline uint64_t Ticks() { return __rdtsc(); }
#else
uint64_t Ticks();
#endif
int64_t TicksToNs(uint64_t ticks);

struct LocalTime {
  int year, month, day, hour, minute, second;
};
LocalTime Local(std::time_t t);

// An input file read sequentially in large blocks.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Size of the file at `path` in bytes; false with the system error.
  static bool Stat(const std::string& path, int64_t* size, bool* is_dir, int* error);
  bool Open(const std::string& path, int* error);
  // Reads up to n bytes; returns bytes read, 0 at end, -1 on error.
  int64_t Read(char* buf, int64_t n);
  bool Seek(int64_t offset);
  void Close();
  int descriptor() const { return fd_; }
  bool is_open() const { return fd_ >= 0 || handle_ != nullptr; }

 private:
  int fd_ = -1;
  void* handle_ = nullptr;  // Windows HANDLE
};

}  // namespace volp::platform
