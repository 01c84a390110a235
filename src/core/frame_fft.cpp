// Per-frame spectral front end: window, forward real FFT, unpack into the spectrum bins.
#include "frame_fft.h"

#include <cstring>

#include "../common/window_tables.h"

namespace ezossl {

void Spectrum_Compute(Frames& frames, CorrelationWork& work, FftState& fft) {
    float* buffer = work.fft_buffer;
    for (uint32_t c = 0; c < kMicNum; ++c) {
        std::memset(buffer, 0, sizeof(work.fft_buffer));
        std::memcpy(buffer, frames.frame_buffer[c], sizeof(frames.frame_buffer[c]));
        FftWindow_Apply(buffer, kWindowIn);
        Qel_rdft(&fft, kFftMaxSize, kFftForward, buffer, work.fft_work[0], work.fft_work[1]);
        for (int k = 0; k < kSpectrumBins; ++k) {
            frames.spectrum[c][k].re = buffer[2 * k];
            frames.spectrum[c][k].im = buffer[2 * k + 1];
        }
    }
}

}  // namespace ezossl
