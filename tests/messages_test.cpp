// The message table: codes are unique and well formed, every format's
// placeholders are ones the compile-time check knows, every row names real
// record types, and docs/messages.md lists the table as it is (run the
// suite with VOLP_UPDATE_DOCS=1 to rewrite it).
#include "core/messages.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "core/record_types.hpp"
#include "support.hpp"

namespace volp {
namespace {

std::string SeverityName(int32_t s) {
  switch (s) {
    case kAdvertencia:
      return "Advertência";
    case kErro:
      return "Rejeição";
    case kErroRejeitaTipo:
      return "Rejeição (rejeita o tipo)";
  }
  return "?";
}

// The page, in UTF-8 (the formats as written in the source).
std::string RenderDoc() {
  std::ostringstream o;
  o << "# Messages\n\n"
       "Every finding the validator writes carries one of these messages. The code is stable:\n"
       "it names the same check in every release, and a report reader may rely on it. The\n"
       "text is a printf format (`%02d` a field's number, `%s` and `%.*s` a text, `%lld` a\n"
       "count); the report prints it in ISO 8859-1. Generated from src/core/messages.inc by\n"
       "tests/messages_test.cpp (`VOLP_UPDATE_DOCS=1 build/release/tests/volp_tests\n"
       "--gtest_filter=Messages.*` rewrites it).\n\n"
       "| Code | Severity | Record types | Message |\n"
       "|---|---|---|---|\n";
  for (size_t i = 0; i < kMessageCount; ++i) {
    std::string text = msg::kSourceFormats[i];
    for (size_t at = text.find('|'); at != std::string::npos; at = text.find('|', at + 2))
      text.replace(at, 1, "\\|");
    o << "| `" << kMessages[i].code << "` | " << SeverityName(kMessages[i].severity) << " | "
      << kMessages[i].types << " | " << text << " |\n";
  }
  return o.str();
}

TEST(Messages, CodesAreUniqueAndWellFormed) {
  const std::regex shape("VOLP(-[0-9A-Z]+)+");
  std::set<std::string> seen;
  for (const MessageDef& m : kMessages) {
    EXPECT_TRUE(std::regex_match(m.code, shape)) << m.code;
    EXPECT_TRUE(seen.insert(m.code).second) << "repeated: " << m.code;
  }
}

TEST(Messages, RowsAreWhole) {
  std::set<std::string> texts;
  for (size_t i = 0; i < kMessageCount; ++i) {
    const MessageDef& m = kMessages[i];
    SCOPED_TRACE(m.code);
    // Every placeholder is one the compile-time check understands, so that
    // every call was held against it.
    msg::Slot slots[msg::kMaxSlots];
    const int n = msg::FormatSlots(msg::kSourceFormats[i], slots, msg::kMaxSlots);
    ASSERT_LE(n, msg::kMaxSlots);
    for (int k = 0; k < n; ++k) EXPECT_NE(slots[k], msg::Slot::kBad) << "placeholder " << k;
    EXPECT_TRUE(m.severity == kAdvertencia || m.severity == kErro ||
                m.severity == kErroRejeitaTipo);
    // The same text at the same severity is one row.
    EXPECT_TRUE(texts.insert(std::to_string(m.severity) + m.format).second) << "repeated text";
    // The record types are real ones, or "*".
    std::istringstream types(m.types);
    std::string t;
    int count = 0;
    for (; types >> t; ++count) EXPECT_TRUE(t == "*" || FindRecordType(t) >= 0) << t;
    EXPECT_GT(count, 0);
  }
}

// A std::string_view fills a "%.*s" pair; integers and texts their own.
TEST(Messages, FormatsTakeTheirValues) {
  MsgText t;
  EXPECT_EQ(
      std::string(FormatMessage(t, MsgId::kCepSemUf, 4, "CEP", std::string_view("9999999x", 7))),
      test::L1("O campo 04 - 'CEP' contém '9999999' que não pertence a nenhuma UF."));
  EXPECT_EQ(std::string(FormatMessage(t, MsgId::kDigitoVerificador, 2, 7, 3)),
            test::L1("O dígito verificador 2 não confere! Tem valor 7 mas deveria ter 3."));
}

TEST(Messages, DocsListTheTable) {
  const std::string path = std::string(VOLP_REPO_DATA_DIR) + "/../docs/messages.md";
  const std::string want = RenderDoc();
  if (std::getenv("VOLP_UPDATE_DOCS") != nullptr) {
    std::ofstream(path, std::ios::binary) << want;
  }
  std::ifstream in(path, std::ios::binary);
  std::ostringstream have;
  have << in.rdbuf();
  EXPECT_EQ(have.str(), want) << "docs/messages.md is out of date: run the suite with "
                                 "VOLP_UPDATE_DOCS=1";
}

}  // namespace
}  // namespace volp
