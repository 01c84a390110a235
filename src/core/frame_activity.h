// Per-frame activity measure: the energy behind the level test.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// frame_energy = sum over the 256-sample frame of the mean square of channels 0 and 1;
// energy_sum accumulates it over the voting period.
void FrameEnergy_Update(const Frames& frames, Activity& activity);

}  // namespace ezossl
