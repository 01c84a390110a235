// ezossl demo: a default scene simulated, localised by the library and scored against its truth.
#include "analysis/accuracy.h"
#include "analysis/localizer.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/block_source.h"
#include "io/console.h"
#include "io/output_file.h"
#include "report/number_format.h"
#include "report/report.h"
#include "report/svg_plot.h"
#include "simulation/scene.h"

namespace ezossl_tool {
namespace {

// A typical smart-speaker set-up: 6.5 cm circular array at 16 kHz in an ordinary room.
constexpr double kDiameterCm = 6.5;
constexpr uint32_t kRate = 16000;
// Each position lasts eight voting periods, so periods do not straddle moves.
constexpr double kDwellSeconds = 8 * kDefaultFramesPerVote * EZOSSL_POINT_NUMBER / double(kRate);
constexpr double kAzimuths[] = {0, 90, 180, -90, 45, 135, 225, -45};
constexpr double kSnrDb = 20.0;
constexpr double kRt60 = 0.3;
constexpr double kSourceDistanceM = 1.5;

SceneSetup DemoScene() {
    SceneSetup setup;
    setup.array.kind = ArrayKind::kCircular;
    setup.array.distance_cm = kDiameterCm;
    setup.sample_rate = kRate;
    setup.source.kind = SignalKind::kSpeech;
    std::vector<TruthPoint> path;
    for (const double azimuth : kAzimuths) path.push_back({path.size() * kDwellSeconds, azimuth});
    setup.duration_s = path.size() * kDwellSeconds;
    setup.trajectory = Trajectory::Path(path);
    setup.snr_db = kSnrDb;
    setup.room = Room{};
    setup.room->rt60_s = kRt60;
    setup.source_distance_m = kSourceDistanceM;
    return setup;
}

std::string SceneText(const SceneSetup& setup) {
    const Point3& size = setup.room->size;
    return "ezossl demo: " + Describe(setup.array) + ", " + std::to_string(setup.sample_rate) +
           " Hz; speech-band noise visiting " + std::to_string(std::size(kAzimuths)) + " azimuths for " +
           FormatNumber(kDwellSeconds) + " s each; SNR " + FormatNumber(kSnrDb) + " dB; " + FormatNumber(size.x) +
           "x" + FormatNumber(size.y) + "x" + FormatNumber(size.z) + " m room, RT60 " + FormatNumber(kRt60) +
           " s, source at " + FormatNumber(kSourceDistanceM) + " m";
}

}  // namespace

int RunDemo(const DemoOptions& options) {
    OutputFile plot_file(options.plot);
    const SceneSetup setup = DemoScene();
    std::fprintf(Console::Out(), "%s\n\n", SceneText(setup).c_str());
    std::fflush(Console::Out());

    std::vector<int16_t> recording;
    const RenderedScene scene = RenderScene(setup, [&](const int16_t* interleaved, size_t frames) {
        recording.insert(recording.end(), interleaved, interleaved + frames * EZOSSL_MIC_NUM);
    });
    MemorySource source(std::move(recording), setup.sample_rate);
    LibrarySettings settings;
    settings.array = setup.array;
    settings.sample_rate = setup.sample_rate;
    const Orientation orientation(setup.array);
    PeriodRows rows(OutputFormat::kTable, PeriodRows::Extras{&orientation, &scene.truth, false, Method::kBoth, {}});
    LocalizeOptions run;
    run.progress_label = "ezossl demo";
    run.method = Method::kBoth;
    const Localization localization = Localize(source, settings, rows, run);

    DirectionPlot plot;
    plot.title = "ezossl demo: " + Describe(setup.array) + ", " + std::to_string(setup.sample_rate) +
                 " Hz, RT60 " + FormatNumber(kRt60) + " s, SNR " + FormatNumber(kSnrDb) + " dB";
    plot.orientation = &orientation;
    plot.localization = &localization;
    plot.truth = &scene.truth;
    plot_file.WriteText(RenderDirectionPlot(plot));
    plot_file.Commit();

    std::vector<std::string> summary = SummaryLines(localization, &scene.truth, orientation);
    summary.push_back("plot: " + options.plot);
    WriteSummary(OutputFormat::kTable, summary);
    return kExitOk;
}

}  // namespace ezossl_tool
