// Array geometry builders: microphone coordinates, pair vectors, delay bounds, candidate delays.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// Uniform linear (array_geometry 0) or circular (1) array of size mic_distance. The linear
// array leaves candidate_delay as it was.
void Geometry_BuildUniform(SslHandle* handle);

// Four free positions x0, y0, ..., x3, y3 in cm: centred, converted to metres, and classified
// as linear or planar.
void Geometry_BuildArbitrary(SslHandle* handle, const float* array_pos);

// relative_array_pos from mic_position, and each pair's unsigned max_delay.
void Geometry_SetPairs(SslHandle* handle);

}  // namespace ezossl
