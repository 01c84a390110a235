// Circular errors against the truth track, and the summary printed after the results.
#include "analysis/accuracy.h"

#include <cmath>
#include <map>

#include "analysis/angles.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

std::string Percent(int part, int whole) {
    return whole == 0 ? "-" : FormatFixed(100.0 * part / whole, 1) + " %";
}

std::string StatusCounts(const Localization& localization) {
    std::map<std::string, int> counts;
    for (const PeriodResult& period : localization.periods) ++counts[StatusName(period.direction.status)];
    std::string text;
    for (const auto& [name, count] : counts) text += (text.empty() ? "" : ", ") + name + " " + std::to_string(count);
    return text;
}

}  // namespace

PeriodTruth CompareWithTruth(const PeriodResult& period, uint32_t sample_rate, const TruthTrack& truth,
                             bool linear) {
    const double azimuth = truth.AzimuthAt(period.MiddleSeconds(sample_rate));
    PeriodTruth result;
    result.truth_deg = linear ? FoldFrontBack(azimuth) : WrapAzimuth(azimuth);
    if (period.direction.degrees) result.error_deg = CircularDifference(*period.direction.degrees, result.truth_deg);
    return result;
}

AccuracySummary Summarize(const Localization& localization, const TruthTrack& truth, bool linear) {
    AccuracySummary summary;
    double error_sum = 0.0;
    for (const PeriodResult& period : localization.periods) {
        ++summary.periods;
        const PeriodTruth compared = CompareWithTruth(period, localization.sample_rate, truth, linear);
        if (!compared.error_deg) continue;
        const double error = std::abs(*compared.error_deg);
        ++summary.with_direction;
        error_sum += error;
        summary.within_close += error <= kCloseDeg;
        summary.within_candidate += error <= kCandidateSpacingDeg;
    }
    if (summary.with_direction > 0) summary.mean_abs_error_deg = error_sum / summary.with_direction;
    return summary;
}

std::vector<std::string> SummaryLines(const Localization& localization, const TruthTrack* truth, bool linear) {
    std::vector<std::string> lines;
    int with_direction = 0;
    for (const PeriodResult& period : localization.periods) with_direction += period.direction.degrees.has_value();
    const int periods = static_cast<int>(localization.periods.size());
    lines.push_back("periods: " + std::to_string(periods) + " of " + FormatFixed(localization.PeriodSeconds(), 3) +
                    " s, with a direction: " + std::to_string(with_direction) + " (" + Percent(with_direction, periods) +
                    "); " + StatusCounts(localization));
    if (truth) {
        const AccuracySummary s = Summarize(localization, *truth, linear);
        lines.push_back("accuracy of the periods with a direction: mean absolute error " +
                        FormatFixed(s.mean_abs_error_deg, 1) + " deg, within +-" + FormatNumber(kCloseDeg) +
                        " deg: " + Percent(s.within_close, s.with_direction) + ", within +-" +
                        FormatNumber(kCandidateSpacingDeg) + " deg: " + Percent(s.within_candidate, s.with_direction));
    }
    for (const std::string& note : InputNotes(localization)) lines.push_back(note);
    return lines;
}

}  // namespace ezossl_tool
