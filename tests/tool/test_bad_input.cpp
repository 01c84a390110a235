// User mistakes: each ends with one line on standard error naming problem and fix, and an exit code.
#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

constexpr int kFailure = 1, kUsage = 2;

struct BadInput {
    const char* name;
    std::vector<std::string> args;
    int exit_code;
    std::string message;   // the whole line after "ezossl: error: ", or its start when it ends in "..."
};

void PrintTo(const BadInput& input, std::ostream* out) { *out << input.name; }

const std::vector<std::string> kUca = {"--array", "uca", "--distance", "6.5"};

std::vector<std::string> Locate(const std::string& file, const std::vector<std::string>& extra = kUca) {
    return Args({"locate", file}, extra);
}

std::vector<std::string> Simulate(const std::vector<std::string>& extra) { return Args({"simulate", "out.wav"}, extra); }

const BadInput kBadInputs[] = {
    // Files that cannot be used.
    {"missing_file", Locate("nofile.wav"), kFailure, "cannot open \"nofile.wav\": no such file (check the path)"},
    {"not_audio", Locate("notes.txt"), kFailure, "\"notes.txt\" is not a recording libsndfile can read (..."},
    {"directory", Locate("."), kFailure, "\".\" is a directory, not a recording"},
    {"two_channels", Locate("two.wav"), kFailure, "needs 4 channels, two.wav has 2; record all four microphones into one file"},
    {"six_channels_without_map", Locate("six.wav"), kFailure,
     "needs 4 channels, six.wav has 6; pick the microphones' channels with --map, e.g. --map 1,2,3,4"},
    {"unsupported_rate", Locate("cd.wav"), kFailure,
     "\"cd.wav\" is sampled at 44100 Hz, the library supports 8000, 16000, 32000 or 48000 Hz; resample it first, "
     "e.g. sox cd.wav -r 48000 out-48000.wav"},
    {"empty_recording", Locate("empty.wav"), kFailure, "\"empty.wav\" holds no samples; record some sound first"},
    {"missing_truth", Args(Locate("good.wav"), {"--truth", "none.csv"}), kFailure,
     "cannot open the truth file \"none.csv\" (check the path)"},
    {"malformed_truth", Args(Locate("good.wav"), {"--truth", "notes.txt"}), kFailure,
     "notes.txt line 1: expected \"time_s,azimuth_deg\" numbers, as ezossl simulate writes them"},
    {"truth_not_a_number", Args(Locate("good.wav"), {"--truth", "nan.csv"}), kFailure,
     "nan.csv line 2: \"0,nan\" is not a finite time and azimuth; give numbers as ezossl simulate writes them"},
    {"truth_endless", Args(Locate("good.wav"), {"--truth", "/dev/zero"}), kFailure,
     "the truth file \"/dev/zero\" is larger than 16 MB, too large for a truth CSV (check the path)"},
    {"rate_zero_in_header", Locate("rate0.wav"), kFailure,
     "\"rate0.wav\" is a WAV file whose header gives 0 Hz and 4 channels; repair the header, or read the samples with "
     "--raw --rate HZ --channels N"},
    // Array descriptions.
    {"too_few_positions", Locate("good.wav", {"--array", "1,2,3"}), kUsage,
     "--array \"1,2,3\": found 3 numbers, need 8; expected ula, uca or four x,y positions in cm, e.g. --array \"0,0 4,0 4,4 0,4\""},
    {"unknown_array", Locate("good.wav", {"--array", "circle"}), kUsage,
     "--array \"circle\": \"circle\" is not a number; expected ula, uca or four x,y positions in cm, e.g. --array \"0,0 4,0 4,4 0,4\""},
    {"zero_distance", Locate("good.wav", {"--array", "uca", "--distance", "0"}), kUsage,
     "--distance must be greater than 0 cm (the diameter of the circle), got 0"},
    {"negative_distance", Locate("good.wav", {"--array", "ula", "--distance", "-4"}), kUsage,
     "--distance must be greater than 0 cm (the spacing of neighbouring microphones), got -4"},
    {"missing_distance", Locate("good.wav", {"--array", "ula"}), kUsage,
     "--array ula needs --distance CM, the spacing of neighbouring microphones"},
    {"distance_with_positions", Locate("good.wav", {"--array", "0,0 4,0 4,4 0,4", "--distance", "4"}), kUsage,
     "--distance does not apply to an array given by positions; leave it out"},
    {"coincident_microphones", Locate("good.wav", {"--array", "0,0 4,0 4,4 4,0"}), kUsage,
     "--array: microphones 1 and 3 are both at (4, 0) cm; give each microphone its own position"},
    {"array_far_too_wide", Locate("good.wav", {"--array", "0,0 1e30,0 4,4 0,4"}), kUsage,
     "--array: the microphones are up to 1e+30 cm apart, far larger than any array the library handles; positions are in cm"},
    {"coincident_in_single_precision", Locate("good.wav", {"--array", "0,0 1e-300,0 2e-300,0 3e-300,0"}), kUsage,
     "--array: microphones 0 and 1 at (0, 0) and (1e-300, 0) cm are one position in the library's single precision; "
     "give each microphone its own position"},
    {"nearly_collinear", Locate("good.wav", {"--array", "0,0 4,0 8,0.001 12,0"}), kUsage,
     "--array: the microphones lie within 0.0011 cm of one line, less than the 2.16 cm sound travels in one sample at "
     "16000 Hz, so directions across it cannot be told apart; move them at least 2.16 cm off the line, or put all "
     "four on one line for a linear array"},
    {"distance_in_metres", Locate("good.wav", {"--array", "uca", "--distance", "0.04"}), kUsage,
     "--distance 0.04 cm puts the microphone pairs at most 0.04 cm apart, less than the 2.16 cm sound travels in one "
     "sample at 16000 Hz, so every direction looks alike; --distance is in cm, e.g. --distance 6.5"},
    {"positions_too_close", Simulate({"--array", "0,0 0.1,0 0.1,0.1 0,0.1"}), kUsage,
     "--array puts the microphone pairs at most 0.14 cm apart, less than the 2.16 cm sound travels in one sample at "
     "16000 Hz, so every direction looks alike; positions are in cm, e.g. --array \"0,0 4,0 4,4 0,4\""},
    {"array_too_wide", Locate("good.wav", {"--array", "ula", "--distance", "100"}), kUsage,
     "the array spans 300.0 cm, which sound crosses in 139 samples at 16000 Hz; the library handles less than 124, "
     "so use a smaller array or a lower rate"},
    // Channel maps.
    {"map_beyond_channels", Args(Locate("six.wav"), {"--map", "1,2,3,7"}), kUsage, "--map: six.wav has channels 1 to 6, not 7"},
    {"map_repeats_channel", Args(Locate("six.wav"), {"--map", "1,2,2,3"}), kUsage,
     "--map: channel 2 is given twice; each microphone needs its own channel"},
    {"map_beyond_long", Args(Locate("six.wav"), {"--map", "99999999999999999999,2,3,4"}), kUsage,
     "--map: six.wav has channels 1 to 6, not 99999999999999999999"},
    {"map_too_short", Args(Locate("six.wav"), {"--map", "1,2,3"}), kUsage,
     "--map \"1,2,3\": give four channel numbers separated by commas, e.g. --map 1,2,3,4"},
    // Library settings the library would clamp or wrap silently.
    {"threshold_above_zero", Args(Locate("good.wav"), {"--threshold", "5"}), kUsage,
     "--threshold must lie between -80 and 0 dB, got 5"},
    {"temperature_below_zero", Args(Locate("good.wav"), {"--temperature", "-5"}), kUsage,
     "--temperature must lie between 0 and 60 deg C, got -5"},
    {"gain_too_large", Args(Locate("good.wav"), {"--gain", "200"}), kUsage, "--gain must lie between -120 and 120 dB, got 200"},
    {"no_frames_per_vote", Args(Locate("good.wav"), {"--frames-per-vote", "0"}), kUsage,
     "--frames-per-vote must lie between 1 and 1000000, got 0"},
    {"plot_of_delays", Args(Locate("good.wav"), {"--bf-mode", "1", "--plot", "p.svg"}), kUsage,
     "--bf-mode 1 gives delays only, so --truth, --plot and --summary have nothing to show; leave them out"},
    {"plot_and_summary_alike", Args(Locate("good.wav"), {"--plot", "out", "--summary", "./out"}), kUsage,
     "--plot and --summary name the same file; give each its own"},
    {"smooth_zero", Args(Locate("good.wav"), {"--smooth", "0"}), kUsage, "--smooth must lie between 1 and 1000 periods, got 0"},
    {"unknown_angles", Args(Locate("good.wav"), {"--angles", "north"}), kUsage,
     "--angles north is not known; choose library (counter-clockwise from +y, -90 to 269) or compass (clockwise from "
     "the front, 0 to 359)"},
    {"unknown_format", Args(Locate("good.wav"), {"--format", "xml"}), kUsage, "--format xml is not known; choose table, csv or json"},
    // Headerless input.
    {"raw_without_rate", Args(Locate("good.wav"), {"--raw", "--channels", "4"}), kUsage,
     "--raw needs --rate HZ and --channels N, the file has no header to tell them"},
    {"rate_without_raw", Args(Locate("good.wav"), {"--rate", "16000"}), kUsage,
     "--rate and --channels describe headerless PCM; use them with --raw"},
    {"raw_rate_zero", Args(Locate("good.wav"), {"--raw", "--rate", "0", "--channels", "4"}), kUsage,
     "--rate 0 Hz is not one the library supports; choose 8000, 16000, 32000 or 48000 Hz (resample the recording first)"},
    {"raw_rate_huge", Args(Locate("good.wav"), {"--raw", "--rate", "4294967295", "--channels", "4"}), kUsage,
     "--rate 4294967295 Hz is not one the library supports; choose 8000, 16000, 32000 or 48000 Hz (resample the "
     "recording first)"},
    {"raw_channels_huge", Args(Locate("good.wav"), {"--raw", "--rate", "16000", "--channels", "100000"}), kUsage,
     "--channels must lie between 1 and 1024, got 100000"},
    {"raw_24_bits", Args(Locate("good.wav"), {"--raw", "--rate", "16000", "--channels", "4", "--bits", "24"}), kUsage,
     "--bits 24 is not supported; headerless PCM must be 16 or 32 bits"},
    // Outputs that cannot be written.
    {"plot_unwritable", Args(Locate("good.wav"), {"--plot", "nodir/p.svg"}), kFailure,
     "cannot write \"nodir/p.svg\": No such file or directory (choose a writable path)"},
    {"plot_over_input", Args(Locate("good.wav"), {"--plot", "good.wav"}), kUsage,
     "\"good.wav\" is also an input of this command; write the output elsewhere"},
    {"recording_unwritable", {"simulate", "nodir/s.wav", "--array", "uca", "--distance", "6.5"}, kFailure,
     "cannot write \"nodir/s.wav\": No such file or directory (choose a writable path)"},
    {"demo_plot_unwritable", {"demo", "--plot", "nodir/demo.svg"}, kFailure,
     "cannot write \"nodir/demo.svg\": No such file or directory (choose a writable path)"},
    // Scenes that cannot exist.
    {"simulate_unsupported_rate", Simulate(Args(kUca, {"--rate", "44100"})), kUsage,
     "--rate 44100 Hz is not one the library supports; choose 8000, 16000, 32000 or 48000 Hz"},
    {"simulate_unknown_signal", Simulate(Args(kUca, {"--signal", "brown"})), kUsage,
     "--signal brown is not known; choose white, pink, speech or tone (or --signal-file FILE)"},
    {"simulate_bad_sweep", Simulate(Args(kUca, {"--sweep", "0-90"})), kUsage,
     "--sweep \"0-90\": give start and end azimuths in degrees, e.g. --sweep -90:270"},
    {"simulate_path_backwards", Simulate(Args(kUca, {"--path", "0:0,2:90,1:180"})), kUsage,
     "--path \"0:0,2:90,1:180\": times must increase from pair to pair"},
    {"simulate_level_nan", Simulate(Args(kUca, {"--level", "nan"})), kUsage,
     "--level must be a finite number of dBFS, 0 or lower, got nan"},
    {"simulate_snr_infinite", Simulate(Args(kUca, {"--snr", "inf"})), kUsage, "--snr must be a finite number of dB, got inf"},
    {"simulate_azimuth_nan", Simulate(Args(kUca, {"--azimuth", "nan"})), kUsage,
     "--azimuth: azimuths must be finite numbers of degrees between -3600 and 3600, got nan"},
    {"simulate_azimuth_huge", Simulate(Args(kUca, {"--azimuth", "1e308"})), kUsage,
     "--azimuth: azimuths must be finite numbers of degrees between -3600 and 3600, got 1e+308"},
    {"simulate_sweep_nan", Simulate(Args(kUca, {"--sweep", "nan:0"})), kUsage,
     "--sweep \"nan:0\": azimuths must be finite numbers of degrees between -3600 and 3600, got nan"},
    {"simulate_path_nan", Simulate(Args(kUca, {"--path", "0:nan"})), kUsage,
     "--path \"0:nan\": azimuths must be finite numbers of degrees between -3600 and 3600, got nan"},
    {"simulate_temperature_nan", Simulate(Args(kUca, {"--temperature", "nan"})), kUsage,
     "--temperature must lie between 0 and 60 deg C, got nan"},
    {"simulate_temperature_below_zero", Simulate(Args(kUca, {"--temperature", "-600"})), kUsage,
     "--temperature must lie between 0 and 60 deg C, got -600"},
    {"simulate_source_not_a_number", Simulate(Args(kUca, {"--signal-file", "nan.wav", "--duration", "0.1"})), kFailure,
     "the source file \"nan.wav\" holds 2 samples that are not finite numbers (NaN or infinity); repair it or choose another"},
    {"simulate_distance_in_metres", Simulate({"--array", "uca", "--distance", "1e-30"}), kUsage,
     "--distance 1e-30 cm puts the microphone pairs at most 1e-30 cm apart, less than the 2.16 cm sound travels in one "
     "sample at 16000 Hz, so every direction looks alike; --distance is in cm, e.g. --distance 6.5"},
    {"simulate_truth_is_the_recording", {"simulate", "a.wav", "--truth", "./a.wav", "--array", "uca", "--distance", "6.5"},
     kUsage, "--truth must name a different file than the recording"},
    {"simulate_duration_below_a_block", Simulate(Args(kUca, {"--duration", "1e-9"})), kUsage,
     "--duration 1e-09 s is shorter than one block of 128 samples (0.008 s at 16000 Hz); give at least 0.008"},
    {"simulate_room_too_slow",
     Simulate(Args(kUca, {"--duration", "0.5", "--room", "1x1x1", "--rt60", "1", "--source-distance", "0.2"})), kUsage,
     "--rt60 1 s in a 1x1x1 m room with 1 source position(s) means about 695 million reflections to render, more than "
     "300 million; use --rt60 0.76 or less, a larger --room, or a steadier source"},
    {"simulate_zero_duration", Simulate(Args(kUca, {"--duration", "0"})), kUsage,
     "--duration must be more than 0 and at most 600 s, got 0"},
    {"simulate_room_too_dry", Simulate(Args(kUca, {"--rt60", "0.05"})), kUsage,
     "--rt60 0.05 s is shorter than a 5x4x3 m room can be; use at least 0.11 s or a larger room"},
    {"simulate_source_outside_room", Simulate(Args(kUca, {"--rt60", "0.3", "--source-distance", "3", "--azimuth", "90"})),
     kUsage, "--source-distance 3 m puts the source at azimuth 90 deg outside the room; shorten it or enlarge --room"},
    {"simulate_bad_room", Simulate(Args(kUca, {"--rt60", "0.3", "--room", "5x4"})), kUsage,
     "--room \"5x4\": give length, width and height in metres, e.g. --room 5x4x3"},
    // The command line itself.
    {"missing_file_argument", {"locate", "--array", "uca"}, kUsage, "FILE is required (see ezossl locate --help)"},
    {"conflicting_positions", Simulate(Args(kUca, {"--azimuth", "3", "--sweep", "0:90"})), kUsage,
     "--azimuth excludes --sweep (see ezossl simulate --help)"},
    {"no_subcommand", {}, kUsage, "A subcommand is required (see ezossl --help)"},
};

