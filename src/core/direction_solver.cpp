// Turns a period's votes into one direction, by weighted inverse cosine or planar projection.
#include "direction_solver.h"

#include <cmath>

#include "ssl_constants.h"

namespace ezossl {
namespace {

constexpr double kLevelFloor = 1e-9;  // keeps the level of silence finite (-90 dB)
constexpr int32_t kSlackSamples = 3;  // delays a little beyond the bound still count

enum PairStatus : int32_t { kWithinLimit = 0, kBeyondLimit = 1, kBeyondTolerance = 2 };

bool IsLinear(const SslHandle* handle) { return handle->array_geometry == 0; }

double ToDegrees(double radians) { return radians * 180.0 / kSslPi; }

float SolveLinear(SslHandle* handle) {
    // Each usable pair weighs the inverse of its distance to the mean cosine; a pair exactly at
    // the mean weighs 1.
    for (int p = 0; p < kPairNum; ++p) {
        if (handle->pair_valid[p] != 1) continue;
        const float deviation = handle->pair_cosine[p] - handle->cosine_mean;
        handle->cosine_weight[p] = deviation != 0.0f ? 1.0f / std::fabs(deviation) : 1.0f;
        handle->weight_sum += handle->cosine_weight[p];
    }
    // Unusable pairs add what they hold, which is 0 after a voting reset.
    for (int p = 0; p < kPairNum; ++p) {
        handle->weighted_cosine = handle->weighted_cosine +
                                  (handle->cosine_weight[p] * handle->pair_cosine[p]) / handle->weight_sum;
    }
    if (handle->weighted_cosine >= 1.0f) return -90.0f;
    if (handle->weighted_cosine <= -1.0f) return 90.0f;
    return static_cast<float>(ToDegrees(std::acos(static_cast<double>(handle->weighted_cosine)))) - 90.0f;
}

float SolvePlanar(SslHandle* handle) {
    for (int i = 0; i < 2; ++i) {
        handle->plane_vector[i] = 0.0f;
        for (int j = 0; j < kPairNum; ++j) {
            handle->plane_vector[i] = handle->plane_vector[i] + handle->plane_projection[i][j] * handle->path_difference[j];
        }
    }
    const double x = handle->plane_vector[0];
    const double y = handle->plane_vector[1];
    const auto turned = static_cast<float>(ToDegrees(std::atan2(y, x)) + 360.0);
    // +x gives -90, +y 0, -x 90, -y 180.
    return static_cast<float>(std::fmod(static_cast<double>(turned), 360.0) - 90.0);
}

}  // namespace

bool Level_IsAboveThreshold(SslHandle* handle) {
    // The voting length times 256 samples, formed as an unsigned shift so it cannot overflow.
    const uint32_t samples = static_cast<uint32_t>(handle->direction_frame_num) << 8;
    handle->energy_sum = handle->energy_sum / static_cast<float>(samples);
    handle->energy_sum = static_cast<float>(10.0 * std::log10(static_cast<double>(handle->energy_sum) + kLevelFloor));
    return handle->energy_sum > static_cast<float>(handle->level_threshold_db);
}

int Votes_FindWinners(SslHandle* handle) {
    for (int p = 0; p < kPairNum; ++p) {
        int32_t best = 0;
        handle->vote_winner[p] = 0;
        for (int k = 0; k < kVoteBins; ++k) {
            if (handle->vote_count[p][k] > best) {
                handle->vote_winner[p] = k;
                best = handle->vote_count[p][k];
            }
        }
    }
    for (int p = 0; p < kPairNum; ++p) {
        const int32_t winner = handle->vote_winner[p];
        if (winner == kRejectBin) return 0;
        if (handle->vote_count[p][winner] < handle->vote_gate[winner]) return 0;
    }
    return 1;
}

void Votes_ToPathDifference(SslHandle* handle) {
    const float metres_per_sample = handle->speed_of_sound / static_cast<float>(handle->sample_rate);
    for (int p = 0; p < kPairNum; ++p) {
        const int32_t winner = handle->vote_winner[p];
        handle->pair_valid[p] = 1;
        handle->pair_status[p] = kWithinLimit;
        handle->path_difference[p] = (metres_per_sample * handle->delay_sum[p][winner]) /
                                     static_cast<float>(handle->vote_count[p][winner]);
        handle->path_limit[p] = metres_per_sample * static_cast<float>(handle->max_delay[p]);
        handle->path_tolerance[p] = metres_per_sample * static_cast<float>(handle->max_delay[p] + kSlackSamples);

        const float difference = handle->path_difference[p];
        if (difference < -handle->path_tolerance[p] || difference > handle->path_tolerance[p]) {
            handle->pair_status[p] = kBeyondTolerance;
            handle->pair_valid[p] = 0;
        } else if (difference >= -handle->path_limit[p] && difference <= handle->path_limit[p]) {
            handle->pair_status[p] = kWithinLimit;
        } else {
            // A little beyond the physical limit is still used, unclipped.
            handle->pair_status[p] = kBeyondLimit;
        }
    }
}

int Pairs_ToCosines(SslHandle* handle) {
    if (!IsLinear(handle)) {
        for (int p = 0; p < kPairNum; ++p) {
            if (handle->pair_valid[p] != 1) return 0;
        }
        return 1;
    }
    int count = 0;
    for (int p = 0; p < kPairNum; ++p) {
        if (handle->pair_valid[p] != 1) continue;
        // Along the array axis only: the y component is not used.
        handle->pair_cosine[p] = handle->path_difference[p] / handle->relative_array_pos[p].x;
        handle->cosine_sum += handle->pair_cosine[p];
        ++count;
    }
    handle->cosine_mean = handle->cosine_sum / static_cast<float>(count);
    return count != 0 ? 1 : 0;
}

float Direction_Solve(SslHandle* handle) { return IsLinear(handle) ? SolveLinear(handle) : SolvePlanar(handle); }

}  // namespace ezossl
