// The subcommands: their options as parsed, and the functions that carry them out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "analysis/library_options.h"
#include "io/alsa_capture.h"
#include "io/audio_input.h"

namespace ezossl_tool {

struct ArrayOptions {
    std::string array;
    std::optional<double> distance_cm;
};

// locate and delays share everything but what they print.
struct AnalyseOptions {
    AudioInputOptions input;
    ArrayOptions array;
    LibraryOptions library;
    std::string format = "table";
    std::optional<std::string> truth;   // locate only
    std::optional<std::string> plot;    // locate only
    std::string method = "specified";   // locate only: specified, srp or both
    double rotate_deg = 0.0;            // locate (and check-wiring) only, as the rest
    std::string angles = "library";
    int hold_periods = 0;
    int smooth_periods = 1;
    std::optional<std::string> summary_json;
};

// listen: a capture device instead of a recording, the same library options as locate.
struct ListenOptions {
    CaptureOptions capture;
    ArrayOptions array;
    LibraryOptions library;
    std::string format = "table";
    std::string method = "specified";
    double rotate_deg = 0.0;
    std::string angles = "library";
    int hold_periods = 0;
    int smooth_periods = 1;
};

struct SimulateOptions {
    std::string output;
    std::optional<std::string> truth;
    ArrayOptions array;
    uint32_t rate = 16000;
    std::optional<double> duration_s;
    std::string signal = "white";
    std::optional<std::string> signal_file;
    double tone_hz = 1000.0;
    std::optional<double> azimuth_deg;
    std::optional<std::string> sweep;
    std::optional<std::string> path;
    std::optional<double> snr_db;
    std::optional<double> rt60_s;
    std::string room = "5x4x3";
    double source_distance_m = 1.5;
    double level_dbfs = -26.0;
    double temperature_c = kDefaultTemperatureC;
    uint64_t seed = 1;
};

struct AccuracyOptions {
    std::optional<std::string> array;   // the default grid's geometries when none is given
    std::optional<double> distance_cm;
    std::optional<uint32_t> rate;       // the default grid's rates when none is given
    bool quick = false;
};

struct DemoOptions {
    std::string plot = "ezossl-demo.svg";
};

int RunLocate(const AnalyseOptions& options);
int RunDelays(const AnalyseOptions& options);
int RunListen(const ListenOptions& options);
int RunSimulate(const SimulateOptions& options);
int RunDemo(const DemoOptions& options);
int RunAccuracy(const AccuracyOptions& options);
// Tries every order of the four microphone channels (and the mirrored board) on a recording of
// a source at azimuth_deg and ranks them.
int RunCheckWiring(const AnalyseOptions& options, double azimuth_deg);

}  // namespace ezossl_tool
