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

F4 Load(const F4& v) { return v; }

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
// is the one stored there, with its sign.
PairExtremes Correlation_Extremes(const RealFftPlan* plan) {
    const FftLanes* data = plan->data;
    F4 high[2] = {Load(data[0].re), Load(data[0].im)};
    F4 low[2] = {high[0], high[1]};
    for (int n = 1; n < kHalfFftSize; ++n) {
        const F4 re = Load(data[n].re), im = Load(data[n].im);
        high[0] = Max(high[0], re), high[1] = Max(high[1], im);
        low[0] = Min(low[0], re), low[1] = Min(low[1], im);
    }
    const F4 max_value = Max(high[0], high[1]), min_value = Min(low[0], low[1]);

    PairExtremes extremes;
    I4 max_pending = I4{} == 0, min_pending = max_pending;
    for (int m = 0; m < kHalfFftSize && AnyLane(max_pending | min_pending); ++m) {
        const FftLanes& pair = CorrelationPair(data, m);
        const F4 re = Load(pair.re), im = Load(pair.im);
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
    return extremes;
}

// Sum of nonnegative terms: in any order the result lies within 255 u (u = 2^-24) of the exact
// sum of the rounded terms, so the serial sum is within 2 * 255 u of this one; the bounds are
// widened by far more than that, and by the rounding of their own products.
void Correlation_LiftedSumBounds(const RealFftPlan* plan, const float floor[kFftLanes], float low[kFftLanes],
                                 float high[kFftLanes]) {
    const F4 lift = Load(floor);
    F4 total[4] = {};
    for (int n = 0; n < kHalfFftSize; n += 2) {
        total[0] += Load(plan->data[n].re) - lift;
        total[1] += Load(plan->data[n].im) - lift;
        total[2] += Load(plan->data[n + 1].re) - lift;
        total[3] += Load(plan->data[n + 1].im) - lift;
    }
    const F4 sum = (total[0] + total[1]) + (total[2] + total[3]);
    constexpr double kMargin = 1e-4;
    for (int l = 0; l < kFftLanes; ++l) {
        low[l] = static_cast<float>(static_cast<double>(sum[l]) * (1.0 - kMargin));
        high[l] = static_cast<float>(static_cast<double>(sum[l]) * (1.0 + kMargin));
    }
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
