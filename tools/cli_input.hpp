// The inputs of `volp validate`: files, directories (their *.txt and
// *.txt.gz files), "-" for standard input. Only regular files are taken:
// anything else is refused before it is opened (opening a FIFO waits for a
// writer), and volp's own outputs (a registration summary is a "*.txt" too)
// are never taken for declarations.
#pragma once

#include <string>
#include <vector>

namespace volp::cli {

struct Input {
  std::string path;     // as given, or the file found in a directory; "-" = stdin
  std::string problem;  // set when the argument gave no file to validate
};

// The arguments expanded in order: a directory contributes its *.txt and
// *.txt.gz files that are regular files (not those of its subdirectories),
// sorted by name; one without any becomes one Input with its `problem`. A
// FIFO, a device or a socket becomes an Input with its `problem`. One of
// volp's reports, known by its first bytes, is left out: given by name, with
// a line in `*notes` saying so. Anything else is kept as it is (a missing
// file is the validator's to report).
std::vector<Input> ExpandInputs(const std::vector<std::string>& args,
                                std::vector<std::string>* notes);

// The report stem of an input, without directory: its file name less a
// ".gz" and then cut at its last "." ("x.txt.gz" -> "x", "decl" -> "decl").
std::string StemOf(const std::string& path);

// Whether the file starts with gzip's magic bytes 1f 8b.
bool IsGzip(const std::string& path);

}  // namespace volp::cli
