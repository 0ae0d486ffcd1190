// The inputs of `volp validate`: files, directories (their *.txt and
// *.txt.gz files), "-" for standard input; and the temporary copy that a
// stream or a gzip-compressed file is validated through, since the validator
// reads a file by its path (it looks at the last record before the first and
// needs the size).
#pragma once

#include <atomic>
#include <string>
#include <vector>

namespace volp::cli {

struct Input {
  std::string path;     // as given, or the file found in a directory; "-" = stdin
  std::string problem;  // set when the argument gave no file to validate
};

// The arguments expanded in order: a directory contributes its *.txt and
// *.txt.gz files (not those of its subdirectories), sorted by name; an empty
// directory becomes one Input with its `problem`. Anything else is kept as
// it is (a missing file is the validator's to report).
std::vector<Input> ExpandInputs(const std::vector<std::string>& args);

// The report stem of an input, without directory: its file name less a
// ".gz" and then cut at its last "." ("x.txt.gz" -> "x", "decl" -> "decl").
std::string StemOf(const std::string& path);

// Whether the file starts with gzip's magic bytes 1f 8b.
bool IsGzip(const std::string& path);

// A temporary copy of a stream or of a file's decompressed bytes, in a
// private directory "<base>/.volp-<pid>-<n>/" as "<stem>.txt". The copy and
// its directory go when the object does, and (through the names it hands to
// SetSpoolLeftovers) when a second signal ends volp.
class Spool {
 public:
  Spool() = default;
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Copies `source` ("-" = standard input; plain or gzip data alike) to the
  // copy. False with `*error` set when it cannot be read, decompressed or
  // written whole (then nothing stays behind), or when `stop` is raised.
  bool Fill(const std::string& source, const std::string& base_dir, const std::string& stem,
            const std::atomic<bool>* stop, std::string* error);
  const std::string& path() const { return file_; }
  // The source was gzip data (not copied as it was).
  bool decompressed() const { return decompressed_; }
  void Remove();

 private:
  std::string dir_;
  std::string file_;
  bool decompressed_ = false;
};

}  // namespace volp::cli
