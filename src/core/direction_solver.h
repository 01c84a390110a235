// End of a voting period: level test, winning candidates, path differences and the angle.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// Replaces energy_sum by the period's mean level in dB; true when it is above the threshold.
bool Level_IsAboveThreshold(SslHandle* handle);

// Winner per pair (most votes, lowest bin on ties); 1 when no pair's winner is the rejected
// bin and every winner reaches its gate, else 0.
int Votes_FindWinners(SslHandle* handle);

// Mean winning delay of each pair in metres, with its limit and tolerance.
void Votes_ToPathDifference(SslHandle* handle);

// Linear arrays: cosines of the usable pairs and their mean; planar: all pairs usable?
// 1 when a solution is possible.
int Pairs_ToCosines(SslHandle* handle);

// The angle in degrees: -90..90 for a linear array, -90..270 for a planar one.
float Direction_Solve(SslHandle* handle);

}  // namespace ezossl
