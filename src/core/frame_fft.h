// Windowed one-sided spectra of the four channels' current frames.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// spectrum[c] = real FFT of the sine-windowed frame_buffer[c], for c = 0..3: the four
// channels go through the library's transform side by side, one per lane.
// The frame energy of channels 0 and 1 (see FrameEnergy_Update) is summed in the same pass over
// the samples and recorded in activity, with or without a transform.
void Spectrum_Compute(Frames& frames, FftState& fft, Activity& activity);

}  // namespace ezossl
