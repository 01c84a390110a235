// The SRP companion library end to end: directions from plane waves on four layouts, the line
// convention, every refusal of Init, and the period's call sequence.
#include <ezossl_srp.h>

#include <cmath>
#include <vector>

#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

constexpr double kSpeedOfSound = 346.0;  // 25 degrees Celsius
constexpr double kAllowedErrorDeg = 2.0;

struct Layout {
    const char* name;
    uint32_t sample_rate;
    float cm[8];
};

EzoSslSrpSetup SetupFor(const Layout& layout, uint32_t frames_per_period = 32) {
    EzoSslSrpSetup setup = {};
    setup.sample_rate = layout.sample_rate;
    for (int i = 0; i < 8; ++i) setup.mic_pos_cm[i] = layout.cm[i];
    setup.temperature_c = 25.0f;
    setup.frames_per_period = frames_per_period;
    setup.level_threshold_db = -70.0f;
    return setup;
}

class Srp {
  public:
    explicit Srp(const EzoSslSrpSetup& setup) : words_(EzoSslSrp_GetBufferSize() / 4 + 1) {
        uint32_t status = 1;
        handle_ = EzoSslSrp_Init(words_.data(), &setup, &status);
        EXPECT_EQ(status, EZOSSL_SRP_RET_OK);
    }
    EzoSslSrp* handle() const { return handle_; }

    // Feeds `blocks` blocks of the scene from block `first` and closes the period.
    EzoSslSrpResult Period(const Channels& scene, int first, int blocks) {
        for (int b = first; b < first + blocks; ++b) EzoSslSrp_Process(handle_, InterleaveBlock(scene, b).data());
        EzoSslSrpResult result = {};
        EXPECT_EQ(EzoSslSrp_GetDirection(handle_, &result), result.status);
        return result;
    }

  private:
    std::vector<uint32_t> words_;
    EzoSslSrp* handle_ = nullptr;
};

Channels Scene(const Layout& layout, double azimuth, double amplitude = 8000.0) {
    MicPosition mics[kChannels];
    for (int i = 0; i < kChannels; ++i) mics[i] = {layout.cm[2 * i] / 100.0, layout.cm[2 * i + 1] / 100.0};
    return FarFieldScene(mics, azimuth, layout.sample_rate, kSpeedOfSound, 8192, amplitude,
                         static_cast<uint64_t>(azimuth + 1000.0));
}

double CircularError(double a, double b) { return std::fabs(std::remainder(a - b, 360.0)); }

TEST(Srp, PlaneWavesOnEveryLayoutComeBackWithinTwoDegrees) {
    struct Case {
        Layout layout;
        double first, last;  // truth sweep in 15 degree steps
    };
    const Case cases[] = {
        {{"circular 6.5 cm", 16000, {-3.25f, 0, 0, 3.25f, 3.25f, 0, 0, -3.25f}}, -90, 255},
        {{"linear 4 cm", 48000, {-6, 0, -2, 0, 2, 0, 6, 0}}, -90, 90},
        {{"square, mic 0 rightmost", 16000, {5, 0, 0, 0, 0, 5, 5, 5}}, -90, 255},
        {{"pair pointing down", 32000, {0, 0, 0, -4, 3, -2, -3, -1}}, -90, 255},
    };
    for (const Case& c : cases) {
        Srp srp(SetupFor(c.layout));
        for (double truth = c.first; truth <= c.last; truth += 15.0) {
            const Channels scene = Scene(c.layout, truth);
            const EzoSslSrpResult r = srp.Period(scene, 0, 32);
            ASSERT_EQ(r.status, EZOSSL_SRP_RET_OK) << c.layout.name;
            EXPECT_LE(CircularError(r.direction_deg, truth), kAllowedErrorDeg) << c.layout.name << " at " << truth
                                                                               << " gave " << r.direction_deg;
            EXPECT_GT(r.confidence, 0.5f) << c.layout.name << " at " << truth;
            EXPECT_EQ(r.blocks, 32u);
        }
    }
}

