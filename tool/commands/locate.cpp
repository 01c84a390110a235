// ezossl locate / ezossl delays: a recording through the library, directions or delays out.
#include <memory>

#include "analysis/accuracy.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/console.h"
#include "io/output_file.h"
#include "report/report.h"
#include "report/svg_plot.h"

namespace ezossl_tool {
namespace {

struct Analysis {
    ArrayDescription array;
    Localization localization;
};

// Opens and checks everything first, so that mistakes surface before the long part.
Analysis Analyse(const AnalyseOptions& options, const std::string& verb, Method method = Method::kSpecified) {
    Analysis analysis;
    analysis.array = ParseArray(options.array.array, options.array.distance_cm);
    const std::unique_ptr<BlockSource> source = OpenRecording(options.input);
    const LibrarySettings settings = MakeLibrarySettings(options.library, analysis.array, source->SampleRate());
    analysis.localization = Localize(*source, settings, verb + " " + options.input.path, method);
    return analysis;
}

}  // namespace

int RunLocate(const AnalyseOptions& options) {
    const bool delays_only = options.library.bf_mode == 1;
    if (delays_only && (options.truth || options.plot)) {
        throw UsageError("--bf-mode 1 gives delays only, so --truth and --plot have nothing to show; leave them out");
    }
    const Method method = ParseMethod(options.method);
    if (delays_only && method != Method::kSpecified) {
        throw UsageError("--bf-mode 1 gives delays only, so --method " + options.method + " has no directions to show; leave one of them out");
    }
    const OutputFormat format = ParseOutputFormat(options.format);
    std::optional<TruthTrack> truth;
    if (options.truth) truth = ReadTruthTrack(*options.truth);
    std::optional<OutputFile> plot_file;
    if (options.plot) {
        RequireDistinctFiles(options.input.path, *options.plot);
        plot_file.emplace(*options.plot);
    }

    const Analysis analysis = Analyse(options, "locating", method);
    const bool linear = IsLinear(analysis.array);
    const TruthTrack* truth_track = truth ? &*truth : nullptr;
    const ResultTable table =
        delays_only ? FrameTable(analysis.localization) : PeriodTable(analysis.localization, truth_track, linear);
    if (plot_file) {
        DirectionPlot plot;
        plot.title = "ezossl locate " + options.input.path + ": " + Describe(analysis.array) + ", " +
                     std::to_string(analysis.localization.sample_rate) + " Hz";
        plot.linear = linear;
        plot.localization = &analysis.localization;
        plot.truth = truth_track;
        plot_file->WriteText(RenderDirectionPlot(plot));
        plot_file->Commit();
    }
    WriteReport(format, table,
                delays_only ? InputNotes(analysis.localization)
                            : SummaryLines(analysis.localization, truth_track, linear));
    return kExitOk;
}

int RunDelays(const AnalyseOptions& options) {
    const OutputFormat format = ParseOutputFormat(options.format);
    Analysis analysis = Analyse(options, "analysing");
    // The voting periods only kept the library's state bounded; delays are reported per frame.
    analysis.localization.periods.clear();
    WriteReport(format, FrameTable(analysis.localization), InputNotes(analysis.localization));
    return kExitOk;
}

}  // namespace ezossl_tool
