// The few operating-system services the validator needs, one implementation
// per platform (posix.cpp, windows.cpp). Paths are narrow strings in the
// platform's own encoding.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

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
// True when a directory is there afterwards: made now, or one that was there
// (never a link to one: a directory of our own is not taken over that way).
bool MakeDirectory(const std::string& path);
bool IsDirectory(const std::string& path);
// Both names lead to one file (followed through links; compared by device
// and file number, not by text).
bool SameFile(const std::string& a, const std::string& b);
// Copies `from` over `to`: the bytes go to a new private file beside `to`,
// which then takes its name in one step with `from`'s access bits (less the
// umask). `to` is never opened, so a link there is replaced, not followed;
// `to` naming `from` itself is refused untouched (EINVAL; on Windows
// ERROR_INVALID_PARAMETER). On failure returns false with the system error
// and `to` is as it was.
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
// Marks where the counter's rate starts being measured; call it when a run
// starts, so that by its end the rate is known from the run's own duration.
void StartTicks();

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

// What a path names, without opening it (opening a FIFO with no writer would
// wait forever). KindOf follows a link to what it points at, as a reader
// does; NameKind looks at the name itself, as whoever is about to make a file
// of that name must: a link there is kLink (on Windows, any reparse point).
enum class FileKind { kMissing, kRegular, kDirectory, kOther, kLink };
FileKind KindOf(const std::string& path);
FileKind NameKind(const std::string& path);

// Frees the name of a file this run makes for itself (a working file, a
// temporary): a regular file there is taken to be left by a run that died
// and is removed; anything else (a link, a directory, a device) is never
// touched and the name is refused (`*refused`). False when the name is not
// free, with the system error unless refused.
bool ClearStaleFile(const std::string& path, bool* refused, int* error);

// Who may read a file volp makes: kPrivate, only its owner (0600: working
// files and temporaries, which may hold a declaration's clients and
// amounts); kShared, what the user's file-creation mask allows (0644 less
// the umask: reports and summaries in their final place). On Windows files
// take the access of their folder either way.
enum class Access { kPrivate, kShared };

// A file the validator writes (the report, its working file, the summary).
// Bytes go through a buffer of its own; every write, flush and close is
// checked, and the first failure sticks: once failed, the file takes no more
// bytes and Close() reports it, so a caller that checks Close() never takes a
// cut file for a whole one. Text files end their lines in CR LF on Windows
// (an LF written is translated) and in LF elsewhere.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();  // closes without checking: call Close() to know
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Creates `path` as a new file: never one that exists and never through a
  // link (O_CREAT | O_EXCL | O_NOFOLLOW; CREATE_NEW on Windows). False with
  // the system error, EEXIST (ERROR_FILE_EXISTS) when the name is taken.
  bool Create(const std::string& path, bool text, Access access, int* error);
  // Opens `path` for appending (a log), creating it kShared when missing;
  // refused when the name is a link or not a regular file.
  bool OpenForAppend(const std::string& path, bool text, int* error);
  // Gives a kPrivate file the access of a kShared one: a working file about
  // to take its final name.
  bool Share();
  // The name `path` still leads to this open file (not followed through a
  // link): nobody removed or replaced it since it was made.
  bool NamedBy(const std::string& path) const;
  // Drops everything written so far: the file is empty and writing starts
  // again at its beginning (the buffer is dropped too).
  bool Restart();
  void Put(std::string_view bytes);
  void Printf(const char* fmt, ...)
#if defined(__GNUC__)
      __attribute__((format(printf, 2, 3)))
#endif
      ;
  void VPrintf(const char* fmt, va_list ap);
  // Hands the buffered bytes to the system.
  bool Flush();
  // Flush() and then waits until the bytes are on the disk, so that a rename
  // that follows never publishes a file whose bytes were lost in a crash.
  bool Sync();
  // Flush() and close; false when this or any earlier operation failed.
  bool Close();

  bool is_open() const { return open_; }
  bool ok() const { return error_ == 0; }
  int error() const { return error_; }  // the first failure's system error
  int descriptor() const { return fd_; }

 private:
  bool Fail(int error);
  bool WriteOut(const char* p, size_t n);  // straight to the system
  void CloseQuietly();

  static constexpr size_t kBufferSize = 1 << 16;
  std::unique_ptr<char[]> buf_;
  size_t used_ = 0;
  bool open_ = false;
  bool text_ = false;
  int error_ = 0;
  int fd_ = -1;
  void* handle_ = nullptr;  // Windows HANDLE
};

// An exclusive lock, taken without waiting and held until Release() (or the
// end of the process): the claim of one run on the outputs of one report.
// It is a file of its own, empty, that nothing else reads or writes; the
// holder removes it when it lets go (on Windows the system removes it when
// the holder's handle closes, also when the process dies). A lock file left
// by a process that died is free again and is taken over.
class FileLock {
 public:
  FileLock() = default;
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  // Takes the lock `path`, creating it (kPrivate) when none is there. On
  // failure `*busy` tells whether another process holds it and `*refused`
  // that the name is a link, a directory or a device, which is never opened
  // through. The lock is on the file the name leads to when it is taken: one
  // that its holder removed while this call waited is never taken in its
  // place.
  bool TryLock(const std::string& path, bool* busy, bool* refused, int* error);
  void Release();
  bool held() const { return fd_ >= 0 || handle_ != nullptr; }

 private:
  std::string path_;
  int fd_ = -1;
  void* handle_ = nullptr;  // Windows HANDLE
};

// Puts `from` in place of `to` in one step: `to` is either the old file or
// the new one, never a mixture, whatever happens. False with the system error.
bool RenameOver(const std::string& from, const std::string& to, int* error);
// Removes a file; true when it is gone (also when it never existed).
bool RemoveIfExists(const std::string& path, int* error);

// Test-only fault injection. Every open, read, write, flush, close, rename and
// lock that the platform layer makes is counted while a fault is armed; the
// k-th one fails as the system would (an I/O error; a full disk for a write;
// a lock held elsewhere). Arming with 0 switches it off. The count lets a test
// find how many operations a run makes, and so every point at which it can fail.
// `ops` narrows the count to some kinds (bits 1 << FaultOp), e.g. the k-th
// write alone.
enum class FaultOp { kOpen, kRead, kWrite, kFlush, kClose, kRename, kLock };
constexpr unsigned FaultBit(FaultOp op) { return 1u << static_cast<unsigned>(op); }
inline constexpr unsigned kAllFaultOps = 0x7F;
void ArmFault(int64_t k, unsigned ops = kAllFaultOps);
int64_t FaultOpsSeen();
// Called by the platform code before each operation: true when it must fail.
bool InjectedFault(FaultOp op);

}  // namespace volp::platform
