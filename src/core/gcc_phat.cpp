// GCC-PHAT: correlations of the three pairs, then per pair the peak tests, vote and refinement.
#include "gcc_phat.h"

#include <cmath>

#include "dither_rng.h"
#include "gcc_phat_internal.h"
#include "phat_lanes.h"

namespace ezossl {
namespace {

constexpr float kNoCandidateYet = 1e9f;

// A peak further out than the pair's bound plus the margin cannot be a direct path.
bool PeakInRange(int32_t bound, int32_t lag) { return lag >= -kDelayMargin - bound && lag <= bound + kDelayMargin; }

// A correlation whose deepest trough is at least as strong as its peak (a flat one included)
// has no dominant path.
bool PeakDominates(float peak, float trough) {
    return std::fabs(static_cast<double>(peak)) - std::fabs(static_cast<double>(trough)) > 0.0;
}

// The peak lag refined by a parabola through the peak and its neighbours, on the correlation
// lifted to a zero minimum. The dithered gain stands where plain parabolic interpolation has
// 0.5; the correlation is circular, so the neighbours of the first and last lag wrap around.
void AddRefinedDelay(const RealFftPlan* plan, int lane, float floor, int max_index, int32_t lag, float gain,
                     float& sum) {
    const auto lifted = [&](int j) { return Correlation_At(plan, (j + kFrameLength) % kFrameLength)[lane] - floor; };
    const float y_minus = lifted(max_index - 1);
    const float y_zero = lifted(max_index);
    const float y_plus = lifted(max_index + 1);
    sum += static_cast<float>(lag);
    sum += ((y_plus - y_minus) * gain) / (2.0f * y_zero - y_plus - y_minus);
}

void CountVote(int32_t* counter) {
    if (*counter < INT32_MAX) ++*counter;
}

}  // namespace

// The three pairs go through the transforms together (pair p in FFT lane p + 1); the tests,
// the vote and the refinement then run pair by pair in order, as the dither draws require.
// The two frame powers that earlier code computed here are not: nothing ever read them.
void GccPhat_EstimateDelays(const Frames& frames, DelayLimits limits, FftState& fft, DitherRng& rng,
                            VotingState& voting, int32_t* delay_sample) {
    auto* plan = static_cast<RealFftPlan*>(fft.configuration);
    if (!fft.initialised || !plan) return;
    PhatCorrelation_Compute(frames, plan);
    const PairExtremes extremes = Correlation_Extremes(plan);

    int32_t lag[kPairNum];
    bool measured[kPairNum];
    float floor[kFftLanes] = {};
    for (int p = 0; p < kPairNum; ++p) {
        const int lane = PairLane(p);
        lag[p] = limits.lag_table[extremes.max_index[lane]];
        measured[p] = PeakInRange(limits.max_delay[p], lag[p]) &&
                      PeakDominates(extremes.max_value[lane], extremes.min_value[lane]);
        floor[lane] = extremes.min_value[lane];
    }
    // The peak-to-mean ratio of the correlation lifted to a zero minimum, tested against its
    // threshold. The lifted sum is a float running sum whose order fixes its last bits; a larger
    // sum can only lower the ratio, so when its bounds agree on the outcome the exact sum is not
    // needed, and it is summed in order only when they do not.
    float exact_sum[kFftLanes] = {};
    bool exact_summed = false;
    const auto below_threshold = [&](int lane, float lifted_sum) {
        const float mean = lifted_sum / static_cast<float>(kFrameLength);
        const double ratio = (extremes.max_value[lane] - floor[lane]) / mean;
        return ratio < kMinPeakToMean;
    };

    for (int p = 0; p < kPairNum; ++p) {
        const int lane = PairLane(p);
        bool rejected = !measured[p];
        if (measured[p]) {
            rejected = below_threshold(lane, extremes.lifted_sum_high[lane]);
            if (rejected != below_threshold(lane, extremes.lifted_sum_low[lane])) {
                if (!exact_summed) Correlation_ShiftedSums(plan, floor, exact_sum);
                exact_summed = true;
                rejected = below_threshold(lane, exact_sum[lane]);
            }
        } else {
            lag[p] = 0;
        }
        // The nearest candidate is looked up for every frame, rejected ones included.
        const int candidate = NearestCandidate(voting.candidate_delay[p], lag[p]);
        if (rejected) {
            CountVote(&voting.vote_count[p][kRejectBin]);
            delay_sample[p] = kDelayRejected;
            continue;
        }
        CountVote(&voting.vote_count[p][candidate]);
        AddRefinedDelay(plan, lane, floor[lane], extremes.max_index[lane], lag[p], DitherRng_Gain(&rng),
                        voting.delay_sum[p][candidate]);
        delay_sample[p] = lag[p];
    }
}

int NearestCandidate(const float* candidate_row, int32_t lag) {
    float best_distance = kNoCandidateYet;
    int best = 0;
    for (int k = 0; k < kCandidateNum; ++k) {
        const float distance = std::fabs(candidate_row[k] - static_cast<float>(lag));
        if (distance < best_distance) {
            best_distance = distance;
            best = k;
        }
    }
    return best;
}

}  // namespace ezossl
