// ezossl simulate: a four-channel recording of a scene with known truth, and the truth as CSV.
#include <cmath>

#include "analysis/library_facts.h"
#include "analysis/library_options.h"
#include "cli/errors.h"
#include "commands/commands.h"
#include "io/audio_output.h"
#include "io/console.h"
#include "io/output_file.h"
#include "report/number_format.h"
#include "simulation/scene.h"

namespace ezossl_tool {
namespace {

constexpr double kMaxRt60 = 1.0;

std::string DefaultTruthPath(const std::string& output) {
    const size_t dot = output.find_last_of('.');
    const size_t slash = output.find_last_of('/');
    const bool has_extension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
    return (has_extension ? output.substr(0, dot) : output) + ".truth.csv";
}

Trajectory MakeTrajectory(const SimulateOptions& options) {
    if (options.sweep) return ParseSweep(*options.sweep);
    if (options.path) return ParsePath(*options.path);
    if (options.azimuth_deg) RequireAzimuth("--azimuth", *options.azimuth_deg);
    return Trajectory::Fixed(options.azimuth_deg.value_or(0.0));
}

std::optional<Room> MakeRoom(const SimulateOptions& options) {
    if (!options.rt60_s) return std::nullopt;
    if (!(*options.rt60_s > 0.0) || *options.rt60_s > kMaxRt60) {
        throw UsageError("--rt60 must lie above 0 and at most 1 s, got " + FormatNumber(*options.rt60_s) +
                         " (leave it out for an anechoic scene)");
    }
    Room room;
    room.size = ParseRoomSize(options.room);
    room.rt60_s = *options.rt60_s;
    return room;
}

SceneSetup MakeScene(const SimulateOptions& options) {
    RequireLibraryRate(options.rate);
    RequireTemperature(options.temperature_c);
    SceneSetup setup;
    setup.array = ParseArray(options.array.array, options.array.distance_cm);
    RequireArrayFitsRate(setup.array, options.rate, options.temperature_c);
    setup.sample_rate = options.rate;
    setup.source.kind = ParseSignalKind(options.signal);
    setup.source.tone_hz = options.tone_hz;
    setup.source.file = options.signal_file;
    setup.duration_s = options.duration_s.value_or(options.signal_file ? SourceFileSeconds(*options.signal_file) : 5.0);
    setup.trajectory = MakeTrajectory(options);
    setup.snr_db = options.snr_db;
    setup.room = MakeRoom(options);
    setup.source_distance_m = options.source_distance_m;
    setup.level_dbfs = options.level_dbfs;
    setup.temperature_c = options.temperature_c;
    setup.seed = options.seed;
    return setup;
}

}  // namespace

int RunSimulate(const SimulateOptions& options) {
    const SceneSetup setup = MakeScene(options);
    RequireRenderable(setup);
    const std::string truth_path = options.truth.value_or(DefaultTruthPath(options.output));
    if (options.signal_file) {
        RequireDistinctFiles(*options.signal_file, options.output);
        RequireDistinctFiles(*options.signal_file, truth_path);
    }
    if (SameFile(truth_path, options.output)) throw UsageError("--truth must name a different file than the recording");
    OutputFile wav(options.output);
    OutputFile truth(truth_path);

    WavWriter writer(wav.WritePath(), options.output, EZOSSL_MIC_NUM, setup.sample_rate, SceneFrames(setup));
    const RenderedScene scene =
        RenderScene(setup, [&](const int16_t* interleaved, size_t frames) { writer.Write(interleaved, frames); });
    writer.Finish();
    truth.WriteText(scene.truth.ToCsv());
    wav.Commit();
    truth.Commit();
    if (scene.clipped_samples > 0) {
        Console::Warn(std::to_string(scene.clipped_samples) + " samples were clipped to 16 bits; lower --level");
    }
    std::fprintf(Console::Out(), "wrote %s (%s, %u Hz, %s s) and %s\n", options.output.c_str(),
                 Describe(setup.array).c_str(), setup.sample_rate, FormatFixed(setup.duration_s, 2).c_str(),
                 truth_path.c_str());
    Console::FinishOutput();
    return kExitOk;
}

}  // namespace ezossl_tool
