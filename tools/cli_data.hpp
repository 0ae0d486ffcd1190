// Where the installed volp program finds its data: relative to its own
// executable, so that a tree installed anywhere (a .deb under /usr, a prefix
// in a home directory, an unpacked Windows folder) works as it lands.
#pragma once

#include <string>
#include <vector>

namespace volp::cli {

// The full path of the running program; empty when the system cannot say.
std::string ExecutablePath();

// The data directories to look in, in order: `exe_dir` joined with
// `relative` (the data directory as seen from the install's bin/,
// "../share/volp"), `exe_dir` itself when `beside_exe` (Windows folder
// layout), then `compile_time_dir`. Empty inputs are left out.
std::vector<std::string> InstalledDataCandidates(const std::string& exe_dir,
                                                 const std::string& relative, bool beside_exe,
                                                 const std::string& compile_time_dir);

// The first candidate for this program that holds `file`; the compile-time
// directory when none does.
std::string InstalledDataDir(const std::string& file);

}  // namespace volp::cli
