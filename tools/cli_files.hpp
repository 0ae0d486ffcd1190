// What the command line needs to know about a path before it reads or writes
// there: what kind of thing it names (looked at without opening it, since
// opening a FIFO waits for a writer), which file it is (so that two spellings
// of one file, a link or a hard link, are seen as one), whether it holds one
// of volp's own reports, and files created so that nothing planted at their
// name is ever written through.
#pragma once

#include <compare>
#include <cstdint>
#include <cstdio>
#include <string>

namespace volp::cli {

enum class PathKind {
  kMissing,
  kRegular,
  kDirectory,
  kFifo,
  kDevice,
  kSocket,
  kOther,  // anything else the system has, or a name it cannot look at
};

// What `path` names, following links, without opening it; `*error` (may be
// null) receives the system's text when it could not be looked at.
PathKind KindOf(const std::string& path, std::string* error = nullptr);

// "a named pipe (FIFO)", "a device", ... for messages.
const char* KindName(PathKind kind);

// Which file a path names: the device and file number of an existing file
// (the volume and file id on Windows); for a name not yet created, those of
// its nearest existing directory and the rest of the path (folded to lower
// case on Windows, whose file names ignore case). Two paths with equal keys
// name the same file, however they are spelled.
struct FileKey {
  uint64_t device = 0;
  uint64_t file = 0;
  std::string rest;  // empty for an existing file
  auto operator<=>(const FileKey&) const = default;
};

// False (and `*error`) when not even a directory above the path can be
// looked at.
bool KeyOf(const std::string& path, FileKey* key, std::string* error);

// volp's own outputs, known by their first bytes rather than by their names
// (a name can be anything, the start of what volp writes cannot).
enum class VolpOutput { kNone, kXmlReport, kRegistrationSummary, kJsonReport, kHtmlReport };

// Which of volp's outputs the first bytes of a file are.
VolpOutput OutputKindOf(const std::string& head);

// The first bytes of a regular file (at most `max`), read without waiting on
// anything that is not a regular file; false when it cannot be opened as one.
bool ReadHead(const std::string& path, size_t max, std::string* head);

// "the XML report", "a registration summary", ...
const char* OutputName(VolpOutput kind);

// A descriptor open for reading on a regular file, never waiting on a FIFO
// or a device (opened without blocking, then checked); -1 with `*error`.
int OpenRegularForReading(const std::string& path, std::string* error);

// Creates `path` for writing, only when nothing at all is there (no file, no
// link: a link planted at the name is never followed), readable by its owner
// alone. -1 with `*error` (errno's text) otherwise; `*exists` tells a name
// already taken (may be null).
int CreateExclusive(const std::string& path, std::string* error, bool* exists = nullptr);

// Writes all of `size` bytes; false with errno set when it could not.
bool WriteAll(int fd, const char* data, size_t size);

// Puts `from` in place over `to` in one step (rename; MoveFileEx on Windows).
bool RenameOver(const std::string& from, const std::string& to, std::string* error);

// The system's text for an errno value.
std::string ErrnoText(int code);

// A file that appears whole or not at all: written to a temporary beside it,
// "<path>.parcial" (".parcial-1", ... when that name is taken), created
// exclusively, then given the mode a new file gets (0644 less the umask) and
// renamed over `path` by Commit. Nothing planted at either name is written
// through: a link at `path` is replaced, not followed. The temporary goes
// when Commit is not reached.
class FileInPlace {
 public:
  FileInPlace() = default;
  ~FileInPlace() { Abandon(); }
  FileInPlace(const FileInPlace&) = delete;
  FileInPlace& operator=(const FileInPlace&) = delete;

  bool Open(const std::string& path, std::string* error);
  std::FILE* stream() const { return stream_; }
  // Flushes, closes and puts the file in place; false (and nothing left but
  // what was at `path` before) when any step fails.
  bool Commit(std::string* error);
  void Abandon();

 private:
  std::string path_;
  std::string work_;
  std::FILE* stream_ = nullptr;
};

}  // namespace volp::cli
