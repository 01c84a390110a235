// Per-frame activity measures: zero-crossing rate and the energy behind the level test.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// Sign changes between neighbours (zeros never count) divided by n; result always 0.
int32_t ZeroCrossingRate(const float* x, int n, float* out);

// frame_energy = sum over the 256-sample frame of the mean square of channels 0 and 1;
// energy_sum accumulates it over the voting period.
void FrameEnergy_Update(const Frames& frames, Activity& activity);

}  // namespace ezossl
