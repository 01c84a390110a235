// Per-frame spectral front end: window, forward real FFT, unpack into the spectrum bins.
#include "frame_fft.h"

#include <cstring>

#include "../common/window_tables.h"

namespace ezossl {

void Spectrum_Compute(SslHandle* handle) {
    float* buffer = handle->fft_buffer;
    for (uint32_t c = 0; c < kMicNum; ++c) {
        std::memset(buffer, 0, sizeof(handle->fft_buffer));
        std::memcpy(buffer, handle->frame_buffer[c], sizeof(handle->frame_buffer[c]));
        FftWindow_Apply(buffer, kWindowIn);
        Qel_rdft(&handle->fft, kFftMaxSize, kFftForward, buffer, handle->fft_work[0], handle->fft_work[1]);
        for (int k = 0; k < kSpectrumBins; ++k) {
            handle->spectrum[c][k].re = buffer[2 * k];
            handle->spectrum[c][k].im = buffer[2 * k + 1];
        }
    }
}

}  // namespace ezossl
