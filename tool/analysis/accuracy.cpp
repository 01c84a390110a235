// Circular errors against the truth track, and the summary printed after the results.
#include "analysis/accuracy.h"

#include <cmath>
#include <map>

#include "analysis/angles.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

std::string Percent(int64_t part, int64_t whole) {
    return whole == 0 ? "-" : FormatFixed(100.0 * part / whole, 1) + " %";
}

std::string StatusCounts(const Localization& localization, bool srp) {
    const std::map<std::string, int64_t>& counts = localization.tallies[srp].status_counts;
    std::string text;
    for (const auto& [name, count] : counts) {
        text += (text.empty() ? "" : ", ") + name + " " + std::to_string(count);
    }
    return text;
}

}  // namespace

std::map<std::string, int> PeriodsPerStatus(const Localization& localization) {
    std::map<std::string, int> counts;
    for (const PeriodResult& period : localization.periods) ++counts[StatusName(period.direction.status)];
    return counts;
}

MethodAnswer AnswerOf(const PeriodResult& period, const Orientation& orientation, bool srp) {
    MethodAnswer answer = LibraryAnswerOf(period, srp);
    if (!srp) {
        // The steadied direction, which may be held while the library has none.
        const std::optional<int32_t>& steadied = period.trust.direction_deg;
        answer.degrees.reset();
        if (steadied) answer.degrees = orientation.Report(*steadied);
    } else if (answer.degrees) {
        answer.degrees = orientation.ReportExact(*answer.degrees);
    }
    return answer;
}

MethodAnswer LibraryAnswerOf(const PeriodResult& period, bool srp) {
    if (!srp) {
        MethodAnswer answer{StatusName(period.direction.status), std::nullopt};
        if (period.direction.degrees) answer.degrees = *period.direction.degrees;
        return answer;
    }
    if (!period.srp) return {"-", std::nullopt};
    return {SrpStatusName(period.srp->status), period.srp->degrees};
}

std::vector<bool> ShownMethods(Method method) {
    if (method == Method::kBoth) return {false, true};
    return {method == Method::kSrp};
}

PeriodTruth CompareWithTruth(const PeriodResult& period, uint32_t sample_rate, const TruthTrack& truth,
                             const Orientation& orientation, bool srp) {
    PeriodTruth result;
    result.truth_deg = orientation.ReportTruth(truth.AzimuthAt(period.MiddleSeconds(sample_rate)));
    const MethodAnswer answer = AnswerOf(period, orientation, srp);
    if (answer.degrees) result.error_deg = CircularDifference(*answer.degrees, result.truth_deg);
    return result;
}

AccuracySummary Summarize(const Localization& localization, const TruthTrack& truth, const Orientation& orientation,
                          bool srp) {
    AccuracySummary summary;
    double error_sum = 0.0;
    for (const PeriodResult& period : localization.periods) {
        ++summary.periods;
        const PeriodTruth compared = CompareWithTruth(period, localization.sample_rate, truth, orientation, srp);
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

namespace {

std::vector<std::string> MethodSummaryLines(const Localization& localization, const TruthTrack* truth,
                                            const Orientation& orientation, bool srp) {
    std::vector<std::string> lines;
    const int64_t with_direction = localization.tallies[srp].with_direction;
    const int64_t periods = localization.period_count;
    lines.push_back("periods: " + std::to_string(periods) + " of " + FormatFixed(localization.PeriodSeconds(), 3) +
                    " s, with a direction: " + std::to_string(with_direction) + " (" + Percent(with_direction, periods) +
                    "); " + StatusCounts(localization, srp));
    if (truth) {
        const AccuracySummary s = Summarize(localization, *truth, orientation, srp);
        lines.push_back("accuracy of the periods with a direction: mean absolute error " +
                        FormatFixed(s.mean_abs_error_deg, 1) + " deg, within +-" + FormatNumber(kCloseDeg) +
                        " deg: " + Percent(s.within_close, s.with_direction) + ", within +-" +
                        FormatNumber(kCandidateSpacingDeg) + " deg: " + Percent(s.within_candidate, s.with_direction));
    }
    return lines;
}

}  // namespace

std::vector<std::string> SummaryLines(const Localization& localization, const TruthTrack* truth,
                                      const Orientation& orientation) {
    std::vector<std::string> lines;
    const std::vector<bool> methods = ShownMethods(localization.method);
    for (const bool srp : methods) {
        const std::string prefix = methods.size() > 1 ? (srp ? "srp: " : "specified: ") : "";
        for (const std::string& line : MethodSummaryLines(localization, truth, orientation, srp)) {
            lines.push_back(prefix + line);
        }
    }
    if (localization.steadying.hold_periods > 0) {
        lines.push_back("held: " + std::to_string(localization.held_periods) + " periods without a direction kept the one before");
    }
    for (const std::string& note : InputNotes(localization)) lines.push_back(note);
    const std::string renumbering = orientation.RenumberingNote();
    if (!renumbering.empty()) lines.push_back(renumbering + "; directions are given in your frame");
    return lines;
}

}  // namespace ezossl_tool
