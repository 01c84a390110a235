// libFuzzer target: the tool's parsers of user input (array descriptions, channel maps, truth
// CSV, headerless PCM with its options, source positions and room sizes). Each may refuse with
// UsageError or RunError; any other exception, a crash or undefined behaviour is a defect.
#include <fcntl.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

#include "analysis/array_geometry.h"
#include "io/audio_input.h"
#include "io/channel_map.h"
#include "cli/errors.h"
#include "fuzz_input.h"
#include "analysis/library_facts.h"
#include "analysis/library_options.h"
#include "analysis/orientation.h"
#include "simulation/room_acoustics.h"
#include "simulation/trajectory.h"
#include "analysis/truth_track.h"

namespace {

using ezossl_fuzz::FuzzInput;
using namespace ezossl_tool;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const std::optional<double> kDistances[] = {std::nullopt, 4.0, 6.5, 0.04, 1e30, -1.0, kNaN, 1e-300};
const uint32_t kRates[] = {8000, 16000, 32000, 48000, 0, 44100, 4294967295u};
const double kTemperatures[] = {0.0, 25.0, 60.0, -600.0, kNaN};
const int kBits[] = {16, 32, 24, 8};
constexpr int kMaxBlocks = 64;

std::string g_raw_file;

// The rest of the input as text.
std::string Rest(FuzzInput& in) {
    std::string text;
    while (!in.Empty()) text.push_back(static_cast<char>(in.Byte()));
    return text;
}

void Array(FuzzInput& in) {
    const std::optional<double> distance = in.Pick(kDistances);
    const uint32_t rate = in.Pick(kRates);
    const double temperature = in.Pick(kTemperatures);
    const ArrayDescription array = ParseArray(Rest(in), distance);
    MicrophonePositionsM(array);
    Describe(array);
    // locate checks the array as the library gets it: renumbered, a line laid onto x.
    const Orientation orientation(array);
    orientation.Report(0);
    if (IsSupportedRate(rate)) RequireArrayFitsRate(orientation.LibraryArray(), rate, temperature);
}

void Truth(FuzzInput& in) {
    const TruthTrack track = ParseTruthCsv(Rest(in), "truth.csv");
    track.AzimuthAt(0.0);
    track.AzimuthAt(track.points.back().time_s + 1.0);
    track.ToCsv();
}

// A headerless recording with hostile options: the file holds the rest of the input.
void Headerless(FuzzInput& in) {
    AudioInputOptions options;
    options.raw = true;
    options.path = g_raw_file;
    options.raw_rate = in.Pick(kRates);
    options.raw_channels = static_cast<int>(in.Byte()) - 8;
    options.raw_bits = in.Pick(kBits);
    if (in.Byte() % 2) options.map = std::to_string(in.Byte()) + "," + std::to_string(in.Byte()) + ",3,4";
    const std::string content = Rest(in);
    if (FILE* file = std::fopen(g_raw_file.c_str(), "wb")) {
        std::fwrite(content.data(), 1, content.size(), file);
        std::fclose(file);
    }
    const auto source = OpenRecording(options);
    Block block;
    for (int b = 0; b < kMaxBlocks && source->NextBlock(block) > 0; ++b) {
    }
}

void Positions(FuzzInput& in) {
    const uint8_t which = in.Byte() % 4;
    const std::string text = Rest(in);
    if (which == 0) ParseSweep(text).AzimuthAt(1.0, 2.0);
    if (which == 1) ParsePath(text).AzimuthAt(1.0, 2.0);
    if (which == 2) ParseRoomSize(text);
    if (which == 3) RequireAzimuth("--azimuth", std::strtod(text.c_str(), nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    char directory[] = "/dev/shm/ezossl-fuzz-tool-XXXXXX";
    char fallback[] = "/tmp/ezossl-fuzz-tool-XXXXXX";
    const char* made = mkdtemp(directory);
    if (!made) made = mkdtemp(fallback);
    if (!made) std::abort();
    static const std::string base = made;
    g_raw_file = base + "/board.raw";
    std::atexit([] {
        unlink(g_raw_file.c_str());
        rmdir(base.c_str());
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    try {
        switch (in.Byte() % 5) {
            case 0: Array(in); break;
            case 1: ResolveChannelMap(Rest(in), 6, "board.raw"); break;
            case 2: Truth(in); break;
            case 3: Headerless(in); break;
            default: Positions(in); break;
        }
    } catch (const UsageError&) {
    } catch (const RunError&) {
    }
    return 0;
}
