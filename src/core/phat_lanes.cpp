// GCC-PHAT for three pairs at once: cross spectra, phase transform, inverse FFT, extremes, sums.
#include "phat_lanes.h"

#include <cmath>
#include <cstring>

#include "../common/simd4.h"
#include "gcc_phat_internal.h"

namespace ezossl {
namespace {

// Bins of one pair's spectrum, padded to a whole number of vectors.
constexpr int kPaddedBins = (kSpectrumBins + 3) / 4 * 4;
constexpr int kWeighedValues = kPairNum * kPaddedBins;

// Cross spectra of channel 0 with channels 1, 2 and 3, each bin divided by its magnitude (the
// square root and the division in double, as the one-pair code did). Pair by pair and bin by
// bin in plain arrays, so that every step is one long loop of independent values that
// vectorises as a whole; the padding bins are zero and never read.
struct WeighedSpectra {
    alignas(16) float re[kPairNum][kPaddedBins];
    alignas(16) float im[kPairNum][kPaddedBins];
};

void Weigh(const Frames& frames, WeighedSpectra* out) {
    const ComplexF* reference = frames.spectrum[0];
    for (int p = 0; p < kPairNum; ++p) {
        const ComplexF* other = frames.spectrum[p + 1];
        const auto cross = [&](int k) {
            const float a = reference[k].re, b = reference[k].im, c = other[k].re, d = other[k].im;
            out->re[p][k] = a * c + b * d;
            out->im[p][k] = b * c - a * d;
        };
        // The Nyquist bin on its own keeps the main loop a whole number of vectors long.
        for (int k = 0; k < kHalfFftSize; ++k) cross(k);
        cross(kHalfFftSize);
        for (int k = kSpectrumBins; k < kPaddedBins; ++k) out->re[p][k] = out->im[p][k] = 0.0f;
    }
    float* re = &out->re[0][0];
    float* im = &out->im[0][0];
    for (int v = 0; v < kWeighedValues; ++v) {
        const float magnitude = static_cast<float>(std::sqrt(static_cast<double>(re[v] * re[v] + im[v] * im[v])));
        const double weight = static_cast<double>(magnitude) + kPhatGuard;
        re[v] = static_cast<float>(static_cast<double>(re[v]) / weight);
        im[v] = static_cast<float>(static_cast<double>(im[v]) / weight);
    }
}


// Correlation index j of every lane, as Correlation_At reads it: pair m holds indices 2m, 2m + 1.
const FftLanes& CorrelationPair(const FftLanes* data, int m) { return data[(m + kHalfFftSize / 2) % kHalfFftSize]; }

}  // namespace

void PhatCorrelation_Compute(const Frames& frames, RealFftPlan* plan) {
    WeighedSpectra weighed;
    Weigh(frames, &weighed);
    // Four bins at a time from the pairs' rows into the lanes of their slots, lane 0 zero.
    static_assert(kPairNum == 3 && PairLane(0) == 1, "pairs in lanes 1 to 3");
    FftLanes* data = plan->data;
    const uint8_t* position = plan->position;
    for (int k = 0; k < kHalfFftSize; k += 4) {
        F4 re[4], im[4];
        Transpose(F4{}, Load(&weighed.re[0][k]), Load(&weighed.re[1][k]), Load(&weighed.re[2][k]), re);
        Transpose(F4{}, Load(&weighed.im[0][k]), Load(&weighed.im[1][k]), Load(&weighed.im[2][k]), im);
        for (int i = 0; i < 4; ++i) data[position[k + i]] = {re[i], im[i]};
    }
    // DC and Nyquist share a slot: only their real parts count.
    data[position[0]].im = F4{0.0f, weighed.re[0][kHalfFftSize], weighed.re[1][kHalfFftSize], weighed.re[2][kHalfFftSize]};
    RealFft_InverseTransform(plan);
}

// Two passes instead of one serial search: the extreme values first, four independent running
// maxima and minima per lane; then the first index holding each, in index order, stopping as
// soon as every lane has both. Equal values (both zeros included) count as the same, so the
// index found is the one a serial search with strict comparisons keeps, and the value reported
// is the one stored there, with its sign. The first pass also sums the values and their
// magnitudes, for the bounds on the lifted sum.
PairExtremes Correlation_Extremes(const RealFftPlan* plan) {
    const FftLanes* data = plan->data;
    const I4 magnitude_bits = I4{} + 0x7fffffff;  // all but the sign
    F4 high[2] = {data[0].re, data[0].im};
    F4 low[2] = {high[0], high[1]};
    F4 sum[2] = {}, magnitude_sum[2] = {};
    for (int n = 0; n < kHalfFftSize; ++n) {
        const F4 re = data[n].re, im = data[n].im;
        high[0] = Max(high[0], re), high[1] = Max(high[1], im);
        low[0] = Min(low[0], re), low[1] = Min(low[1], im);
        sum[0] += re, sum[1] += im;
        magnitude_sum[0] += reinterpret_cast<F4>(reinterpret_cast<I4>(re) & magnitude_bits);
        magnitude_sum[1] += reinterpret_cast<F4>(reinterpret_cast<I4>(im) & magnitude_bits);
    }
    const F4 max_value = Max(high[0], high[1]), min_value = Min(low[0], low[1]);

    PairExtremes extremes;
    I4 max_pending = I4{} == 0, min_pending = max_pending;
    for (int m = 0; m < kHalfFftSize && AnyLane(max_pending | min_pending); ++m) {
        const FftLanes& pair = CorrelationPair(data, m);
        const F4 re = pair.re, im = pair.im;
        const I4 max_hit = ((re == max_value) | (im == max_value)) & max_pending;
        const I4 min_hit = ((re == min_value) | (im == min_value)) & min_pending;
        if (!AnyLane(max_hit | min_hit)) continue;
        for (int l = 0; l < kFftLanes; ++l) {
            if (max_hit[l]) {
                const bool first = pair.re[l] == max_value[l];
                extremes.max_index[l] = first ? 2 * m : 2 * m + 1;
                extremes.max_value[l] = first ? pair.re[l] : pair.im[l];
            }
            if (min_hit[l]) {
                const bool first = pair.re[l] == min_value[l];
                extremes.min_index[l] = first ? 2 * m : 2 * m + 1;
                extremes.min_value[l] = first ? pair.re[l] : pair.im[l];
            }
        }
        max_pending &= ~max_hit;
        min_pending &= ~min_hit;
    }

    // The lifted sum adds the 256 rounded terms v - floor, all nonnegative, in index order.
    // Any order of summing n such terms lands within (n - 1) u (u = 2^-24) of their exact sum,
    // which lies within u of sum(v) - 256 floor; the sum of v computed here is within
    // (n - 1) u sum|v| of its exact value. The bounds are wider than all of that together by
    // a factor of five, and by the rounding of their own arithmetic.
    constexpr double kRelativeMargin = 1e-4;
    for (int l = 0; l < kFftLanes; ++l) {
        const double lifted = static_cast<double>(sum[0][l] + sum[1][l]) - kFrameLength * double{extremes.min_value[l]};
        const double spread = kRelativeMargin * (static_cast<double>(magnitude_sum[0][l] + magnitude_sum[1][l]) + std::fabs(lifted));
        extremes.lifted_sum_low[l] = lifted - spread > 0.0 ? static_cast<float>(lifted - spread) : 0.0f;
        extremes.lifted_sum_high[l] = static_cast<float>(lifted + spread);
    }
    return extremes;
}

void Correlation_ShiftedSums(const RealFftPlan* plan, const float floor[kFftLanes], float sum[kFftLanes]) {
    float total[kFftLanes] = {};
    for (int m = 0; m < kHalfFftSize; ++m) {
        const FftLanes& pair = plan->data[(m + kHalfFftSize / 2) % kHalfFftSize];
        for (int l = 0; l < kFftLanes; ++l) {
            total[l] += pair.re[l] - floor[l];
            total[l] += pair.im[l] - floor[l];
        }
    }
    for (int l = 0; l < kFftLanes; ++l) sum[l] = total[l];
}

}  // namespace ezossl
