// ezossl locate / ezossl delays: a recording through the library, directions or delays out.
#include <filesystem>
#include <memory>

#include "analysis/accuracy.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/console.h"
#include "io/output_file.h"
#include "report/report.h"
#include "report/summary_json.h"
#include "report/svg_plot.h"

namespace ezossl_tool {
namespace {

struct Analysis {
    ArrayDescription array;
    Orientation orientation{array};
    Localization localization;
};

// Opens and checks everything first, so that mistakes surface before the long part.
Analysis Analyse(const AnalyseOptions& options, const std::string& verb, Method method = Method::kSpecified) {
    Analysis analysis;
    analysis.array = ParseArray(options.array.array, options.array.distance_cm);
    analysis.orientation = Orientation(analysis.array, options.rotate_deg, ParseAngleConvention(options.angles));
    const SteadyingOptions steadying = MakeSteadyingOptions(options.hold_periods, options.smooth_periods);
    const std::unique_ptr<BlockSource> source = OpenRecording(options.input);
    LibrarySettings settings =
        MakeLibrarySettings(options.library, analysis.orientation.LibraryArray(), source->SampleRate());
    settings.mic_order = analysis.orientation.Order();
    analysis.localization = Localize(*source, settings, verb + " " + options.input.path, method, steadying);
    return analysis;
}

}  // namespace

int RunLocate(const AnalyseOptions& options) {
    const bool delays_only = options.library.bf_mode == 1;
    if (delays_only && (options.truth || options.plot || options.summary_json)) {
        throw UsageError("--bf-mode 1 gives delays only, so --truth, --plot and --summary have nothing to show; "
                         "leave them out");
    }
    const Method method = ParseMethod(options.method);
    if (delays_only && method != Method::kSpecified) {
        throw UsageError("--bf-mode 1 gives delays only, so --method " + options.method + " has no directions to show; leave one of them out");
    }
    const OutputFormat format = ParseOutputFormat(options.format);
    std::optional<TruthTrack> truth;
    if (options.truth) truth = ReadTruthTrack(*options.truth);
    std::optional<OutputFile> plot_file, summary_file;
    if (options.plot) {
        RequireDistinctFiles(options.input.path, *options.plot);
        plot_file.emplace(*options.plot);
    }
    if (options.summary_json) {
        RequireDistinctFiles(options.input.path, *options.summary_json);
        const auto resolved = [](const std::string& path) {
            return std::filesystem::weakly_canonical(std::filesystem::absolute(path));
        };
        if (options.plot && resolved(*options.plot) == resolved(*options.summary_json)) {
            throw UsageError("--plot and --summary name the same file; give each its own");
        }
        summary_file.emplace(*options.summary_json);
    }

    const Analysis analysis = Analyse(options, "locating", method);
    const TruthTrack* truth_track = truth ? &*truth : nullptr;
    const ResultTable table = delays_only ? FrameTable(analysis.localization)
                                          : PeriodTable(analysis.localization, truth_track, analysis.orientation);
    if (plot_file) {
        DirectionPlot plot;
        plot.title = "ezossl locate " + options.input.path + ": " + Describe(analysis.array) + ", " +
                     std::to_string(analysis.localization.sample_rate) + " Hz";
        plot.orientation = &analysis.orientation;
        plot.localization = &analysis.localization;
        plot.truth = truth_track;
        plot_file->WriteText(RenderDirectionPlot(plot));
        plot_file->Commit();
    }
    if (summary_file) {
        summary_file->WriteText(SummaryJson(analysis.localization, truth_track, analysis.orientation));
        summary_file->Commit();
    }
    WriteReport(format, table,
                delays_only ? InputNotes(analysis.localization)
                            : SummaryLines(analysis.localization, truth_track, analysis.orientation));
    return kExitOk;
}

int RunDelays(const AnalyseOptions& options) {
    const OutputFormat format = ParseOutputFormat(options.format);
    Analysis analysis = Analyse(options, "analysing");
    // The voting periods only kept the library's state bounded; delays are reported per frame.
    analysis.localization.periods.clear();
    std::vector<std::string> notes = InputNotes(analysis.localization);
    const std::string renumbering = analysis.orientation.RenumberingNote();
    if (!renumbering.empty()) notes.push_back(renumbering + "; the delays are of the library's pairs");
    WriteReport(format, FrameTable(analysis.localization), notes);
    return kExitOk;
}

}  // namespace ezossl_tool
