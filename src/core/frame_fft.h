// Windowed one-sided spectra of the four channels' current frames.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// spectrum[c] = real FFT of the sine-windowed frame_buffer[c], for c = 0..3: the four
// channels go through the library's transform side by side, one per lane.
void Spectrum_Compute(Frames& frames, FftState& fft);

}  // namespace ezossl
