// The state the rules keep between records, one object per group: block 0's
// registries (clients, devices, intermediaries), block 1's open groups and
// running sums, block 9's counts. Whoever sets up a run owns one of these and
// hands its parts to the `Run`.
#pragma once

#include "rules/block0.hpp"
#include "rules/block1.hpp"
#include "rules/block9.hpp"

namespace volp {

struct RuleStates {
  Block0State block0;
  Block1State block1;
  Block9State block9;
};

}  // namespace volp
