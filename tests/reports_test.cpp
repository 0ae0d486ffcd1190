// The JSON report and the HTML page: their escaping, the grouping of
// findings, the outcome they announce, how they are written to disk, how
// fast, and what a declarant's own bytes can do to them (nothing).
#include "volp/reports.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "platform/platform.hpp"
#include "report_runs.hpp"
#include "reports/outline.hpp"
#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;

// No byte of the document is one that a JSON string may not hold raw, or
// one that HTML would take for markup: the document's own line ends aside,
// everything else is escaped. (The scripts under tests/scripts/ parse the
// documents of the same runs with a strict JSON reader and the schema.)
bool AllEscaped(const std::string& json, std::string* why) {
  for (size_t i = 0; i < json.size(); ++i) {
    const auto c = static_cast<unsigned char>(json[i]);
    if ((c < 0x20 && c != '\n') || c == '<' || c == '>' || c == '&') {
      *why = "byte " + std::to_string(c) + " at " + std::to_string(i) + ": ..." +
             json.substr(i > 40 ? i - 40 : 0, 80);
      return false;
    }
  }
  return true;
}

// Every markup tag of the page is one the page itself writes: a `<` from the
// file would open one of its own (or be text where a tag should be).
std::string ForeignTag(const std::string& html) {
  static const std::set<std::string> kOwn = {
      "!DOCTYPE", "html",    "head", "meta", "title",   "style",   "body",   "header",
      "div",      "h1",      "h2",   "p",    "b",       "span",    "nav",    "a",
      "main",     "section", "dl",   "dt",   "dd",      "table",   "thead",  "tbody",
      "tr",       "th",      "td",   "code", "details", "summary", "footer", "script"};
  for (size_t i = html.find('<'); i != std::string::npos; i = html.find('<', i + 1)) {
    size_t j = i + 1;
    if (j < html.size() && html[j] == '/') ++j;
    size_t k = j;
    while (k < html.size() && (std::isalnum(static_cast<unsigned char>(html[k])) || html[k] == '!'))
      ++k;
    const std::string name = html.substr(j, k - j);
    if (kOwn.count(name) == 0) return html.substr(i, 60);
    if (name == "style" || name == "script") {
      // Their bodies are the page's own text and hold no "<".
      const size_t end = html.find("</" + name + ">", k);
      if (html[i + 1] != '/' && end != std::string::npos) i = end;
    }
  }
  return {};
}

Finding At(int64_t line, std::string code, std::string type, int32_t field, int32_t severity = 2,
           bool follows_stop = false) {
  Finding f;
  f.line = line;
  f.code = std::move(code);
  f.record_type = std::move(type);
  f.field_number = field;
  f.severity = severity;
  f.follows_stop = follows_stop;
  f.message = "m";
  return f;
}

Result OneFinding(const std::string& content, const std::string& message = "m") {
  Result r;
  r.completed = true;
  r.path = "x.txt";
  Finding f = At(2, "VOLP-0100-X", "0100", 3);
  f.content = content;
  f.message = message;
  r.findings.push_back(f);
  r.errors = r.rejected_lines = 1;
  return r;
}

TEST(JsonReport, EscapesEveryByteClass) {
  struct Case {
    std::string latin1;
    std::string json;  // how the content shows in the document
  };
  const std::vector<Case> cases = {
      {"a\"b\\c", R"("a\"b\\c")"},
      {"\n\r\t", R"("\n\r\t")"},
      {std::string("\x00\x01\x1F", 3), R"("\u0000\u0001\u001f")"},
      {"\x7F", R"("\u007f")"},
      {"</script><!--&", R"("\u003c/script\u003e\u003c!--\u0026")"},
      {"Concei\xE7\xE3o \xFF", "\"Concei\xC3\xA7\xC3\xA3o \xC3\xBF\""},
      // C1 controls: legal in JSON, but invisible; escaped.
      {"\x80\x85\x9F\xA0", "\"\\u0080\\u0085\\u009f\xC2\xA0\""},
      {"", R"("")"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.json);
    const std::string json = JsonReport(OneFinding(c.latin1, c.latin1));
    std::string why;
    EXPECT_TRUE(AllEscaped(json, &why)) << why;
    EXPECT_NE(json.find("\"content\": " + c.json), std::string::npos) << json;
    EXPECT_NE(json.find("\"message\": " + c.json), std::string::npos);
  }
}

