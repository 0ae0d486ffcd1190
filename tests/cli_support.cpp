#include "cli_support.hpp"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <zlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "support.hpp"

namespace volp::test {

namespace {

namespace fs = std::filesystem;

void SetEnv(const std::string& name, const char* value) {
#if defined(_WIN32)
  _putenv_s(name.c_str(), value ? value : "");
#else
  if (value) {
    setenv(name.c_str(), value, 1);
  } else {
    unsetenv(name.c_str());
  }
#endif
}

}  // namespace

CliRun RunCli(const std::vector<std::string>& args, const std::string& cwd,
              const std::vector<EnvVar>& env, const std::string& in, int timeout_seconds) {
  TempDir io;
  const std::string out_path = io.path() + "/out";
  const std::string err_path = io.path() + "/err";
  SetEnv("COLUMNS", "1000");
  SetEnv("NO_COLOR", nullptr);
  for (const EnvVar& e : env) SetEnv(e.name, e.value);
  CliRun run;
  Child child;
  if (child.Start(VOLP_CLI_PATH, args, cwd, out_path, err_path, in)) {
    run.status = child.Wait(timeout_seconds);
  }
  run.out = ReadText(out_path);
  run.err = ReadText(err_path);
  return run;
}

std::vector<std::string> ValidateArgs(const std::string& file, std::vector<std::string> extra) {
  std::vector<std::string> args = {"validate", file, "--today", kToday, "--tables", DataDir()};
  args.insert(args.end(), extra.begin(), extra.end());
  return args;
}

std::string ExampleText() {
  return ReadFile(std::string(VOLP_TEST_DATA_DIR) + "/../../examples/declaracao-exemplo.txt");
}

std::string ExampleWith(const std::string& from, const std::string& to) {
  std::string text = ExampleText();
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

std::string ErrorText() { return ExampleWith("|35123456000123|", "|35123456000124|"); }

std::string LargeFile(int extra) {
  std::string text = ExampleText();
  const std::string tail = "|9999|1|\r\n";
  text.reserve(text.size() + tail.size() * extra);
  for (int i = 0; i < extra; ++i) text += tail;
  return text;
}

std::string LineStartingWith(const std::string& out, const std::string& prefix) {
  size_t at = 0;
  if (out.compare(0, prefix.size(), prefix) != 0) {
    at = out.find("\n" + prefix);
    if (at == std::string::npos) return "";
    ++at;
  }
  const size_t end = out.find('\n', at);
  return out.substr(at, end == std::string::npos ? std::string::npos : end - at);
}

void WriteGzip(const std::string& path, const std::string& bytes) {
  gzFile gz = gzopen(path.c_str(), "wb");
  ASSERT_NE(gz, nullptr);
  ASSERT_EQ(gzwrite(gz, bytes.data(), static_cast<unsigned>(bytes.size())),
            static_cast<int>(bytes.size()));
  ASSERT_EQ(gzclose(gz), Z_OK);
}

std::vector<std::string> SpoolFolders(const std::string& dir) {
  std::vector<std::string> found;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(dir, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(".volp-", 0) == 0) found.push_back(name);
  }
  return found;
}

#if !defined(_WIN32)
bool WaitForText(const std::string& path, const std::string& text) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (ReadFile(path).find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() > until) return false;
    usleep(2000);
  }
  return true;
}

CliRun RunAndSignal(const std::vector<std::string>& args, const std::string& dir,
                    const std::vector<int>& signals, const std::string& in) {
  CliRun run;
  const std::string out = dir + "/volp.out";
  const std::string err = dir + "/volp.err";
  Child child;
  if (!child.Start(VOLP_CLI_PATH, args, dir, out, err, in)) return run;
  WaitForText(out, "Tables:");
  for (size_t i = 0; i < signals.size(); ++i) {
    if (i > 0) WaitForText(err, "stopping at the next checkpoint");
    child.Signal(signals[i]);
  }
  run.status = child.Wait();
  run.out = ReadText(out);
  run.err = ReadText(err);
  return run;
}
#endif

}  // namespace volp::test
