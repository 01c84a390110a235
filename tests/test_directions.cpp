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
    double error = std::fmod(measured - truth, 360.0);
    if (error > 180.0) error -= 360.0;
    if (error < -180.0) error += 360.0;
    return std::fabs(error);
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
    double cx = 0.0, cy = 0.0;
    for (int m = 0; m < kChannels; ++m) {
        cx += array.positions_cm[2 * m] / 4.0;
        cy += array.positions_cm[2 * m + 1] / 4.0;
    }
    for (int m = 0; m < kChannels; ++m) {
        mics[m] = {(array.positions_cm[2 * m] - cx) / 100.0, (array.positions_cm[2 * m + 1] - cy) / 100.0};
    }
}

// The refined delays carry errors of up to about half a sample. On the shortest pair, whose
// delay spans D samples, that moves the azimuth by up to asin(0.5 / D); the three-pair solve
// averages it down. Truncation to whole degrees adds up to one more degree. The measured worst
// cases are printed.
double ToleranceDegrees(const ArrayCase& array, const MicPosition mics[kChannels]) {
    double shortest = 1e9;
    for (int m = 1; m < kChannels; ++m) shortest = std::fmin(shortest, std::hypot(mics[m].x - mics[0].x, mics[m].y - mics[0].y));
    const double span = shortest / kSpeedOfSound * array.sample_rate;
    return std::asin(std::fmin(1.0, 0.5 / span)) * 180.0 / M_PI + 1.0;
}

SslHandle* Ready(WorkingBuffer& buffer, const ArrayCase& array, int32_t frames, int32_t threshold_db = -80) {
    const SslInit init = DefaultInit(array.sample_rate, array.mic_distance_cm);
    if (array.geometry == 2) return ReadyArbitraryHandle(buffer, init, array.positions_cm, frames, threshold_db);
    return ReadyHandle(buffer, init, static_cast<uint32_t>(array.geometry), frames, threshold_db);
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
            SslHandle* handle = Ready(buffer, array, 32);
            const Channels scene = FarFieldScene(mics, truth, array.sample_rate, kSpeedOfSound, 8192, 8000.0,
                                                 static_cast<uint64_t>(truth + 1000));
            for (const Period& period : Localise(handle, scene, 32)) {
                ASSERT_EQ(period.status, SSL_RET_OK) << array.name << " at " << truth;
                const double error = AngleError(period.direction, truth);
                worst = std::fmax(worst, error);
                EXPECT_LE(error, tolerance) << array.name << " at " << truth << " gave " << period.direction;
                if (linear) {
                    EXPECT_LE(std::abs(period.direction), 90);
                }
            }
        }
        std::printf("%-24s worst error %.1f degrees (bound %.1f)\n", array.name, worst, tolerance);
    }
}

const ArrayCase& Uca16k() { return kArrays[2]; }

Channels UcaScene(double angle, double amplitude, uint64_t seed, int length = 8192) {
    MicPosition mics[kChannels];
    Positions(Uca16k(), mics);
    return FarFieldScene(mics, angle, 16000, kSpeedOfSound, length, amplitude, seed);
}

TEST(Directions, SilenceIsTooWeak) {
    WorkingBuffer buffer;
    SslHandle* handle = Ready(buffer, Uca16k(), 32);
    const Channels silence(kChannels, std::vector<double>(4096, 0.0));
    for (const Period& period : Localise(handle, silence, 32)) {
        EXPECT_EQ(period.status, SSL_RET_SIGNAL_TOO_WEAK);
        EXPECT_EQ(period.direction, EZOSSL_NO_DIRECTION);
    }
}

TEST(Directions, UncorrelatedChannelsGiveNoDirection) {
    // Independent noise puts each frame's peak at a random lag, mostly outside the pair's
    // range: rejected frames win the vote.
    WorkingBuffer buffer;
    SslHandle* handle = Ready(buffer, Uca16k(), 32);
    Channels noise;
    for (int c = 0; c < kChannels; ++c) noise.push_back(NoiseSource(50 + c).White(8192, 6000.0));
    for (const Period& period : Localise(handle, noise, 32)) {
        EXPECT_EQ(period.status, SSL_RET_NO_DIRECTION);
        EXPECT_EQ(period.direction, EZOSSL_NO_DIRECTION);
    }
}

