// The temporary copy that standard input or a gzip file is validated through
// (the validator reads a file by its path: it looks at the last record before
// the first and needs the size). The copy holds a declarant's clients and
// amounts, and its size is whatever the data decompresses to, so it is:
//   - private: a folder "<base>/.volp-<pid>-<n>/" made for it alone (0700,
//     its owner's alone on Windows) and the file "<stem>.txt" created in it
//     exclusively (0600), never through a link;
//   - capped: at most SpoolLimits::max_bytes, and never leaving less than
//     SpoolLimits::keep_free on its file system;
//   - gone afterwards: removed when the object goes, by a second Ctrl-C, and,
//     when a process was killed before it could, by the next volp that starts
//     (RemoveStaleSpools).
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace volp::cli {

// Enough for any real declaration (the largest are tens of GiB), far from
// what a gzip bomb of a few megabytes unpacks to.
inline constexpr int64_t kDefaultMaxSpool = int64_t{64} << 30;
// What a copy always leaves free: a full disk breaks more than this run.
inline constexpr int64_t kSpoolKeepFree = int64_t{1} << 30;

struct SpoolLimits {
  int64_t max_bytes = kDefaultMaxSpool;
  int64_t keep_free = kSpoolKeepFree;
};

class Spool {
 public:
  Spool() = default;
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Copies `source` ("-" = standard input; plain or gzip data alike) into a
  // new private folder under `base_dir` (the system's temporary directory
  // when empty). False with `*error` set when it cannot be read,
  // decompressed, written whole or within the limits (then nothing stays
  // behind), or when `stop` is raised.
  bool Fill(const std::string& source, const std::string& base_dir, const std::string& stem,
            const SpoolLimits& limits, const std::atomic<bool>* stop, std::string* error);
  const std::string& path() const { return file_; }
  // The source was gzip data (not copied as it was).
  bool decompressed() const { return decompressed_; }
  void Remove();

 private:
  bool MakeFolder(const std::string& base, std::string* error);

  std::string dir_;
  std::string file_;
  // POSIX: the folder, open and locked while the copy exists, so that no
  // other volp takes it for the leftover of a dead process.
  int dir_fd_ = -1;
  bool decompressed_ = false;
};

// Where copies go when there is no --report-dir; empty when the system has no
// temporary directory.
std::string SpoolBase(const std::string& report_dir);

// Removes the copies under `base` that processes no longer running left
// behind (killed before they could remove them): folders ".volp-<pid>-<n>"
// of this user whose process is gone and that no process holds. Links and
// anything else are left alone. The number of folders removed.
int RemoveStaleSpools(const std::string& base);

// "64G", "512M", "100k", "1GiB", "1048576" (bytes; K, M, G, T are powers of
// 1024, case ignored, "B" or "iB" may follow). False for anything else or 0.
bool ParseSize(const std::string& text, int64_t* bytes);

// "64 GiB", "1.5 MiB", "900 bytes".
std::string SizeText(int64_t bytes);

}  // namespace volp::cli
