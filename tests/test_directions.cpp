// End to end: far-field sources rendered with fractional delays come back at their azimuth.
#include <cmath>

#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

constexpr double kSpeedOfSound = 346.0;  // 25 degrees, the configured temperature

struct Period {
    uint32_t status;
    int32_t direction;
};

// One voting period: Run over `frames` blocks from `first_block`, then Get_Direction.
Period RunPeriod(SslHandle* handle, const Channels& channels, int first_block, int frames) {
    Period period{};
    int32_t delays[3];
    CaptureOutput([&] {
        for (int f = 0; f < frames; ++f) {
            const auto block = InterleaveBlock(channels, first_block + f);
            EXPECT_EQ(EzoSsl_Run(handle, block.data(), delays), SSL_RET_OK);
        }
        period.status = EzoSsl_Get_Direction(handle, &period.direction);
    });
    return period;
}

// Whole voting periods, each closed by Reset_Mapping, over all the channels' blocks.
std::vector<Period> Localise(SslHandle* handle, const Channels& channels, int frames_per_period) {
    std::vector<Period> periods;
    const int blocks = static_cast<int>(channels[0].size()) / kBlockSamples;
    for (int b = 0; b + frames_per_period <= blocks; b += frames_per_period) {
        periods.push_back(RunPeriod(handle, channels, b, frames_per_period));
        CaptureOutput([&] { EXPECT_EQ(EzoSsl_Reset_Mapping(handle), SSL_RET_OK); });
    }
    return periods;
}

double AngleError(double measured, double truth) {
    const double error = std::fabs(std::fmod(measured - truth, 360.0));
    return std::fmin(error, 360.0 - error);
}

struct ArrayCase {
    const char* name;
    uint32_t sample_rate;
    float mic_distance_cm;  // Init's distance (spacing or diameter)
    int geometry;           // 0 linear, 1 circular, 2 arbitrary
    float positions_cm[8];  // arbitrary arrays only
};

const ArrayCase kArrays[] = {
    {"ULA 5 cm 16 kHz", 16000, 5.0f, 0, {}},
    {"ULA 4 cm 48 kHz", 48000, 4.0f, 0, {}},
    {"UCA 6.5 cm 16 kHz", 16000, 6.5f, 1, {}},
    {"UCA 10 cm 48 kHz", 48000, 10.0f, 1, {}},
    {"square 5 cm 16 kHz", 16000, 0.0f, 2, {0, 0, 5, 0, 5, 5, 0, 5}},
    {"trapezoid 8 cm 32 kHz", 32000, 0.0f, 2, {0, 0, 3, 6, 8, 6, 6, -2}},
};

void Positions(const ArrayCase& array, MicPosition mics[kChannels]) {
    if (array.geometry == 0) return LinearArray(array.mic_distance_cm / 100.0, mics);
    if (array.geometry == 1) return CircularArray(array.mic_distance_cm / 100.0, mics);
    const float* p = array.positions_cm;  // centred, as the library centres them
    const double cx = (p[0] + p[2] + p[4] + p[6]) / 4.0, cy = (p[1] + p[3] + p[5] + p[7]) / 4.0;
    for (int m = 0; m < kChannels; ++m) mics[m] = {(p[2 * m] - cx) / 100.0, (p[2 * m + 1] - cy) / 100.0};
}

// The refined delays carry errors of up to about half a sample. On the shortest pair, whose
// delay spans D samples, that moves the azimuth by up to asin(0.5 / D); the three-pair solve
// averages it down. Truncation to whole degrees adds up to one more degree. The measured worst
// cases are printed.
double ToleranceDegrees(const ArrayCase& array, const MicPosition mics[kChannels]) {
    double shortest = 1e9;
    for (int m = 1; m < kChannels; ++m) shortest = std::fmin(shortest, std::hypot(mics[m].x - mics[0].x, mics[m].y - mics[0].y));
    return std::asin(std::fmin(1.0, 0.5 * kSpeedOfSound / (shortest * array.sample_rate))) * 180.0 / M_PI + 1.0;
}

SslHandle* Ready(WorkingBuffer& buffer, const ArrayCase& array, int32_t frames, int32_t threshold_db = -80) {
    return ReadyHandle(buffer, DefaultInit(array.sample_rate, array.mic_distance_cm), array.geometry, frames, threshold_db,
                       array.geometry == 2 ? array.positions_cm : nullptr);
}

