// The order of records: one step per record of known type.
#pragma once

namespace volp {

struct Run;
struct Record;

// Decides whether the record may stand where it stands, closes the groups it
// ends, runs its validator and moves to the next state.
void StepStateMachine(Run& run, Record& rec);

}  // namespace volp
