// What a run leaves on disk when things go wrong: a report is either whole
// and in place with result 1, or the run says 0 with an E#C line and the
// previous report is as it was. Faults are injected at every open, read,
// write, flush, close, rename and lock a run makes; a second run on the same
// file, a stale summary, odd inputs, sums past 64 bits and the read block size
// are covered as well.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <future>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "declaration_builder.hpp"
#include "driver/validator.hpp"
#include "generator/generator.hpp"
#include "platform/platform.hpp"
#include "rules/common.hpp"
#include "rules/intern.hpp"
#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;
using platform::FaultBit;
using platform::FaultOp;
using test::ReadFile;
using test::TempDir;

constexpr const char* kPrevious = "<previous report, kept until a whole new one replaces it>\n";
constexpr const char* kStaleSummary = "|VOLP|stale|\n";

// One run through the library's own entry, with the knobs the public API
// does not show.
struct Outcome {
  int result = 0;
  std::string failure;  // the last E#C line
  std::string sha256;
  int64_t records = 0;
  int64_t errors = 0;
  std::vector<Finding> findings;
};

Outcome RunOn(const std::string& path, size_t block = 0, int threads = 0) {
  ProcessState ps;
  Log log;
  log.Configure(0, "", false);
  RunOptions o;
  o.tables_dir = test::DataDir();
  o.today = test::kToday;
  o.read_block = block;
  o.threads = threads;
  RunSummary s;
  Outcome out;
  out.result = ExecutarValidacao(ps, log, path, o, &s);
  out.failure = log.last_error();
  out.sha256 = s.sha256;
  out.records = s.records_read;
  out.errors = ps.findings.errors;
  out.findings = ps.findings.list;
  return out;
}

bool Exists(const std::string& p) { return fs::exists(p); }

// The report is a text file: its lines end in CR LF on Windows.
bool WholeReport(const std::string& xml) {
  const char* end =
      platform::Separator() == '\\' ? "  </Resumo>\r\n</VOLP>\r\n" : "  </Resumo>\n</VOLP>\n";
  return xml.starts_with("<?xml") && xml.ends_with(end) &&
         xml.find("<ParecerFinal>") != std::string::npos;
}

std::string Clean() { return test::Lines(test::FullBase().Lines()); }
std::string WithErrors() {
  test::Declaration d = test::FullBase();
  d.block1[1] = test::Rec({"1110", "M1", "20250110", "99,00", "1", test::Cnpj("135792460001")});
  return test::Lines(d.Lines());
}

// A declaration laid out in a directory with a previous report and a stale
// summary beside it.
struct Scene {
  explicit Scene(const std::string& content) {
    input = dir.Write("decl.txt", content);
    report = dir.path() + "/decl.validacao.xml";
    work = report + ".parcial";
    summary = dir.path() + "/decl.rcad.txt";
    Reset();
  }
  void Reset() const {
    fs::remove(work);
    dir.Write("decl.validacao.xml", kPrevious);
    dir.Write("decl.rcad.txt", kStaleSummary);
  }
  TempDir dir;
  std::string input, report, work, summary;
};

// The rule every run keeps, whatever failed in it.
void ExpectCompleteOrAbsent(const Scene& s, const Outcome& r) {
  const std::string report = ReadFile(s.report);
  if (r.result == 1) {
    EXPECT_TRUE(WholeReport(report)) << report.size() << " bytes";
    EXPECT_FALSE(Exists(s.work));
    // A summary is this run's whole one, or none (its own write failed).
    if (Exists(s.summary)) {
      const std::string txt = ReadFile(s.summary);
      EXPECT_NE(txt, kStaleSummary);
      EXPECT_TRUE(txt.starts_with("|VOLP|") && txt.find("\n|TOTAL|") != std::string::npos) << txt;
    }
    return;
  }
  EXPECT_EQ(r.result, 0);
  EXPECT_TRUE(r.failure.starts_with("E#C")) << r.failure;
  EXPECT_EQ(report, kPrevious);
  // A working file left behind is a whole report that could not take its name.
  if (Exists(s.work)) {
    EXPECT_TRUE(WholeReport(ReadFile(s.work)));
  }
  // No summary of a run that did not finish; a stale one goes only once the
  // run owns the file.
  if (Exists(s.summary)) {
    EXPECT_EQ(ReadFile(s.summary), kStaleSummary);
  }
}

struct DisarmFaults {
  ~DisarmFaults() { platform::ArmFault(0); }
};

