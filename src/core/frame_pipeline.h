// One block through the analysis: frames, activity, spectra and this block's delays.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// How a block's analysis ended.
enum class FrameOutcome { kDone, kModeNotIncluded };

// Appends the interleaved block to the frames (and to dump_block), updates the energy and
// writes delay_sample[0..2]: by squared difference in bf_mode 1, else by GCC-PHAT with votes.
// In ssl_mode 1 it stops after the spectra (frames and energy have advanced, nothing voted).
FrameOutcome Frame_Process(SslHandle* handle, const int16_t* microphone_input, int32_t* delay_sample);

}  // namespace ezossl
