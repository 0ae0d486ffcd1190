// What the fuzz targets share: a scratch directory of their own, whole-file
// reads and writes, and a check that stops the fuzzer with a message.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace volp::fuzz {

// A directory for this process's files (one per process: libFuzzer's
// -jobs/-workers runs several at once).
inline const std::string& ScratchDir() {
  static const std::string dir = [] {
    namespace fs = std::filesystem;
    const fs::path base = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    const fs::path p = base / ("volp-fuzz-" + std::to_string(::getpid()));
    fs::create_directories(p);
    return p.string();
  }();
  return dir;
}

inline void WriteAll(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

// A broken invariant: say which and stop, so that libFuzzer keeps the input.
[[noreturn]] inline void Broken(const std::string& what) {
  std::fprintf(stderr, "invariant broken: %s\n", what.c_str());
  std::fflush(stderr);
  std::abort();
}

inline void Check(bool ok, const std::string& what) {
  if (!ok) Broken(what);
}

inline size_t Count(std::string_view text, std::string_view what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

}  // namespace volp::fuzz
