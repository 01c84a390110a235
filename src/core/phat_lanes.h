// Phase-transform correlation of the three pairs at once, one pair per FFT lane.
#pragma once

#include <cstdint>

#include "../common/real_fft.h"
#include "ssl_handle.h"

namespace ezossl {

// Correlation index j holds lag j - 128; these describe one pair's correlation.
struct PairExtremes {
    int32_t max_index[kFftLanes];  // first maximum
    int32_t min_index[kFftLanes];  // first minimum
    float max_value[kFftLanes];
    float min_value[kFftLanes];
    // Bounds on Correlation_ShiftedSums with floor = min_value: enough to decide a threshold
    // test on it in all but the rarest frames, without its serial sum.
    float lifted_sum_low[kFftLanes];
    float lifted_sum_high[kFftLanes];
};

// Pair p (channel 0 with channel p + 1) works in lane p + 1; lane 0 is channel 0 with itself.
constexpr int PairLane(int pair) { return pair + 1; }

// From the four channels' spectra: in lane l the cross spectrum of channel 0 with channel l,
// each bin divided by its magnitude (+ 1e-9, the division in double), transformed back. Lane
// PairLane(p) of the plan then holds pair p's circular correlation (unscaled): see
// Correlation_At.
void PhatCorrelation_Compute(const Frames& frames, RealFftPlan* plan);

// Correlation of every lane at index j (lag j - 128) once PhatCorrelation_Compute has run.
inline const F4& Correlation_At(const RealFftPlan* plan, int j) {
    const FftLanes& pair = plan->data[((j + kHalfFftSize) & (kRealFftSize - 1)) / 2];
    return j % 2 ? pair.im : pair.re;
}

// First maximum and minimum of every lane's correlation (the lowest index among equal values),
// without a serial search, and the bounds on its lifted sum.
PairExtremes Correlation_Extremes(const RealFftPlan* plan);

// Per lane: the sum over j = 0..255, in that order, of correlation[j] - floor[lane], in float.
// The single-precision running sum has to keep its order to give the same mean every time.
void Correlation_ShiftedSums(const RealFftPlan* plan, const float floor[kFftLanes], float sum[kFftLanes]);

}  // namespace ezossl
