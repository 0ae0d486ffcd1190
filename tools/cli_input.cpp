#include "cli_input.hpp"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "cli_files.hpp"

namespace volp::cli {

namespace {

namespace fs = std::filesystem;

bool EndsWith(const std::string& s, const char* tail) {
  const size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

// Enough for the start of every report volp writes (the HTML page names its
// generator in its fifth line).
constexpr size_t kHeadBytes = 512;

VolpOutput OutputAt(const std::string& path) {
  std::string head;
  return ReadHead(path, kHeadBytes, &head) ? OutputKindOf(head) : VolpOutput::kNone;
}

}  // namespace

std::vector<Input> ExpandInputs(const std::vector<std::string>& args,
                                std::vector<std::string>* notes) {
  std::vector<Input> inputs;
  for (const std::string& arg : args) {
    if (arg == "-") {
      inputs.push_back({arg, ""});
      continue;
    }
    std::string why;
    const PathKind kind = KindOf(arg, &why);
    if (kind == PathKind::kFifo || kind == PathKind::kDevice || kind == PathKind::kSocket ||
        (kind == PathKind::kOther && why.empty())) {
      std::string problem = std::string("it is ") + KindName(kind) +
                            ", not a regular file: volp validates files it can read twice and "
                            "measure";
      if (kind == PathKind::kFifo) problem += " (for a stream, give - and redirect it: - < PIPE)";
      inputs.push_back({arg, problem});
      continue;
    }
    if (kind == PathKind::kRegular) {
      const VolpOutput output = OutputAt(arg);
      if (output != VolpOutput::kNone) {
        notes->push_back(arg + ": left out: " + OutputName(output) +
                         " volp wrote, not a declaration");
        continue;
      }
    }
    if (kind != PathKind::kDirectory) {
      inputs.push_back({arg, ""});
      continue;
    }
    std::vector<std::string> found;
    int reports = 0;
    std::error_code ec;
    for (fs::directory_iterator it(arg, ec), end; !ec && it != end; it.increment(ec)) {
      const std::string name = it->path().filename().string();
      if (!EndsWith(name, ".txt") && !EndsWith(name, ".txt.gz")) continue;
      // Only regular files: a FIFO among them would stop the batch.
      if (KindOf(it->path().string()) != PathKind::kRegular) continue;
      // The registration summaries of an earlier run are "*.txt" too.
      if (OutputAt(it->path().string()) != VolpOutput::kNone) {
        ++reports;
        continue;
      }
      found.push_back(name);
    }
    if (ec) {
      inputs.push_back({arg, "cannot list the directory: " + ec.message()});
      continue;
    }
    if (found.empty()) {
      inputs.push_back({arg, reports > 0 ? "the directory holds no declaration, only reports volp "
                                           "wrote"
                                         : "the directory holds no *.txt or *.txt.gz file"});
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
  std::string head;
  return ReadHead(path, 2, &head) && head.size() == 2 &&
         static_cast<unsigned char>(head[0]) == 0x1f && static_cast<unsigned char>(head[1]) == 0x8b;
}

}  // namespace volp::cli
