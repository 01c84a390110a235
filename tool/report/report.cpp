// Result rows for periods and frames, and the report's destination.
#include "report/report.h"

#include <cmath>

#include "analysis/accuracy.h"
#include "io/console.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

// Periods last a quarter second or so; frames only 2.7 ms at 48 kHz and need finer times.
constexpr int kPeriodSecondsDecimals = 3;
constexpr int kFrameSecondsDecimals = 5;
constexpr int kErrorDecimals = 1;
// Table widths that hold hours of input: 9999.999 s of periods, ten million frames.
constexpr size_t kPeriodSecondsWidth = 8;
constexpr size_t kFrameIndexWidth = 7;
constexpr size_t kFrameSecondsWidth = 10;
constexpr int kSrpDegreesDecimals = 1;  // the SRP refines its peak between the 1 degree steps
constexpr int kConfidenceDecimals = 2;
constexpr int kLevelDecimals = 1;
constexpr int kShareDecimals = 2;

Cell Seconds(double seconds, int decimals) { return Cell::Number(FormatFixed(seconds, decimals)); }

Cell Integer(long value) { return Cell::Number(std::to_string(value)); }

std::vector<Column> PeriodColumns(const PeriodRows::Extras& extras) {
    // The longest status a period can end with.
    const size_t status_width = StatusName(SSL_RET_SIGNAL_TOO_WEAK).size();
    const std::vector<bool> methods = ShownMethods(extras.method);
    const bool both = methods.size() > 1;
    std::vector<Column> columns = {{"start_s", kPeriodSecondsWidth}};
    for (const bool srp : methods) {
        const std::string prefix = both && srp ? "srp_" : "";
        columns.insert(columns.end(), {{prefix + "status", status_width, true}, {prefix + "direction_deg"}});
        if (srp) columns.insert(columns.end(), {{prefix + "confidence"}, {prefix + "level_dbfs"}});
        if (!srp && extras.steadying.hold_periods > 0) columns.push_back({"held"});
        if (!srp && extras.steadying.Steadies()) columns.push_back({"raw_deg"});
    }
    if (extras.truth) {
        columns.insert(columns.end(), {{"truth_deg"}, {"error_deg"}});
        if (both) columns.push_back({"srp_error_deg"});
    }
    if (!methods.front()) {
        columns.insert(columns.end(), {{"level_dbfs"}, {"accepted_01"}, {"accepted_02"}, {"accepted_03"}});
    }
    if (extras.overruns) columns.push_back({"overruns"});
    return columns;
}

std::vector<Column> FrameColumns() {
    return {{"frame", kFrameIndexWidth}, {"start_s", kFrameSecondsWidth}, {"delay_01"}, {"delay_02"}, {"delay_03"}};
}

// The status, direction and (for the SRP) confidence and level cells of one method.
void AppendAnswer(std::vector<Cell>& row, const PeriodResult& period, const Orientation& orientation, bool srp) {
    const MethodAnswer answer = AnswerOf(period, orientation, srp);
    row.push_back(Cell::Text(answer.status));
    if (!srp) {
        row.push_back(answer.degrees ? Integer(std::lround(*answer.degrees)) : Cell::Empty());
        return;
    }
    row.push_back(answer.degrees ? Cell::Number(FormatFixed(*answer.degrees, kSrpDegreesDecimals)) : Cell::Empty());
    row.push_back(Cell::Number(FormatFixed(period.srp->confidence, kConfidenceDecimals)));
    row.push_back(Cell::Number(FormatFixed(period.srp->level_dbfs, kLevelDecimals)));
}

}  // namespace

PeriodRows::PeriodRows(OutputFormat format, const Extras& extras)
    : extras_(extras), writer_(Console::Out(), format, PeriodColumns(extras)) {}

void PeriodRows::OnPeriod(const PeriodResult& period, const Localization& so_far) {
    const Orientation& orientation = *extras_.orientation;
    const SteadyingOptions& steadying = extras_.steadying;
    const std::vector<bool> methods = ShownMethods(extras_.method);
    std::vector<Cell> row = {Seconds(period.start_s, kPeriodSecondsDecimals)};
    for (const bool srp : methods) {
        AppendAnswer(row, period, orientation, srp);
        if (!srp && steadying.hold_periods > 0) row.push_back(Integer(period.trust.held));
        if (!srp && steadying.Steadies()) {
            const auto& raw = period.direction.degrees;
            row.push_back(raw ? Integer(orientation.Report(*raw)) : Cell::Empty());
        }
    }
    if (extras_.truth) {
        for (size_t m = 0; m < methods.size(); ++m) {
            const PeriodTruth compared =
                CompareWithTruth(period, so_far.sample_rate, *extras_.truth, orientation, methods[m]);
            if (m == 0) row.push_back(Cell::Number(FormatFixed(compared.truth_deg, kErrorDecimals)));
            row.push_back(compared.error_deg ? Cell::Number(FormatFixed(*compared.error_deg, kErrorDecimals))
                                             : Cell::Empty());
        }
    }
    if (!methods.front()) {
        row.push_back(Cell::Number(FormatFixed(period.trust.level_dbfs, kLevelDecimals)));
        for (const double share : period.trust.accepted) row.push_back(Cell::Number(FormatFixed(share, kShareDecimals)));
    }
    if (extras_.overruns) row.push_back(Integer(so_far.overruns));
    writer_.Write(row);
}

FrameRows::FrameRows(OutputFormat format) : writer_(Console::Out(), format, FrameColumns()) {}

void FrameRows::OnFrame(const FrameResult& frame, const Localization& /*so_far*/) {
    std::vector<Cell> row = {Integer(frame.index), Seconds(frame.start_s, kFrameSecondsDecimals)};
    for (const int32_t delay : frame.delays) row.push_back(delay == EZOSSL_DELAY_REJECTED ? Cell::Empty() : Integer(delay));
    writer_.Write(row);
}

void WriteSummary(OutputFormat format, const std::vector<std::string>& summary) {
    std::FILE* summary_out = format == OutputFormat::kTable ? Console::Out() : stderr;
    if (format == OutputFormat::kTable && !summary.empty()) std::fputc('\n', summary_out);
    for (const std::string& line : summary) std::fprintf(summary_out, "%s\n", line.c_str());
    Console::FinishOutput();
}

}  // namespace ezossl_tool