class BadInputTest : public ToolTest, public ::testing::WithParamInterface<BadInput> {
  protected:
    void SetUp() override {
        ToolTest::SetUp();
        WriteFile("notes.txt", "these are notes, not audio\n");
        WriteAudioOfShape("good.wav", 16000, 4, 4096);
        WriteAudioOfShape("two.wav", 16000, 2, 4096);
        WriteAudioOfShape("six.wav", 16000, 6, 4096);
        WriteAudioOfShape("cd.wav", 44100, 4, 4096);
        WriteAudioOfShape("empty.wav", 16000, 4, 0);
        WriteFile("nan.csv", "time_s,azimuth_deg\n0,nan\n");
        WriteNanWav("nan.wav");
        WriteRateZeroWav("rate0.wav");
    }

    // A float recording of four channels with two samples that are not numbers.
    void WriteNanWav(const std::string& name) {
        std::vector<float> samples(4 * 16000, 0.25f);
        samples[5] = samples[4000] = std::nanf("");
        SF_INFO info{};
        info.samplerate = 16000;
        info.channels = 4;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE* file = sf_open(Path(name).c_str(), SFM_WRITE, &info);
        sf_writef_float(file, samples.data(), 16000);
        sf_close(file);
    }

    // A 16-bit WAV whose header claims a sample rate of 0 Hz.
    void WriteRateZeroWav(const std::string& name) {
        WriteAudioOfShape(name, 16000, 4, 4096);
        std::fstream file(Path(name), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(24);
        file.write("\0\0\0\0", 4);
    }

    void WriteAudioOfShape(const std::string& name, int rate, int channels, size_t frames) {
        Audio audio{rate, channels, std::vector<int16_t>(frames * channels, 0)};
        for (size_t i = 0; i < audio.samples.size(); ++i) audio.samples[i] = static_cast<int16_t>((i * 7919) % 2001 - 1000);
        WriteAudio(Path(name), audio, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    }
};

TEST_P(BadInputTest, EndsWithOneClearLineAndAnExitCode) {
    const BadInput& input = GetParam();
    const RunResult result = Run(input.args);
    EXPECT_EQ(result.exit_code, input.exit_code);
    EXPECT_EQ(result.out, "");
    const std::vector<std::string> lines = Lines(result.err);
    ASSERT_EQ(lines.size(), 1u) << result.err;
    const std::string prefix = "ezossl: error: ";
    const bool is_start = input.message.size() > 3 && input.message.compare(input.message.size() - 3, 3, "...") == 0;
    if (is_start) {
        EXPECT_EQ(lines[0].substr(0, prefix.size() + input.message.size() - 3),
                  prefix + input.message.substr(0, input.message.size() - 3));
    } else {
        EXPECT_EQ(lines[0], prefix + input.message);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, BadInputTest, ::testing::ValuesIn(kBadInputs),
                         [](const auto& info) { return std::string(info.param.name); });

using LostData = ToolTest;

// A run that fails after reserving its outputs leaves the files that were there untouched and
// no temporary files behind.
TEST_F(LostData, FailedSimulateKeepsTheEarlierRecording) {
    WriteFile("out.wav", "earlier recording");
    const RunResult result = Run(Simulate(Args(kUca, {"--rt60", "0.3", "--source-distance", "3", "--azimuth", "90"})));
    EXPECT_EQ(result.exit_code, kUsage);
    EXPECT_EQ(ReadFile("out.wav"), "earlier recording");
    EXPECT_FALSE(Exists("out.wav.tmp"));
    EXPECT_FALSE(Exists("out.truth.csv"));
    EXPECT_FALSE(Exists("out.truth.csv.tmp"));
}

// Outputs are written to what a path finally names: a link is followed, not replaced, and a
// FIFO (like a device) is written in place.
TEST_F(LostData, OutputsFollowLinksAndFillFifosInPlace) {
    std::filesystem::create_symlink("real.wav", Path("link.wav"));
    RunOk(Args({"simulate", "link.wav", "--duration", "0.2"}, kUca));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.wav")));
    EXPECT_EQ(ReadAudio(Path("real.wav")).samples.size(), 3200u * 4);

    ASSERT_EQ(mkfifo(Path("fifo.wav").c_str(), 0600), 0);
    const int reader = open(Path("fifo.wav").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    RunOk(Args({"simulate", "fifo.wav", "--duration", "0.2", "--truth", "t.csv"}, kUca));
    std::string received(65536, '\0');   // the whole WAV fits the FIFO's buffer
    const ssize_t got = read(reader, received.data(), received.size());
    close(reader);
    EXPECT_EQ(got, 44 + 3200 * 8);
    EXPECT_EQ(received.substr(0, 4), "RIFF");
    EXPECT_TRUE(std::filesystem::is_fifo(Path("fifo.wav")));
}

}  // namespace
}  // namespace ezossl_tool_test
