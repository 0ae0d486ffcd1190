#include <gtest/gtest.h>

#include "core/record_types.hpp"

namespace volp {
namespace {

TEST(Tables, EveryRowCountMatchesItsFieldCount) {
  for (const RecordTypeDef& t : kRecordTypes) {
    for (int i = 0; i < t.field_count; ++i) EXPECT_EQ(t.fields[i].number, i) << t.code;
    EXPECT_EQ(t.fields[0].type, kNumerico) << t.code;
    EXPECT_EQ(t.fields[0].size, 4) << t.code;
    EXPECT_EQ(std::string("Tipo ") + t.code, t.fields[0].name);
  }
  EXPECT_EQ(FindRecordType("9999"), kR9999);
  EXPECT_EQ(FindRecordType("999"), -1);
}

}  // namespace
}  // namespace volp
