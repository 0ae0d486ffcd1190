// Block 9: the count of each record type (9900), with its two faults: a
// 9900 left out, and the last 9900 written after the 9990.
#include <cstdio>

#include "generator/writer.hpp"

namespace volpgen::detail {

void Gen::Block9() {
  Begin(T9001);
  Field("1");
  End();
  // Decide first which 9900 are left out, so that the 9900 of 9900 can
  // state how many there are.
  int present[kTypes];
  int n = 0;
  for (int t = 0; t < kTypes; ++t)
    if (sum_.per_type[t] > 0 || t == T9900 || t == T9990 || t == T9999) present[n++] = t;
  bool drop[kTypes] = {};
  int dropped_fault[kTypes];
  int64_t ln = line_ + 1;
  int written = 0;
  for (int i = 0; i < n; ++i) {
    const int f = Pick(cur_, Bit(kMissing9900), ln);
    if (f >= 0) {
      drop[present[i]] = true;
      dropped_fault[present[i]] = f;
    } else {
      ++ln;
      ++written;
    }
  }
  int last = -1;
  for (int i = 0; i < n; ++i)
    if (!drop[present[i]]) last = present[i];
  const int order = Pick(cur_, Bit(kOrder), ln - 1);
  auto write9900 = [&](int t) {
    Begin(T9900);
    Field(kCodes[t]);
    int64_t count = sum_.per_type[t];
    if (t == T9900) count = written;
    if (t == T9990 || t == T9999) count = 1;
    Num(count);
    End();
  };
  for (int i = 0; i < n; ++i) {
    const int t = present[i];
    if (drop[t] || (order >= 0 && t == last)) continue;
    write9900(t);
  }
  const int64_t block9 = block_[2] + (order >= 0 ? 1 : 0) + 2;  // with the 9990 and the 9999
  Begin(T9990);
  Num(block9);
  End();
  if (order >= 0) {
    write9900(last);
    ExpectOrder(order);
  }
  Begin(T9999);
  StatedCount("9999", kQtd9999, line_, "arquivo digital");
  End();
  Expect9900(drop, dropped_fault, order, last);
}

}  // namespace volpgen::detail
