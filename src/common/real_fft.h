// The library's own 256-point real FFT: four transforms side by side, tables in the caller's buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fft_lanes.h"

namespace ezossl {

constexpr int kRealFftSize = 256;
constexpr int kRealFftBins = kRealFftSize / 2 + 1;  // one-sided spectrum, DC to Nyquist
constexpr int kHalfFftSize = kRealFftSize / 2;      // the complex transform inside
// Twiddles of the three radix-4 passes (blocks of 128, 32 and 8 points): per butterfly p of a
// block of L points, w^p, w^2p and w^3p with w = exp(-2 pi i / L), as re, im.
constexpr int kStageTwiddleFloats = 6 * (32 + 8 + 2);

struct RealFftPlan {
    // Working data: the packed input, then the half-length spectrum in digit-reversed order;
    // for the inverse the other way round.
    FftLanes data[kHalfFftSize];
    float stage_twiddles[kStageTwiddleFloats];
    float split_twiddles[kHalfFftSize / 2 + 1][2];  // exp(-2 pi i k / 256), k = 0..64
    uint8_t position[kHalfFftSize];                 // where the transform leaves bin k
    // The last radix-4 pass's twiddles, those of its butterfly p = 1 (for p = 0 they are 1),
    // which every block of 8 points shares, in every lane.
    alignas(16) FftLanes last_pass_twiddles[3];
};

// Builds the plan at the first 16-byte boundary of region; null when it does not fit.
RealFftPlan* RealFft_Build(void* region, size_t bytes);

// Forward: the caller stores lane l's 256 reals x as data[n].re[l] = x[2n], data[n].im[l] =
// x[2n + 1] (n < 128); out[l], when not null, receives 129 bins as re, im pairs (bin 0 first,
// imaginary parts of DC and Nyquist 0): X[k] = sum x[t] exp(-2 pi i k t / 256).
void RealFft_Forward(RealFftPlan* plan, float* const out[kFftLanes]);

// The same in two steps, for callers that use the bins on the fly: the transform, then the
// bins k and 128 - k of every lane (k = 0..64; for k = 0 the second is the Nyquist bin, for
// k = 64 both are bin 64). With z = even + i odd samples and Z its transform:
// E = (Z[k] + conj Z[128-k]) / 2, O = -i (Z[k] - conj Z[128-k]) / 2, P = w^k O;
// X[k] = E + P and X[128-k] = conj(E - P).
void RealFft_ForwardTransform(RealFftPlan* plan);
[[gnu::always_inline]] inline void RealFft_SplitPair(const RealFftPlan* plan, int k, FftLanes* bin, FftLanes* mirror) {
    const FftLanes* data = plan->data;
    const uint8_t* position = plan->position;
    if (k == 0) {
        const FftLanes z = data[position[0]];
        *bin = {z.re + z.im, F4{}};
        *mirror = {z.re - z.im, F4{}};
        return;
    }
    const FftLanes a = data[position[k]];
    const FftLanes b = Conjugate(data[position[kHalfFftSize - k]]);
    const FftLanes even = Scale(Add(a, b), 0.5f);
    const FftLanes odd = Scale(AddRotated<false>(FftLanes{}, Sub(a, b)), 0.5f);
    const FftLanes rotated = Twiddle<false>(odd, plan->split_twiddles[k]);
    *bin = Add(even, rotated);
    *mirror = Conjugate(Sub(even, rotated));
}

// Inverse: the caller stores bin k of every lane where the forward transform leaves it,
// data[position[k]] for k = 1..127, and the real parts of DC and Nyquist (the imaginary parts
// are ignored) as data[position[0]].re and .im. The transform then runs in place; afterwards
// data[n] holds samples 2n and 2n + 1 of every lane as re and im, unscaled: 256 times the
// signal with the given spectrum. Internally the forward split runs backwards, without its
// halves: with F = X[k] + conj X[128-k] and G = w^-k (X[k] - conj X[128-k]), the complex
// transform's input is Z[k] = F + i G and Z[128-k] = conj(F - i G).
void RealFft_InverseTransform(RealFftPlan* plan);

}  // namespace ezossl
