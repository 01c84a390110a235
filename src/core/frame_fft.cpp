// Per-frame spectral front end: window, forward real FFT of the four channels at once, spectra.
#include "frame_fft.h"

#include "../common/real_fft.h"
#include "../common/window_tables.h"

namespace ezossl {
namespace {

// Sample t of every channel times the window, read from its half table forwards up to the
// middle and backwards after it (the products FftWindow_Apply forms).
inline void LoadWindowed(const Frames& frames, const float* half_window, int t, float* out) {
    const float w = t <= kFrameLength / 2 ? half_window[t] : half_window[kFrameLength - t];
    for (uint32_t c = 0; c < kMicNum; ++c) out[c] = frames.frame_buffer[c][t] * w;
}

}  // namespace

void Spectrum_Compute(Frames& frames, FftState& fft) {
    if (!fft.initialised || !fft.configuration) return;
    auto* plan = static_cast<RealFftPlan*>(fft.configuration);
    for (int n = 0; n < kHalfFftSize; ++n) {
        LoadWindowed(frames, FftInWindow, 2 * n, plan->data[n].re);
        LoadWindowed(frames, FftInWindow, 2 * n + 1, plan->data[n].im);
    }
    RealFft_ForwardTransform(plan);
    for (int k = 0; k <= kHalfFftSize / 2; ++k) {
        FftLanes bin, mirror;
        RealFft_SplitPair(plan, k, &bin, &mirror);
        for (uint32_t c = 0; c < kMicNum; ++c) frames.spectrum[c][k] = {bin.re[c], bin.im[c]};
        if (k == kHalfFftSize / 2) break;  // bin 64 is its own mirror
        for (uint32_t c = 0; c < kMicNum; ++c) frames.spectrum[c][kHalfFftSize - k] = {mirror.re[c], mirror.im[c]};
    }
}

}  // namespace ezossl
