// Voting period state: the per-bin vote gates and the reset that opens a new period.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// Minimum-vote factor per bin; bins 0 and 8 (end-fire) need half, bin 9 (rejected) is unused.
extern const int32_t Gate_Array[kVoteBins];

// vote_gate[k] = Gate_Array[k] * (direction_frame_num / 32), truncated toward zero.
void VoteGate_Update(int32_t direction_frame_num, SolverState& solver);

// Clears the votes, delay sums, energy and solver sums of the period (not the gates or mode).
void Voting_Reset(VotingState& voting, Activity& activity, SolverState& solver);

}  // namespace ezossl
