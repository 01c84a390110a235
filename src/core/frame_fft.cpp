// Per-frame spectral front end: window, forward real FFT of the four channels at once, spectra.
#include "frame_fft.h"

#include "../common/real_fft.h"
#include "../common/window_tables.h"
#include "frame_activity.h"

namespace ezossl {
namespace {

// Samples t..t + 3 of every channel times the window values w, transposed: one lane per channel,
// samples t and t + 1 into the first slot (real and imaginary parts), t + 2 and t + 3 into the
// second. The products are the ones a per-channel windowing would form.
inline void LoadWindowedQuad(const Frames& frames, int t, F4 w, FftLanes* out) {
    F4 columns[4];
    Transpose(Load(frames.frame_buffer[0] + t) * w, Load(frames.frame_buffer[1] + t) * w,
              Load(frames.frame_buffer[2] + t) * w, Load(frames.frame_buffer[3] + t) * w, columns);
    out[0] = {columns[0], columns[1]};
    out[1] = {columns[2], columns[3]};
}

// Bin k of every channel, lane c, into channel c's spectrum.
inline void StoreBin(const FftLanes& bin, int k, Frames& frames) {
    static_assert(kMicNum == kFftLanes && sizeof(ComplexF) == 2 * sizeof(float), "one lane, one channel");
    const F4 low = __builtin_shufflevector(bin.re, bin.im, 0, 4, 1, 5);
    const F4 high = __builtin_shufflevector(bin.re, bin.im, 2, 6, 3, 7);
    StoreLow(low, &frames.spectrum[0][k].re);
    StoreHigh(low, &frames.spectrum[1][k].re);
    StoreLow(high, &frames.spectrum[2][k].re);
    StoreHigh(high, &frames.spectrum[3][k].re);
}

}  // namespace

void Spectrum_Compute(Frames& frames, FftState& fft, Activity& activity) {
    if (!fft.initialised || !fft.configuration) {
        FrameEnergy_Update(frames, activity);
        return;
    }
    auto* plan = static_cast<RealFftPlan*>(fft.configuration);
    // The window's half table read forwards up to the middle and backwards after it. The
    // frame energy's running sum, a chain of dependent additions, goes along: the windowing
    // fits in around it.
    const float* w = FftInWindow;
    float energy = 0.0f;
    const auto energy_of = [&](int t) {
        energy = FrameEnergy_AddFour(energy, Load(frames.frame_buffer[0] + t), Load(frames.frame_buffer[1] + t));
    };
    for (int t = 0; t < kFrameLength / 2; t += 4) {
        energy_of(t);
        LoadWindowedQuad(frames, t, Load(w + t), &plan->data[t / 2]);
    }
    for (int t = kFrameLength / 2; t < kFrameLength; t += 4) {
        energy_of(t);
        const F4 backwards = Load(w + kFrameLength - t - 3);
        LoadWindowedQuad(frames, t, __builtin_shufflevector(backwards, backwards, 3, 2, 1, 0), &plan->data[t / 2]);
    }
    FrameEnergy_Record(energy, activity);
    RealFft_ForwardTransform(plan);
    for (int k = 0; k <= kHalfFftSize / 2; ++k) {
        FftLanes bin, mirror;
        RealFft_SplitPair(plan, k, &bin, &mirror);
        StoreBin(bin, k, frames);
        if (k < kHalfFftSize / 2) StoreBin(mirror, kHalfFftSize - k, frames);  // bin 64 is its own mirror
    }
}

}  // namespace ezossl
