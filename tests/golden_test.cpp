// Whole reports compared with reviewed copies.
//
// Every file under tests/data/reports/ is validated end to end and its
// report, with the run-dependent values masked (times, date, versions, path,
// process id), must equal tests/golden/<name>.xml byte for byte.
// To add a case, drop a small declaration file there and run
//
//   VOLP_UPDATE_GOLDEN=1 build/<dir>/tests/volp_tests --gtest_filter='GoldenReports*'
//
// which writes (or rewrites) the golden files; review the diff before
// committing it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;

bool UpdateGolden() {
  const char* v = std::getenv("VOLP_UPDATE_GOLDEN");
  return v != nullptr && std::string(v) == "1";
}

std::vector<fs::path> Inputs() {
  std::vector<fs::path> out;
  for (const auto& e : fs::directory_iterator(fs::path(VOLP_TEST_DATA_DIR) / "reports"))
    if (e.is_regular_file()) out.push_back(e.path());
  std::sort(out.begin(), out.end());
  return out;
}

// "line N: want ... got ..." for the first line that differs, so a failure
// says where without dumping two whole documents.
std::string FirstDifference(const std::string& want, const std::string& got) {
  size_t line = 1, i = 0;
  while (i < want.size() && i < got.size() && want[i] == got[i]) {
    if (want[i] == '\n') ++line;
    ++i;
  }
  auto line_at = [](const std::string& s, size_t pos) {
    size_t start = 0;
    if (pos > 0) {
      const size_t b = s.rfind('\n', pos - 1);
      if (b != std::string::npos) start = b + 1;
    }
    return s.substr(start, s.find('\n', start) - start);
  };
  return "line " + std::to_string(line) + ":\n  want: " + line_at(want, i) +
         "\n  got:  " + line_at(got, i);
}

TEST(GoldenReports, MatchTheirGoldenFiles) {
  const std::vector<fs::path> inputs = Inputs();
  ASSERT_FALSE(inputs.empty());
  for (const fs::path& input : inputs) {
    SCOPED_TRACE(input.filename().string());
    std::string xml;
    test::ValidateText(test::ReadFile(input.string()), &xml);
    ASSERT_FALSE(xml.empty()) << "no report written";
    const std::string got = test::MaskReport(xml);
    const fs::path golden = fs::path(VOLP_TEST_GOLDEN_DIR) / (input.stem().string() + ".xml");

    if (UpdateGolden()) {
      std::ofstream(golden, std::ios::binary) << got;
      continue;
    }
    ASSERT_TRUE(fs::exists(golden))
        << golden << " is missing; run with VOLP_UPDATE_GOLDEN=1 to write it";
    const std::string want = test::ReadFile(golden.string());
    EXPECT_TRUE(want == got) << FirstDifference(want, got);
  }
}

}  // namespace
}  // namespace volp
