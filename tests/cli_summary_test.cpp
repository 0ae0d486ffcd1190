// The pieces of the command line's summary that decide what a person reads:
// how a line is fitted, when colours are used, what a stopped run says, how
// findings are grouped, how a batch's status is made.
#include "cli_summary.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "cli_batch.hpp"
#include "cli_input.hpp"
#include "cli_terminal.hpp"

namespace volp::cli {
namespace {

const std::string kEllipsis = "\xE2\x80\xA6";

TEST(CliTerminal, FitCutsAtCharactersNotBytesAndLeavesEscapesWhole) {
  const std::string red = "\x1b[1;31m";
  const std::string reset = "\x1b[0m";
  struct Case {
    std::string in;
    int width;
    std::string out;
  };
  const std::vector<Case> cases = {
      {"abcdef", 6, "abcdef"},
      {"abcdefg", 6, "abcde" + kEllipsis},
      // "é" is two bytes and one column: it fits, and is never cut in half.
      {"ação", 4, "ação"},
      {"açãoX", 4, "açã" + kEllipsis},
      // Escape sequences take no room, and a cut line ends its colour.
      {red + "abc" + reset, 3, red + "abc" + reset},
      {red + "abcdef" + reset, 4, red + "abc" + kEllipsis + reset},
      {"", 5, ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Fit(c.in, c.width), c.out) << c.in << " / " << c.width;
    EXPECT_LE(Columns(Fit(c.in, c.width)), c.width) << c.in;
  }
}

TEST(CliTerminal, WrapBreaksAtSpacesAndIndentsTheRest) {
  const std::vector<std::tuple<std::string, int, int, std::string>> cases = {
      {"Read:     short", 40, 10, "Read:     short\n"},
      {"   indented text", 12, 3, "   indented\n   text\n"},
      {"aaa bbb ccc ddd", 7, 2, "aaa bbb\n  ccc\n  ddd\n"},
      // A word longer than a line is cut, not lost.
      {"a bbbbbbbbbb c", 6, 1, "a\n bbbb" + kEllipsis + "\n c\n"},
  };
  for (const auto& [in, width, indent, out] : cases) {
    EXPECT_EQ(Wrap(in, width, indent), out) << in;
  }
}

TEST(CliTerminal, WidthComesFromTheTerminalThenColumnsThenADefault) {
  struct Case {
    int terminal;
    const char* columns;
    int width;
  };
  const std::vector<Case> cases = {
      {120, "60", 120},
      {0, "60", 60},
      {0, nullptr, kDefaultWidth},
      {0, "", kDefaultWidth},
      {0, "abc", kDefaultWidth},
      {0, "80x", kDefaultWidth},
      {0, "-5", kDefaultWidth},
      {0, "10", kMinWidth},
      {20, nullptr, kMinWidth},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ChooseWidth(c.terminal, c.columns), c.width)
        << c.terminal << " " << (c.columns ? c.columns : "(unset)");
  }
}

TEST(CliTerminal, ColoursOnlyOnATerminalWithoutNoColorUnlessForced) {
  struct Case {
    ColorMode mode;
    bool terminal;
    const char* no_color;
    bool on;
  };
  const std::vector<Case> cases = {
      {ColorMode::kAuto, true, nullptr, true},   {ColorMode::kAuto, true, "", true},
      {ColorMode::kAuto, true, "1", false},      {ColorMode::kAuto, false, nullptr, false},
      {ColorMode::kNever, true, nullptr, false}, {ColorMode::kAlways, false, "1", true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(UseColor(c.mode, c.terminal, c.no_color), c.on)
        << static_cast<int>(c.mode) << c.terminal << (c.no_color ? c.no_color : "-");
  }
  EXPECT_EQ(Style{false}.Red("x"), "x");
  EXPECT_EQ(Style{true}.Red("x"), "\x1b[1;31mx\x1b[0m");
}

TEST(CliSummary, TemplatesShowTheirPlaceholdersAsEllipses) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Campo %02d - '%s' é obrigatório.", "Campo … - '…' é obrigatório."},
      {"O registro %.*s é de tipo inválido.", "O registro … é de tipo inválido."},
      {"Parou com %I64d tipos", "Parou com … tipos"},
      {"%lld linhas e 100%% lidas", "… linhas e 100% lidas"},
      {"termina em %", "termina em …"},
  };
  for (const auto& [format, text] : cases) EXPECT_EQ(TemplateText(format), text) << format;
}

TEST(CliSummary, ControlBytesOfTheFileCannotReachTheTerminal) {
  EXPECT_EQ(ForTerminal(std::string("a\x1b[2Jb\x9b"
                                    "c\x07\xe9",
                                    10)),
            "a?[2Jb?c?\xC3\xA9");
}

Finding MakeFinding(int64_t line, const std::string& code, int severity, bool follows_stop) {
  Finding f;
  f.line = line;
  f.code = code;
  f.severity = severity;
  f.follows_stop = follows_stop;
  f.message = code + " at " + std::to_string(line);
  return f;
}