TEST(Srp, LinesReportTheMirrorSymmetricAngleFromTheirLargerEnd) {
    struct Case {
        Layout layout;
        double truth;     // planar azimuth of the source
        double reported;  // -90 toward the end with the larger x (larger y when vertical)
    };
    const Case cases[] = {
        {{"along x", 16000, {6, 0, 2, 0, -2, 0, -6, 0}}, 150, 30},
        {{"along x", 16000, {6, 0, 2, 0, -2, 0, -6, 0}}, 30, 30},
        {{"along y", 16000, {0, -6, 0, 6, 0, -2, 0, 2}}, 60, -30},
        {{"along y", 16000, {0, -6, 0, 6, 0, -2, 0, 2}}, -60, -30},
        {{"diagonal", 16000, {0, 0, 3, 3, 6, 6, 9, 9}}, 135, 90},
        {{"diagonal", 16000, {0, 0, 3, 3, 6, 6, 9, 9}}, 105, 60},
        {{"diagonal", 16000, {0, 0, 3, 3, 6, 6, 9, 9}}, 165, 60},
    };
    for (const Case& c : cases) {
        Srp srp(SetupFor(c.layout));
        const EzoSslSrpResult r = srp.Period(Scene(c.layout, c.truth), 0, 32);
        EXPECT_NEAR(r.direction_deg, c.reported, kAllowedErrorDeg) << c.layout.name << " at " << c.truth;
    }
}

TEST(Srp, InitRefusesEachUnusableSetup) {
    const Layout square = {"square", 16000, {0, 0, 4, 0, 4, 4, 0, 4}};
    struct Case {
        const char* what;
        void (*spoil)(EzoSslSrpSetup&);
        uint32_t status;
    };
    static const float s_nan = std::nanf("");
    const Case cases[] = {
        {"rate", [](EzoSslSrpSetup& s) { s.sample_rate = 44100; }, EZOSSL_SRP_RET_INVALID_SAMPLE_RATE},
        {"position", [](EzoSslSrpSetup& s) { s.mic_pos_cm[5] = s_nan; }, EZOSSL_SRP_RET_INVALID_POSITIONS},
        {"coincident", [](EzoSslSrpSetup& s) { s.mic_pos_cm[6] = 4, s.mic_pos_cm[7] = 4; }, EZOSSL_SRP_RET_COINCIDENT_MICS},
        {"too small", [](EzoSslSrpSetup& s) { for (float& v : s.mic_pos_cm) v *= 0.2f; }, EZOSSL_SRP_RET_ARRAY_TOO_SMALL},
        {"too large", [](EzoSslSrpSetup& s) { for (float& v : s.mic_pos_cm) v *= 300.0f; }, EZOSSL_SRP_RET_ARRAY_TOO_LARGE},
        {"band above rate/2", [](EzoSslSrpSetup& s) { s.band_high_hz = 8001; }, EZOSSL_SRP_RET_INVALID_BAND},
        {"band empty", [](EzoSslSrpSetup& s) { s.band_low_hz = 1000, s.band_high_hz = 1000; }, EZOSSL_SRP_RET_INVALID_BAND},
        {"band below one bin", [](EzoSslSrpSetup& s) { s.band_low_hz = 1010, s.band_high_hz = 1050; }, EZOSSL_SRP_RET_INVALID_BAND},
        {"band negative", [](EzoSslSrpSetup& s) { s.band_low_hz = -1, s.band_high_hz = 1000; }, EZOSSL_SRP_RET_INVALID_BAND},
        {"no frames", [](EzoSslSrpSetup& s) { s.frames_per_period = 0; }, EZOSSL_SRP_RET_INVALID_FRAMES},
        {"temperature", [](EzoSslSrpSetup& s) { s.temperature_c = 150; }, EZOSSL_SRP_RET_INVALID_TEMPERATURE},
        {"threshold", [](EzoSslSrpSetup& s) { s.level_threshold_db = s_nan; }, EZOSSL_SRP_RET_INVALID_THRESHOLD},
    };
    std::vector<uint32_t> words(EzoSslSrp_GetBufferSize() / 4 + 1);
    for (const Case& c : cases) {
        EzoSslSrpSetup setup = SetupFor(square);
        c.spoil(setup);
        uint32_t status = 0;
        EXPECT_EQ(EzoSslSrp_Init(words.data(), &setup, &status), nullptr) << c.what;
        EXPECT_EQ(status, c.status) << c.what;
    }
    const EzoSslSrpSetup setup = SetupFor(square);
    uint32_t status = 0;
    EXPECT_EQ(EzoSslSrp_Init(nullptr, &setup, &status), nullptr);
    EXPECT_EQ(status, EZOSSL_SRP_RET_NULL_POINTER);
    status = 0;
    EXPECT_EQ(EzoSslSrp_Init(words.data(), nullptr, &status), nullptr);
    EXPECT_EQ(status, EZOSSL_SRP_RET_NULL_POINTER);
    status = 0;
    EXPECT_EQ(EzoSslSrp_Init(reinterpret_cast<char*>(words.data()) + 2, &setup, &status), nullptr);
    EXPECT_EQ(status, EZOSSL_SRP_RET_NULL_POINTER);
    EXPECT_EQ(EzoSslSrp_Init(words.data(), &setup, nullptr), nullptr);
    EXPECT_LE(EzoSslSrp_GetBufferSize(), 65536u);
}

