// Windows half of the output files, the file lock, the atomic rename and the
// file kinds. Paths are in the ANSI code page, as the transmitter passes them.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "platform/platform.hpp"

namespace volp::platform {

namespace {

// Opened so that others may still read, write, rename and delete the file:
// the transmitter reads the working file for progress while it is written,
// and the finished file is renamed while its lock is still held.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// The lock covers one byte far beyond any end of file: Windows locks are
// enforced on the bytes they cover, and a lock on the content would keep the
// transmitter from reading the progress.
constexpr DWORD kLockOffsetHigh = 0x40000000;

bool SameFile(HANDLE held, const std::string& path) {
  HANDLE named = CreateFileA(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (named == INVALID_HANDLE_VALUE) return false;
  BY_HANDLE_FILE_INFORMATION a, b;
  const bool same = GetFileInformationByHandle(held, &a) && GetFileInformationByHandle(named, &b) &&
                    a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
                    a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
  CloseHandle(named);
  return same;
}

}  // namespace

FileKind KindOf(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::kMissing;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return FileKind::kDirectory;
  if (attributes & FILE_ATTRIBUTE_DEVICE) return FileKind::kOther;
  // Named pipes and devices ("\\.\pipe\x", "CON") answer to the attributes
  // query too; only a disk file is a regular one.
  HANDLE h = CreateFileA(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                         FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (h == INVALID_HANDLE_VALUE) return FileKind::kRegular;  // let the open say why not
  const DWORD type = GetFileType(h);
  CloseHandle(h);
  return type == FILE_TYPE_DISK ? FileKind::kRegular : FileKind::kOther;
}

OutputFile::~OutputFile() { CloseQuietly(); }

void OutputFile::CloseQuietly() {
  if (handle_ != nullptr) CloseHandle(static_cast<HANDLE>(handle_));
  handle_ = nullptr;
  open_ = false;
  used_ = 0;
}

bool OutputFile::Open(const std::string& path, bool text, bool keep, int* error) {
  CloseQuietly();
  error_ = 0;
  text_ = text;
  if (InjectedFault(FaultOp::kOpen)) {
    *error = ERROR_OPEN_FAILED;
    return false;
  }
  HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, kShareAll, nullptr,
                         keep ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  handle_ = h;
  if (!buf_) buf_.reset(new char[kBufferSize]);
  open_ = true;
  return true;
}

bool OutputFile::WriteOut(const char* p, size_t n) {
  while (n > 0) {
    if (InjectedFault(FaultOp::kWrite)) return Fail(ERROR_DISK_FULL);
    const DWORD want = n > 0x40000000 ? 0x40000000 : static_cast<DWORD>(n);
    DWORD done = 0;
    if (!WriteFile(static_cast<HANDLE>(handle_), p, want, &done, nullptr))
      return Fail(static_cast<int>(GetLastError()));
    if (done == 0) return Fail(ERROR_DISK_FULL);
    p += done;
    n -= done;
  }
  return true;
}

bool OutputFile::Restart() {
  if (!open_) return Fail(-1);
  used_ = 0;
  error_ = 0;
  if (InjectedFault(FaultOp::kWrite)) return Fail(ERROR_WRITE_FAULT);
  LARGE_INTEGER zero;
  zero.QuadPart = 0;
  if (!SetFilePointerEx(static_cast<HANDLE>(handle_), zero, nullptr, FILE_BEGIN) ||
      !SetEndOfFile(static_cast<HANDLE>(handle_)))
    return Fail(static_cast<int>(GetLastError()));
  return true;
}

bool OutputFile::Sync() {
  if (!Flush()) return false;
  if (InjectedFault(FaultOp::kFlush)) return Fail(ERROR_WRITE_FAULT);
  if (!FlushFileBuffers(static_cast<HANDLE>(handle_)))
    return Fail(static_cast<int>(GetLastError()));
  return true;
}

bool OutputFile::Close() {
  if (!open_) return Fail(-1);
  Flush();
  HANDLE h = static_cast<HANDLE>(handle_);
  handle_ = nullptr;
  open_ = false;
  if (InjectedFault(FaultOp::kClose)) {
    CloseHandle(h);
    return Fail(ERROR_WRITE_FAULT);
  }
  if (!CloseHandle(h)) return Fail(static_cast<int>(GetLastError()));
  return error_ == 0;
}

FileLock::~FileLock() { Release(); }

void FileLock::Release() {
  if (handle_ != nullptr) CloseHandle(static_cast<HANDLE>(handle_));  // releases the lock
  handle_ = nullptr;
}

bool FileLock::TryLock(const std::string& path, bool* busy, int* error) {
  Release();
  *busy = false;
  for (int attempt = 0; attempt < 10; ++attempt) {
    if (InjectedFault(FaultOp::kOpen)) {
      *error = ERROR_OPEN_FAILED;
      return false;
    }
    HANDLE h = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
      *error = static_cast<int>(GetLastError());
      return false;
    }
    const bool created = GetLastError() != ERROR_ALREADY_EXISTS;
    handle_ = h;
    DWORD failed = 0;
    OVERLAPPED at = {};
    at.Offset = 0;
    at.OffsetHigh = kLockOffsetHigh;
    if (InjectedFault(FaultOp::kLock))
      failed = ERROR_NOT_LOCKED;
    else if (!LockFileEx(h, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &at))
      failed = GetLastError();
    if (failed != 0) {
      *error = static_cast<int>(failed);
      *busy = failed == ERROR_LOCK_VIOLATION || failed == ERROR_IO_PENDING;
      Release();
      // A file made here for a lock that could not be had for another
      // reason than a holder is nobody's: it goes.
      if (created && !*busy) DeleteFileA(path.c_str());
      return false;
    }
    if (SameFile(h, path)) return true;
    Release();
  }
  *busy = true;
  *error = ERROR_LOCK_VIOLATION;
  return false;
}

bool RenameOver(const std::string& from, const std::string& to, int* error) {
  if (InjectedFault(FaultOp::kRename)) {
    *error = ERROR_WRITE_FAULT;
    return false;
  }
  if (!MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  return true;
}

bool RemoveIfExists(const std::string& path, int* error) {
  if (DeleteFileA(path.c_str())) return true;
  const DWORD e = GetLastError();
  if (e == ERROR_FILE_NOT_FOUND || e == ERROR_PATH_NOT_FOUND) return true;
  *error = static_cast<int>(e);
  return false;
}

}  // namespace volp::platform
