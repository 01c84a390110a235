// Per-frame spectral front end: window, forward real FFT of the four channels at once, spectra.
#include "frame_fft.h"

#include "../common/real_fft.h"
#include "../common/window_tables.h"

namespace ezossl {
namespace {

// Samples t and t + 1 of every channel times the window w0, w1: the products FftWindow_Apply
// forms, packed as one complex value per lane.
// One statement per channel: the compiler then builds each lane vector at once.
inline void LoadWindowedPair(const Frames& frames, int t, float w0, float w1, FftLanes* out) {
    const auto load = [&](int c) {
        out->re[c] = frames.frame_buffer[c][t] * w0;
        out->im[c] = frames.frame_buffer[c][t + 1] * w1;
    };
    static_assert(kMicNum == kFftLanes && kFftLanes == 4, "one statement per lane");
    load(0), load(1), load(2), load(3);
}

}  // namespace

void Spectrum_Compute(Frames& frames, FftState& fft) {
    if (!fft.initialised || !fft.configuration) return;
    auto* plan = static_cast<RealFftPlan*>(fft.configuration);
    // The window's half table read forwards up to the middle and backwards after it.
    const float* w = FftInWindow;
    for (int n = 0; n < kHalfFftSize / 2; ++n) LoadWindowedPair(frames, 2 * n, w[2 * n], w[2 * n + 1], &plan->data[n]);
    for (int n = kHalfFftSize / 2; n < kHalfFftSize; ++n) {
        LoadWindowedPair(frames, 2 * n, w[kFrameLength - 2 * n], w[kFrameLength - 2 * n - 1], &plan->data[n]);
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