TEST(Directions, FarFieldSourcesComeBackWithinTheArraysResolution) {
    for (const ArrayCase& array : kArrays) {
        MicPosition mics[kChannels];
        Positions(array, mics);
        const bool linear = array.geometry == 0;
        const double tolerance = ToleranceDegrees(array, mics);
        double worst = 0.0;
        for (int truth = linear ? -80 : -90; truth <= (linear ? 80 : 260); truth += 10) {
            WorkingBuffer buffer;
            const Channels scene = FarFieldScene(mics, truth, array.sample_rate, kSpeedOfSound, 8192, 8000.0, truth + 1000);
            for (const Period& period : Localise(Ready(buffer, array, 32), scene, 32)) {
                ASSERT_EQ(period.status, SSL_RET_OK) << array.name << " at " << truth;
                const double error = AngleError(period.direction, truth);
                worst = std::fmax(worst, error);
                EXPECT_LE(error, tolerance) << array.name << " at " << truth << " gave " << period.direction;
                EXPECT_TRUE(!linear || std::abs(period.direction) <= 90) << period.direction;
            }
        }
        std::printf("%-24s worst error %.1f degrees (bound %.1f)\n", array.name, worst, tolerance);
    }
}

const ArrayCase& Uca16k() { return kArrays[2]; }

TEST(Directions, SilenceIsTooWeakAndUncorrelatedChannelsGiveNoDirection) {
    // Independent noise puts each frame's peak at a random lag, mostly outside the pair's
    // range: rejected frames win the vote.
    Channels noise;
    for (int c = 0; c < kChannels; ++c) noise.push_back(NoiseSource(50 + c).White(8192, 6000.0));
    const std::pair<Channels, uint32_t> cases[] = {
        {Channels(kChannels, std::vector<double>(4096, 0.0)), SSL_RET_SIGNAL_TOO_WEAK}, {noise, SSL_RET_NO_DIRECTION}};
    for (const auto& [channels, status] : cases) {
        WorkingBuffer buffer;
        for (const Period& period : Localise(Ready(buffer, Uca16k(), 32), channels, 32)) {
            EXPECT_EQ(period.status, status);
            EXPECT_EQ(period.direction, EZOSSL_NO_DIRECTION);
        }
    }
}

TEST(Directions, LevelAtOrBelowTheThresholdIsTooWeak) {
    MicPosition mics[kChannels];
    Positions(Uca16k(), mics);
    const Channels quiet = FarFieldScene(mics, 40.0, 16000, kSpeedOfSound, 4096, 300.0, 8);
    WorkingBuffer buffer;
    SslHandle* handle = Ready(buffer, Uca16k(), 32);
    ASSERT_EQ(RunPeriod(handle, quiet, 0, 32).status, SSL_RET_OK);
    const float level_db = handle->activity.energy_sum;  // the period's level, left in the accumulator
    ASSERT_TRUE(level_db > -60.0f && level_db < -30.0f) << level_db;
    const std::pair<int32_t, uint32_t> cases[] = {{static_cast<int32_t>(std::floor(level_db)), SSL_RET_OK},
                                                  {static_cast<int32_t>(std::ceil(level_db)), SSL_RET_SIGNAL_TOO_WEAK},
                                                  {0, SSL_RET_SIGNAL_TOO_WEAK}};
    for (const auto& [threshold, status] : cases) {
        EXPECT_EQ(RunPeriod(Ready(buffer, Uca16k(), 32, threshold), quiet, 0, 32).status, status) << threshold;
    }
}

TEST(Directions, PairsBeyondTheirToleranceReportDelaysTooLarge) {
    for (const ArrayCase* array : {&kArrays[2], &kArrays[0]}) {
        MicPosition mics[kChannels];
        Positions(*array, mics);
        WorkingBuffer buffer;
        SslHandle* handle = Ready(buffer, *array, 32);
        const Channels scene = FarFieldScene(mics, -60.0, array->sample_rate, kSpeedOfSound, 4096, 8000.0, 12);
        int32_t delays[3], direction = 0;
        CaptureOutput([&] {
            for (int b = 0; b < 32; ++b) EzoSsl_Run(handle, InterleaveBlock(scene, b).data(), delays);
        });
        // Bounds of -3 leave no tolerance at all, so every non-zero difference is beyond it.
        for (int32_t& bound : handle->max_delay) bound = -3;
        uint32_t status = 0;
        EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Get_Direction(handle, &direction); }),
                  std::string("[ALGO_MSG_WRN]  [SSL]") + (array->geometry ? "UCA" : "ULA") +
                      " all delay samples are too large. Please check the distance and sampling rate!.\t\n");
        EXPECT_EQ(status, SSL_RET_DELAY_TOO_LARGE);
        EXPECT_EQ(direction, EZOSSL_NO_DIRECTION);
        EXPECT_EQ(handle->flags.direction_flag, 1);
        EXPECT_EQ(handle->flags.mapping_flag, 2);
    }
}

}  // namespace
}  // namespace ezossl_test
