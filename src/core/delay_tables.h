// Delay search tables: per-pair delay bounds, candidate delays and the planar solver matrix.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// Speed of sound for a temperature read as unsigned (arithmetic in double, stored as float).
float SpeedOfSound(uint32_t temperature);

// Whole samples sound needs to cross a pair (t truncated toward zero), plus one.
int32_t DelayBound(float t);

// Init defaults for a linear array of spacing mic_distance: bounds, then candidate delays.
void MaxDelay_SetDefault(SslHandle* handle);
void CandidateDelay_SetDefault(SslHandle* handle);

}  // namespace ezossl
