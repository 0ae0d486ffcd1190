#include "cli_signals.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#endif

#include <csignal>
#include <memory>
#include <vector>

namespace volp::cli {

std::atomic<bool> g_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler needs a lock-free flag");

namespace {

// Two names, fixed once published. A handler reads them through an atomic
// pointer; the main thread never changes a published pair, it publishes a new
// one, so a second signal on any thread sees either the old names or the new
// ones, never a mix that could name some other file.
struct Names {
  std::string first;
  std::string second;
};
std::atomic<const Names*> g_run{nullptr};
std::atomic<const Names*> g_spool{nullptr};
static_assert(std::atomic<const Names*>::is_always_lock_free, "the handler reads the names");
// Handlers reading the names right now: an old pair is freed only when none is.
std::atomic<int> g_readers{0};

void Publish(std::atomic<const Names*>& slot, const std::string& first, const std::string& second) {
  static std::vector<std::unique_ptr<const Names>> kept;
  const Names* fresh = first.empty() && second.empty() ? nullptr : new Names{first, second};
  std::unique_ptr<const Names> old(slot.exchange(fresh));
  // A handler that began before the exchange may still hold the old pair.
  if (old != nullptr && g_readers.load() != 0) kept.push_back(std::move(old));
}

constexpr char kStopNote[] =
    "\nvolp: stopping at the next checkpoint; press Ctrl-C again to end at once\n";

#if defined(_WIN32)
void RemoveFile(const std::string& path) {
  if (!path.empty()) DeleteFileA(path.c_str());
}
void RemoveDir(const std::string& path) {
  if (!path.empty()) RemoveDirectoryA(path.c_str());
}
#else
// unlink and rmdir are async-signal-safe.
void RemoveFile(const std::string& path) {
  if (!path.empty()) unlink(path.c_str());
}
void RemoveDir(const std::string& path) {
  if (!path.empty()) rmdir(path.c_str());
}
#endif

// What a process that ends now must not leave behind.
void RemoveLeftovers() {
  g_readers.fetch_add(1);
  if (const Names* run = g_run.load()) {
    RemoveFile(run->first);
    RemoveFile(run->second);
  }
  if (const Names* spool = g_spool.load()) {
    RemoveFile(spool->first);
    RemoveDir(spool->second);
  }
  g_readers.fetch_sub(1);
}

#if defined(_WIN32)
// Signalled when the validation is over, so that closing the console waits
// for the cancelled report before the system ends the process.
HANDLE g_run_over = nullptr;

BOOL WINAPI OnConsoleEvent(DWORD event) {
  const bool keyboard = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  const bool was_stopping = g_stop.exchange(true);
  if (keyboard && was_stopping) {
    // The second Ctrl-C or Ctrl-Break: the default handler ends the process.
    RemoveLeftovers();
    return FALSE;
  }
  if (!was_stopping) {
    DWORD ignored = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), kStopNote, sizeof kStopNote - 1, &ignored, nullptr);
  }
  if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
    // The process ends when this handler returns: give the run the few
    // seconds the system allows to reach its checkpoint and write the report.
    if (g_run_over != nullptr) WaitForSingleObject(g_run_over, 4500);
  }
  return TRUE;
}
#else
// The descriptor the copy of standard input or of a gzip file is reading
// from, and /dev/null to put in its place: a read that the first signal did
// not interrupt (it came between two reads) would otherwise wait for input
// that may never come, the flag unseen.
std::atomic<int> g_spool_input{-1};
int g_devnull = -1;

extern "C" void OnStopSignal(int signal_number) {
  // dup2() is async-signal-safe: from here on the copy's reads find the end.
  const int input = g_spool_input.load();
  if (input >= 0 && g_devnull >= 0) dup2(g_devnull, input);
  if (g_stop.exchange(true)) {
    // The second Ctrl-C or request to terminate, in any order: end at once,
    // as the default action would, without leaving the working files behind.
    // The signal is held while its handler runs, so the raise takes effect
    // as it returns, with the default action.
    RemoveLeftovers();
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
    return;
  }
  // write() is async-signal-safe; its result is of no use here.
  [[maybe_unused]] ssize_t n = write(STDERR_FILENO, kStopNote, sizeof kStopNote - 1);
}
#endif

}  // namespace

void SetRunLeftovers(const std::string& working_file, const std::string& lock_file) {
  Publish(g_run, working_file, lock_file);
}

void SetSpoolLeftovers(const std::string& file, const std::string& dir) {
  Publish(g_spool, file, dir);
}

void SetSpoolInput([[maybe_unused]] int fd) {
#if !defined(_WIN32)
  g_spool_input.store(fd);
  // A signal that came before the descriptor was known finds it here.
  if (fd >= 0 && g_stop.load() && g_devnull >= 0) dup2(g_devnull, fd);
#endif
}

#if defined(_WIN32)
void InstallStopHandlers() {
  if (g_run_over == nullptr) g_run_over = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

void RemoveStopHandlers() {
  if (g_run_over != nullptr) SetEvent(g_run_over);
  SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
}
#else
void InstallStopHandlers() {
  if (g_devnull < 0) g_devnull = open("/dev/null", O_RDONLY | O_CLOEXEC);
  struct sigaction sa = {};
  sa.sa_handler = OnStopSignal;
  sigemptyset(&sa.sa_mask);
  // Either signal, while the other one's handler runs, waits for it: the
  // two never run at once.
  sigaddset(&sa.sa_mask, SIGINT);
  sigaddset(&sa.sa_mask, SIGTERM);
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);
}

void RemoveStopHandlers() {
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
}
#endif

}  // namespace volp::cli
