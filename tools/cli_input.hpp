// The inputs of `volp validate`: files, directories (their *.txt and
// *.txt.gz files), "-" for standard input.
#pragma once

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

}  // namespace volp::cli