// Every point at which a run can fail, one at a time.
TEST(Faults, EveryFailurePointLeavesACompleteReportOrNone) {
  const struct {
    const char* name;
    std::string content;
  } inputs[] = {{"clean, with a summary", Clean()}, {"with findings", WithErrors()}};
  DisarmFaults disarm;
  for (const auto& in : inputs) {
    SCOPED_TRACE(in.name);
    Scene s(in.content);
    platform::ArmFault(std::numeric_limits<int64_t>::max());
    ASSERT_EQ(RunOn(s.input).result, 1);
    const int64_t points = platform::FaultOpsSeen();
    ASSERT_GT(points, 10);
    int failed_runs = 0;
    for (int64_t k = 1; k <= points; ++k) {
      SCOPED_TRACE("failing operation " + std::to_string(k) + " of " + std::to_string(points));
      s.Reset();
      platform::ArmFault(k);
      const Outcome r = RunOn(s.input);
      platform::ArmFault(0);
      ExpectCompleteOrAbsent(s, r);
      failed_runs += r.result == 0;
    }
    // Not a rule that holds because nothing ever failed.
    EXPECT_GT(failed_runs, 3);
  }
}

// A full disk and its relatives, each at the first operation of its kind
// after the input was read.
TEST(Faults, ReportWritesThatFailGiveNoReport) {
  const struct {
    const char* name;
    unsigned ops;
    int64_t k;
    const char* code;
  } cases[] = {
      {"disk full at the report's first write", FaultBit(FaultOp::kWrite), 1, "E#C9121"},
      {"disk full at the summary's write", FaultBit(FaultOp::kWrite), 2, nullptr},
      {"disk full at the completing write", FaultBit(FaultOp::kWrite), 3, "E#C9121"},
      {"sync of the summary fails", FaultBit(FaultOp::kFlush), 1, nullptr},
      {"sync of the report fails", FaultBit(FaultOp::kFlush), 2, "E#C9121"},
      {"close of the summary fails", FaultBit(FaultOp::kClose), 1, nullptr},
      {"close of the report fails", FaultBit(FaultOp::kClose), 2, "E#C9121"},
  };
  DisarmFaults disarm;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Scene s(Clean());
    platform::ArmFault(c.k, c.ops);
    const Outcome r = RunOn(s.input);
    platform::ArmFault(0);
    ExpectCompleteOrAbsent(s, r);
    if (c.code == nullptr) {
      // The summary is the one that failed: the report still comes, the
      // summary does not.
      EXPECT_EQ(r.result, 1);
      EXPECT_FALSE(Exists(s.summary));
      continue;
    }
    EXPECT_EQ(r.result, 0);
    EXPECT_TRUE(r.failure.starts_with(c.code)) << r.failure;
    EXPECT_FALSE(Exists(s.work));
    EXPECT_FALSE(Exists(s.summary));
  }
}

// A report name held by something that cannot be replaced: the previous
// content stays, the whole working file stays, and the run says 0.
TEST(Faults, ReportThatCannotTakeItsName) {
  Scene s(Clean());
  fs::remove(s.report);
  fs::create_directory(s.report);
  // The directory holds a file, so no rename can replace it.
  std::ofstream(s.report + "/x") << "x";
  const Outcome r = RunOn(s.input);
  EXPECT_EQ(r.result, 0);
  EXPECT_TRUE(r.failure.starts_with("E#C9106")) << r.failure;
  EXPECT_TRUE(fs::is_directory(s.report));
  EXPECT_TRUE(WholeReport(ReadFile(s.work)));
  EXPECT_FALSE(Exists(s.summary));
}

