// Every file a `volp validate` command will write, known before the first
// run: a report written over a declaration, or two reports under one name
// (the one written last wins, and with it a wrong verdict), refuses the whole
// command before anything is written. Paths are compared as files, not as
// texts: "./x", "x", a link to x and a hard link of x are all x.
#pragma once

#include <string>
#include <vector>

#include "cli_files.hpp"

namespace volp::cli {

// A path the command reads or writes, with what it is for messages.
struct PlannedPath {
  std::string path;
  std::string what;      // "the XML report of lote/a.txt"
  bool input = false;    // read, never written
  bool derived = false;  // a working or lock file beside another output
  int owner = -1;        // the input it belongs to; -1 for the command's own
};

// One line per clash (without "volp: "), in a stable order; empty when every
// written path is a file of its own and none is read by the command. A clash
// of working files only is left out when the files they sit beside already
// clash for the same inputs.
std::vector<std::string> FindClashes(const std::vector<PlannedPath>& paths);

// Whether the report of kind `kind` (JSON or HTML) may replace what is at
// `path`: nothing, an empty file, or a report of that kind volp wrote; with
// `force`, any regular file. "" when it may, else why not.
std::string CheckReplace(const std::string& path, VolpOutput kind, bool force);

}  // namespace volp::cli
