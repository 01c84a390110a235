// GCC-PHAT for three pairs at once: cross spectra, phase transform, inverse FFT, extremes, sums.
#include "phat_lanes.h"

#include <cmath>
#include <limits>

#include "../common/simd4.h"
#include "gcc_phat_internal.h"

namespace ezossl {
namespace {

// Bins k..k + 3 of one channel's spectrum, real and imaginary parts apart.
struct FourBins {
    F4 re, im;
};

FourBins LoadFourBins(const ComplexF* spectrum, int k) {
    static_assert(sizeof(ComplexF) == 2 * sizeof(float), "re, im pairs");
    const F4 first = Load(&spectrum[k].re), second = Load(&spectrum[k + 2].re);
    return {__builtin_shufflevector(first, second, 0, 2, 4, 6), __builtin_shufflevector(first, second, 1, 3, 5, 7)};
}

// The cross spectrum of a reference bin with another: reference times the other's conjugate.
FourBins Cross(const FourBins& reference, const FourBins& other) {
    return {reference.re * other.re + reference.im * other.im, reference.im * other.re - reference.re * other.im};
}

// The phase transform: each bin divided by its magnitude plus a guard, the square root and the
// division in double as the one-pair code did. A float's square root taken in double and
// rounded back is the float square root (double keeps more than twice a float's precision).
FourBins PhaseWeighed(const FourBins& bins) {
    const F4 magnitude = Sqrt(bins.re * bins.re + bins.im * bins.im);
    const D2 low = WidenLow(magnitude) + kPhatGuard, high = WidenHigh(magnitude) + kPhatGuard;
    return {Narrow(WidenLow(bins.re) / low, WidenHigh(bins.re) / high),
            Narrow(WidenLow(bins.im) / low, WidenHigh(bins.im) / high)};
}

// Correlation index j of every lane, as Correlation_At reads it: pair m holds indices 2m, 2m + 1.
const FftLanes& CorrelationPair(const FftLanes* data, int m) { return data[(m + kHalfFftSize / 2) % kHalfFftSize]; }

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// The plain search, index by index with strict comparisons, for correlations holding an
// infinity or NaN (only a corrupted handle can give them), where the vector search's equal
// values need not exist. The lifted-sum bounds then leave the threshold test to the exact sum.
void SerialExtremes(const RealFftPlan* plan, PairExtremes* out) {
    for (int l = 0; l < kFftLanes; ++l) {
        const auto at = [&](int j) { return Correlation_At(plan, j)[l]; };
        int high = 0, low = 0;
        for (int j = 1; j < kRealFftSize; ++j) {
            if (at(j) > at(high)) high = j;
            if (at(j) < at(low)) low = j;
        }
        out->max_index[l] = high, out->max_value[l] = at(high);
        out->min_index[l] = low, out->min_value[l] = at(low);
        out->lifted_sum_low[l] = 0.0f;
        out->lifted_sum_high[l] = kInfinity;
    }
}

}  // namespace

// Four bins at a time, everything between the spectra and the inverse transform in one loop:
// the divisions keep the divider busy while the rest of the work fits in around them.
void PhatCorrelation_Compute(const Frames& frames, RealFftPlan* plan) {
    static_assert(kPairNum == 3 && PairLane(0) == 1, "pairs in lanes 1 to 3");
    FftLanes* data = plan->data;
    const uint8_t* position = plan->position;
    for (int k = 0; k < kHalfFftSize; k += 4) {
        const FourBins reference = LoadFourBins(frames.spectrum[0], k);
        FourBins pair[kPairNum];
        for (int p = 0; p < kPairNum; ++p) pair[p] = PhaseWeighed(Cross(reference, LoadFourBins(frames.spectrum[p + 1], k)));
        // Pair rows in, one slot per bin out, lane 0 zero.
        F4 re[4], im[4];
        Transpose(F4{}, pair[0].re, pair[1].re, pair[2].re, re);
        Transpose(F4{}, pair[0].im, pair[1].im, pair[2].im, im);
        for (int i = 0; i < 4; ++i) data[position[k + i]] = {re[i], im[i]};
    }
    // The Nyquist bin, one pair per lane, shares its slot with DC: only their real parts count.
    const auto nyquist = [&](int c) { return frames.spectrum[c][kHalfFftSize]; };
    const FourBins reference = {Splat(nyquist(0).re), Splat(nyquist(0).im)};
    const FourBins other = {F4{0.0f, nyquist(1).re, nyquist(2).re, nyquist(3).re},
                            F4{0.0f, nyquist(1).im, nyquist(2).im, nyquist(3).im}};
    data[position[0]].im = Select(I4{0, -1, -1, -1}, PhaseWeighed(Cross(reference, other)).re, F4{});
    RealFft_InverseTransform(plan);
}

// Two passes instead of one serial search: the extreme values first, with separate running
// maxima and minima for the even and odd indices; then the first index holding each, in index order, stopping as
// soon as every lane has both. Equal values (both zeros included) count as the same, so the
// index found is the one a serial search with strict comparisons keeps, and the value reported
// is the one stored there, with its sign. The first pass also sums the values, for the bounds
// on the lifted sum.
PairExtremes Correlation_Extremes(const RealFftPlan* plan) {
    const FftLanes* data = plan->data;
    F4 high[2] = {data[0].re, data[0].im};
    F4 low[2] = {high[0], high[1]};
    F4 sum[4] = {};  // four running sums, so that no addition waits for the one before
    for (int n = 0; n < kHalfFftSize; n += 2) {
        const FftLanes& a = data[n];
        const FftLanes& b = data[n + 1];
        high[0] = Max(Max(high[0], a.re), b.re), high[1] = Max(Max(high[1], a.im), b.im);
        low[0] = Min(Min(low[0], a.re), b.re), low[1] = Min(Min(low[1], a.im), b.im);
        sum[0] += a.re, sum[1] += a.im, sum[2] += b.re, sum[3] += b.im;
    }
    // An infinity or NaN anywhere makes the lane's sum one too (as does a sum that overflows):
    // x - x is then NaN instead of 0.
    const F4 total = (sum[0] + sum[1]) + (sum[2] + sum[3]);
    PairExtremes extremes;
    if (AnyLane((total - total) != 0.0f)) {
        SerialExtremes(plan, &extremes);
        return extremes;
    }
    const F4 max_value = Max(high[0], high[1]), min_value = Min(low[0], low[1]);
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
    // (n - 1) u sum|v| of its exact value, and sum|v| is at most 256 times the larger extreme.
    // The bounds are wider than all of that together by a factor of five, and by the rounding
    // of their own arithmetic; beyond the float range they are 0 and infinity, which leaves the
    // test to the exact sum.
    constexpr double kRelativeMargin = 1e-4;
    constexpr double kLargestFloat = std::numeric_limits<float>::max();
    for (int l = 0; l < kFftLanes; ++l) {
        const double floor = extremes.min_value[l];
        const double lifted = static_cast<double>(total[l]) - kFrameLength * floor;
        const double largest = std::fmax(std::fabs(floor), std::fabs(static_cast<double>(extremes.max_value[l])));
        const double spread = kRelativeMargin * (kFrameLength * largest + std::fabs(lifted));
        const double lowest = lifted - spread, highest = lifted + spread;
        const bool in_range = highest <= kLargestFloat;  // false for a sum that overflowed, too
        extremes.lifted_sum_low[l] = in_range && lowest > 0.0 ? static_cast<float>(lowest) : 0.0f;
        extremes.lifted_sum_high[l] = in_range ? static_cast<float>(highest) : kInfinity;
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
