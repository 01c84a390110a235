// ezossl locate / ezossl delays: a recording or stream through the library, directions or delays out.
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

// Opens and checks everything first, so that mistakes surface before the long part.
struct Opened {
    ArrayDescription array;
    Orientation orientation{array};
    std::unique_ptr<BlockSource> source;
    LibrarySettings settings;
};

Opened Open(const AnalyseOptions& options) {
    Opened opened;
    opened.array = ParseArray(options.array.array, options.array.distance_cm);
    opened.orientation = Orientation(opened.array, options.rotate_deg, ParseAngleConvention(options.angles));
    opened.source = OpenRecording(options.input);
    opened.settings =
        MakeLibrarySettings(options.library, opened.orientation.LibraryArray(), opened.source->SampleRate());
    opened.settings.mic_order = opened.orientation.Order();
    return opened;
}

// A stream can turn out empty only once it has ended.
void RequireSamplesRead(const Localization& localization, const std::string& path) {
    if (localization.frame_count == 0) throw RunError(InputName(path) + " held no samples; record some sound first");
}

}  // namespace

int RunLocate(const AnalyseOptions& options) {
    const bool delays_only = options.library.bf_mode == 1;
    if (delays_only && (options.truth || options.plot || options.summary_json)) {
        throw UsageError("--bf-mode 1 gives delays only, so --truth, --plot and --summary have nothing to show; "
                         "leave them out");
    }
    const Method method = ParseMethod(options.method, delays_only);
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

    const SteadyingOptions steadying = MakeSteadyingOptions(options.hold_periods, options.smooth_periods);
    Opened opened = Open(options);
    const TruthTrack* truth_track = truth ? &*truth : nullptr;
    std::unique_ptr<ResultSink> rows;
    if (delays_only) {
        rows = std::make_unique<FrameRows>(format);
    } else {
        rows = std::make_unique<PeriodRows>(
            format, PeriodRows::Extras{&opened.orientation, truth_track, false, method, steadying});
    }
    LocalizeOptions run;
    run.progress_label = "locating " + DisplayPath(options.input.path);
    // Only the plot, the JSON summary and the accuracy against the truth look back at earlier periods.
    run.keep_periods = plot_file || summary_file || truth_track;
    run.method = method;
    run.steadying = steadying;
    const Localization localization = Localize(*opened.source, opened.settings, *rows, run);
    RequireSamplesRead(localization, options.input.path);
    if (plot_file) {
        DirectionPlot plot;
        plot.title = "ezossl locate " + options.input.path + ": " + Describe(opened.array) + ", " +
                     std::to_string(localization.sample_rate) + " Hz";
        plot.orientation = &opened.orientation;
        plot.localization = &localization;
        plot.truth = truth_track;
        plot_file->WriteText(RenderDirectionPlot(plot));
        plot_file->Commit();
    }
    if (summary_file) {
        summary_file->WriteText(SummaryJson(localization, truth_track, opened.orientation));
        summary_file->Commit();
    }
    WriteSummary(format, delays_only ? InputNotes(localization)
                                     : SummaryLines(localization, truth_track, opened.orientation));
    return kExitOk;
}

int RunDelays(const AnalyseOptions& options) {
    const OutputFormat format = ParseOutputFormat(options.format);
    Opened opened = Open(options);
    FrameRows rows(format);
    LocalizeOptions run;
    run.progress_label = "analysing " + DisplayPath(options.input.path);
    run.keep_periods = false;
    Localization localization = Localize(*opened.source, opened.settings, rows, run);
    RequireSamplesRead(localization, options.input.path);
    // The voting periods only kept the library's state bounded; delays are reported per frame.
    localization.last_period.reset();
    std::vector<std::string> notes = InputNotes(localization);
    const std::string renumbering = opened.orientation.RenumberingNote();
    if (!renumbering.empty()) notes.push_back(renumbering + "; the delays are of the library's pairs");
    WriteSummary(format, notes);
    return kExitOk;
}

}  // namespace ezossl_tool
