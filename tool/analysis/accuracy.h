// Comparing the library's directions with the truth: per-period errors and a summary.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "analysis/localizer.h"
#include "analysis/orientation.h"
#include "analysis/truth_track.h"

namespace ezossl_tool {

// Accuracy thresholds of the summary: a near miss, and the library's own candidate spacing.
constexpr double kCloseDeg = 10.0;
constexpr double kCandidateSpacingDeg = 22.5;

struct PeriodTruth {
    double truth_deg = 0.0;              // as the array can report it (folded for a line)
    std::optional<double> error_deg;     // estimate - truth, only with a direction
};

// One method's answer for a period: the specified library's (held or smoothed), or the SRP
// library's, in the user's frame and angles.
struct MethodAnswer {
    std::string status;             // "OK", "NO_DIRECTION", "SILENT", ...
    std::optional<double> degrees;  // only with a direction
};
MethodAnswer AnswerOf(const PeriodResult& period, const Orientation& orientation, bool srp = false);
// The library's own answer, neither held nor smoothed, in the library's frame.
MethodAnswer LibraryAnswerOf(const PeriodResult& period, bool srp);

// The methods a localisation shows, in the order they are shown: false specified, true SRP.
std::vector<bool> ShownMethods(Method method);

// The truth at the middle of the period, and the error of the method's direction if it has one.
PeriodTruth CompareWithTruth(const PeriodResult& period, uint32_t sample_rate, const TruthTrack& truth,
                             const Orientation& orientation, bool srp = false);

struct AccuracySummary {
    int periods = 0;
    int with_direction = 0;
    int within_close = 0;
    int within_candidate = 0;
    double mean_abs_error_deg = 0.0;
};

AccuracySummary Summarize(const Localization& localization, const TruthTrack& truth, const Orientation& orientation,
                          bool srp = false);

// Periods per status name of the specified method.
std::map<std::string, int> PeriodsPerStatus(const Localization& localization);

// Human-readable summary lines: counts per status, then accuracy when there is a truth; with
// both methods, each method's lines start with its name.
std::vector<std::string> SummaryLines(const Localization& localization, const TruthTrack* truth,
                                      const Orientation& orientation);

}  // namespace ezossl_tool
