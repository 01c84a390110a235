// ezossl check-wiring: which order of the recorded channels (and which side of the board) puts
// a source of known direction where it is.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include "analysis/accuracy.h"
#include "analysis/library_options.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/channel_map.h"
#include "io/console.h"
#include "report/number_format.h"
#include "report/report.h"
#include "simulation/trajectory.h"

namespace ezossl_tool {
namespace {

// A period without a direction counts as the worst miss, so that an order the library can
// rarely solve does not win on a few lucky periods.
constexpr double kMissErrorDeg = 180.0;
constexpr size_t kShownOrders = 8;
// Every order runs the library over the recording once: a minute is plenty for a source that
// stands still, and keeps 48 runs quick.
constexpr double kCheckedSeconds = 60.0;

struct Candidate {
    MicOrder order{};   // the user's microphone i is recorded microphone order[i]
    bool mirrored = false;
    ArrayDescription array;
    int periods = 0, with_direction = 0;
    double score_deg = 0.0;              // mean error, misses counted as kMissErrorDeg
    std::optional<int32_t> typical_deg;  // circular median of the reported directions
};

// The recording's first kCheckedSeconds, four microphones interleaved, in the order of --map.
std::vector<int16_t> ReadStart(BlockSource& source) {
    const size_t wanted = static_cast<size_t>(kCheckedSeconds * source.SampleRate()) * EZOSSL_MIC_NUM;
    std::vector<int16_t> samples;
    Block block;
    for (int real = source.NextBlock(block); real > 0 && samples.size() < wanted; real = source.NextBlock(block)) {
        samples.insert(samples.end(), block.begin(), block.begin() + real * EZOSSL_MIC_NUM);
    }
    return samples;
}

// The array seen from its other side: x mirrored. For ula and uca that is just another order
// of the microphones, which the orders already try; so are positions symmetric about x = 0.
std::optional<ArrayDescription> Mirrored(const ArrayDescription& array) {
    if (array.kind != ArrayKind::kArbitrary) return std::nullopt;
    ArrayDescription mirrored = array;
    for (Vec2& p : mirrored.positions_cm) p.x = 0.0 - p.x;   // not -p.x: a 0 would print as -0
    const MicPositions given = MicrophonePositionsM(array), flipped = MicrophonePositionsM(mirrored);
    const bool same_set = std::all_of(flipped.begin(), flipped.end(), [&](const Vec2& f) {
        return std::any_of(given.begin(), given.end(), [&](const Vec2& g) { return f.x == g.x && f.y == g.y; });
    });
    if (same_set) return std::nullopt;
    return mirrored;
}

void Score(Candidate& candidate, const std::vector<int16_t>& samples, uint32_t rate, const AnalyseOptions& options,
           double truth_deg) {
    const Orientation orientation(candidate.array, options.rotate_deg, ParseAngleConvention(options.angles));
    std::vector<int16_t> reordered(samples.size());
    for (size_t n = 0; n < samples.size(); n += EZOSSL_MIC_NUM) {
        for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) reordered[n + mic] = samples[n + candidate.order[mic]];
    }
    MemorySource source(std::move(reordered), rate);
    LibrarySettings settings = MakeLibrarySettings(options.library, orientation.LibraryArray(), rate);
    settings.mic_order = orientation.Order();
    ResultSink no_rows;
    LocalizeOptions run;
    run.progress_label = "checking an order of " + options.input.path;
    const Localization localization = Localize(source, settings, no_rows, run);
    const double truth = orientation.ReportTruth(orientation.ArrayAzimuth(truth_deg));
    std::vector<int32_t> directions;
    double error_sum = 0.0;
    for (const PeriodResult& period : localization.periods) {
        const std::optional<double> reported = AnswerOf(period, orientation).degrees;   // whole degrees
        error_sum += reported ? std::abs(CircularDifference(*reported, truth)) : kMissErrorDeg;
        if (reported) directions.push_back(static_cast<int32_t>(*reported));
    }
    candidate.periods = static_cast<int>(localization.periods.size());
    candidate.with_direction = static_cast<int>(directions.size());
    candidate.score_deg = candidate.periods ? error_sum / candidate.periods : kMissErrorDeg;
    candidate.typical_deg = CircularMedian(directions);
}

// The channels of --map (1-based), or 1 to 4, in the user's microphone order.
ChannelMap GivenChannels(const AnalyseOptions& options) {
    if (!options.input.map) return {0, 1, 2, 3};
    return ResolveChannelMap(options.input.map, std::numeric_limits<int>::max(), options.input.path);
}

std::string MapText(const ChannelMap& given, const MicOrder& order) {
    std::string text;
    for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) text += (mic ? "," : "") + std::to_string(given[order[mic]] + 1);
    return text;
}

