// The compact registries: texts stored behind their length, and the
// open-addressing table of ids, checked against a plain ordered map on random
// keys, with hashes made to collide on purpose.
#include "rules/registry.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "rules/block0.hpp"

namespace volp::test {
namespace {

TEST(TextRef, LengthsAcrossEveryPrefixWidth) {
  // 127/128 and 16383/16384 are where the length takes another byte.
  Arena arena(64);
  for (size_t n : {0u, 1u, 2u, 127u, 128u, 129u, 16383u, 16384u, 40000u}) {
    const std::string a(n, 'a'), b = "tail" + std::to_string(n);
    const TextRef ref = arena.Intern(a, {b, ""});
    EXPECT_EQ(ref.view(), a) << n;
    EXPECT_EQ(ref.Next().view(), b) << n;
    EXPECT_TRUE(ref.Next().Next().empty()) << n;
    EXPECT_EQ(TextRef::StoredSize(a), n + (n < 128 ? 1 : n < 16384 ? 2 : 3));
  }
  EXPECT_TRUE(TextRef().empty());
  EXPECT_EQ(TextRef().view(), "");
}

TEST(TextRef, TextsOfOneCallStayTogetherWhenTheChunkIsFull) {
  // A 16-byte chunk cannot hold the three texts after the first call: the
  // second call must start a new piece rather than split them.
  Arena arena(16);
  const TextRef first = arena.Intern("0123456789");
  const TextRef second = arena.Intern("ABCDEFGH", {"SP", "12345678901"});
  EXPECT_EQ(first.view(), "0123456789");
  EXPECT_EQ(second.view(), "ABCDEFGH");
  EXPECT_EQ(second.Next().view(), "SP");
  EXPECT_EQ(second.Next().Next().view(), "12345678901");
}

struct Item {
  TextRef code;
  int value = 0;
};

// Hashes that make the table's shortcuts useless: every key on the same tag
// and home slot; same tag, spread slots; same slot, spread tags.
struct ConstantHash {
  size_t operator()(std::string_view) const { return 0x1234567800000007ULL; }
};
struct TagOnlyHash {
  size_t operator()(std::string_view s) const {
    return 0xABCD000000000000ULL | (KeyHash()(s) & 0xFFFFFFFFULL);
  }
};
struct SlotOnlyHash {
  size_t operator()(std::string_view s) const { return KeyHash()(s) & ~0xFFFFFFFFULL; }
};

template <class Hash>
void AgainstOrderedMap(int keys, unsigned seed) {
  std::mt19937 rng(seed);
  Registry<Item, Hash> reg(256);
  std::map<std::string, int> model;
  std::map<std::string, Item*> where;
  // Short keys over a tiny alphabet repeat often and are prefixes of one
  // another; bytes above 0x7F and NUL test the unsigned byte order.
  const char alphabet[] = {'a', 'b', 'B', '\0', '\xE9', '|'};
  for (int i = 0; i < keys * 2; ++i) {
    std::string key;
    const int len = static_cast<int>(rng() % 12);
    for (int j = 0; j < len; ++j) key += alphabet[rng() % sizeof alphabet];
    if (rng() % 4 == 0) {
      // Probe without adding: an absent key must never be found.
      Item* found = reg.Find(key);
      auto it = model.find(key);
      ASSERT_EQ(found != nullptr, it != model.end()) << key;
      if (found) {
        EXPECT_EQ(found->value, it->second);
      }
      continue;
    }
    auto [item, added] = reg.Insert(key);
    const bool fresh = model.emplace(key, i).second;
    ASSERT_EQ(added, fresh) << key;
    if (added) {
      item->value = i;
      where[key] = item;
    }
    EXPECT_EQ(item->code.view(), key);
    EXPECT_EQ(item->value, model[key]);
  }
  ASSERT_EQ(reg.size(), model.size());
  // Entries never moved while the table grew.
  for (const auto& [key, item] : where) EXPECT_EQ(reg.Find(key), item) << key;
  // Key order is byte order (std::map of std::string compares the same way).
  std::vector<std::string> walked;
  for (Item* item : reg.InKeyOrder([](const Item&) { return true; }))
    walked.emplace_back(item->code.view());
  std::vector<std::string> expected;
  for (const auto& [key, value] : model) expected.push_back(key);
  EXPECT_EQ(walked, expected);
}

TEST(Registry, MatchesAnOrderedMap) { AgainstOrderedMap<KeyHash>(20000, 1); }
TEST(Registry, EveryKeyOnOneTagAndSlot) { AgainstOrderedMap<ConstantHash>(600, 2); }
TEST(Registry, EveryKeyOnOneTag) { AgainstOrderedMap<TagOnlyHash>(3000, 3); }
TEST(Registry, SlotsCollideTagsDiffer) { AgainstOrderedMap<SlotOnlyHash>(3000, 4); }

TEST(Registry, WalksPickedEntriesByKeyBytesAndInsertionOrder) {
  Registry<Item> reg;
  // Same first eight bytes, a shorter key that pads with zeros, Latin-1.
  const char* keys[] = {"ABCDEFGHz", "ABCDEFGHa", "ABCDEFGH", "ABCDEFG", "\xC9", "abc", ""};
  for (int i = 0; i < 7; ++i) reg.Insert(keys[i]).first->value = i;
  std::vector<int> order;
  reg.ForEach([&](Item& it) { order.push_back(it.value); });
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
  std::vector<std::string> sorted;
  for (Item* it : reg.InKeyOrder([](const Item& it) { return it.value != 5; }))
    sorted.emplace_back(it->code.view());
  EXPECT_EQ(sorted, (std::vector<std::string>{"", "ABCDEFG", "ABCDEFGH", "ABCDEFGHa", "ABCDEFGHz",
                                              "\xC9"}));
  reg.clear();
  EXPECT_EQ(reg.Find("abc"), nullptr);
  EXPECT_TRUE(reg.Insert("abc").second);
}

TEST(Registry, ClientTextsAndEntrySizes) {
  static_assert(sizeof(ClientEntry) <= 24);
  static_assert(sizeof(DeviceEntry) <= 24);
  static_assert(sizeof(PartnerEntry) <= 32);
  Registry<ClientEntry> clients;
  const struct {
    const char* code;
    const char* uf;
    const char* cpf;  // stored for a client identified by CPF only
  } cases[] = {{"C1", "SP", nullptr}, {"C2", "", "12345678909"}, {"C3", "RJ", "98765432100"}};
  for (const auto& c : cases) {
    ASSERT_TRUE(clients.Insert(c.code, {c.uf, c.cpf ? c.cpf : ""}).second);
  }
  for (const auto& c : cases) {
    const ClientEntry* e = clients.Find(c.code);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->uf(), c.uf);
    EXPECT_EQ(e->cpf(), c.cpf ? c.cpf : "");
  }
}

}  // namespace
}  // namespace volp::test
