// Live and streamed input: listen from an ALSA device (the file plugin stands in for a sound
// card), locate from a pipe at real-time pace, Ctrl-C during a capture, delays in bounded memory.
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

using Clock = std::chrono::steady_clock;
// Signals, pipe timing and memory are the emulator's own there, not the tool's.
constexpr const char* kNativeOnly = "process-level check of the native tool, skipped under the emulator";

const std::vector<std::string> kUca = {"--array", "uca", "--distance", "6.5"};
constexpr int kRate = 16000;
constexpr int kFramesPerPeriod = 32;   // the default voting period
constexpr int kBlockFrames = 128;

// Every device the tests use is defined here, so the machine's own ALSA set-up plays no part.
// The file plugin reads its infile as the captured samples; multi offers two channels only.
constexpr const char* kAlsaConfig =
    "pcm.scene16 { type file; slave.pcm { type null }; file \"/dev/null\"; infile \"scene16.raw\"; format raw }\n"
    "pcm.scene32 { type file; slave.pcm { type null }; file \"/dev/null\"; infile \"scene32.raw\"; format raw }\n"
    "pcm.stereo { type multi; slaves.a { pcm { type null }; channels 2 }\n"
    "             bindings { 0 { slave a; channel 0 } 1 { slave a; channel 1 } } }\n";

// Headerless little-endian PCM: the four microphones from channel `first` on, silence elsewhere.
std::string RawPcm(const Audio& audio, int channels, int first, int bits, size_t frames) {
    std::string bytes;
    for (size_t n = 0; n < frames; ++n) {
        for (int c = 0; c < channels; ++c) {
            const bool mic = c >= first && c < first + 4;
            // 16-bit values shifted to the top of 32 bits convert back exactly.
            const uint32_t value = mic ? uint32_t(int32_t(audio.samples[n * 4 + c - first]) * (bits == 32 ? 65536 : 1)) : 0;
            for (int b = 0; b < bits / 8; ++b) bytes += char((value >> (8 * b)) & 0xFF);
        }
    }
    return bytes;
}

// Reads the child's output to its end, noting when each line arrived.
struct TimedLines {
    std::vector<std::string> lines;
    std::vector<Clock::time_point> times;
};

TimedLines ReadLines(int fd, size_t stop_after = SIZE_MAX) {
    TimedLines result;
    std::string pending;
    char buffer[4096];
    ssize_t got = 0;
    while (result.lines.size() < stop_after && (got = read(fd, buffer, sizeof buffer)) > 0) {
        pending.append(buffer, size_t(got));
        for (size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            result.lines.push_back(pending.substr(0, end));
            result.times.push_back(Clock::now());
            pending.erase(0, end + 1);
        }
    }
    return result;
}

class Live : public ToolTest {
  protected:
    void SetUp() override {
        ToolTest::SetUp();
        WriteFile("asound.conf", kAlsaConfig);
        setenv("ALSA_CONFIG_PATH", Path("asound.conf").c_str(), 1);
        RunOk(Args({"simulate", "scene.wav", "--path", "0:30,1:200", "--duration", "2"}, kUca));
        scene_ = ReadAudio(Path("scene.wav"));
    }
    void TearDown() override { unsetenv("ALSA_CONFIG_PATH"); }

    Audio scene_;
};

// The capture must drive the library exactly as a file does: 1.5 s captured give the rows of
// the first 1.5 s of the scene read from a file, plus the overrun count, and the same summary.
TEST_F(Live, ListenGivesTheRowsOfLocate) {
    const size_t frames = size_t(1.5 * kRate);
    WriteFile("cut.raw", RawPcm(scene_, 4, 0, 16, frames));
    WriteFile("scene16.raw", RawPcm(scene_, 4, 0, 16, scene_.samples.size() / 4));
    WriteFile("scene32.raw", RawPcm(scene_, 6, 2, 32, scene_.samples.size() / 4));
    const RunResult file = RunOk(
        Args({"locate", "cut.raw", "--raw", "--rate", "16000", "--channels", "4", "--format", "csv"}, kUca));
    const std::vector<std::vector<std::string>> captures = {
        {"--device", "scene16"},
        {"--device", "scene32", "--bits", "32", "--channels", "6", "--map", "3,4,5,6"},
    };
    for (const std::vector<std::string>& capture : captures) {
        const RunResult live = RunOk(Args(Args({"listen", "--duration", "1.5", "--format", "csv"}, capture), kUca));
        std::vector<Row> rows = ParseCsv(live.out);
        for (Row& row : rows) EXPECT_EQ(row.at("overruns"), "0");
        for (Row& row : rows) row.erase("overruns");
        EXPECT_EQ(rows, ParseCsv(file.out)) << capture[1];
        EXPECT_EQ(live.err, "captured 1.500 s from \"" + capture[1] + "\", overruns: 0\n" + file.err) << capture[1];
    }
}

