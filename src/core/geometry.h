// Array geometry builders: microphone coordinates, pair vectors, delay bounds, candidate delays.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// The per-pair tables a geometry builder rewrites besides the coordinates.
struct PairTables {
    int32_t* max_delay;                       // kPairNum bounds
    float (*candidate_delay)[kCandidateNum];  // kPairNum rows
};

// Uniform linear (geometry.array_geometry 0) or circular (1) array of size mic_distance. The
// linear array leaves the candidate delays as they were.
void Geometry_BuildUniform(const Settings& settings, float speed_of_sound, Geometry& geometry, PairTables tables);

// Four free positions x0, y0, ..., x3, y3 in cm: centred, converted to metres, and classified
// as linear or planar.
void Geometry_BuildArbitrary(const float* array_pos, const Settings& settings, float speed_of_sound,
                             Geometry& geometry, PairTables tables);

// relative_array_pos from mic_position, and each pair's unsigned max_delay.
void Geometry_SetPairs(const Settings& settings, float speed_of_sound, Geometry& geometry, int32_t* max_delay);

}  // namespace ezossl
