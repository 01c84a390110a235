// Windowed one-sided spectra of the four channels' current frames.
#pragma once

#include "ssl_handle.h"

namespace ezossl {

// spectrum[c] = real FFT of the sine-windowed frame_buffer[c], for c = 0..3.
void Spectrum_Compute(Frames& frames, CorrelationWork& work, FftState& fft);

}  // namespace ezossl
