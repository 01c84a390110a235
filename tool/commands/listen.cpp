// ezossl listen: directions live from a capture device, a row as each voting period closes.
#include <memory>

#include "analysis/accuracy.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/stop_request.h"
#include "report/number_format.h"
#include "report/report.h"

namespace ezossl_tool {

int RunListen(const ListenOptions& options) {
    const OutputFormat format = ParseOutputFormat(options.format);
    const Method method = ParseMethod(options.method, options.library.bf_mode == 1);
    const SteadyingOptions steadying = MakeSteadyingOptions(options.hold_periods, options.smooth_periods);
    const ArrayDescription array = ParseArray(options.array.array, options.array.distance_cm);
    const Orientation orientation(array, options.rotate_deg, ParseAngleConvention(options.angles));
    LibrarySettings settings = MakeLibrarySettings(options.library, orientation.LibraryArray(), options.capture.rate);
    settings.mic_order = orientation.Order();
    const std::unique_ptr<BlockSource> source = OpenCapture(options.capture);
    // From here on Ctrl-C ends the capture: the current period is voted and the summary printed.
    CatchStopSignals();

    std::unique_ptr<ResultSink> rows;
    if (settings.delays_only) {
        rows = std::make_unique<FrameRows>(format);
    } else {
        rows = std::make_unique<PeriodRows>(format, PeriodRows::Extras{&orientation, nullptr, true, method, steadying});
    }
    LocalizeOptions run;
    run.keep_periods = false;   // a capture may run for days
    run.method = method;
    run.steadying = steadying;
    const Localization localization = Localize(*source, settings, *rows, run);

    std::vector<std::string> summary =
        settings.delays_only ? InputNotes(localization) : SummaryLines(localization, nullptr, orientation);
    const double captured_s = double(localization.instants) / localization.sample_rate;
    summary.insert(summary.begin(), "captured " + FormatFixed(captured_s, 3) + " s from \"" + options.capture.device +
                                        "\", overruns: " + std::to_string(localization.overruns));
    WriteSummary(format, summary);
    return kExitOk;
}

}  // namespace ezossl_tool