TEST(Srp, PeriodsWithoutBlocksSilenceOrSignalAndTheHandleChecks) {
    const Layout uca = {"circular 10 cm", 48000, {-5, 0, 0, 5, 5, 0, 0, -5}};
    Srp srp(SetupFor(uca, 4));
    EzoSslSrpResult r = {};
    EXPECT_EQ(EzoSslSrp_GetDirection(srp.handle(), &r), EZOSSL_SRP_RET_NO_BLOCKS);
    EXPECT_EQ(r.blocks, 0u);
    EXPECT_EQ(r.direction_deg, EZOSSL_SRP_NO_DIRECTION);
    EXPECT_EQ(r.level_dbfs, -100.0f);

    const Channels silence(kChannels, std::vector<double>(512, 0.0));
    r = srp.Period(silence, 0, 4);
    EXPECT_EQ(r.status, EZOSSL_SRP_RET_SILENT);
    EXPECT_EQ(r.direction_deg, EZOSSL_SRP_NO_DIRECTION);
    EXPECT_EQ(r.level_dbfs, -100.0f);

    // Uncorrelated noise on each microphone: a direction, but little confidence in it.
    NoiseSource noise(7);
    Channels incoherent(kChannels);
    for (auto& channel : incoherent) channel = noise.White(32 * 128, 3000.0);
    r = srp.Period(incoherent, 0, 32);
    EXPECT_EQ(r.status, EZOSSL_SRP_RET_OK);
    EXPECT_LT(r.confidence, 0.1f);
    EXPECT_NEAR(r.level_dbfs, 20.0 * std::log10(3000.0 / 32768.0 / std::sqrt(3.0)), 0.2);

    // The fourth block fills the period; Reset forgets the open one.
    const Channels scene = Scene(uca, 100.0);
    uint32_t statuses[5];
    for (int b = 0; b < 5; ++b) statuses[b] = EzoSslSrp_Process(srp.handle(), InterleaveBlock(scene, b).data());
    const uint32_t expected[5] = {0, 0, 0, EZOSSL_SRP_RET_PERIOD_FULL, EZOSSL_SRP_RET_PERIOD_FULL};
    EXPECT_EQ(std::vector<uint32_t>(statuses, statuses + 5), std::vector<uint32_t>(expected, expected + 5));
    EXPECT_EQ(EzoSslSrp_Reset(srp.handle()), EZOSSL_SRP_RET_OK);
    EXPECT_EQ(EzoSslSrp_GetDirection(srp.handle(), &r), EZOSSL_SRP_RET_NO_BLOCKS);
    r = srp.Period(scene, 8, 8);
    EXPECT_NEAR(r.direction_deg, 100.0, kAllowedErrorDeg);

    uint32_t garbage[4] = {};
    auto* not_a_handle = reinterpret_cast<EzoSslSrp*>(garbage);
    EXPECT_EQ(EzoSslSrp_Process(not_a_handle, InterleaveBlock(scene, 0).data()), EZOSSL_SRP_RET_INVALID_HANDLE);
    EXPECT_EQ(EzoSslSrp_GetDirection(nullptr, &r), EZOSSL_SRP_RET_INVALID_HANDLE);
    EXPECT_EQ(EzoSslSrp_Reset(not_a_handle), EZOSSL_SRP_RET_INVALID_HANDLE);
    EXPECT_EQ(EzoSslSrp_Process(srp.handle(), nullptr), EZOSSL_SRP_RET_NULL_POINTER);
    EXPECT_EQ(EzoSslSrp_GetDirection(srp.handle(), nullptr), EZOSSL_SRP_RET_NULL_POINTER);
}

}  // namespace
}  // namespace ezossl_test
