#include "spawn.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

extern char** environ;
#endif

namespace volp::test {

std::string WindowsCommandLine(const std::vector<std::string>& argv) {
  std::string line;
  for (const std::string& arg : argv) {
    if (!line.empty()) line += ' ';
    if (!arg.empty() && arg.find_first_of(" \t\n\v\"") == std::string::npos) {
      line += arg;
      continue;
    }
    // Backslashes count only before a quote: there they are doubled, and the
    // quote itself is escaped.
    line += '"';
    size_t backslashes = 0;
    for (char c : arg) {
      if (c == '\\') {
        ++backslashes;
        continue;
      }
      if (c == '"') backslashes = backslashes * 2 + 1;
      line.append(backslashes, '\\');
      backslashes = 0;
      line += c;
    }
    line.append(backslashes * 2, '\\');
    line += '"';
  }
  return line;
}

#if defined(_WIN32)

namespace {
HANDLE OpenForChild(const std::string& path, bool write) {
  SECURITY_ATTRIBUTES sa{sizeof sa, nullptr, TRUE};
  return CreateFileA(path.c_str(), write ? GENERIC_WRITE : GENERIC_READ,
                     FILE_SHARE_READ | FILE_SHARE_WRITE, &sa, write ? CREATE_ALWAYS : OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}
}  // namespace

bool Child::Start(const std::string& exe, const std::vector<std::string>& args,
                  const std::string& cwd, const std::string& out_path, const std::string& err_path,
                  const std::string& in_path) {
  std::vector<std::string> argv = {exe};
  argv.insert(argv.end(), args.begin(), args.end());
  std::string line = WindowsCommandLine(argv);
  HANDLE in = OpenForChild(in_path.empty() ? "NUL" : in_path, false);
  HANDLE out = OpenForChild(out_path, true);
  HANDLE err = OpenForChild(err_path, true);
  STARTUPINFOA si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdInput = in;
  si.hStdOutput = out;
  si.hStdError = err;
  PROCESS_INFORMATION pi{};
  const BOOL ok = CreateProcessA(exe.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                 cwd.empty() ? nullptr : cwd.c_str(), &si, &pi);
  for (HANDLE h : {in, out, err})
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
  if (!ok) return false;
  CloseHandle(pi.hThread);
  process_ = pi.hProcess;
  return true;
}

int Child::Wait() {
  if (process_ == nullptr) return status_;
  WaitForSingleObject(static_cast<HANDLE>(process_), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(static_cast<HANDLE>(process_), &code);
  CloseHandle(static_cast<HANDLE>(process_));
  process_ = nullptr;
  status_ = static_cast<int>(code);
  return status_;
}

int Child::Wait(int timeout_seconds) {
  if (process_ == nullptr) return status_;
  if (WaitForSingleObject(static_cast<HANDLE>(process_),
                          static_cast<DWORD>(timeout_seconds) * 1000) == WAIT_TIMEOUT) {
    TerminateProcess(static_cast<HANDLE>(process_), 1);
    Wait();
    status_ = -2;
    return status_;
  }
  return Wait();
}

void Child::Signal(int) {}

#else

bool Child::Start(const std::string& exe, const std::vector<std::string>& args,
                  const std::string& cwd, const std::string& out_path, const std::string& err_path,
                  const std::string& in_path) {
  std::vector<std::string> copy = {exe};
  copy.insert(copy.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : copy) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  posix_spawn_file_actions_addopen(&fa, 0, in_path.empty() ? "/dev/null" : in_path.c_str(),
                                   O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&fa, 1, out_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0600);
  posix_spawn_file_actions_addopen(&fa, 2, err_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0600);
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&fa, cwd.c_str());
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, exe.c_str(), &fa, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&fa);
  if (rc != 0) return false;
  pid_ = pid;
  return true;
}

int Child::Wait() {
  if (pid_ < 0) return status_;
  int raw = 0;
  while (waitpid(static_cast<pid_t>(pid_), &raw, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  return status_;
}

int Child::Wait(int timeout_seconds) {
  if (pid_ < 0) return status_;
  for (int waited_ms = 0; waited_ms < timeout_seconds * 1000; waited_ms += 5) {
    int raw = 0;
    const pid_t done = waitpid(static_cast<pid_t>(pid_), &raw, WNOHANG);
    if (done == static_cast<pid_t>(pid_)) {
      pid_ = -1;
      status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
      return status_;
    }
    if (done < 0 && errno != EINTR) return Wait();
    usleep(5000);
  }
  kill(static_cast<pid_t>(pid_), SIGKILL);
  Wait();
  status_ = -2;
  return status_;
}

void Child::Signal(int signal_number) {
  if (pid_ >= 0) kill(static_cast<pid_t>(pid_), signal_number);
}

#endif

Child::~Child() { Wait(); }

int RunProgram(const std::string& exe, const std::vector<std::string>& args, const std::string& cwd,
               const std::string& out_path, const std::string& err_path,
               const std::string& in_path) {
  Child child;
  if (!child.Start(exe, args, cwd, out_path, err_path, in_path)) return -1;
  return child.Wait();
}

}  // namespace volp::test
