// Windows half of the output files, the file lock, the atomic rename, copies
// and the file kinds. Paths are in the ANSI code page, as the transmitter passes them.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace volp::platform {

namespace {

// Opened so that others may still read, write, rename and delete the file:
// the transmitter reads the working file for progress while it is written.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// `follow`: a link at `path` stands for its target; else for itself.
bool SameFile(HANDLE held, const std::string& path, bool follow = true) {
  HANDLE named = CreateFileA(
      path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
      FILE_FLAG_BACKUP_SEMANTICS | (follow ? 0 : FILE_FLAG_OPEN_REPARSE_POINT), nullptr);
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

FileKind NameKind(const std::string& path) {
  // The attributes of a link (a symbolic link, a junction: any reparse
  // point) are the link's own, not its target's.
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::kMissing;
  if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) return FileKind::kLink;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return FileKind::kDirectory;
  if (attributes & FILE_ATTRIBUTE_DEVICE) return FileKind::kOther;
  return FileKind::kRegular;
}

bool ClearStaleFile(const std::string& path, bool* refused, int* error) {
  *refused = false;
  switch (NameKind(path)) {
    case FileKind::kMissing:
      return true;
    case FileKind::kRegular: {
      if (DeleteFileA(path.c_str())) return true;
      const DWORD e = GetLastError();
      if (e == ERROR_FILE_NOT_FOUND) return true;
      *error = static_cast<int>(e);
      return false;
    }
    default:
      *refused = true;
      *error = ERROR_FILE_EXISTS;
      return false;
  }
}

OutputFile::~OutputFile() { CloseQuietly(); }

void OutputFile::CloseQuietly() {
  if (handle_ != nullptr) CloseHandle(static_cast<HANDLE>(handle_));
  handle_ = nullptr;
  open_ = false;
  used_ = 0;
}

bool OutputFile::Create(const std::string& path, bool text, Access, int* error) {
  CloseQuietly();
  error_ = 0;
  text_ = text;
  if (InjectedFault(FaultOp::kOpen)) {
    *error = ERROR_OPEN_FAILED;
    return false;
  }
  // CREATE_NEW refuses any existing name; with FILE_FLAG_OPEN_REPARSE_POINT a
  // link there is that existing name, never the way to its target.
  HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW,
                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  handle_ = h;
  if (!buf_) buf_.reset(new char[kBufferSize]);
  open_ = true;
  return true;
}

bool OutputFile::OpenForAppend(const std::string& path, bool text, int* error) {
  CloseQuietly();
  error_ = 0;
  text_ = text;
  if (InjectedFault(FaultOp::kOpen)) {
    *error = ERROR_OPEN_FAILED;
    return false;
  }
  // Read and appended to by others (several runs may share a log), but not
  // deleted while it is open, as a log opened by the C runtime is not.
  HANDLE h = CreateFileA(path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  BY_HANDLE_FILE_INFORMATION info;
  if (GetFileType(h) != FILE_TYPE_DISK || !GetFileInformationByHandle(h, &info) ||
      (info.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) != 0) {
    CloseHandle(h);
    *error = ERROR_INVALID_PARAMETER;
    return false;
  }
  handle_ = h;
  if (!buf_) buf_.reset(new char[kBufferSize]);
  open_ = true;
  return true;
}

bool OutputFile::NamedBy(const std::string& path) const {
  return open_ && SameFile(static_cast<HANDLE>(handle_), path, /*follow=*/false);
}

// A file takes the access of its folder on Windows: nothing to change.
bool OutputFile::Share() { return open_ ? error_ == 0 : Fail(-1); }

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

bool CopyFileOver(const std::string& from, const std::string& to, int* error) {
  HANDLE in = CreateFileA(from.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                          FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (in == INVALID_HANDLE_VALUE) {
    *error = static_cast<int>(GetLastError());
    return false;
  }
  // A copy onto itself (the same name, ".\x", a link to it) would empty the
  // file before reading it.
  if (GetFileType(in) != FILE_TYPE_DISK || SameFile(in, to)) {
    CloseHandle(in);
    *error = ERROR_INVALID_PARAMETER;
    return false;
  }
  const std::string work = to + ".parcial-" + std::to_string(GetCurrentProcessId());
  bool refused = false;
  OutputFile out;
  if (!ClearStaleFile(work, &refused, error) || !out.Create(work, false, Access::kPrivate, error)) {
    CloseHandle(in);
    return false;
  }
  std::unique_ptr<char[]> buf(new char[1 << 16]);
  DWORD read_error = 0;
  for (;;) {
    DWORD got = 0;
    if (!ReadFile(in, buf.get(), 1 << 16, &got, nullptr)) {
      read_error = GetLastError();
      break;
    }
    if (got == 0) break;
    out.Put(std::string_view(buf.get(), got));
  }
  CloseHandle(in);
  const bool written = read_error == 0 && out.Sync() && out.Close();
  if (written && RenameOver(work, to, error)) return true;
  if (!written) *error = read_error != 0 ? static_cast<int>(read_error) : out.error();
  if (out.is_open()) out.Close();
  DeleteFileA(work.c_str());
  return false;
}

FileLock::~FileLock() { Release(); }

void FileLock::Release() {
  // Closing the only handle releases the lock and, through
  // FILE_FLAG_DELETE_ON_CLOSE, removes the file.
  if (handle_ != nullptr) CloseHandle(static_cast<HANDLE>(handle_));
  handle_ = nullptr;
}

bool FileLock::TryLock(const std::string& path, bool* busy, bool* refused, int* error) {
  Release();
  *busy = false;
  *refused = false;
  path_ = path;
  for (int attempt = 0; attempt < 10; ++attempt) {
    if (InjectedFault(FaultOp::kOpen)) {
      *error = ERROR_OPEN_FAILED;
      return false;
    }
    const FileKind kind = NameKind(path);
    if (kind != FileKind::kMissing && kind != FileKind::kRegular) {
      *refused = true;
      *error = ERROR_FILE_EXISTS;
      return false;
    }
    // Shared with nobody: the holder's handle keeps every other open out,
    // which is the lock.
    HANDLE h = CreateFileA(
        path.c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_ALWAYS,
        FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
      const DWORD e = GetLastError();
      // A holder's handle, or a file its holder has just let go of and the
      // system has not removed yet.
      if (e == ERROR_SHARING_VIOLATION || e == ERROR_ACCESS_DENIED) {
        *error = static_cast<int>(e);
        *busy = true;
        if (e == ERROR_SHARING_VIOLATION) return false;
        SleepMs(10);
        continue;
      }
      *error = static_cast<int>(e);
      return false;
    }
    BY_HANDLE_FILE_INFORMATION info;
    if (!GetFileInformationByHandle(h, &info) ||
        (info.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) != 0) {
      CloseHandle(h);
      *refused = true;
      *error = ERROR_FILE_EXISTS;
      return false;
    }
    if (InjectedFault(FaultOp::kLock)) {
      CloseHandle(h);
      *error = ERROR_NOT_LOCKED;
      return false;
    }
    handle_ = h;
    return true;
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
