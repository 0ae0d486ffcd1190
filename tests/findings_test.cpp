#include "core/findings.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "core/context.hpp"
#include "core/log.hpp"
#include "core/record_types.hpp"
#include "support.hpp"

namespace volp {
namespace {

// One call of the collector. type -1 with an empty code is "no record type";
// type -1 with a code is a record of unknown type.
struct Call {
  int64_t line;
  int type;
  int32_t severity;
  const char* code = nullptr;
};

struct Counters {
  int64_t errors, warnings, rejected_lines;
  size_t kept;
};

void Save(FindingsCollector& fc, Log& log, const Call& c) {
  std::string_view code = c.code ? c.code : (c.type >= 0 ? kRecordTypes[c.type].code : "");
  SalvarErroArquivo(fc, log, c.line * 100, c.line, c.type, code, 0, nullptr, c.severity, "m");
}

TEST(Findings, CountersPerSequence) {
  struct Case {
    const char* name;
    std::vector<Call> calls;
    Counters want;
  };
  const Case cases[] = {
      {"two errors on one line reject it once",
       {{4, kR0100, kErro}, {4, kR0100, kErro}},
       {2, 0, 1, 2}},
      {"errors on two lines",
       {{3, kR0100, kErro}, {3, kR0100, kErro}, {4, kR0100, kErro}},
       {3, 0, 2, 3}},
      {"lines going back count again",
       {{3, kR0100, kErro}, {4, kR0100, kErro}, {3, kR0100, kErro}},
       {3, 0, 3, 3}},
      {"warnings reject nothing",
       {{2, kR0005, kAdvertencia}, {2, kR0005, kAdvertencia}},
       {0, 2, 0, 2}},
      {"severity 3 rejects its type once, whatever the line",
       {{7, kR1110, kErroRejeitaTipo}, {8, kR1110, kErroRejeitaTipo}},
       {2, 0, 1, 2}},
      {"severity 3 after a rejection of its type",
       {{7, kR1110, kErro}, {9, kR1110, kErroRejeitaTipo}},
       {2, 0, 1, 2}},
      {"no record type: an error at line 0 never rejects a line", {{0, -1, kErro}}, {1, 0, 0, 1}},
      {"no record type: errors of one line", {{2, -1, kErro}, {2, -1, kErro}}, {2, 0, 1, 2}},
      {"no record type: warnings and severity 3 are kept, not counted",
       {{2, -1, kAdvertencia}, {3, -1, kErroRejeitaTipo}},
       {0, 0, 0, 2}},
      {"unknown record type counts in the totals", {{5, -1, kErro, "ABCD"}}, {1, 0, 1, 1}},
      {"unknown severity is kept, not counted", {{5, kR0000, 9}}, {0, 0, 0, 1}},
  };
  for (const Case& c : cases) {
    FindingsCollector fc;
    Log log;
    for (const Call& call : c.calls) Save(fc, log, call);
    EXPECT_EQ(fc.errors, c.want.errors) << c.name;
    EXPECT_EQ(fc.warnings, c.want.warnings) << c.name;
    EXPECT_EQ(fc.rejected_lines, c.want.rejected_lines) << c.name;
    EXPECT_EQ(fc.list.size(), c.want.kept) << c.name;
  }
}

TEST(Findings, PerTypeCounters) {
  FindingsCollector fc;
  Log log;
  // A 0100 and a 0200 error on the same line: the line is rejected for the
  // first type only.
  Save(fc, log, {6, kR0100, kErro});
  Save(fc, log, {6, kR0200, kErro});
  Save(fc, log, {6, kR0200, kAdvertencia});
  Save(fc, log, {8, kR1110, kErroRejeitaTipo});
  Save(fc, log, {9, kR1110, kErroRejeitaTipo});

  const TypeCounters& a = fc.per_type[kR0100];
  const TypeCounters& b = fc.per_type[kR0200];
  const TypeCounters& t = fc.per_type[kR1110];
  EXPECT_EQ(a.rejected, 1);
  EXPECT_EQ(a.errors, 1);
  EXPECT_EQ(b.rejected, 0);
  EXPECT_EQ(b.errors, 1);
  EXPECT_EQ(b.warnings, 1);
  EXPECT_EQ(t.rejected, 1);
  EXPECT_EQ(t.errors, 2);
  EXPECT_EQ(fc.rejected_lines, 2);
}

TEST(Findings, FieldOfTheFinding) {
  const FieldRef field{"CNPJ do informante", 12, "123", 3};
  struct Case {
    int32_t index;
    const FieldRef* field;
    int32_t number, column, length;
    const char* content;
    const char* name;
  };
  const Case cases[] = {
      {0, &field, 0, 12, 3, "123", "CNPJ do informante"},
      {3, &field, 4, 12, 3, "123", "CNPJ do informante"},
      {-3, &field, 4, 12, -1, "123", "CNPJ do informante"},
      {1, nullptr, 2, -1, 0, "", ""},
      {-2, nullptr, 3, -1, -1, "", ""},
  };
  for (const Case& c : cases) {
    FindingsCollector fc;
    Log log;
    SalvarErroArquivo(fc, log, 40, 2, kR0000, "0000", c.index, c.field, kErro, "msg");
    ASSERT_EQ(fc.list.size(), 1u);
    const Finding& f = fc.list[0];
    EXPECT_EQ(f.field_number, c.number) << c.index;
    EXPECT_EQ(f.column, c.column) << c.index;
    EXPECT_EQ(f.length, c.length) << c.index;
    EXPECT_EQ(f.content, c.content) << c.index;
    EXPECT_EQ(f.field_name, c.name) << c.index;
    EXPECT_EQ(f.offset, 40);
    EXPECT_EQ(f.line, 2);
    EXPECT_EQ(f.record_type, "0000");
    EXPECT_EQ(f.message, "msg");
  }
}

TEST(Findings, WarningsBeyondTheCapAreCountedNotKept) {
  FindingsCollector fc;
  Log log;
  for (int64_t i = 1; i <= kMaxKeptWarnings + 1; ++i) Save(fc, log, {i, kR0200, kAdvertencia});
  EXPECT_EQ(fc.warnings, kMaxKeptWarnings + 1);
  EXPECT_EQ(fc.per_type[kR0200].warnings, kMaxKeptWarnings + 1);
  ASSERT_EQ(fc.list.size(), static_cast<size_t>(kMaxKeptWarnings));
  EXPECT_EQ(fc.list.back().line, kMaxKeptWarnings);
  // Errors are always kept.
  Save(fc, log, {1, kR0200, kErro});
  EXPECT_EQ(fc.list.size(), static_cast<size_t>(kMaxKeptWarnings) + 1);
}

// Past the cap a warning is counted without its text being written out; the
// trace of every finding (level 7) still gets the text.
TEST(Findings, WarningsPastTheCapSkipTheirTextButNotTheTrace) {
  struct Case {
    const char* name;
    bool trace;
  };
  for (const Case& c : {Case{"no trace", false}, Case{"trace at level 7", true}}) {
    test::RunFixture fx;
    std::FILE* echo = c.trace ? std::tmpfile() : nullptr;
    if (c.trace) fx.log.Configure(7, "", false, echo);
    ASSERT_GE(fx.Split("|1115|1|2|3|4|5|6|7|8|9|10|11|12|"), 0) << c.name;
    for (int64_t i = 0; i < kMaxKeptWarnings + 5; ++i)
      fx.run.Report(fx.rec, 1, MsgId::kBandeiraInvalida, std::string_view("77"));
    EXPECT_EQ(fx.ps.findings.warnings, kMaxKeptWarnings + 5) << c.name;
    EXPECT_EQ(fx.ps.findings.per_type[fx.rec.type_index].warnings, kMaxKeptWarnings + 5) << c.name;
    size_t kept = 0;
    for (const Finding& f : fx.ps.findings.list) kept += f.severity == kAdvertencia;
    EXPECT_EQ(kept, static_cast<size_t>(kMaxKeptWarnings)) << c.name;
    if (echo != nullptr) {
      std::fflush(echo);
      const long size = std::ftell(echo);
      std::rewind(echo);
      std::string text(static_cast<size_t>(size), '\0');
      ASSERT_EQ(std::fread(text.data(), 1, text.size(), echo), text.size());
      std::fclose(echo);
      size_t count = 0;
      for (size_t at = text.find("'77'"); at != std::string::npos; at = text.find("'77'", at + 1))
        ++count;
      EXPECT_EQ(count, static_cast<size_t>(kMaxKeptWarnings + 5)) << c.name;
    }
  }
}

}  // namespace
}  // namespace volp
