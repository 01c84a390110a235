// Turns a period's votes into one direction, by weighted inverse cosine or planar projection.
#include "direction_solver.h"

#include <cmath>

#include "ssl_constants.h"

namespace ezossl {
namespace {

constexpr double kLevelFloor = 1e-9;  // keeps the level of silence finite (-90 dB)

enum PairStatus : int32_t { kWithinLimit = 0, kBeyondLimit = 1, kBeyondTolerance = 2 };

bool IsLinear(const Geometry& geometry) { return geometry.array_geometry == 0; }

double ToDegrees(double radians) { return radians * 180.0 / kSslPi; }

float SolveLinear(SolverState& s) {
    // Each usable pair weighs the inverse of its distance to the mean cosine; a pair exactly at
    // the mean weighs 1.
    for (int p = 0; p < kPairNum; ++p) {
        if (s.pair_valid[p] != 1) continue;
        const float deviation = s.pair_cosine[p] - s.cosine_mean;
        s.cosine_weight[p] = deviation != 0.0f ? 1.0f / std::fabs(deviation) : 1.0f;
        s.weight_sum += s.cosine_weight[p];
    }
    // Unusable pairs add what they hold, which is 0 after a voting reset.
    for (int p = 0; p < kPairNum; ++p) {
        s.weighted_cosine = s.weighted_cosine + (s.cosine_weight[p] * s.pair_cosine[p]) / s.weight_sum;
    }
    if (s.weighted_cosine >= 1.0f) return -90.0f;
    if (s.weighted_cosine <= -1.0f) return 90.0f;
    return static_cast<float>(ToDegrees(std::acos(static_cast<double>(s.weighted_cosine)))) - 90.0f;
}

float SolvePlanar(const Geometry& geometry, SolverState& s) {
    for (int i = 0; i < 2; ++i) {
        s.plane_vector[i] = 0.0f;
        for (int j = 0; j < kPairNum; ++j) {
            s.plane_vector[i] = s.plane_vector[i] + geometry.plane_projection[i][j] * s.path_difference[j];
        }
    }
    const double x = s.plane_vector[0];
    const double y = s.plane_vector[1];
    const auto turned = static_cast<float>(ToDegrees(std::atan2(y, x)) + 360.0);
    // +x gives -90, +y 0, -x 90, -y 180.
    return static_cast<float>(std::fmod(static_cast<double>(turned), 360.0) - 90.0);
}

}  // namespace

PeriodOutcome Period_Solve(SslHandle* handle, float* angle) {
    if (!Level_IsAboveThreshold(handle->settings, handle->activity)) return PeriodOutcome::kSignalTooWeak;
    if (Votes_FindWinners(handle->voting, handle->solver) != 1) return PeriodOutcome::kNoWinner;
    const float metres_per_sample = handle->speed_of_sound / static_cast<float>(handle->settings.sample_rate);
    Votes_ToPathDifference(metres_per_sample, handle->max_delay, handle->voting, handle->solver);
    if (Pairs_ToCosines(handle->geometry, handle->solver) == 0) return PeriodOutcome::kDelaysTooLarge;
    *angle = Direction_Solve(handle->geometry, handle->solver);
    return PeriodOutcome::kSolved;
}

bool Level_IsAboveThreshold(const Settings& settings, Activity& activity) {
    // The voting length times 256 samples, formed as an unsigned shift so it cannot overflow.
    const uint32_t samples = static_cast<uint32_t>(settings.direction_frame_num) << 8;
    activity.energy_sum = activity.energy_sum / static_cast<float>(samples);
    activity.energy_sum = static_cast<float>(10.0 * std::log10(static_cast<double>(activity.energy_sum) + kLevelFloor));
    // Written as "not at or below" so that a NaN level (a voting length of 0) is not refused.
    return !(activity.energy_sum <= static_cast<float>(settings.level_threshold_db));
}

int Votes_FindWinners(const VotingState& voting, SolverState& solver) {
    for (int p = 0; p < kPairNum; ++p) {
        int32_t best = 0;
        solver.vote_winner[p] = 0;
        for (int k = 0; k < kVoteBins; ++k) {
            if (voting.vote_count[p][k] > best) {
                solver.vote_winner[p] = k;
                best = voting.vote_count[p][k];
            }
        }
    }
    for (int p = 0; p < kPairNum; ++p) {
        const int32_t winner = solver.vote_winner[p];
        if (winner == kRejectBin) return 0;
        if (voting.vote_count[p][winner] < solver.vote_gate[winner]) return 0;
    }
    return 1;
}

void Votes_ToPathDifference(float metres_per_sample, const int32_t* max_delay, const VotingState& voting,
                            SolverState& s) {
    for (int p = 0; p < kPairNum; ++p) {
        const int32_t winner = s.vote_winner[p];
        s.pair_valid[p] = 1;
        s.pair_status[p] = kWithinLimit;
        s.path_difference[p] =
            (metres_per_sample * voting.delay_sum[p][winner]) / static_cast<float>(voting.vote_count[p][winner]);
        s.path_limit[p] = metres_per_sample * static_cast<float>(max_delay[p]);
        s.path_tolerance[p] = metres_per_sample * static_cast<float>(max_delay[p] + kDelayMargin);

        const float difference = s.path_difference[p];
        if (difference < -s.path_tolerance[p] || difference > s.path_tolerance[p]) {
            s.pair_status[p] = kBeyondTolerance;
            s.pair_valid[p] = 0;
        } else if (difference >= -s.path_limit[p] && difference <= s.path_limit[p]) {
            s.pair_status[p] = kWithinLimit;
        } else {
            // A little beyond the physical limit is still used, unclipped.
            s.pair_status[p] = kBeyondLimit;
        }
    }
}

int Pairs_ToCosines(const Geometry& geometry, SolverState& s) {
    if (!IsLinear(geometry)) {
        for (int p = 0; p < kPairNum; ++p) {
            if (s.pair_valid[p] != 1) return 0;
        }
        return 1;
    }
    int count = 0;
    for (int p = 0; p < kPairNum; ++p) {
        if (s.pair_valid[p] != 1) continue;
        // Along the array axis only: the y component is not used.
        s.pair_cosine[p] = s.path_difference[p] / geometry.relative_array_pos[p].x;
        s.cosine_sum += s.pair_cosine[p];
        ++count;
    }
    s.cosine_mean = s.cosine_sum / static_cast<float>(count);
    return count != 0 ? 1 : 0;
}

float Direction_Solve(const Geometry& geometry, SolverState& solver) {
    return IsLinear(geometry) ? SolveLinear(solver) : SolvePlanar(geometry, solver);
}

}  // namespace ezossl
