#include "cli_input.hpp"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#else
#include <unistd.h>
#endif

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "cli_signals.hpp"

namespace volp::cli {

namespace {

namespace fs = std::filesystem;

bool EndsWith(const std::string& s, const char* tail) {
  const size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

int ProcessId() {
#if defined(_WIN32)
  return _getpid();
#else
  return static_cast<int>(getpid());
#endif
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

Spool::~Spool() { Remove(); }

void Spool::Remove() {
  SetSpoolLeftovers("", "");
  std::error_code ec;
  if (!file_.empty()) fs::remove(file_, ec);
  if (!dir_.empty()) fs::remove(dir_, ec);
  file_.clear();
  dir_.clear();
}

bool Spool::Fill(const std::string& source, const std::string& base_dir, const std::string& stem,
                 const std::atomic<bool>* stop, std::string* error) {
  Remove();
  std::error_code ec;
  const fs::path base = base_dir.empty() ? fs::temp_directory_path(ec) : fs::path(base_dir);
  if (ec) {
    *error = "no temporary directory: " + ec.message();
    return false;
  }
  // A directory of our own: its name cannot be taken by another process
  // between our look and our use.
  for (int n = 0; n < 1000 && dir_.empty(); ++n) {
    const fs::path dir = base / (".volp-" + std::to_string(ProcessId()) + "-" + std::to_string(n));
    if (fs::create_directory(dir, ec)) dir_ = dir.string();
    if (ec) {
      *error = "cannot make a temporary directory in " + base.string() + ": " + ec.message();
      return false;
    }
  }
  if (dir_.empty()) {
    *error = "cannot make a temporary directory in " + base.string();
    return false;
  }
  file_ = (fs::path(dir_) / (stem + ".txt")).string();
  SetSpoolLeftovers(file_, dir_);

  gzFile in = nullptr;
  if (source == "-") {
#if defined(_WIN32)
    _setmode(_fileno(stdin), _O_BINARY);
    in = gzdopen(_dup(_fileno(stdin)), "rb");
#else
    in = gzdopen(dup(STDIN_FILENO), "rb");
#endif
  } else {
    in = gzopen(source.c_str(), "rb");
  }
  const std::string what = source == "-" ? "standard input" : source;
  if (in == nullptr) {
    *error = "cannot read " + what + ": " + std::strerror(errno);
    Remove();
    return false;
  }
  gzbuffer(in, 1 << 17);
  std::FILE* out = std::fopen(file_.c_str(), "wb");
  if (out == nullptr) {
    *error = "cannot write the temporary copy " + file_ + ": " + std::strerror(errno);
    gzclose(in);
    Remove();
    return false;
  }

  std::vector<char> buf(1 << 17);
  bool ok = true;
  int64_t copied = 0;
  for (;;) {
    const int n = gzread(in, buf.data(), static_cast<unsigned>(buf.size()));
    if (stop != nullptr && stop->load()) {
      *error = "cancelled while reading " + what;
      ok = false;
      break;
    }
    if (n < 0) {
      int code = 0;
      const char* why = gzerror(in, &code);
      *error = "cannot read " + what + ": " +
               (code == Z_ERRNO ? std::string(std::strerror(errno)) : std::string(why));
      ok = false;
      break;
    }
    if (n == 0) {
      // The end, or a gzip stream cut short (zlib tells it only here).
      int code = 0;
      const char* why = gzerror(in, &code);
      if (code != Z_OK) {
        *error = "cannot read " + what + ": " + why;
        ok = false;
      }
      break;
    }
    if (std::fwrite(buf.data(), 1, static_cast<size_t>(n), out) != static_cast<size_t>(n)) {
      *error = "cannot write the temporary copy " + file_ + ": " + std::strerror(errno);
      ok = false;
      break;
    }
    copied += n;
  }
  decompressed_ = copied > 0 && gzdirect(in) == 0;
  gzclose(in);
  if (std::fflush(out) != 0 && ok) {
    *error = "cannot write the temporary copy " + file_ + ": " + std::strerror(errno);
    ok = false;
  }
  if (std::fclose(out) != 0 && ok) {
    *error = "cannot write the temporary copy " + file_ + ": " + std::strerror(errno);
    ok = false;
  }
  if (!ok) Remove();
  return ok;
}

}  // namespace volp::cli
