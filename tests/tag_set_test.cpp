// The per-group duplicate set: tags (hashes) only propose a match, the key's
// bytes decide. Checked against an exact map on random keys, with the real
// hash and with hashes that make most or all keys collide.
#include "rules/tag_set.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace volp {
namespace {

// Every key gets the same tag: each lookup must be settled by the bytes.
struct OneTag {
  size_t operator()(std::string_view) const { return 42; }
};
// Tags by length only: equal-length keys collide, which keys of one shape
// (fixed-width NSU and authorisation codes) would do with a weak hash.
struct LengthTag {
  size_t operator()(std::string_view s) const { return s.size() * 0x9E3779B97F4A7C15ULL; }
};

struct Seen {
  int64_t line = 0;
};

// Random keys from a small alphabet, so that repeats, prefixes of one
// another and empty keys all occur; a reset now and then as a new group
// starts. Every answer must match the exact map's.
template <typename Hash>
void MatchesExactKeys(uint32_t seed) {
  std::mt19937 rng(seed);
  TagSet<Seen, Hash> tags;
  std::map<std::string, int64_t> exact;
  for (int64_t line = 1; line <= 20000; ++line) {
    if (rng() % 500 == 0) {
      tags.Reset();
      exact.clear();
    }
    std::string key(rng() % 5, ' ');
    for (char& c : key) c = "ab|0"[rng() % 4];
    const Seen* first = tags.FindOrInsert(key, Seen{line});
    const auto [it, inserted] = exact.emplace(key, line);
    ASSERT_EQ(first == nullptr, inserted) << "key [" << key << "] line " << line;
    if (first != nullptr) {
      ASSERT_EQ(first->line, it->second) << "key [" << key << "]";
    }
    ASSERT_EQ(tags.size(), exact.size());
  }
}

TEST(TagSet, RandomKeysAgreeWithExactKeys) {
  for (uint32_t seed = 1; seed <= 3; ++seed) {
    MatchesExactKeys<KeyHash>(seed);
    MatchesExactKeys<LengthTag>(seed);
    MatchesExactKeys<OneTag>(seed);
  }
}

// A group of a million keys, then a small one: the table and the key bytes
// go back to a small size, and the big group's keys are all forgotten.
TEST(TagSet, BigGroupThenSmallGroup) {
  TagSet<Seen> tags;
  for (int64_t i = 0; i < 1000000; ++i)
    ASSERT_EQ(tags.FindOrInsert("nsu" + std::to_string(i) + "|", Seen{i}), nullptr);
  const Seen* again = tags.FindOrInsert("nsu123456|", Seen{-1});
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->line, 123456);
  EXPECT_GE(tags.capacity(), 2000000u);

  tags.Reset();
  EXPECT_EQ(tags.size(), 0u);
  EXPECT_EQ(tags.FindOrInsert("nsu123456|", Seen{7}), nullptr);
  tags.Reset();
  EXPECT_LE(tags.capacity(), TagSet<Seen>::kInitialSlots);
}

// Many small groups: emptying must forget every key of the group before,
// also those that landed in slots a later group never touches.
TEST(TagSet, ResetForgetsEveryKey) {
  TagSet<Seen> tags;
  for (int group = 0; group < 1000; ++group) {
    for (int k = 0; k < 12; ++k) {
      const std::string key = std::to_string(k) + "|" + std::to_string(group % 3) + "|";
      ASSERT_EQ(tags.FindOrInsert(key, Seen{k}), nullptr) << group << " " << k;
    }
    tags.Reset();
  }
}

}  // namespace
}  // namespace volp
