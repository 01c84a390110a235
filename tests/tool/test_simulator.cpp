// The simulator on its own: rendered delays, levels, truth files and source files.
#include <sndfile.h>

#include <cmath>
#include <random>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

std::vector<double> Channel(const Audio& audio, int channel) {
    std::vector<double> samples;
    for (size_t i = channel; i < audio.samples.size(); i += audio.channels) samples.push_back(audio.samples[i]);
    return samples;
}

// Correlation sum_n later[n] * earlier[n + lag]: peaks at the lag by which `earlier` leads.
double Correlation(const std::vector<double>& earlier, const std::vector<double>& later, long lag, long margin) {
    double sum = 0.0;
    for (long n = margin; n + margin < long(later.size()); ++n) sum += earlier[n] * later[n + lag];
    return sum;
}

// The peak lag of the correlation with sub-sample precision: the whole-lag correlation is
// interpolated band-limitedly (Hann-windowed sinc over +-kSpan lags, independent of the
// simulator's Kaiser kernel) and its maximum found by golden-section search.
double MeasuredLead(const std::vector<double>& reference, const std::vector<double>& leading, long max_lag) {
    constexpr long kSpan = 48, kMargin = 2000;
    std::vector<double> r(2 * (max_lag + kSpan) + 1);
    for (long lag = -max_lag - kSpan; lag <= max_lag + kSpan; ++lag) {
        r[lag + max_lag + kSpan] = Correlation(leading, reference, lag, kMargin);
    }
    long best = -max_lag;
    for (long lag = -max_lag; lag <= max_lag; ++lag) {
        if (r[lag + max_lag + kSpan] > r[best + max_lag + kSpan]) best = lag;
    }
    const auto interpolated = [&](double tau) {
        double sum = 0.0;
        for (long k = long(std::floor(tau)) - kSpan + 1; k <= long(std::floor(tau)) + kSpan; ++k) {
            const double x = tau - k;
            const double sinc = std::abs(x) < 1e-12 ? 1.0 : std::sin(kPi * x) / (kPi * x);
            const double window = 0.5 + 0.5 * std::cos(kPi * x / kSpan);
            sum += r[k + max_lag + kSpan] * sinc * window;
        }
        return sum;
    };
    double low = best - 1.0, high = best + 1.0;
    const double golden = (std::sqrt(5.0) - 1.0) / 2.0;
    while (high - low > 1e-6) {
        const double a = high - golden * (high - low), b = low + golden * (high - low);
        (interpolated(a) > interpolated(b) ? high : low) = interpolated(a) > interpolated(b) ? b : a;
    }
    return (low + high) / 2.0;
}

using Simulator = ToolTest;

// A 10 cm line at 48 kHz with the source at -50 degrees: microphone p hears the plane wave
// p * 10.627 samples before microphone 0, three different fractions of a sample. The rendering
// is exact up to 16-bit rounding (about 80 dB below the signal) and the 64-tap kernel's ripple,
// both worth well under 1e-3 samples in the speech band (measured: 7e-4 at most); 0.005
// samples leaves room for the measurement's own interpolation, and is far below the 0.12 to
// 0.37 samples that rounding these delays to whole samples would cost.
TEST_F(Simulator, FractionalDelaysMatchThePlaneWave) {
    RunOk({"simulate", "line.wav", "--array", "ula", "--distance", "10", "--rate", "48000", "--azimuth", "-50",
           "--signal", "speech", "--duration", "0.5", "--level", "-20"});
    const Audio audio = ReadAudio(Path("line.wav"));
    ASSERT_EQ(audio.channels, 4);
    const std::vector<double> reference = Channel(audio, 0);
    for (int p = 1; p <= 3; ++p) {
        const double expected = p * 0.10 * std::sin(50 * kPi / 180) / kSpeedOfSound * 48000;
        EXPECT_NEAR(MeasuredLead(reference, Channel(audio, p), 40), expected, 0.005) << "microphone " << p;
    }
}

