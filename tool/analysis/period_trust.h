// What the tool adds to each closed voting period: its level, the share of frames each pair
// accepted, and a direction steadied by holding and smoothing. One period at a time.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "analysis/ssl_session.h"

namespace ezossl_tool {

// Digital silence has no level in dB; it is reported as this.
constexpr double kSilenceDbfs = -120.0;

struct SteadyingOptions {
    int hold_periods = 0;     // keep the last direction through up to this many periods without one
    int smooth_periods = 1;   // circular median over this many periods (1: none)

    bool Steadies() const { return hold_periods > 0 || smooth_periods > 1; }
};

// Checks --hold and --smooth; throws UsageError.
SteadyingOptions MakeSteadyingOptions(int hold_periods, int smooth_periods);

struct PeriodTrust {
    double level_dbfs = kSilenceDbfs;                    // RMS of the four microphones
    std::array<double, EZOSSL_PAIR_NUM> accepted{};      // share of frames with a delay, per pair
    std::optional<int32_t> direction_deg;                // library frame, smoothed and held
    bool held = false;                                   // direction_deg kept from an earlier period
};

// The circular median: the direction closest, summed around the circle, to all the others; on
// equal sums the latest in the list wins. Empty for an empty list.
std::optional<int32_t> CircularMedian(const std::vector<int32_t>& directions);

class PeriodTracker {
  public:
    explicit PeriodTracker(const SteadyingOptions& options) : options_(options) {}
    // One frame as the library saw it (after any gain) and the delays it returned.
    void AddFrame(const Block& block, const PairDelays& delays);
    // Ends the period the library just closed with this answer.
    PeriodTrust Close(const PeriodDirection& direction);

  private:
    SteadyingOptions options_;
    double energy_ = 0.0;
    int64_t samples_ = 0;
    int frames_ = 0;
    std::array<int, EZOSSL_PAIR_NUM> accepted_frames_{};
    std::deque<std::optional<int32_t>> recent_;   // the library's directions, newest last
    std::optional<int32_t> last_;                 // the last direction reported, held or not
    int missing_ = 0;                             // periods since the last one with a direction
};

}  // namespace ezossl_tool
