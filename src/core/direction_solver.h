// End of a voting period: level test, winning candidates, path differences and the angle.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// How a voting period ended.
enum class PeriodOutcome { kSolved, kSignalTooWeak, kNoWinner, kDelaysTooLarge };

// The whole period solve, in order: level test, winners, path differences, angle. The angle
// (degrees) is written only for kSolved.
PeriodOutcome Period_Solve(SslHandle* handle, float* angle);

// Replaces energy_sum by the period's mean level in dB; true when it is above the threshold.
bool Level_IsAboveThreshold(const Settings& settings, Activity& activity);

// Winner per pair (most votes, lowest bin on ties); 1 when no pair's winner is the rejected
// bin and every winner reaches its gate, else 0.
int Votes_FindWinners(const VotingState& voting, SolverState& solver);

// Mean winning delay of each pair in metres, with its limit and tolerance.
void Votes_ToPathDifference(float metres_per_sample, const int32_t* max_delay, const VotingState& voting,
                            SolverState& solver);

// Linear arrays: cosines of the usable pairs and their mean; planar: all pairs usable?
// 1 when a solution is possible.
int Pairs_ToCosines(const Geometry& geometry, SolverState& solver);

// The angle in degrees: -90..90 for a linear array, -90..270 for a planar one.
float Direction_Solve(const Geometry& geometry, SolverState& solver);

}  // namespace ezossl