TEST(HtmlReport, EscapesEveryByteClass) {
  struct Case {
    std::string latin1;
    std::string html;
  };
  const std::vector<Case> cases = {
      {"<b>&amp;\"'", "&lt;b&gt;&amp;amp;&quot;&#39;"},
      {std::string("\x00\x1B", 2),
       "<span class=\"cb\">\\x00</span><span class=\"cb\">\\x1B</span>"},
      {"\x7F", "<span class=\"cb\">\\x7F</span>"},
      {"\x85\xE9", "<span class=\"cb\">\\x85</span>\xC3\xA9"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.html);
    const std::string html = HtmlReport(OneFinding(c.latin1, c.latin1));
    EXPECT_NE(html.find("<td class=\"content\">" + c.html + "</td>"), std::string::npos);
    EXPECT_NE(html.find("<td class=\"msg\">" + c.html + "</td>"), std::string::npos);
    EXPECT_EQ(ForeignTag(html), "");
  }
}

TEST(ReportOutline, GroupsByCodeTypeAndFieldInOrderOfFirstLine) {
  struct Case {
    std::string name;
    std::vector<Finding> findings;
    int examples;
    // Per group: first finding's index, count, follows_stop, examples kept.
    std::vector<std::vector<int64_t>> groups;
  };
  const std::vector<Case> cases = {
      {"none", {}, 5, {}},
      {"one code on two types and two fields",
       {At(1, "A", "0100", 2), At(2, "A", "0100", 2), At(2, "A", "0200", 2), At(3, "A", "0100", 3),
        At(4, "A", "0100", 2)},
       5,
       {{0, 3, 0, 3}, {2, 1, 0, 1}, {3, 1, 0, 1}}},
      {"examples capped, stop consequences counted",
       {At(1, "B", "0100", 2), At(2, "B", "0100", 2, 2, true), At(3, "B", "0100", 2, 2, true)},
       2,
       {{0, 3, 2, 2}}},
      {"no examples asked",
       {At(1, "B", "0100", 2), At(1, "C", "0100", 2)},
       -1,
       {{0, 1, 0, 0}, {1, 1, 0, 0}}},
      {"findings without a code still group",
       {At(0, "", "", 0), At(5, "", "", 0), At(5, "", "0100", 0), At(6, "", "", 0, 1)},
       5,
       {{0, 2, 0, 2}, {2, 1, 0, 1}, {3, 1, 0, 1}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const outline::Grouping g = outline::GroupFindings(c.findings, c.examples);
    ASSERT_EQ(g.groups.size(), c.groups.size());
    ASSERT_EQ(g.group_of.size(), c.findings.size());
    int64_t total = 0;
    for (size_t i = 0; i < c.groups.size(); ++i) {
      const outline::Group& got = g.groups[i];
      EXPECT_EQ((std::vector<int64_t>{static_cast<int64_t>(got.first), got.count, got.follows_stop,
                                      static_cast<int64_t>(got.examples.size())}),
                c.groups[i])
          << "group " << i;
      if (!got.examples.empty()) {
        EXPECT_EQ(got.examples.front(), got.first);
      }
      total += got.count;
    }
    EXPECT_EQ(total, static_cast<int64_t>(c.findings.size()));
    for (size_t i = 0; i < c.findings.size(); ++i) {
      const Finding& first = c.findings[g.groups[g.group_of[i]].first];
      EXPECT_EQ(c.findings[i].code, first.code);
      EXPECT_EQ(c.findings[i].record_type, first.record_type);
    }
  }
}

TEST(ReportOutline, OutcomeVerdictAndShareRead) {
  struct Case {
    std::string name;
    bool completed, cancelled;
    StopReason stop;
    int64_t errors, rejected_lines, bytes_read, file_size;
    std::vector<Finding> findings;
    const char* outcome;
    std::string xml_verdict;
    int64_t per_mille;
  };
  const Finding firm = At(3, "A", "0100", 2);
  const Finding after_stop = At(0, "A", "0100", 0, 2, true);
  const std::vector<Case> cases = {
      {"clean",
       true,
       false,
       StopReason::kNone,
       0,
       0,
       500,
       500,
       {},
       "valid",
       "Arquivo validado",
       1000},
      {"errors",
       true,
       false,
       StopReason::kNone,
       1,
       1,
       500,
       500,
       {firm},
       "rejected",
       "Arquivo possui registros rejeitados",
       1000},
      // An empty file: its findings stand on line 0 and reject no line, so the
      // XML keeps its "validado"; the errors decide the outcome.
      {"errors on line 0 only",
       true,
       false,
       StopReason::kNone,
       2,
       0,
       0,
       0,
       {after_stop},
       "rejected",
       "Arquivo validado",
       1000},
      {"error limit",
       true,
       false,
       StopReason::kErrorLimit,
       3000,
       2900,
       70,
       1000,
       {firm},
       "rejected",
       "Arquivo possui registros rejeitados",
       70},
      {"cancelled, only the stop's consequences",
       true,
       true,
       StopReason::kCancelled,
       1,
       0,
       999,
       1000,
       {after_stop},
       "incomplete",
       "Arquivo validado - Validação Cancelada",
       999},
      {"cancelled with errors of its own",
       true,
       true,
       StopReason::kCancelled,
       2,
       1,
       1,
       3,
       {firm, after_stop},
       "rejected",
       "Arquivo possui registros rejeitados - Validação Cancelada",
       333},
      {"read error, nothing read",
       true,
       false,
       StopReason::kReadError,
       0,
       0,
       0,
       10,
       {},
       "incomplete",
       "Arquivo validado",
       0},
      {"could not run", false, false, StopReason::kNone, 0, 0, 0, 10, {}, "failed", "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Result r;
    r.completed = c.completed;
    r.cancelled = c.cancelled;
    r.stop_reason = c.stop;
    r.errors = c.errors;
    r.rejected_lines = c.rejected_lines;
    r.bytes_read = c.bytes_read;
    r.file_size = c.file_size;
    r.findings = c.findings;
    EXPECT_STREQ(outline::OutcomeName(outline::OutcomeOf(r)), c.outcome);
    EXPECT_EQ(outline::XmlVerdict(r), c.xml_verdict);
    EXPECT_EQ(outline::PerMilleRead(r), c.per_mille);
    // The JSON and the page announce the same outcome.
    const std::string json = JsonReport(r);
    EXPECT_NE(json.find(std::string("\"outcome\": \"") + c.outcome + "\""), std::string::npos);
    EXPECT_NE(json.find(std::string("\"valid\": ") +
                        (std::string(c.outcome) == "valid" ? "true" : "false")),
              std::string::npos);
    EXPECT_NE(HtmlReport(r).find(std::string("data-outcome=\"") + c.outcome + "\""),
              std::string::npos);
  }
}

TEST(ReportOutline, FileNamesComeOutAsUtf8WhateverTheirEncoding) {
  struct Case {
    std::string name, utf8;
  };
  const std::vector<Case> cases = {
      {"decl.txt", "decl.txt"},
      {"Concei\xC3\xA7\xC3\xA3o.txt", "Concei\xC3\xA7\xC3\xA3o.txt"},  // UTF-8 already
      {"Concei\xE7\xE3o.txt", "Concei\xC3\xA7\xC3\xA3o.txt"},          // Latin-1
      {"\xC3", "\xC3\x83"},                                            // a sequence cut short
      {"\xC0\xAF", "\xC3\x80\xC2\xAF"},                                // overlong
      {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},                    // a surrogate
      {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"},        // past U+10FFFF
      {"\xF0\x9F\x93\x84", "\xF0\x9F\x93\x84"},                        // four bytes
  };
  for (const Case& c : cases) EXPECT_EQ(outline::NameToUtf8(c.name), c.utf8) << c.utf8;
}

// A declaration's own bytes reach the reports as text and nothing else: the
// forged verdict, markup, control and high bytes.
TEST(ReportSecurity, DeclarationBytesStayText) {
  struct Case {
    const char* name;
    std::string declaration;
    bool valid;
  };
  const std::vector<Case> cases = {
      {"forged verdict in the e-mail", test::ForgedEmailDeclaration(), false},
      {"control and high bytes", test::ControlBytesDeclaration(), false},
  };
  enum Format { kJson, kHtml };
  for (const Case& c : cases) {
    std::string xml;
    const Result r = test::ValidateText(c.declaration, &xml);
    ASSERT_TRUE(r.completed) << r.failure;
    ASSERT_EQ(r.valid(), c.valid);
    // The attack is real: the XML carries the declarant's text as it is.
    if (std::string(c.name).starts_with("forged")) {
      ASSERT_NE(xml.find(test::kForgedEmail), std::string::npos);
    }
    for (Format format : {kJson, kHtml}) {
      SCOPED_TRACE(std::string(c.name) + (format == kJson ? " / JSON" : " / HTML"));
      ReportOptions o;
      o.all_findings = true;
      o.examples = 1000;
      if (format == kJson) {
        const std::string json = JsonReport(r, o);
        std::string why;
        EXPECT_TRUE(AllEscaped(json, &why)) << why;
        EXPECT_NE(json.find("\"valid\": false"), std::string::npos);
        EXPECT_EQ(json.find("\"valid\": true"), std::string::npos);
        EXPECT_NE(json.find("\"outcome\": \"rejected\""), std::string::npos);
      } else {
        const std::string html = HtmlReport(r, o);
        EXPECT_EQ(ForeignTag(html), "");
        EXPECT_EQ(html.find("</Erro>"), std::string::npos);
        EXPECT_EQ(html.find("\x1B"), std::string::npos);
        EXPECT_NE(html.find("data-outcome=\"rejected\""), std::string::npos);
        EXPECT_EQ(html.find("<h1>Arquivo validado"), std::string::npos);
      }
    }
  }
}

TEST(ReportSecurity, SampleRunsGiveWellFormedDocuments) {
  for (const test::ReportRun& run : test::SampleRuns()) {
    SCOPED_TRACE(run.name);
    std::string why;
    EXPECT_TRUE(AllEscaped(JsonReport(run.result, run.options), &why)) << why;
    EXPECT_EQ(ForeignTag(HtmlReport(run.result, run.options)), "");
  }
}

TEST(ReportRuns, StopsAreReportedWithTheirReason) {
  struct Case {
    const char* name;
    std::string declaration;
    bool cancel;
    StopReason stop;
    const char* reason;
  };
  const std::vector<Case> cases = {
      {"error limit", test::ErrorLimitDeclaration(), false, StopReason::kErrorLimit, "error-limit"},
      {"cancelled", test::LongDeclaration(), true, StopReason::kCancelled, "cancelled"},
      {"the long file read whole", test::LongDeclaration(), false, StopReason::kNone, "complete"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    static const std::atomic<bool> stop{true};
    Options o;
    if (c.cancel) o.stop = &stop;
    const Result r = test::ValidateText(c.declaration, nullptr, o);
    ASSERT_EQ(r.stop_reason, c.stop);
    const std::string json = JsonReport(r);
    EXPECT_NE(json.find(std::string("\"reason\": \"") + c.reason + "\""), std::string::npos);
    EXPECT_NE(
        json.find(std::string("\"complete\": ") + (c.stop == StopReason::kNone ? "true" : "false")),
        std::string::npos);
    if (c.stop != StopReason::kNone) {
      EXPECT_LT(r.bytes_read, r.file_size);
      EXPECT_NE(HtmlReport(r).find("Leitura interrompida"), std::string::npos);
    }
  }
}

// Golden JSON documents of the golden inputs, with the time and the version
// fixed; VOLP_UPDATE_GOLDEN=1 rewrites them (review the diff).
TEST(GoldenReports, JsonMatchesItsGoldenFile) {
  const char* update = std::getenv("VOLP_UPDATE_GOLDEN");
  for (const std::string& input : test::GoldenInputs()) {
    SCOPED_TRACE(input);
    Result r = test::ValidateText(test::ReadFile(input));
    r.elapsed_seconds = 0;
    ReportOptions o;
    o.input_name = fs::path(input).filename().string();
    o.all_findings = true;
    std::string got = JsonReport(r, o);
    const std::string version = std::string("\"version\": \"") + VOLP_VERSION_TEXT + "\"";
    got.replace(got.find(version), version.size(), "\"version\": \"#\"");
    const fs::path golden =
        fs::path(VOLP_TEST_GOLDEN_DIR) / (fs::path(input).stem().string() + ".json");
    if (update != nullptr && std::string(update) == "1") {
      std::ofstream(golden, std::ios::binary) << got;
      continue;
    }
    ASSERT_TRUE(fs::exists(golden)) << golden << " is missing; run with VOLP_UPDATE_GOLDEN=1";
    EXPECT_EQ(test::ReadFile(golden.string()), got);
  }
}

TEST(WriteFileAtomically, PutsTheWholeFileInPlaceOrLeavesThePreviousOne) {
  test::TempDir dir;
  const std::string path = dir.path() + "/r.json";
  std::string error;
  ASSERT_TRUE(WriteFileAtomically(path, "old", &error)) << error;

  struct Case {
    const char* name;
    std::string path;
    platform::FaultOp fault;
    bool fail;
  };
  const std::vector<Case> cases = {
      {"a directory that does not exist", dir.path() + "/no/such/dir/r.json",
       platform::FaultOp::kOpen, true},
      {"the create fails", path, platform::FaultOp::kOpen, true},
      {"a write fails (full disk)", path, platform::FaultOp::kWrite, true},
      {"the flush fails", path, platform::FaultOp::kFlush, true},
      {"the close fails", path, platform::FaultOp::kClose, true},
      {"the rename fails", path, platform::FaultOp::kRename, true},
      {"nothing fails", path, platform::FaultOp::kOpen, false},
  };
  // 200 kB: more than the file's buffer, so that the bytes are written in parts.
  const std::string bytes(200000, 'n');
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const bool injected = c.fail && c.path == path;
    if (injected) platform::ArmFault(1, platform::FaultBit(c.fault));
    error.clear();
    const bool ok = WriteFileAtomically(c.path, bytes, &error);
    platform::ArmFault(0);
    EXPECT_EQ(ok, !c.fail);
    EXPECT_EQ(error.empty(), !c.fail) << error;
    EXPECT_FALSE(fs::exists(c.path + ".parcial"));
    if (c.path == path) {
      EXPECT_EQ(test::ReadFile(path), c.fail ? "old" : bytes);
    }
  }
}

TEST(WriteFileAtomically, ReadOnlyDirectoryKeepsThePreviousFile) {
  test::TempDir dir;
  const std::string path = dir.path() + "/r.html";
  std::string error;
  ASSERT_TRUE(WriteFileAtomically(path, "old", &error)) << error;
  fs::permissions(dir.path(), fs::perms::owner_read | fs::perms::owner_exec);
  // The superuser writes anyway: nothing to see there.
  if (std::ofstream(dir.path() + "/probe")) GTEST_SKIP() << "permissions are not enforced here";
  EXPECT_FALSE(WriteFileAtomically(path, "new", &error));
  EXPECT_NE(error.find("r.html.parcial"), std::string::npos) << error;
  EXPECT_EQ(test::ReadFile(path), "old");
}

// The sanitizers make every memory access several times slower.
#if defined(__SANITIZE_ADDRESS__)
constexpr double kSanitizerSlowdown = 5;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr double kSanitizerSlowdown = 5;
#else
constexpr double kSanitizerSlowdown = 1;
#endif
#else
constexpr double kSanitizerSlowdown = 1;
#endif

// 3,000 errors and 10,000 warnings, the most a run keeps, in 400 groups:
// both documents in well under a second.
TEST(ReportSpeed, LargestKeptListWritesQuickly) {
  Result r;
  r.completed = true;
  r.path = "grande.txt";
  r.errors = 3000;
  r.warnings = 10000;
  r.rejected_lines = 3000;
  for (int i = 0; i < 13000; ++i) {
    Finding f = At(i + 1, "VOLP-1110-C" + std::to_string(i % 400), i % 2 ? "1110" : "1115", i % 7,
                   i < 3000 ? 2 : 1);
    f.content =
        "conte\xFA"
        "do <" +
        std::to_string(i) + ">";
    f.message =
        "O campo tem um valor que n\xE3o confere com o registro & o total " + std::to_string(i);
    f.field_name = "VL_TOT";
    r.findings.push_back(std::move(f));
  }
  ReportOptions o;
  o.all_findings = true;
  test::TempDir dir;
  std::string error;
  // Processor time is what the writers cost; the wall clock of a loaded
  // machine is printed but not held against them.
  const auto start = std::chrono::steady_clock::now();
  const std::clock_t cpu_start = std::clock();
  const std::string json = JsonReport(r, o);
  const std::string html = HtmlReport(r, o);
  const std::clock_t cpu_made = std::clock();
  EXPECT_TRUE(WriteFileAtomically(dir.path() + "/r.json", json, &error)) << error;
  EXPECT_TRUE(WriteFileAtomically(dir.path() + "/r.html", html, &error)) << error;
  const double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double making = static_cast<double>(cpu_made - cpu_start) / CLOCKS_PER_SEC;
  const double total = static_cast<double>(std::clock() - cpu_start) / CLOCKS_PER_SEC;
  std::printf(
      "JSON %zu bytes + HTML %zu bytes of 13,000 findings: made in %.3f s of processor time, "
      "written in %.3f s (%.3f s on the wall clock)\n",
      json.size(), html.size(), making, total, wall);
  EXPECT_LT(making, 0.5 * kSanitizerSlowdown);
  EXPECT_LT(total, 1.0 * kSanitizerSlowdown);
  EXPECT_GT(json.size(), 13000u * 100);
}

}  // namespace
}  // namespace volp