TEST(CliSummary, GroupsKeepTheFirstExamplesAndSetTheStopsFindingsApart) {
  Result r;
  r.findings = {
      MakeFinding(1, "A", 1, false), MakeFinding(2, "B", 2, false), MakeFinding(3, "A", 1, false),
      MakeFinding(4, "C", 2, false), MakeFinding(5, "B", 2, false), MakeFinding(6, "B", 2, false),
      MakeFinding(0, "D", 2, true),  MakeFinding(0, "", 2, false),  MakeFinding(9, "", 2, false),
  };
  r.findings[7].message = "sem código";
  r.findings[8].message = "outro";
  const std::vector<FindingGroup> groups = GroupFindings(r, false, 2);
  // Errors first, larger groups first; a finding without a code is its own group.
  std::vector<std::string> order;
  for (const FindingGroup& g : groups) order.push_back(g.code + ":" + std::to_string(g.count));
  EXPECT_EQ(order, (std::vector<std::string>{"B:3", "C:1", ":1", ":1", "A:2"}));
  ASSERT_EQ(groups[0].examples.size(), 2u);
  EXPECT_EQ(groups[0].examples[0]->line, 2);
  EXPECT_EQ(groups[0].examples[1]->line, 5);

  const std::vector<FindingGroup> after = GroupFindings(r, true, 2);
  ASSERT_EQ(after.size(), 1u);
  EXPECT_EQ(after[0].code, "D");

  // The headline counts leave the stop's findings out; they are listed apart.
  r.completed = true;
  r.stop_reason = StopReason::kCancelled;
  r.errors = 6;
  r.warnings = 2;
  r.last_line = 100000;
  r.bytes_read = 5000000;
  r.file_size = 80000000;
  const std::string text = Summary(r, {});
  EXPECT_NE(text.find("Errors:   5   warnings: 2"), std::string::npos) << text;
  EXPECT_NE(text.find("and 1 errors, 0 warnings that follow from the stop"), std::string::npos);
  const size_t apart = text.find("\nAfter the stop:");
  ASSERT_NE(apart, std::string::npos) << text;
  EXPECT_NE(text.find(" D ", apart), std::string::npos) << text;
  EXPECT_EQ(text.find(" D ", 0), text.find(" D ", apart)) << text;
}

TEST(CliSummary, CompletenessSaysHowFarAndWhy) {
  struct Case {
    StopReason reason;
    int64_t bytes_read;
    std::string says;
  };
  const std::vector<Case> cases = {
      {StopReason::kNone, 1000, "the whole file: 75,601 lines, 1,000 bytes"},
      {StopReason::kErrorLimit, 70,
       "NOT the whole file. Stopped at line 75,601 (7% of the file): 3,000 errors, the most a run "
       "reports"},
      {StopReason::kCancelled, 999, "(99% of the file): cancelled"},
      // Not read to the end is never "100%", and something read is never "0%".
      {StopReason::kReadError, 1000, "(99% of the file): read error"},
      {StopReason::kUnknownTypeLimit, 1, "(<1% of the file): 100 lines of unknown record type"},
  };
  for (const Case& c : cases) {
    Result r;
    r.completed = true;
    r.stop_reason = c.reason;
    r.last_line = 75601;
    r.file_size = 1000;
    r.bytes_read = c.bytes_read;
    r.unknown_records = 100;
    EXPECT_NE(Completeness(r).find(c.says), std::string::npos) << Completeness(r);
    const std::string summary = Summary(r, {});
    EXPECT_EQ(summary.find("no verdict on the whole file") != std::string::npos,
              c.reason != StopReason::kNone)
        << summary;
  }
}

TEST(CliInput, StemsAreTheNameLessGzAndLessItsLastExtension) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"dir/x.txt", "x"},     {"x.txt.gz", "x"},          {"lote.2025/decl", "decl"},
      {"a.b.c.txt", "a.b.c"}, {".oculto.txt", ".oculto"}, {"sem", "sem"},
  };
  for (const auto& [path, stem] : cases) EXPECT_EQ(StemOf(path), stem) << path;
}

TEST(CliBatch, TheWorstStatusWinsAndTheTableFitsByCuttingNamesFromTheLeft) {
  EXPECT_EQ(WorstStatus(WorstStatus(0, 1), 0), 1);
  EXPECT_EQ(WorstStatus(WorstStatus(2, 1), 0), 2);
  std::vector<BatchRow> rows(1);
  rows[0].file = std::string(200, 'a') + "/fim.txt";
  rows[0].verdict = "valid";
  rows[0].read = "whole";
  const std::string table = BatchTable(rows, 80, Style{});
  const size_t row = table.find('\n') + 1;
  const std::string line = table.substr(row, table.find('\n', row) - row);
  EXPECT_LE(Columns(line), 80) << line;
  EXPECT_EQ(line.rfind(kEllipsis, 0), 0u) << line;
  EXPECT_NE(line.find("/fim.txt  valid"), std::string::npos) << line;
}

}  // namespace
}  // namespace volp::cli