TEST(Lock, SecondRunOnTheSameFileStopsAndTouchesNothing) {
  const struct {
    const char* name;
    bool held;
    bool let_go;  // the holder finished: its lock file's name is gone
    int want;
  } cases[] = {
      {"first run still going", true, false, 0},
      {"first run let go while the second looked", true, true, 1},
      {"no other run, a dead run's working file left", false, false, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Scene s(Clean());
    s.dir.Write("decl.validacao.xml.parcial", "<progress of the first run>\n");
    platform::FileLock first;
    bool busy = false, refused = false;
    int error = 0;
    const std::string lock = s.report + ".trava";
    if (c.held) {
      ASSERT_TRUE(first.TryLock(lock, &busy, &refused, &error));
    }
    // On POSIX the holder takes the name away before it lets go, so a run
    // that opened the old file meanwhile must look again; on Windows the
    // system removes the file as the holder's handle closes.
    if (c.let_go) {
#if defined(_WIN32)
      first.Release();
#else
      fs::remove(lock);
#endif
    }
    const Outcome r = RunOn(s.input);
    EXPECT_EQ(r.result, c.want) << r.failure;
    if (c.want == 0) {
      EXPECT_TRUE(r.failure.starts_with("E#C9122")) << r.failure;
      EXPECT_EQ(ReadFile(s.work), "<progress of the first run>\n");
      EXPECT_EQ(ReadFile(s.report), kPrevious);
      EXPECT_EQ(ReadFile(s.summary), kStaleSummary);
    } else {
      EXPECT_TRUE(WholeReport(ReadFile(s.report)));
      EXPECT_FALSE(Exists(s.work));
    }
  }
}

// A run's outputs describe that run only.
TEST(Summary, OnlyARunWithoutErrorsLeavesOne) {
  const struct {
    const char* name;
    std::string content;
    bool summary;
  } cases[] = {
      {"clean after a clean run", Clean(), true},
      {"errors after a clean run", WithErrors(), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Scene s(Clean());
    ASSERT_EQ(RunOn(s.input).result, 1);
    ASSERT_NE(ReadFile(s.summary), kStaleSummary);
    s.dir.Write("decl.txt", c.content);
    ASSERT_EQ(RunOn(s.input).result, 1);
    EXPECT_EQ(Exists(s.summary), c.summary);
  }
}

#if !defined(_WIN32)
// Inputs that are not declaration files, and paths whose report name could
// not be built whole, are refused before anything is written.
TEST(OddInputs, RefusedWithNothingWritten) {
  TempDir dir;
  const std::string deep = [&] {
    std::string p = dir.path();
    while (p.size() < 1000) {
      p += "/" + std::string(200, 'd');
      fs::create_directory(p);
    }
    return p;
  }();
  // A file name without a dot whose report name would be 1,009 characters
  // (every component within the system's limit of 255).
  std::string flat = dir.path();
  while (flat.size() < 740) flat += "/" + std::string(200, 'd');
  flat += "/" + std::string(995 - flat.size() - 1, 'n');
  std::ofstream(flat, std::ios::binary) << Clean();
  const std::string fifo = dir.path() + "/fila.txt";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string long_path = deep + "/decl.txt";
  std::ofstream(long_path, std::ios::binary) << Clean();

  const struct {
    const char* name;
    std::string path;
    const char* code;
  } cases[] = {
      {"FIFO without a writer", fifo, "E#C9123"},
      {"character device", "/dev/null", "E#C9123"},
      {"directory", dir.path(), "E#C9103"},
      {"path of more than 999 characters", long_path, "E#C9124"},
      {"report name of more than 999 characters", flat, "E#C9124"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::string> before;
    for (const auto& e : fs::recursive_directory_iterator(dir.path()))
      before.push_back(e.path().string());
    // A FIFO must not hold the run: it answers within seconds or not at all.
    auto run = std::async(std::launch::async, [&] { return RunOn(c.path); });
    if (run.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
      const int unblock = ::open(c.path.c_str(), O_WRONLY | O_NONBLOCK);
      run.wait();
      if (unblock >= 0) ::close(unblock);
      ADD_FAILURE() << "the run waited on the input";
      continue;
    }
    const Outcome r = run.get();
    EXPECT_EQ(r.result, 0);
    EXPECT_TRUE(r.failure.starts_with(c.code)) << r.failure;
    std::vector<std::string> after;
    for (const auto& e : fs::recursive_directory_iterator(dir.path()))
      after.push_back(e.path().string());
    EXPECT_EQ(after, before);
  }
}
#endif  // !_WIN32 (FIFOs and /dev/null are POSIX's)

TEST(Sums, WrapInTwosComplement) {
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  const struct {
    int64_t sum, value, want;
  } cases[] = {
      {1, 2, 3}, {kMax, 1, kMin}, {kMax, kMax, -2}, {kMin, -1, kMax}, {-5, 3, -2}, {0, kMin, kMin},
  };
  for (const auto& c : cases) {
    int64_t s = c.sum;
    Acumular(s, c.value);
    EXPECT_EQ(s, c.want) << c.sum << " + " << c.value;
  }
}

// Sums of 19-digit quantities through whole runs: the totals wrap the same
// way on every build, and the report says what the sums came to.
TEST(Sums, NineteenDigitQuantitiesInARun) {
  const std::string adq = test::Cnpj("135792460001");
  const std::string big = "9223372036854775807";  // the largest 64-bit value
  const struct {
    const char* name;
    std::vector<std::string> block1;
    const char* message;  // in UTF-8; empty = only that the run completes
  } cases[] = {
      {"two 1110 of the largest quantity",
       {"|1100||C1|0|0|20250101|20250131|200,00|1|",
        test::Rec({"1110", "M1", "20250110", "100,00", big, adq}),
        "|1115|NSU1|AUT1|TX1|0|1|101500|100,00|1||",
        test::Rec({"1110", "M1", "20250111", "100,00", big, adq}),
        "|1115|NSU2|AUT2|TX2|0|1|111500|100,00|1||"},
       "Registro 1100 com QTD '1' que não confere com o somatório QTD '-2' de 2 registros 1110."},
      {"1115 values past 64 bits",
       {"|1100||C1|0|0|20250101|20250131|100,00|1|",
        test::Rec({"1110", "M1", "20250110", "100,00", "1", adq}),
        "|1115|NSU1|AUT1|TX1|0|1|101500|92233720368547758,07|1||",
        "|1115|NSU2|AUT2|TX2|0|1|101600|92233720368547758,07|1||"},
       ""},
      {"1110 with no 1100 before it",
       {test::Rec({"1110", "M1", "20250110", "1,00", "1", adq})},
       ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::Declaration d = test::FullBase();
    d.block1 = c.block1;
    const Result r = test::ValidateText(test::Lines(d.Lines()));
    ASSERT_TRUE(r.completed) << r.failure;
    if (*c.message == 0) continue;
    bool found = false;
    for (const Finding& f : r.findings) found |= f.message == test::L1(c.message);
    std::string all;
    for (const Finding& f : r.findings) all += Latin1ToUtf8(f.message) + "\n";
    EXPECT_TRUE(found) << c.message << "\n" << all;
  }
}

TEST(KeyBuffer, PartsAreCutAtTheCapacityAndNeverOverrun) {
  const std::string huge(KeyBuffer::kCapacity + 10, 'x');
  const struct {
    const char* name;
    std::vector<std::string_view> parts;
    size_t size;
  } cases[] = {
      {"absent field (no address)", {std::string_view()}, 1},
      {"two parts", {"ab", "c"}, 5},
      {"one part past the capacity", {huge}, KeyBuffer::kCapacity},
      {"parts after the buffer is full",
       {huge, "more", std::string_view(), huge},
       KeyBuffer::kCapacity},
      {"a part that fills it exactly",
       {std::string_view(huge).substr(0, KeyBuffer::kCapacity - 1)},
       KeyBuffer::kCapacity},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    KeyBuffer k;
    k.Clear();
    for (std::string_view p : c.parts) k.Add(p);
    EXPECT_EQ(k.view().size(), c.size);
    EXPECT_EQ(k.view().back(), '|');
  }
}

// The lines, the findings and the digest do not depend on where the reading
// blocks end (a line may begin in one block and end several blocks later),
// nor on the threads: one for everything, a reading thread that splits ahead,
// or workers that split whole blocks ahead while the reading thread hashes.
TEST(ReadBlocks, FindingsAndDigestAreTheSameForEveryBlockSizeAndThreads) {
  volpgen::Options go;
  go.transactions = 150;
  go.clients = 4;
  go.devices = 5;
  go.seed = 7;
  std::vector<volpgen::FaultRequest> faults;
  std::string error;
  ASSERT_TRUE(
      volpgen::ParseFaults("sum-1110,non-latin1,lf-only,dup-1115,bad-date", &faults, &error))
      << error;
  go.faults = faults;
  volpgen::StringSink sink;
  volpgen::Generate(go, sink);

  std::string odd = Clean();
  odd.insert(odd.find("|0990|"), "|0100|" + std::string(12000, 'L') + "|\r\n");  // a piece line
  odd += "|9999|sem fim de linha";

  std::vector<std::pair<std::string, std::string>> inputs = {{"generated", sink.text},
                                                             {"long line, no last CR LF", odd}};
  for (const auto& e : fs::directory_iterator(fs::path(VOLP_TEST_DATA_DIR) / "reports"))
    inputs.emplace_back(e.path().filename().string(), ReadFile(e.path().string()));

  struct Config {
    size_t block;
    int threads;
  };
  std::vector<Config> configs;
  for (size_t block : {1, 2, 3, 63, 64, 65, 4096, 9998, 9999, 10000, 10001, 65536, 4 << 20})
    configs.push_back({block, 2});
  for (int threads : {1, 3, 5})
    for (size_t block : {64, 4096, 65536, 4 << 20}) configs.push_back({block, threads});
  for (const auto& [name, content] : inputs) {
    SCOPED_TRACE(name);
    TempDir dir;
    const std::string path = dir.Write("decl.txt", content);
    const Outcome base = RunOn(path, 4 << 20);
    ASSERT_EQ(base.result, 1) << base.failure;
    auto key = [](const Finding& f) {
      return std::make_tuple(f.line, f.offset, f.record_type, f.field_number, f.column, f.content,
                             f.severity, f.message);
    };
    for (const Config& c : configs) {
      SCOPED_TRACE("block of " + std::to_string(c.block) + " bytes, " + std::to_string(c.threads) +
                   " threads");
      const Outcome r = RunOn(path, c.block, c.threads);
      EXPECT_EQ(r.result, 1);
      EXPECT_EQ(r.sha256, base.sha256);
      EXPECT_EQ(r.records, base.records);
      ASSERT_EQ(r.findings.size(), base.findings.size());
      for (size_t i = 0; i < r.findings.size(); ++i)
        EXPECT_EQ(key(r.findings[i]), key(base.findings[i])) << "finding " << i;
    }
  }
}

}  // namespace
}  // namespace volp
