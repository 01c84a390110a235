// The library's own 256-point real FFT: four transforms side by side, tables in the caller's buffer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ezossl {

constexpr int kRealFftSize = 256;
constexpr int kRealFftBins = kRealFftSize / 2 + 1;  // one-sided spectrum, DC to Nyquist
constexpr int kHalfFftSize = kRealFftSize / 2;      // the complex transform inside
constexpr int kFftLanes = 4;                        // transforms computed together

// One complex value of each of the four transforms. The lanes are the vector width: every
// butterfly is one vector operation on SSE2 and NEON (four scalar ones elsewhere), and each
// lane goes through exactly the operations a transform of its own would, so the lanes never
// affect each other's rounding.
struct FftLanes {
    float re[kFftLanes];
    float im[kFftLanes];
};

// Twiddles of the three radix-4 passes (blocks of 128, 32 and 8 points): per butterfly p of a
// block of L points, w^p, w^2p and w^3p with w = exp(-2 pi i / L), as re, im.
constexpr int kStageTwiddleFloats = 6 * (32 + 8 + 2);

struct RealFftPlan {
    // Working data: the packed input, then the half-length spectrum in digit-reversed order.
    // One entry more than the complex transform needs, so an inverse takes its Nyquist bin here.
    FftLanes data[kRealFftBins];
    float stage_twiddles[kStageTwiddleFloats];
    float split_twiddles[kHalfFftSize / 2 + 1][2];  // exp(-2 pi i k / 256), k = 0..64
    uint8_t position[kHalfFftSize];                 // where the transform leaves bin k
};

// Builds the plan at the first 16-byte boundary of region; null when it does not fit.
RealFftPlan* RealFft_Build(void* region, size_t bytes);

// Forward: the caller stores lane l's 256 reals x as data[n].re[l] = x[2n], data[n].im[l] =
// x[2n + 1] (n < 128); out[l], when not null, receives 129 bins as re, im pairs (bin 0 first,
// imaginary parts of DC and Nyquist 0): X[k] = sum x[t] exp(-2 pi i k t / 256).
void RealFft_Forward(RealFftPlan* plan, float* const out[kFftLanes]);

// Inverse: the caller stores lane l's 129 bins in data[k] (k <= 128; the imaginary parts of
// DC and Nyquist are ignored). Afterwards RealFft_Output(plan, n) holds samples 2n and 2n + 1
// of every lane as re and im, unscaled: 256 times the signal whose spectrum was given.
void RealFft_Inverse(RealFftPlan* plan);

inline const FftLanes& RealFft_Output(const RealFftPlan* plan, int n) { return plan->data[plan->position[n]]; }

}  // namespace ezossl
