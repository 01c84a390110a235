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
constexpr int kSrpDegreesDecimals = 1;  // the SRP refines its peak between the 1 degree steps
constexpr int kConfidenceDecimals = 2;
constexpr int kLevelDecimals = 1;

Cell Seconds(double seconds, int decimals) { return Cell::Number(FormatFixed(seconds, decimals)); }

Cell Integer(long value) { return Cell::Number(std::to_string(value)); }

// The status, direction and (for the SRP) confidence and level cells of one method.
void AppendAnswer(std::vector<Cell>& row, const PeriodResult& period, bool srp) {
    const MethodAnswer answer = AnswerOf(period, srp);
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

ResultTable PeriodTable(const Localization& localization, const TruthTrack* truth, bool linear) {
    const std::vector<bool> methods = ShownMethods(localization.method);
    const bool both = methods.size() > 1;
    ResultTable table;
    table.columns = {"start_s"};
    for (const bool srp : methods) {
        const std::string prefix = both && srp ? "srp_" : "";
        table.columns.insert(table.columns.end(), {prefix + "status", prefix + "direction_deg"});
        if (srp) table.columns.insert(table.columns.end(), {prefix + "confidence", prefix + "level_dbfs"});
    }
    if (truth) {
        table.columns.insert(table.columns.end(), {"truth_deg", "error_deg"});
        if (both) table.columns.push_back("srp_error_deg");
    }
    for (const PeriodResult& period : localization.periods) {
        std::vector<Cell> row = {Seconds(period.start_s, kPeriodSecondsDecimals)};
        for (const bool srp : methods) AppendAnswer(row, period, srp);
        if (truth) {
            for (size_t m = 0; m < methods.size(); ++m) {
                const PeriodTruth compared = CompareWithTruth(period, localization.sample_rate, *truth, linear, methods[m]);
                if (m == 0) row.push_back(Cell::Number(FormatFixed(compared.truth_deg, kErrorDecimals)));
                row.push_back(compared.error_deg ? Cell::Number(FormatFixed(*compared.error_deg, kErrorDecimals))
                                                 : Cell::Empty());
            }
        }
        table.rows.push_back(std::move(row));
    }
    return table;
}

ResultTable FrameTable(const Localization& localization) {
    ResultTable table;
    table.columns = {"frame", "start_s", "delay_01", "delay_02", "delay_03"};
    long index = 0;
    for (const FrameResult& frame : localization.frames) {
        std::vector<Cell> row = {Integer(index++), Seconds(frame.start_s, kFrameSecondsDecimals)};
        for (const int32_t delay : frame.delays) {
            row.push_back(delay == EZOSSL_DELAY_REJECTED ? Cell::Empty() : Integer(delay));
        }
        table.rows.push_back(std::move(row));
    }
    return table;
}

void WriteReport(OutputFormat format, const ResultTable& table, const std::vector<std::string>& summary) {
    WriteResultTable(Console::Out(), format, table);
    std::FILE* summary_out = format == OutputFormat::kTable ? Console::Out() : stderr;
    if (format == OutputFormat::kTable && !summary.empty()) std::fputc('\n', summary_out);
    for (const std::string& line : summary) std::fprintf(summary_out, "%s\n", line.c_str());
    Console::FinishOutput();
}

}  // namespace ezossl_tool
