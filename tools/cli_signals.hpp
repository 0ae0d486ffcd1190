// Stopping `volp validate`: the first Ctrl-C or request to terminate (SIGINT,
// SIGTERM; Ctrl-C, Ctrl-Break and the console's close on Windows) raises the
// stop flag that the run looks at every 100,000 lines, so that it ends with
// its report in place; a second one, of either kind, ends the process at once
// and first takes away what a run that never ends would leave half-done: the
// report's working file, the run's lock file, the temporary copy and its
// folder.
#pragma once

#include <atomic>
#include <string>

namespace volp::cli {

// Raised by the first signal; the run and the copy loop poll it.
extern std::atomic<bool> g_stop;

void InstallStopHandlers();
void RemoveStopHandlers();

// The files of the run in progress that a second signal removes ("" for
// none). Each call replaces the names as a whole: a signal never sees half of
// an old name and half of a new one.
void SetRunLeftovers(const std::string& working_file, const std::string& lock_file);
// The same for the temporary copy of standard input or of a gzip file.
void SetSpoolLeftovers(const std::string& file, const std::string& dir);
// The descriptor the copy reads from (-1: none), which the first signal
// turns into an end of input on POSIX, so that the copy stops at once
// wherever its reading is.
void SetSpoolInput(int fd);

}  // namespace volp::cli