struct ListenError {
    std::vector<std::string> args;
    int exit_code;
    std::string message;
};

TEST_F(Live, ListenErrorsNameTheProblemAndTheFix) {
    const ListenError errors[] = {
        {{"--device", "nosuch"}, 1,
         "no capture device \"nosuch\" (No such file or directory); list the devices with arecord -L, or the cards "
         "with arecord -l, e.g. --device plughw:1,0"},
        {{"--device", "stereo"}, 1,
         "\"stereo\" cannot give 4 channels, it gives 2; choose the 4-microphone board's device (arecord -l lists "
         "the cards)"},
        {{"--device", "scene16", "--channels", "8"}, 1,
         "needs 4 channels, the capture from \"scene16\" has 8; pick the microphones' channels with --map, e.g. --map "
         "1,2,3,4"},
        {{"--device", "scene16", "--rate", "44100"}, 2,
         "--rate 44100 Hz is not one the library supports; choose 8000, 16000, 32000 or 48000 Hz"},
        {{"--device", "scene16", "--channels", "2"}, 2, "--channels must be at least 4, one per microphone, got 2"},
        {{"--device", "scene16", "--bits", "24"}, 2, "--bits must be 16 or 32 (S16_LE or S32_LE samples), got 24"},
        {{"--device", "scene16", "--duration", "0"}, 2, "--duration must be a positive number of seconds"},
    };
    for (const ListenError& error : errors) {
        const RunResult result = Run(Args(Args({"listen"}, error.args), kUca));
        EXPECT_EQ(result.exit_code, error.exit_code) << error.message;
        EXPECT_EQ(result.err, "ezossl: error: " + error.message + "\n");
        EXPECT_EQ(result.out, "");
    }
}

// Ctrl-C (or kill) ends the capture cleanly: the period under way is voted and printed, then
// the summary.
TEST_F(Live, InterruptedListenKeepsItsRowsAndSummary) {
    if (UnderEmulator()) GTEST_SKIP() << kNativeOnly;
    WriteFile("scene16.raw", RawPcm(scene_, 4, 0, 16, scene_.samples.size() / 4));
    for (const int stop_signal : {SIGINT, SIGTERM}) {
        Child child = Start(Args({"listen", "--device", "scene16", "--format", "csv"}, kUca));
        TimedLines output = ReadLines(child.output, 2);   // the header and a first row: the capture runs
        kill(child.pid, stop_signal);
        const TimedLines rest = ReadLines(child.output);
        output.lines.insert(output.lines.end(), rest.lines.begin(), rest.lines.end());
        const Finished finished = Wait(child);
        EXPECT_EQ(finished.exit_code, 0) << finished.err;
        ASSERT_GE(output.lines.size(), 2u);
        EXPECT_EQ(output.lines[0], "start_s,status,direction_deg,level_dbfs,accepted_01,accepted_02,accepted_03,overruns");
        const std::vector<std::string> summary = Lines(finished.err);
        ASSERT_GE(summary.size(), 2u) << finished.err;
        EXPECT_EQ(summary[0].rfind("captured ", 0), 0u) << finished.err;
        const std::string periods = "periods: " + std::to_string(output.lines.size() - 1) + " of 0.256 s";
        EXPECT_EQ(summary[1].rfind(periods, 0), 0u) << finished.err;
    }
}

// Standard input is read like a file, both as a WAV stream and as headerless PCM.
TEST_F(Live, StandardInputGivesTheRowsOfTheFile) {
    if (UnderEmulator()) GTEST_SKIP() << kNativeOnly;
    WriteFile("scene.raw", RawPcm(scene_, 4, 0, 16, scene_.samples.size() / 4));
    const std::vector<std::string> raw = {"--raw", "--rate", "16000", "--channels", "4"};
    const std::vector<std::pair<std::string, std::vector<std::string>>> inputs = {
        {"scene.wav", {"locate"}}, {"scene.wav", {"delays"}}, {"scene.raw", Args({"delays"}, raw)}};
    for (const auto& [file, command] : inputs) {
        const RunResult from_file = RunOk(Args(Args(command, {file, "--format", "csv"}), kUca));
        Child child = Start(Args(Args(command, {"-", "--format", "csv"}), kUca));
        const std::string bytes = ReadFile(file);
        std::thread writer([&] {
            EXPECT_EQ(write(child.input, bytes.data(), bytes.size()), ssize_t(bytes.size()));
            close(child.input);   // headerless PCM ends with the input
            child.input = -1;
        });
        const TimedLines rows = ReadLines(child.output);
        writer.join();
        const Finished finished = Wait(child);
        EXPECT_EQ(finished.exit_code, 0) << finished.err;
        EXPECT_EQ(rows.lines, Lines(from_file.out)) << file;
        EXPECT_EQ(finished.err, from_file.err) << file;
    }
}

