// One block into the open period: frame, window, spectra, weighted phase-transform cross-spectra.
#pragma once

#include <cstdint>

#include "srp_state.h"

namespace ezossl::srp {

// Appends the block (128 instants x 4 channels, interleaved) to each channel's frame and adds
// the frame's six cross-spectra, weighted by its band energy, to the period.
void Frame_Accumulate(SrpState* state, const int16_t* block);

// Clears the period's sums (cross-spectra, weights, level, block count).
void Period_Clear(SrpState* state);

}  // namespace ezossl::srp
