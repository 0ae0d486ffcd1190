// Sets that keep only a fingerprint of each key and confirm a match by
// reading the first record again. Checked against an exact map on random
// keys, with fingerprints that make most or all keys collide; then the
// reading again itself: fields of a line read back, lines cut as the reader
// cuts them, and a line that cannot be read.
#include "rules/fingerprint_index.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/earlier_lines.hpp"
#include "reading/file_lines.hpp"
#include "reading/reader.hpp"
#include "rules/block1.hpp"
#include "rules/intern.hpp"
#include "support.hpp"

namespace volp {
namespace {

struct Place {
  int64_t line = 0;
};

// Random keys from a small alphabet, so that repeats are common; the
// fingerprint is the real hash, the hash cut to a few values, or one value
// for all. The confirmation compares the texts kept by the test, as reading
// the first record again would. Every answer must match the exact map's,
// growth and clearing included.
void MatchesExactKeys(uint32_t seed, uint64_t (*fingerprint)(std::string_view)) {
  std::mt19937 rng(seed);
  FingerprintMap<Place> places;
  std::map<std::string, int64_t> exact;
  std::vector<std::string> text_at_line(1);  // line -> key of that record
  for (int64_t line = 1; line <= 6000; ++line) {
    if (rng() % 4000 == 0) {
      places.clear();
      exact.clear();
      places.Reserve(rng() % 3000);  // sized up front or not, the same answers
    }
    std::string key;
    const int n = static_cast<int>(rng() % 4);
    for (int i = 0; i < n; ++i) key.push_back("ab|c"[rng() % 4]);
    key += std::to_string(rng() % 1000);
    text_at_line.push_back(key);
    const Place* first = places.FindOrAdd(fingerprint(key), Place{line}, [&](const Place& p) {
      return text_at_line[static_cast<size_t>(p.line)] == key;
    });
    auto [it, added] = exact.emplace(key, line);
    ASSERT_EQ(first == nullptr, added) << "line " << line << " key " << key;
    if (first != nullptr) {
      ASSERT_EQ(first->line, it->second) << key;
    }
    ASSERT_EQ(places.size(), exact.size());
  }
}

TEST(FingerprintMap, MatchesAnExactMap) {
  struct Case {
    const char* name;
    uint64_t (*fingerprint)(std::string_view);
  };
  const Case cases[] = {
      {"real hash", [](std::string_view s) { return static_cast<uint64_t>(KeyHash{}(s)); }},
      // Eight fingerprints, all in the upper bits: long probe runs of
      // matching tags, each settled by the confirmation.
      {"eight values", [](std::string_view s) { return (KeyHash{}(s)&7) << 61; }},
      {"one value", [](std::string_view) { return uint64_t{0x1234567800000000}; }},
      // Tags that differ only below the bits that place them: one home slot.
      {"one home",
       [](std::string_view s) { return (uint64_t{0xABCD0000} | (KeyHash{}(s)&0xF)) << 32; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (uint32_t seed : {1u, 2u, 3u}) MatchesExactKeys(seed, c.fingerprint);
  }
}

TEST(FingerprintIndex, FilesTheCallersIdsAndConfirmsEachCandidate) {
  FingerprintIndex index;
  int asked = 0;
  const auto never = [&](FingerprintIndex::Id) { return ++asked, false; };
  EXPECT_EQ(index.FindOrAdd(uint64_t{7} << 32, 40, never), FingerprintIndex::kNone);
  EXPECT_EQ(index.FindOrAdd(uint64_t{7} << 32, 41, never), FingerprintIndex::kNone);
  EXPECT_EQ(asked, 1);  // one candidate with the same fingerprint, refused
  const auto only_41 = [](FingerprintIndex::Id id) { return id == 41; };
  EXPECT_EQ(index.FindOrAdd(uint64_t{7} << 32, 99, only_41), 41u);
  EXPECT_EQ(index.FindOrAdd(uint64_t{8} << 32, 99, only_41), FingerprintIndex::kNone);
  EXPECT_EQ(index.size(), 3u);
  index.clear();
  EXPECT_EQ(index.size(), 0u);
  EXPECT_EQ(index.TableBytes(), 0u);

  // Sized for a million keys up front, it takes them without growing (and
  // so without holding two tables at once), at the size growth would reach.
  index.Reserve(1000000);
  const size_t reserved = index.TableBytes();
  for (FingerprintIndex::Id id = 0; id < 1000000; ++id)
    index.FindOrAdd(KeyHash::Fold(id, 0x9E3779B97F4A7C15), id, never);
  EXPECT_EQ(index.TableBytes(), reserved);
  FingerprintIndex grown;
  for (FingerprintIndex::Id id = 0; id < 1000000; ++id)
    grown.FindOrAdd(KeyHash::Fold(id, 0x9E3779B97F4A7C15), id, never);
  EXPECT_EQ(grown.TableBytes(), reserved);
}

// Positions and lines up to 48 bits come back whole, each half apart.
TEST(PackedPlace, KeepsPositionAndLineTo48Bits) {
  const int64_t top = (int64_t{1} << 48) - 1;
  const std::pair<int64_t, int64_t> cases[] = {
      {0, 0},   {1, 2},     {0xFFFFFFFF, 0x100000000}, {top, 1},
      {1, top}, {top, top}, {123456789, 9876543210}};
  for (const auto& [line, offset] : cases) {
    const PackedPlace p = PackedPlace::Of(line, offset);
    EXPECT_EQ(p.line(), line);
    EXPECT_EQ(p.offset(), offset);
  }
}

TEST(EarlierLines, FieldsOfALineReadAgainAreTheSplitsFields) {
  struct Case {
    std::string_view line;
    int field;
    std::string_view want;
  };
  const Case cases[] = {
      {"|0200|M1|N9|Marca|", 0, "0200"},
      {"|0200|M1|N9|Marca|", 2, "N9"},
      {"|0200|M1|N9|Marca|", 3, "Marca"},
      {"|0200|M1|N9|Marca|", 4, ""},  // no such field
      {"|0200|M1|N9|Marca", 3, ""},   // not closed by a pipe: not a field
      {"|0200|M1||Marca|", 2, ""},    // empty but present
      {"lixo|0200|M1|", 1, "M1"},     // the text before the first pipe is skipped
      {"sem barras", 0, ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(FieldOfLine(c.line, c.field), c.want) << c.line << " field " << c.field;
}

TEST(EarlierLines, LinesAreCutAsTheReaderCutsThem) {
  const std::string piece(kMaxLinePiece, 'x');
  struct Case {
    std::string bytes;
    std::string want;
  };
  const Case cases[] = {
      {"|0100|A|\r\n|0100|B|\r\n", "|0100|A|"},
      {"|0100|A|\n|0100|B|\r\n", "|0100|A|"},
      {"|0100|A|\r", "|0100|A|"},        // last line ended by a CR only
      {"|0100|A|", "|0100|A|"},          // last line with no end
      {"|01\r00|A|\r\n", "|01\r00|A|"},  // a CR inside stays
      {piece + "yy\r\n", piece},         // a longer line: its first piece
  };
  for (const Case& c : cases) EXPECT_EQ(CutLine(c.bytes), c.want);
}

TEST(EarlierLines, TheFileIsReadAgainAtAnyOffset) {
  test::TempDir dir;
  const std::string text = "|0000|x|\r\n|0200|M1|N9|\r\n|0200|M2|N9|\n";
  const std::string path = dir.Write("decl.txt", text);
  FileLines lines(path);
  std::string_view line;
  ASSERT_TRUE(lines.LineAt(10, &line));
  EXPECT_EQ(line, "|0200|M1|N9|");
  ASSERT_TRUE(lines.LineAt(24, &line));
  EXPECT_EQ(line, "|0200|M2|N9|");
  ASSERT_TRUE(lines.LineAt(0, &line));
  EXPECT_EQ(line, "|0000|x|");
  EXPECT_EQ(lines.reads(), 3);

  FileLines missing(dir.path() + "/nao-existe.txt");
  EXPECT_FALSE(missing.LineAt(0, &line));
}

// A record compared with one read again: equal fields, a field that differs
// or is missing, and a line that cannot be read, which the run must hear of.
TEST(EarlierLines, SameFieldsComparesTheRecordWithTheLineReadAgain) {
  test::RunFixture f;
  f.Split("|0200|M1|N9|Marca|");
  const int64_t first = f.run.ctx.offset;
  f.Split("|0200|M2|N9|Marca|");
  EXPECT_TRUE(f.run.SameFields(first, f.rec, {2, 3}));
  EXPECT_FALSE(f.run.SameFields(first, f.rec, {1, 2}));
  f.Split("|0200|M3|N9|");
  EXPECT_FALSE(f.run.SameFields(first, f.rec, {2, 3}));  // Marca missing here
  EXPECT_FALSE(f.run.earlier_failed);
  EXPECT_FALSE(f.run.SameFields(first + 1, f.rec, {2}));  // no line starts there
  EXPECT_TRUE(f.run.earlier_failed);
}

}  // namespace
}  // namespace volp
