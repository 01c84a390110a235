// CLI11 definitions of the subcommands; every option maps onto one field of commands.h.
#include "cli/cli.h"

#include <CLI/CLI.hpp>

#include <cstdio>

#include "cli/errors.h"
#include "commands/commands.h"

#ifndef EZOSSL_TOOL_VERSION
#define EZOSSL_TOOL_VERSION "unknown"
#endif

namespace ezossl_tool {
namespace {

void AddArrayOptions(CLI::App& command, ArrayOptions& options) {
    command.add_option("--array", options.array,
                       "ula, uca, or four microphone positions x,y in cm in channel order, e.g. \"0,0 4,0 4,4 0,4\"")
        ->required();
    command.add_option("--distance", options.distance_cm, "cm: ula spacing of neighbouring microphones, uca diameter");
}

// The library's settings and the output format: locate, delays and listen share them.
void AddLibraryOptions(CLI::App& command, ArrayOptions& array, LibraryOptions& library, std::string& format) {
    AddArrayOptions(command, array);
    command.add_option("--temperature", library.temperature_c, "air temperature in deg C, 0 to 60")->capture_default_str();
    command.add_option("--threshold", library.threshold_db, "level threshold in dB, -80 to 0")->capture_default_str();
    command.add_option("--frames-per-vote", library.frames_per_vote, "frames of 128 samples per voting period")
        ->capture_default_str();
    command.add_option("--gain", library.gain_db, "digital gain in dB applied to each block first, -120 to 120");
    command.add_option("--bf-mode", library.bf_mode, "library bf_mode: 0 directions, 1 delays only")
        ->capture_default_str();
    command.add_option("--format", format, "table, csv or json (JSON lines)")->capture_default_str();
}

void AddMethodOption(CLI::App& command, std::string& method) {
    command
        .add_option("--method", method,
                    "specified (the library's voting), srp (the SRP-PHAT companion library) or both side by side")
        ->capture_default_str();
}

void AddAnalyseOptions(CLI::App& command, AnalyseOptions& options) {
    AudioInputOptions& input = options.input;
    command.add_option("FILE", input.path,
                       "4-channel recording (WAV, FLAC, ... or headerless PCM with --raw); - reads standard input")
        ->required();
    command.add_option("--map", input.map, "channels of microphones 0-3, 1-based, e.g. 1,2,3,4");
    command.add_flag("--raw", input.raw, "FILE is headerless interleaved little-endian PCM");
    command.add_option("--rate", input.raw_rate, "with --raw: sample rate in Hz");
    command.add_option("--channels", input.raw_channels, "with --raw: channels per sample instant");
    command.add_option("--bits", input.raw_bits, "with --raw: 16 or 32-bit integers")->capture_default_str();
    AddLibraryOptions(command, options.array, options.library, options.format);
}

void AddListenOptions(CLI::App& command, ListenOptions& options) {
    CaptureOptions& capture = options.capture;
    command.add_option("--device", capture.device, "ALSA capture device, e.g. plughw:1,0 (arecord -L lists them)")
        ->required();
    command.add_option("--rate", capture.rate, "sample rate in Hz (8000, 16000, 32000 or 48000)")->capture_default_str();
    command.add_option("--channels", capture.channels, "channels to capture")->capture_default_str();
    command.add_option("--bits", capture.bits, "16 or 32: S16_LE or S32_LE samples")->capture_default_str();
    command.add_option("--map", capture.map, "channels of microphones 0-3, 1-based, e.g. 1,2,3,4");
    command.add_option("--duration", capture.duration_s, "stop after this many seconds of audio (default: Ctrl-C)");
    AddLibraryOptions(command, options.array, options.library, options.format);
}

// locate, listen and check-wiring each have these fields.
template <typename Options>
void AddAngleOptions(CLI::App& command, Options& options) {
    command.add_option("--rotate", options.rotate_deg,
                       "the array is mounted turned by DEG (counter-clockwise; clockwise with --angles compass)");
    command.add_option("--angles", options.angles,
                       "library (counter-clockwise from +y, -90 to 269) or compass (clockwise from the front, 0 to 359)")
        ->capture_default_str();
}

// How directions are turned and steadied; locate and listen.
template <typename Options>
void AddDirectionOptions(CLI::App& command, Options& options) {
    AddAngleOptions(command, options);
    command.add_option("--hold", options.hold_periods, "keep the last direction through up to N periods without one");
    command.add_option("--smooth", options.smooth_periods, "report the circular median of the last N periods");
}

void AddSimulateOptions(CLI::App& command, SimulateOptions& options) {
    command.add_option("OUT", options.output, "4-channel 16-bit WAV file to write")->required();
    command.add_option("--truth", options.truth, "ground-truth CSV to write (default: OUT with .truth.csv)");
    AddArrayOptions(command, options.array);
    command.add_option("--rate", options.rate, "sample rate in Hz (8000, 16000, 32000 or 48000)")->capture_default_str();
    command.add_option("--duration", options.duration_s, "seconds (default 5, or the length of --signal-file)");
    auto* signal = command.add_option("--signal", options.signal, "white, pink, speech (band noise) or tone")
                       ->capture_default_str();
    command.add_option("--signal-file", options.signal_file, "a recording as the source (mixed to mono)")
        ->excludes(signal);
    command.add_option("--tone", options.tone_hz, "tone frequency in Hz")->capture_default_str();
    auto* azimuth = command.add_option("--azimuth", options.azimuth_deg, "fixed source azimuth in degrees (default 0)");
    auto* sweep = command.add_option("--sweep", options.sweep, "FROM:TO degrees over the whole duration")->excludes(azimuth);
    command.add_option("--path", options.path, "T:AZ,T:AZ,... seconds:degrees, each held until the next")
        ->excludes(azimuth)
        ->excludes(sweep);
    command.add_option("--snr", options.snr_db, "sensor noise: signal-to-noise ratio in dB (default none)");
    auto* rt60 = command.add_option("--rt60", options.rt60_s, "reverberation time in s: renders a room (default anechoic)");
    command.add_option("--room", options.room, "room size LxWxH in metres")->capture_default_str()->needs(rt60);
    command.add_option("--source-distance", options.source_distance_m, "metres from the array centre, in a room")
        ->capture_default_str()
        ->needs(rt60);
    command.add_option("--level", options.level_dbfs, "source RMS at the microphones in dBFS")->capture_default_str();
    command.add_option("--temperature", options.temperature_c, "air temperature in deg C")->capture_default_str();
    command.add_option("--seed", options.seed, "random seed of the noise")->capture_default_str();
}

}  // namespace

struct CommandLine::Parts {
    CLI::App app{"ezossl: sound-source localisation with a four-microphone array", "ezossl"};
    bool show_library_messages = false;
    AnalyseOptions locate, delays, check_wiring;
    ListenOptions listen;
    double wiring_azimuth_deg = 0.0;
    SimulateOptions simulate;
    DemoOptions demo;
    AccuracyOptions accuracy;
    CLI::App* locate_command = nullptr;
    CLI::App* delays_command = nullptr;
    CLI::App* listen_command = nullptr;
    CLI::App* simulate_command = nullptr;
    CLI::App* demo_command = nullptr;
    CLI::App* accuracy_command = nullptr;
    CLI::App* check_wiring_command = nullptr;
};

CommandLine::CommandLine() : parts_(std::make_unique<Parts>()) {
    CLI::App& app = parts_->app;
    app.require_subcommand(1);
    app.set_version_flag("--version", "ezossl " EZOSSL_TOOL_VERSION);
    app.add_flag("--verbose", parts_->show_library_messages, "show the library's own messages on standard error");

    parts_->locate_command = app.add_subcommand("locate", "directions of a recording, one row per voting period");
    AddAnalyseOptions(*parts_->locate_command, parts_->locate);
    parts_->locate_command->add_option("--truth", parts_->locate.truth, "truth CSV (from simulate) to compare with");
    parts_->locate_command->add_option("--plot", parts_->locate.plot, "SVG file for the direction-over-time plot");
    AddMethodOption(*parts_->locate_command, parts_->locate.method);
    AddDirectionOptions(*parts_->locate_command, parts_->locate);
    parts_->locate_command->add_option("--summary", parts_->locate.summary_json, "JSON file for the summary");

    parts_->delays_command = app.add_subcommand("delays", "per-frame delays of the three microphone pairs");
    AddAnalyseOptions(*parts_->delays_command, parts_->delays);

    parts_->listen_command =
        app.add_subcommand("listen", "directions live from an ALSA capture device, one row per voting period");
    AddListenOptions(*parts_->listen_command, parts_->listen);
    AddMethodOption(*parts_->listen_command, parts_->listen.method);
    AddDirectionOptions(*parts_->listen_command, parts_->listen);

    parts_->simulate_command = app.add_subcommand("simulate", "write a 4-channel recording of a scene with known truth");
    AddSimulateOptions(*parts_->simulate_command, parts_->simulate);

    parts_->check_wiring_command =
        app.add_subcommand("check-wiring", "which channel order puts a source of known direction where it is");
    AddAnalyseOptions(*parts_->check_wiring_command, parts_->check_wiring);
    AddAngleOptions(*parts_->check_wiring_command, parts_->check_wiring);
    parts_->check_wiring_command
        ->add_option("--azimuth", parts_->wiring_azimuth_deg, "the source's true direction in the recording, degrees")
        ->required();

    parts_->demo_command = app.add_subcommand("demo", "simulate a default scene, localise it and score the result");
    parts_->demo_command->add_option("--plot", parts_->demo.plot, "SVG file to write")->capture_default_str();

    parts_->accuracy_command =
        app.add_subcommand("accuracy", "both methods on a seeded grid of simulated scenes, scored against the truth");
    AccuracyOptions& accuracy = parts_->accuracy;
    parts_->accuracy_command->add_option("--array", accuracy.array, "ula, uca or four positions, as for locate (default: the grid's five)");
    parts_->accuracy_command->add_option("--distance", accuracy.distance_cm, "cm: ula spacing, uca diameter");
    parts_->accuracy_command->add_option("--rate", accuracy.rate, "sample rate in Hz (default: 16000 and 48000)");
    parts_->accuracy_command->add_flag("--quick", accuracy.quick, "a small grid that runs in seconds");
}

CommandLine::~CommandLine() = default;

int CommandLine::Parse(int argc, char** argv) {
    try {
        parts_->app.parse(argc, argv);
        return -1;
    } catch (const CLI::Success& success) {
        return parts_->app.exit(success);   // help or version, on standard output
    } catch (const CLI::ParseError& error) {
        std::string help = "ezossl --help";
        for (const CLI::App* command : parts_->app.get_subcommands({})) {
            if (command->parsed()) help = "ezossl " + command->get_name() + " --help";
        }
        std::fprintf(stderr, "ezossl: error: %s (see %s)\n", error.what(), help.c_str());
        return kExitUsage;
    }
}

bool CommandLine::ShowLibraryMessages() const { return parts_->show_library_messages; }

int CommandLine::Run() {
    if (parts_->locate_command->parsed()) return RunLocate(parts_->locate);
    if (parts_->delays_command->parsed()) return RunDelays(parts_->delays);
    if (parts_->listen_command->parsed()) return RunListen(parts_->listen);
    if (parts_->simulate_command->parsed()) return RunSimulate(parts_->simulate);
    if (parts_->accuracy_command->parsed()) return RunAccuracy(parts_->accuracy);
    if (parts_->check_wiring_command->parsed()) {
        return RunCheckWiring(parts_->check_wiring, parts_->wiring_azimuth_deg);
    }
    return RunDemo(parts_->demo);
}

}  // namespace ezossl_tool
