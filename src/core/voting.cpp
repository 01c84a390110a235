// Vote gates derived from the voting length, and the voting reset.
#include "voting.h"

#include "../common/numeric.h"

namespace ezossl {

const int32_t Gate_Array[kVoteBins] = {2, 4, 4, 4, 4, 4, 4, 4, 2, 16};

void VoteGate_Update(int32_t direction_frame_num, SolverState& solver) {
    // The shift is an integer division taken first: 32..63 frames give factor 1, below 32 every
    // gate is 0.
    const auto periods = static_cast<float>(static_cast<uint32_t>(direction_frame_num >> 5));
    for (int k = 0; k < kVoteBins; ++k) {
        solver.vote_gate[k] = TruncateToInt32(static_cast<float>(Gate_Array[k]) * periods);
    }
}

void Voting_Reset(VotingState& voting, Activity& activity, SolverState& solver) {
    for (int p = 0; p < kPairNum; ++p) {
        solver.pair_cosine[p] = 0.0f;
        solver.cosine_weight[p] = 0.0f;
    }
    solver.plane_vector[0] = 0.0f;
    solver.plane_vector[1] = 0.0f;
    solver.cosine_sum = 0.0f;
    solver.cosine_mean = 0.0f;
    solver.weight_sum = 0.0f;
    solver.weighted_cosine = 0.0f;
    activity.frame_energy = 0.0f;
    activity.energy_sum = 0.0f;
    for (int p = 0; p < kPairNum; ++p) {
        for (int k = 0; k < kVoteBins; ++k) voting.vote_count[p][k] = 0;
        for (int k = 0; k < kCandidateNum; ++k) voting.delay_sum[p][k] = 0.0f;
    }
}

}  // namespace ezossl