// A WAV written into a pipe at the pace of a microphone: each row must leave the tool within
// 50 ms of the last sample of its period going in.
TEST_F(Live, PipedRowsAppearAsTheirPeriodsEnd) {
    if (UnderEmulator()) GTEST_SKIP() << kNativeOnly;
    signal(SIGPIPE, SIG_IGN);
    const std::string wav = ReadFile("scene.wav");
    const size_t block_bytes = kBlockFrames * 4 * sizeof(int16_t);
    const size_t header = wav.size() - scene_.samples.size() * sizeof(int16_t);
    const size_t blocks = (wav.size() - header + block_bytes - 1) / block_bytes;
    Child child = Start(Args({"locate", "-", "--format", "csv"}, kUca));
    TimedLines output;
    std::thread reader([&] { output = ReadLines(child.output); });

    std::vector<Clock::time_point> period_ends;
    const Clock::time_point start = Clock::now();
    ASSERT_EQ(write(child.input, wav.data(), header), ssize_t(header));
    for (size_t block = 0; block < blocks; ++block) {
        std::this_thread::sleep_until(start + std::chrono::microseconds((block + 1) * 1000000 * kBlockFrames / kRate));
        const size_t offset = header + block * block_bytes;
        const size_t size = std::min(block_bytes, wav.size() - offset);
        // Timed as the write starts: the tool may answer before write() has returned here.
        const Clock::time_point sent = Clock::now();
        ASSERT_EQ(write(child.input, wav.data() + offset, size), ssize_t(size));
        // The header tells the length, so the last, shorter period ends with the last block.
        if ((block + 1) % kFramesPerPeriod == 0 || block + 1 == blocks) period_ends.push_back(sent);
    }
    close(child.input);
    child.input = -1;
    reader.join();
    EXPECT_EQ(Wait(child).exit_code, 0);

    ASSERT_EQ(output.lines.size(), period_ends.size() + 1);   // with the header
    for (size_t period = 0; period < period_ends.size(); ++period) {
        const auto latency = output.times[period + 1] - period_ends[period];
        const double ms = std::chrono::duration<double, std::milli>(latency).count();
        std::printf("period %zu: row after %.1f ms\n", period, ms);
        EXPECT_GT(ms, 0.0) << "a row before its period ended";
        EXPECT_LT(ms, 50.0) << "period " << period;
    }
}

// delays streams its rows and keeps none: half a gigabyte of input (64 channels of 32 bits, 16384
// frames) needs no more memory than 8 MiB does. Under AddressSanitizer freed memory is held back
// unless its quarantine is off.
TEST_F(Live, DelaysMemoryDoesNotGrowWithTheInput) {
    if (UnderEmulator()) GTEST_SKIP() << kNativeOnly;
    const char* sanitizer = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", (std::string(sanitizer ? sanitizer : "") + ":quarantine_size_mb=0").c_str(), 1);
    long max_rss_kb[2] = {};
    const long long sizes[2] = {8LL << 20, 512LL << 20};
    for (int i = 0; i < 2; ++i) {
        WriteFile("long.raw", "");
        ASSERT_EQ(truncate(Path("long.raw").c_str(), sizes[i]), 0);
        Child child = Start(Args({"delays", "long.raw", "--raw", "--rate", "16000", "--channels", "64", "--bits", "32",
                                  "--map", "1,2,3,4", "--format", "csv"},
                                 kUca),
                            "/dev/null");
        const Finished finished = Wait(child);
        EXPECT_EQ(finished.exit_code, 0) << finished.err;
        max_rss_kb[i] = finished.max_rss_kb;
    }
    if (sanitizer) setenv("ASAN_OPTIONS", sanitizer, 1);
    std::printf("delays max RSS: %ld KB on 8 MiB, %ld KB on 512 MiB\n", max_rss_kb[0], max_rss_kb[1]);
    EXPECT_LT(max_rss_kb[1], 50 * 1024);
    EXPECT_LT(max_rss_kb[1] - max_rss_kb[0], 3 * 1024);   // a kept row costs hundreds of bytes: 16384 are megabytes
}

}  // namespace
}  // namespace ezossl_tool_test
