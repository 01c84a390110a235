// Level, accepted shares, and the hold and circular-median smoothing of directions.
#include "analysis/period_trust.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

constexpr int kMaxSteadyingPeriods = 1000;

void RequireSteadying(const char* option, int value, int lowest) {
    if (value < lowest || value > kMaxSteadyingPeriods) {
        throw UsageError(std::string(option) + " must lie between " + std::to_string(lowest) + " and " +
                         std::to_string(kMaxSteadyingPeriods) + " periods, got " + std::to_string(value));
    }
}

}  // namespace

SteadyingOptions MakeSteadyingOptions(int hold_periods, int smooth_periods) {
    RequireSteadying("--hold", hold_periods, 0);
    RequireSteadying("--smooth", smooth_periods, 1);
    return {hold_periods, smooth_periods};
}

void PeriodTracker::AddFrame(const Block& block, const PairDelays& delays) {
    for (const int16_t sample : block) energy_ += double(sample) * sample;
    samples_ += static_cast<int64_t>(block.size());
    ++frames_;
    for (int p = 0; p < EZOSSL_PAIR_NUM; ++p) accepted_frames_[p] += delays[p] != EZOSSL_DELAY_REJECTED;
}

std::optional<int32_t> CircularMedian(const std::vector<int32_t>& directions) {
    std::optional<int32_t> best;
    double best_sum = std::numeric_limits<double>::infinity();
    for (auto candidate = directions.rbegin(); candidate != directions.rend(); ++candidate) {
        double sum = 0.0;
        for (const int32_t other : directions) sum += std::abs(CircularDifference(*candidate, other));
        if (sum < best_sum) {
            best_sum = sum;
            best = *candidate;
        }
    }
    return best;
}

PeriodTrust PeriodTracker::Close(const PeriodDirection& direction) {
    PeriodTrust trust;
    if (samples_ > 0 && energy_ > 0.0) {
        trust.level_dbfs = std::max(kSilenceDbfs, 10.0 * std::log10(energy_ / samples_) - 20.0 * std::log10(kSampleFullScale));
    }
    for (int p = 0; p < EZOSSL_PAIR_NUM; ++p) trust.accepted[p] = frames_ ? double(accepted_frames_[p]) / frames_ : 0.0;
    energy_ = 0.0;
    samples_ = 0;
    frames_ = 0;
    accepted_frames_ = {};

    recent_.push_back(direction.degrees);
    if (static_cast<int>(recent_.size()) > options_.smooth_periods) recent_.pop_front();
    if (direction.degrees) {
        // On a tie the newest direction wins, so the median follows the source rather than lags.
        std::vector<int32_t> window;
        for (const auto& recent : recent_) {
            if (recent) window.push_back(*recent);
        }
        trust.direction_deg = CircularMedian(window);
        last_ = trust.direction_deg;
        missing_ = 0;
    } else if (last_ && missing_ < options_.hold_periods) {
        trust.direction_deg = last_;
        trust.held = true;
        ++missing_;
    }
    return trust;
}

}  // namespace ezossl_tool
