// ezossl accuracy: both methods on a seeded grid of simulated scenes, scored per grid axis.
#include <algorithm>
#include <cstdio>
#include <thread>

#include "analysis/accuracy.h"
#include "analysis/accuracy_grid.h"
#include "analysis/library_facts.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/console.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

struct MethodScore {
    int answered = 0, close = 0, candidate = 0;
    double error_sum = 0.0;

    void Add(const std::optional<double>& error) {
        if (!error) return;
        ++answered;
        error_sum += *error;
        close += *error <= kCloseDeg;
        candidate += *error <= kCandidateSpacingDeg;
    }
};

struct RowScore {
    int periods = 0;
    MethodScore specified, srp;
    MethodScore srp_where_specified;  // the SRP on the periods where the specified method answers

    void Add(const GridPeriod& period) {
        ++periods;
        specified.Add(period.specified_error_deg);
        srp.Add(period.srp_error_deg);
        if (period.specified_error_deg) srp_where_specified.Add(period.srp_error_deg);
    }
};

std::string Percent(int part, int whole) { return whole ? FormatFixed(100.0 * part / whole, 1) : "-"; }
std::string Mean(const MethodScore& s) { return s.answered ? FormatFixed(s.error_sum / s.answered, 1) : "-"; }

void PrintRow(std::FILE* out, const std::string& label, const RowScore& row) {
    const MethodScore& a = row.specified;
    const MethodScore& b = row.srp;
    std::fprintf(out, "%-16s %7d | %6s %6s %6s %6s | %6s %6s %6s %6s | %6s %6s\n", label.c_str(), row.periods,
                 Percent(a.answered, row.periods).c_str(), Mean(a).c_str(), Percent(a.close, a.answered).c_str(),
                 Percent(a.candidate, a.answered).c_str(), Percent(b.answered, row.periods).c_str(), Mean(b).c_str(),
                 Percent(b.close, b.answered).c_str(), Percent(b.candidate, b.answered).c_str(), Mean(a).c_str(),
                 Mean(row.srp_where_specified).c_str());
}

std::string Count(size_t n, const char* one, const char* many) { return std::to_string(n) + " " + (n == 1 ? one : many); }

std::string GridText(const AccuracyGrid& grid, size_t periods) {
    return "ezossl accuracy: " + Count(grid.geometries.size(), "geometry", "geometries") + " x " +
           Count(grid.rates.size(), "rate", "rates") + " x " + Count(grid.snrs_db.size(), "SNR", "SNRs") + " x " +
           Count(grid.rooms.size(), "room", "rooms") + " x " + Count(grid.sources.size(), "source", "sources") + " x " +
           Count(grid.azimuths, "azimuth", "azimuths") + ", " + std::to_string(grid.periods) + " periods of " +
           std::to_string(kDefaultFramesPerVote) + " blocks each: " + std::to_string(periods) + " periods";
}

std::vector<std::string> AxisLabels(const AccuracyGrid& grid, int axis) {
    std::vector<std::string> labels;
    switch (axis) {
        case kAxisGeometry:
            for (const auto& g : grid.geometries) labels.push_back(g.label);
            break;
        case kAxisRate:
            for (const uint32_t r : grid.rates) labels.push_back(FormatNumber(r / 1000.0) + " kHz");
            break;
        case kAxisSnr:
            for (const double snr : grid.snrs_db) labels.push_back("SNR " + FormatNumber(snr) + " dB");
            break;
        case kAxisRoom:
            for (const auto& room : grid.rooms) labels.push_back(room.label);
            break;
        default:
            for (const auto& source : grid.sources) labels.push_back(source.label);
    }
    return labels;
}

// Mean error of the SRP's answers with confidence above and below its median.
std::string ConfidenceLine(const std::vector<GridPeriod>& periods) {
    std::vector<std::pair<double, double>> answers;  // confidence, error
    for (const GridPeriod& p : periods) {
        if (p.srp_error_deg) answers.push_back({p.srp_confidence, *p.srp_error_deg});
    }
    if (answers.size() < 2) return "SRP confidence: too few answers to split";
    std::sort(answers.begin(), answers.end());
    const size_t half = answers.size() / 2;
    double low = 0.0, high = 0.0;
    for (size_t i = 0; i < answers.size(); ++i) (i < half ? low : high) += answers[i].second;
    return "SRP confidence: median " + FormatFixed(answers[half].first, 2) + "; mean absolute error " +
           FormatFixed(high / (answers.size() - half), 1) + " deg in the top half, " + FormatFixed(low / half, 1) +
           " deg in the bottom half";
}

}  // namespace

int RunAccuracy(const AccuracyOptions& options) {
    std::optional<ArrayDescription> array;
    if (options.array) array = ParseArray(*options.array, options.distance_cm);
    if (!options.array && options.distance_cm) throw UsageError("--distance needs --array; give both or neither");
    if (options.rate && !IsSupportedRate(*options.rate)) {
        throw UsageError("--rate must be " + SupportedRatesText() + ", got " + std::to_string(*options.rate));
    }
    const AccuracyGrid grid = MakeAccuracyGrid(options.quick, array, options.rate);
    const int threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const std::vector<GridPeriod> periods = RunAccuracyGrid(grid, threads);

    std::FILE* out = Console::Out();
    std::fprintf(out, "%s\n\n", GridText(grid, periods.size()).c_str());
    std::fprintf(out, "%-16s %7s | %-27s | %-27s | %s\n", "", "", "specified (GCC-PHAT voting)", "SRP-PHAT, all six pairs",
                 "where specified answers");
    std::fprintf(out, "%-16s %7s | %6s %6s %6s %6s | %6s %6s %6s %6s | %6s %6s\n", "row", "periods", "dir %",
                 "MAE", "<=10", "<=22.5", "dir %", "MAE", "<=10", "<=22.5", "voting", "SRP");
    RowScore overall;
    for (const GridPeriod& p : periods) overall.Add(p);
    PrintRow(out, "overall", overall);
    for (int axis = 0; axis < kGridAxes; ++axis) {
        const std::vector<std::string> labels = AxisLabels(grid, axis);
        if (labels.size() < 2) continue;
        std::vector<RowScore> rows(labels.size());
        for (const GridPeriod& p : periods) rows[p.axis[axis]].Add(p);
        for (size_t i = 0; i < labels.size(); ++i) PrintRow(out, labels[i], rows[i]);
    }
    // The cleanest cell: no room and the highest SNR, which the grid lists first.
    if (!grid.rooms.front().rt60_s) {
        RowScore clean;
        for (const GridPeriod& p : periods) {
            if (p.axis[kAxisRoom] == 0 && p.axis[kAxisSnr] == 0) clean.Add(p);
        }
        PrintRow(out, "anechoic, " + FormatNumber(grid.snrs_db.front()) + " dB", clean);
    }
    std::fprintf(out, "\ndir %%: periods with a direction; MAE: mean absolute error in deg; <=10, <=22.5: %% of the\n"
                      "directions within 10 and 22.5 deg of the truth (a line's truth folded to -90..90)\n%s\n",
                 ConfidenceLine(periods).c_str());
    Console::FinishOutput();
    return kExitOk;
}

}  // namespace ezossl_tool