TEST(Directions, LevelAtOrBelowTheThresholdIsTooWeak) {
    const Channels quiet = UcaScene(40.0, 300.0, 8, 4096);
    WorkingBuffer buffer;
    SslHandle* handle = Ready(buffer, Uca16k(), 32);
    ASSERT_EQ(RunPeriod(handle, quiet, 0, 32).status, SSL_RET_OK);
    const float level_db = handle->activity.energy_sum;  // the period's level, left in the accumulator
    ASSERT_GT(level_db, -60.0f);
    ASSERT_LT(level_db, -30.0f);
    const struct {
        int32_t threshold;
        uint32_t status;
    } cases[] = {{static_cast<int32_t>(std::floor(level_db)), SSL_RET_OK},
                 {static_cast<int32_t>(std::ceil(level_db)), SSL_RET_SIGNAL_TOO_WEAK},
                 {0, SSL_RET_SIGNAL_TOO_WEAK}};
    for (const auto& c : cases) {
        handle = Ready(buffer, Uca16k(), 32, c.threshold);
        EXPECT_EQ(RunPeriod(handle, quiet, 0, 32).status, c.status) << "threshold " << c.threshold;
    }
}

TEST(Directions, VotingLengthMayChangeBetweenPeriods) {
    WorkingBuffer buffer;
    SslHandle* handle = Ready(buffer, Uca16k(), 32);
    EXPECT_LE(AngleError(Localise(handle, UcaScene(120.0, 8000.0, 3, 4096), 32).front().direction, 120.0), 10.0);
    const SslConfig shorter{25, -80, 16};
    CaptureOutput([&] { EzoSsl_Config(handle, &shorter); });
    for (const Period& period : Localise(handle, UcaScene(-45.0, 8000.0, 4, 4096), 16)) {
        EXPECT_EQ(period.status, SSL_RET_OK);
        EXPECT_LE(AngleError(period.direction, -45.0), 10.0) << period.direction;
    }
    int32_t votes = 0;
    for (int k = 0; k < 10; ++k) votes += handle->voting.vote_count[0][k];
    EXPECT_EQ(votes, 0) << "each period ended with Reset_Mapping";
}

TEST(Directions, PairsBeyondTheirToleranceReportDelaysTooLarge) {
    const struct {
        const ArrayCase* array;
        const char* message;
    } cases[] = {
        {&kArrays[2], "[ALGO_MSG_WRN]  [SSL]UCA all delay samples are too large. Please check the distance and sampling rate!.\t\n"},
        {&kArrays[0], "[ALGO_MSG_WRN]  [SSL]ULA all delay samples are too large. Please check the distance and sampling rate!.\t\n"},
    };
    for (const auto& c : cases) {
        MicPosition mics[kChannels];
        Positions(*c.array, mics);
        WorkingBuffer buffer;
        SslHandle* handle = Ready(buffer, *c.array, 32);
        const Channels scene = FarFieldScene(mics, -60.0, c.array->sample_rate, kSpeedOfSound, 4096, 8000.0, 12);
        int32_t delays[3];
        CaptureOutput([&] {
            for (int b = 0; b < 32; ++b) EzoSsl_Run(handle, InterleaveBlock(scene, b).data(), delays);
        });
        // Bounds of -3 leave no tolerance at all, so every non-zero difference is beyond it.
        for (int32_t& bound : handle->max_delay) bound = -3;
        int32_t direction = 0;
        uint32_t status = 0;
        EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Get_Direction(handle, &direction); }), c.message);
        EXPECT_EQ(status, SSL_RET_DELAY_TOO_LARGE);
        EXPECT_EQ(direction, EZOSSL_NO_DIRECTION);
        EXPECT_EQ(handle->flags.direction_flag, 1);
        EXPECT_EQ(handle->flags.mapping_flag, 2);
    }
}

}  // namespace
}  // namespace ezossl_test