TEST_F(Simulator, WritesFourChannelSixteenBitWavAtTheLevelAsked) {
    RunOk({"simulate", "level.wav", "--array", "uca", "--distance", "6.5", "--rate", "32000", "--duration", "1.5",
           "--level", "-30", "--snr", "0", "--signal", "pink"});
    SF_INFO info{};
    SNDFILE* file = sf_open(Path("level.wav").c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    sf_close(file);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    EXPECT_EQ(info.channels, 4);
    EXPECT_EQ(info.samplerate, 32000);
    EXPECT_EQ(info.frames, 48000);
    // Source and noise at equal power: the sum is 3.01 dB above the source's -30 dBFS.
    double sum = 0.0;
    const Audio audio = ReadAudio(Path("level.wav"));
    for (const int16_t s : audio.samples) sum += double(s) * s;
    const double level_db = 10 * std::log10(sum / audio.samples.size() / (32768.0 * 32768.0));
    EXPECT_NEAR(level_db, -30 + 10 * std::log10(2.0), 0.05);
}

TEST_F(Simulator, TruthFileFollowsPathAndSweep) {
    RunOk({"simulate", "path.wav", "--array", "uca", "--distance", "6.5", "--duration", "3", "--path", "0:10,1:300,2.5:-45"});
    EXPECT_EQ(ReadFile("path.truth.csv"), "time_s,azimuth_deg\n0.000,10.00\n1.000,-60.00\n2.500,-45.00\n");

    RunOk({"simulate", "sweep.wav", "--truth", "track.csv", "--array", "uca", "--distance", "6.5", "--duration", "2",
           "--sweep", "0:360"});
    const std::vector<Row> rows = ParseCsv(ReadFile("track.csv"));
    ASSERT_EQ(rows.size(), 40u);   // one position every 50 ms
    for (size_t i = 0; i < rows.size(); ++i) {
        const double swept = 180.0 * i * 0.05;   // 180 degrees per second
        EXPECT_NEAR(std::stod(rows[i].at("time_s")), i * 0.05, 1e-9);
        EXPECT_NEAR(std::stod(rows[i].at("azimuth_deg")), swept < 270 ? swept : swept - 360, 0.006);
    }
}

TEST_F(Simulator, SeedMakesScenesRepeatable) {
    const std::vector<std::string> scene = {"--array", "uca", "--distance", "6.5", "--duration", "0.5", "--snr", "10"};
    auto with = [&](const char* out, const char* seed) {
        RunOk(Args({"simulate", out, "--seed", seed}, scene));
        return ReadFile(out);
    };
    EXPECT_EQ(with("a.wav", "7"), with("b.wav", "7"));
    EXPECT_NE(with("a.wav", "7"), with("c.wav", "8"));
}

// A stereo recording as the source: mixed to mono, its length is the scene's, and its
// direction comes back.
TEST_F(Simulator, SourceFileIsMixedToMonoAndLocatable) {
    Audio stereo;
    stereo.sample_rate = 16000;
    stereo.channels = 2;
    std::mt19937 generator(3);
    std::normal_distribution<double> normal(0.0, 3000.0);
    for (int i = 0; i < 2 * 24000; ++i) stereo.samples.push_back(static_cast<int16_t>(normal(generator)));
    WriteAudio(Path("voice.wav"), stereo, SF_FORMAT_WAV | SF_FORMAT_PCM_16);

    const RunResult simulated = RunOk({"simulate", "heard.wav", "--array", "uca", "--distance", "6.5",
                                       "--signal-file", "voice.wav", "--azimuth", "135"});
    EXPECT_NE(simulated.out.find("1.50 s"), std::string::npos) << simulated.out;
    const std::vector<Row> rows =
        ParseCsv(RunOk({"locate", "heard.wav", "--array", "uca", "--distance", "6.5", "--format", "csv"}).out);
    ASSERT_FALSE(rows.empty());
    for (const Row& row : rows) EXPECT_NEAR(std::stod(row.at("direction_deg")), 135, 10.6) << row.at("start_s");
}

}  // namespace
}  // namespace ezossl_tool_test
