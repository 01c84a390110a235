// Default delay bounds and candidate delays, built at Init from the linear-array spacing.
#include "delay_tables.h"

#include <cmath>

#include "../common/numeric.h"
#include "ssl_constants.h"

namespace ezossl {
namespace {

// Absurd geometries saturate the bound here, so the 3-sample margins added to it later
// stay representable.
constexpr int32_t kDelayBoundCeiling = INT32_MAX - 16;

}  // namespace

float SpeedOfSound(uint32_t temperature) {
    return static_cast<float>(static_cast<double>(temperature) * kSoundSpeedPerDegree +
                              kSoundSpeedAtZero);
}

int32_t DelayBound(float t) {
    const int32_t whole = TruncateToInt32(t);
    return (whole < kDelayBoundCeiling ? whole : kDelayBoundCeiling) + 1;
}

void MaxDelay_SetDefault(SslHandle* handle) {
    const auto fs = static_cast<float>(handle->sample_rate);
    for (int p = 1; p <= kPairNum; ++p) {
        const float t = static_cast<float>(p) * handle->mic_distance / handle->speed_of_sound * fs;
        handle->max_delay[p - 1] = DelayBound(t);
    }
}

void CandidateDelay_SetDefault(SslHandle* handle) {
    for (int q = 0; q < kPairNum; ++q) {
        const auto bound = static_cast<double>(static_cast<float>(handle->max_delay[q]));
        for (int k = 0; k < kCandidateNum; ++k) {
            const float fraction = static_cast<float>(k) / 8.0f;
            const auto theta = static_cast<float>(static_cast<double>(fraction) * kSslPi);
            handle->candidate_delay[q][k] = static_cast<float>(bound * std::cos(static_cast<double>(theta)));
        }
    }
}

}  // namespace ezossl
