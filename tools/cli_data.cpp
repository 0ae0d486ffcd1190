#include "cli_data.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <unistd.h>
#endif

#include <filesystem>
#include <system_error>

// Set by the build from the install layout (CMakeLists.txt).
#ifndef VOLP_DATA_DIR
#define VOLP_DATA_DIR ""
#endif
#ifndef VOLP_DATA_FROM_BINDIR
#define VOLP_DATA_FROM_BINDIR "../share/volp"
#endif

namespace volp::cli {

namespace fs = std::filesystem;

std::string ExecutablePath() {
#if defined(_WIN32)
  char buf[MAX_PATH * 4];
  const DWORD n = GetModuleFileNameA(nullptr, buf, sizeof buf);
  if (n == 0 || n >= sizeof buf) return {};
  return std::string(buf, n);
#else
  char buf[4096];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return {};
  return std::string(buf, static_cast<size_t>(n));
#endif
}

std::vector<std::string> InstalledDataCandidates(const std::string& exe_dir,
                                                 const std::string& relative, bool beside_exe,
                                                 const std::string& compile_time_dir) {
  std::vector<std::string> dirs;
  if (!exe_dir.empty()) {
    // "/opt/volp/bin" and "../share/volp" give "/opt/volp/share/volp".
    if (!relative.empty())
      dirs.push_back((fs::path(exe_dir) / relative).lexically_normal().string());
    if (beside_exe) dirs.push_back(exe_dir);
  }
  if (!compile_time_dir.empty()) dirs.push_back(compile_time_dir);
  return dirs;
}

std::string InstalledDataDir(const std::string& file) {
#if defined(_WIN32)
  constexpr bool kBesideExe = true;
#else
  constexpr bool kBesideExe = false;
#endif
  const std::string exe = ExecutablePath();
  const std::string exe_dir = exe.empty() ? std::string() : fs::path(exe).parent_path().string();
  for (const std::string& dir :
       InstalledDataCandidates(exe_dir, VOLP_DATA_FROM_BINDIR, kBesideExe, VOLP_DATA_DIR)) {
    std::error_code ec;
    if (fs::is_regular_file(fs::path(dir) / file, ec)) return dir;
  }
  return VOLP_DATA_DIR;
}

}  // namespace volp::cli
