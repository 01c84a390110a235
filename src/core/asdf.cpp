// Squared-difference delay search over lags -bound..bound-1 of the newest 128-sample blocks.
#include "asdf.h"

#include <algorithm>
#include <cstring>

#include "../common/vector_ops.h"

namespace ezossl {
namespace {

// Mean of (a[i] - b[i + lag])^2, or of (a[i + lag] - b[i])^2, over the 128 - lag overlapping samples.
float MeanSquaredDifference(const float* a, const float* b, int lag, bool lag_on_b) {
    float sum = 0.0f;
    for (int i = 0; i < kBlockLength - lag; ++i) {
        const float difference = lag_on_b ? a[i] - b[i + lag] : a[i + lag] - b[i];
        sum += difference * difference;
    }
    return sum / static_cast<float>(kBlockLength - lag);
}

}  // namespace

void Asdf_EstimateDelays(AsdfState& asdf, const int32_t* max_delay, int32_t* delay_sample) {
    const float* x = asdf.reference_block;
    for (int p = 0; p < kPairNum; ++p) {
        const float* y = asdf.compare_block[p];
        // Bounds above 14 would write past the 30 scores: the search is clamped to +-14 lags,
        // which still covers a 30 cm pair at 16 kHz. Negative bounds (a microphone left of
        // microphone 0) search nothing and are clamped alike so that 2 * bound + 1 stays small.
        const int32_t bound = std::clamp(max_delay[p], -kAsdfMaxBound, kAsdfMaxBound);
        float* score = asdf.score;
        std::memset(score, 0, sizeof(asdf.score));
        int j = 0;
        for (int lag = bound; lag >= 2; --lag) score[j++] = MeanSquaredDifference(x, y, lag, true);
        for (int lag = 0; lag < bound; ++lag) score[j++] = MeanSquaredDifference(x, y, lag, false);
        // 2 * bound - 1 scores were filled but 2 * bound + 1 are searched: the last two are the
        // zeros left by the clearing, so unless a score is exactly 0 the result is bound - 1.
        delay_sample[p] = ArgMin(score, 2 * bound + 1) - bound;
    }
}

}  // namespace ezossl
