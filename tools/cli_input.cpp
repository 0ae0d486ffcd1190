#include "cli_input.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace volp::cli {

namespace {

namespace fs = std::filesystem;

bool EndsWith(const std::string& s, const char* tail) {
  const size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

}  // namespace

std::vector<Input> ExpandInputs(const std::vector<std::string>& args) {
  std::vector<Input> inputs;
  for (const std::string& arg : args) {
    std::error_code ec;
    if (arg == "-" || !fs::is_directory(arg, ec)) {
      inputs.push_back({arg, ""});
      continue;
    }
    std::vector<std::string> found;
    for (fs::directory_iterator it(arg, ec), end; !ec && it != end; it.increment(ec)) {
      const std::string name = it->path().filename().string();
      if (!EndsWith(name, ".txt") && !EndsWith(name, ".txt.gz")) continue;
      std::error_code type_ec;
      if (!it->is_regular_file(type_ec)) continue;
      found.push_back(name);
    }
    if (ec) {
      inputs.push_back({arg, "cannot list the directory: " + ec.message()});
      continue;
    }
    if (found.empty()) {
      inputs.push_back({arg, "the directory holds no *.txt or *.txt.gz file"});
      continue;
    }
    std::sort(found.begin(), found.end());
    for (const std::string& name : found) inputs.push_back({(fs::path(arg) / name).string(), ""});
  }
  return inputs;
}

std::string StemOf(const std::string& path) {
  std::string name = fs::path(path).filename().string();
  if (EndsWith(name, ".gz")) name.resize(name.size() - 3);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return name;
}

bool IsGzip(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) return false;
  unsigned char magic[2] = {0, 0};
  const size_t n = std::fread(magic, 1, 2, f);
  std::fclose(f);
  return n == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
}

}  // namespace volp::cli
