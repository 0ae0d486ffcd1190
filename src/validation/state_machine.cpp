// Placeholder until the structure machine arrives.
#include "validation/state_machine.hpp"

#include "validation/context.hpp"

namespace volp {

void StepStateMachine(Run&, Record&) {}

}  // namespace volp