std::string PositionsText(const ArrayDescription& array) {
    std::string text;
    for (const Vec2& p : array.positions_cm) text += (text.empty() ? "" : " ") + FormatNumber(p.x) + "," + FormatNumber(p.y);
    return text;
}

}  // namespace

int RunCheckWiring(const AnalyseOptions& options, double azimuth_deg) {
    RequireAzimuth("--azimuth", azimuth_deg);
    const OutputFormat format = ParseOutputFormat(options.format);
    const ArrayDescription array = ParseArray(options.array.array, options.array.distance_cm);
    const ChannelMap given = GivenChannels(options);
    const std::unique_ptr<BlockSource> source = OpenRecording(options.input);
    const uint32_t rate = source->SampleRate();
    const std::vector<int16_t> samples = ReadStart(*source);

    std::vector<ArrayDescription> layouts = {array};
    if (const auto mirrored = Mirrored(array)) layouts.push_back(*mirrored);
    std::vector<Candidate> candidates;
    for (size_t layout = 0; layout < layouts.size(); ++layout) {
        MicOrder order = {0, 1, 2, 3};
        do {
            Candidate candidate;
            candidate.order = order;
            candidate.mirrored = layout > 0;
            candidate.array = layouts[layout];
            Score(candidate, samples, rate, options, azimuth_deg);
            candidates.push_back(candidate);
        } while (std::next_permutation(order.begin(), order.end()));
    }
    // Stable: among equal scores the order closest to the one given comes first.
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.score_deg < b.score_deg; });

    RowWriter rows(Console::Out(), format,
                   {{"rank"}, {"map", std::string("1,2,3,4").size(), true}, {"layout", std::string("as given").size(), true},
                    {"direction_deg"}, {"with_direction_pct"}, {"mean_error_deg"}});
    for (size_t i = 0; i < std::min(kShownOrders, candidates.size()); ++i) {
        const Candidate& c = candidates[i];
        rows.Write({Cell::Number(std::to_string(i + 1)), Cell::Text(MapText(given, c.order)),
                    Cell::Text(c.mirrored ? "mirrored" : "as given"),
                    c.typical_deg ? Cell::Number(std::to_string(*c.typical_deg)) : Cell::Empty(),
                    Cell::Number(FormatFixed(c.periods ? 100.0 * c.with_direction / c.periods : 0.0, 1)),
                    Cell::Number(FormatFixed(c.score_deg, 1))});
    }
    const Candidate& best = candidates.front();
    std::vector<std::string> summary = {
        "ranked " + std::to_string(candidates.size()) + " orders by their mean error against --azimuth " +
        FormatNumber(azimuth_deg) + " (a period without a direction counts as " + FormatNumber(kMissErrorDeg) +
        " deg)"};
    std::string use = "use: --map " + MapText(given, best.order);
    if (best.mirrored) use += " --array \"" + PositionsText(best.array) + "\" (the board is seen from its other side)";
    if (best.order == MicOrder{0, 1, 2, 3} && !best.mirrored) use += " (the wiring is as given)";
    summary.push_back(use);
    if (best.score_deg > kCandidateSpacingDeg) {
        summary.push_back("warning: no order comes within " + FormatNumber(kCandidateSpacingDeg) +
                          " deg on average; check --azimuth, the array description, and that the source was the "
                          "loudest sound in the recording");
    } else if (candidates.size() > 1 && candidates[1].score_deg <= best.score_deg + kCloseDeg) {
        summary.push_back("note: order 2 is almost as good; record the source at another azimuth to tell them apart");
    }
    if (source->TotalInstants() * EZOSSL_MIC_NUM > static_cast<int64_t>(samples.size())) {
        summary.push_back("note: only the first " + FormatNumber(kCheckedSeconds) + " s of the recording were checked");
    }
    WriteSummary(format, summary);
    return kExitOk;
}

}  // namespace ezossl_tool
