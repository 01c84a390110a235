// Delay search tables: per-pair delay bounds, candidate delays and the planar solver matrix.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// Speed of sound for a temperature read as unsigned (arithmetic in double, stored as float).
float SpeedOfSound(uint32_t temperature);

// Whole samples sound needs to cross a pair (t truncated toward zero), plus one.
int32_t DelayBound(float t);

// Expected delay of a pair with this bound for a source at angle theta from the pair's axis:
// bound * cos(theta), the cosine and the product in double.
float CandidateDelayAt(int32_t bound, float theta);

// Init defaults for a linear array of spacing mic_distance: bounds, then candidate delays.
void MaxDelay_SetDefault(const Settings& settings, float speed_of_sound, int32_t* max_delay);
void CandidateDelay_SetDefault(const int32_t* max_delay, VotingState& voting);

// Least-squares matrix (R^T R)^-1 R^T of the pair vectors R, for planar arrays only; a linear
// array keeps whatever plane_projection held.
void Projection_Compute(Geometry& geometry);

}  // namespace ezossl
