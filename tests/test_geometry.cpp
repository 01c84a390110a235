// Array geometry: uniform and arbitrary arrays, geometries without physical sense, calibration.
#include <cfloat>
#include <cmath>
#include <limits>

#include "geometry_support.h"

namespace ezossl_test {
namespace {

// Coordinates are single-precision products of centimetre-sized values.
constexpr float kCoordinateTolerance = 1e-7f;
constexpr double kPi = 3.1415926;  // the library's truncated pi

// Row q of the candidate table is max_delay * cos(axis + k * 22.5 degrees).
void ExpectCandidates(const SslHandle* h, const double axis_radians[3], const std::string& name) {
    for (int q = 0; q < 3; ++q) {
        for (int k = 0; k < 9; ++k) {
            EXPECT_NEAR(h->voting.candidate_delay[q][k], h->max_delay[q] * std::cos(axis_radians[q] + k * kPi / 8.0),
                        kFourDecimals) << name << ", pair " << q << ", candidate " << k;
        }
    }
}

void ExpectPositions(const SslHandle* h, const float metres[8], const std::string& name) {
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(h->geometry.mic_position[i].x, metres[2 * i], kCoordinateTolerance) << name << ", " << i;
        EXPECT_NEAR(h->geometry.mic_position[i].y, metres[2 * i + 1], kCoordinateTolerance) << name << ", " << i;
    }
}

TEST(UniformGeometry, BoundsPositionsAndCandidatesFollowShapeSpacingAndRate) {
    // Circular arrays are listed clockwise from -x.
    const struct { uint32_t geometry; float distance_cm; uint32_t rate; int32_t max_delay[3]; float metres[8]; } cases[] = {
        {0, 6.0f, 16000, {3, 6, 9}, {-0.09f, 0, -0.03f, 0, 0.03f, 0, 0.09f, 0}},
        {0, 4.0f, 48000, {6, 12, 17}, {-0.06f, 0, -0.02f, 0, 0.02f, 0, 0.06f, 0}},
        {1, 4.0f, 16000, {2, 2, 2}, {-0.02f, 0, 0, 0.02f, 0.02f, 0, 0, -0.02f}},
        {1, 10.0f, 16000, {4, 5, 4}, {-0.05f, 0, 0, 0.05f, 0.05f, 0, 0, -0.05f}},
    };
    for (const auto& c : cases) {
        const std::string name = std::to_string(c.geometry) + ", " + std::to_string(c.distance_cm) + " cm";
        WorkingBuffer buffer;
        SslHandle* h = ReadyHandle(buffer, DefaultInit(c.rate, c.distance_cm), c.geometry);
        for (int q = 0; q < 3; ++q) EXPECT_EQ(h->max_delay[q], c.max_delay[q]) << name << ", pair " << q;
        ExpectPositions(h, c.metres, name);
        // A circular array's pairs lie at 45, 0 and -45 degrees; a linear one keeps Init's table.
        const double circular[3] = {kPi / 4, 0.0, -kPi / 4}, linear[3] = {0.0, 0.0, 0.0};
        ExpectCandidates(h, c.geometry == 1 ? circular : linear, name);
        if (c.geometry == 1) {  // the truncated pi leaves microphone 0 slightly off the axis
            EXPECT_NEAR(h->geometry.mic_position[0].y, c.distance_cm / 200.0 * std::sin(kPi), 1e-12f);
        } else {
            EXPECT_NE(h->voting.candidate_delay[2][4], 0.0f) << "broadside is not exactly 0 with the truncated pi";
        }
    }
}

const std::string kShapeWarning =
    "[ALGO_MSG_WRN] [SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape first. The array "
    "geometry will be overwrite !\t\n";

TEST(UniformGeometry, ShapeCallsWarnAfterAnotherAndInvalidOnesChangeNothing) {
    const std::string refusal =
        "[ALGO_MSG_ERR] [SSL] [SetShape] Fail! The array_geometry setting is not allow, it should be 0 or 1 !!\r\n";
    const std::string arbitrary_warning =
        "[ALGO_MSG_WRN] [SSL] [Set_ArbitraryShape] Warning!You may have called EzoSsl_Set_Shape first. The array "
        "geometry will be overwrite !\t\n";
    const float square[8] = {0, 0, 4, 0, 4, 4, 0, 4};
    WorkingBuffer buffer;
    SslHandle* h = InitAndConfigure(buffer, DefaultInit());
    // Shape -1: Set_ArbitraryShape. Every accepted call needs a new calibration (params_flag 2);
    // a refused one leaves shape and calibration flags as they were.
    const struct { int shape; uint32_t status; std::string output; int32_t shape_flag, params_flag; } sequence[] = {
        {2, SSL_RET_INVALID_GEOMETRY, refusal, 0, 2}, {1, SSL_RET_OK, "", 1, 2}, {0, SSL_RET_OK, kShapeWarning, 1, 2},
        {-1, SSL_RET_OK, arbitrary_warning, 1, 2}, {-1, SSL_RET_OK, arbitrary_warning, 1, 2},
        {2, SSL_RET_INVALID_GEOMETRY, kShapeWarning + refusal, 1, 1},
    };
    for (const auto& step : sequence) {
        if (h->flags.shape_flag == 1) CaptureOutput([&] { EzoSsl_Cal_Params(h); });  // calibrated once shaped
        const GeometrySnapshot before(h);
        const Printed result = Call([&] { return step.shape < 0 ? EzoSsl_Set_ArbitraryShape(h, square) : EzoSsl_Set_Shape(h, step.shape); });
        EXPECT_EQ(result.status, step.status) << step.output;
        EXPECT_EQ(result.output, step.output);
        EXPECT_EQ(h->flags.shape_flag, step.shape_flag) << step.output;
        EXPECT_EQ(h->flags.params_flag, step.params_flag) << step.output;
        EXPECT_TRUE(step.status == SSL_RET_OK || GeometrySnapshot(h) == before) << step.output;
    }
}

TEST(ArbitraryGeometry, LayoutsGiveCentredPositionsSignedBoundsSlopesAndShape) {
    constexpr double kHalfPi = 1.5707963;
    const struct {
        const char* name;
        float array_pos[8];
        float metres[8];
        int32_t max_delay[3];
        double slope[3];  // radians; the builder keeps it only through candidate_delay
        int32_t array_geometry;
    } layouts[] = {
        {"square", {0, 0, 4, 0, 4, 4, 0, 4}, {-.02f, -.02f, .02f, -.02f, .02f, .02f, -.02f, .02f}, {2, 3, 2},
         {0.0, 0.7853982, kHalfPi}, 1},
        {"line, one left of 0", {0, 0, -4, 0, 4, 0, 8, 0}, {-.02f, 0, -.06f, 0, .02f, 0, .06f, 0}, {-2, 2, 4}, {0, 0, 0}, 0},
        {"y axis", {0, 0, 0, 4, 0, 8, 0, 12}, {0, -.06f, 0, -.02f, 0, .02f, 0, .06f}, {2, 4, 6}, {kHalfPi, kHalfPi, kHalfPi}, 0},
        // A pair pointing straight down is taken as pointing straight up: positive bounds, slope pi/2.
        {"y axis down", {0, 12, 0, 8, 0, 4, 0, 0}, {0, .06f, 0, .02f, 0, -.02f, 0, -.06f}, {2, 4, 6}, {kHalfPi, kHalfPi, kHalfPi}, 0},
        {"one off a line", {0, 0, 4, 0, 8, 0, 4, 3}, {-.04f, -.0075f, 0, -.0075f, .04f, -.0075f, 0, .0225f}, {2, 4, 3},
         {0, 0, 0.6435011}, 1},
    };
    for (const auto& layout : layouts) {
        WorkingBuffer buffer;
        SslHandle* h = InitAndConfigure(buffer, DefaultInit());
        ASSERT_EQ(Call([&] { return EzoSsl_Set_ArbitraryShape(h, layout.array_pos); }).status, SSL_RET_OK);
        EXPECT_EQ(h->geometry.array_geometry, layout.array_geometry) << layout.name;
        for (int q = 0; q < 3; ++q) EXPECT_EQ(h->max_delay[q], layout.max_delay[q]) << layout.name << ", pair " << q;
        ExpectPositions(h, layout.metres, layout.name);
        ExpectCandidates(h, layout.slope, layout.name);
    }
    WorkingBuffer buffer;  // collinear only up to rounding counts as planar
    SslHandle* h = InitAndConfigure(buffer, DefaultInit());
    const float almost_a_line[8] = {0, 0, 0.3f, 0.9f, 0.6f, 1.8f, 0.9f, 2.7f};
    Call([&] { return EzoSsl_Set_ArbitraryShape(h, almost_a_line); });
    EXPECT_EQ(h->geometry.array_geometry, 1);
}

TEST(ArbitraryGeometry, CoincidentMicrophonesAreRefusedAndChangeNothing) {
    const float one_ulp_apart = std::nextafter(4.0f, 5.0f);
    const struct { const char* name; float array_pos[8]; bool refused; } cases[] = {
        {"1 and 3 together", {0, 0, 4, 4, 8, 0, 4, 4}, true},
        {"0 and 1 together", {2, 2, 2, 2, 8, 0, 4, 4}, true},
        {"all together", {1, 1, 1, 1, 1, 1, 1, 1}, true},
        {"1 and 3 one unit in the last place apart", {0, 0, 4, 4, 8, 0, one_ulp_apart, 4}, false},
        {"same x, other y", {0, 0, 0, 4, 8, 0, 4, 4}, false},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* h = InitAndConfigure(buffer, DefaultInit());
        const GeometrySnapshot before(h);
        const Printed result = Call([&] { return EzoSsl_Set_ArbitraryShape(h, c.array_pos); });
        EXPECT_EQ(result.status, c.refused ? SSL_RET_INVALID_ARRAY_POS : SSL_RET_OK) << c.name;
        EXPECT_EQ(result.output, c.refused ? "[ALGO_MSG_ERR] [BF] [Set_ArbitraryShape] Fail! Some microphones are at same "
                                             "position !\t\n" : "") << c.name;
        EXPECT_EQ(h->flags.shape_flag, c.refused ? 0 : 1) << c.name;
        EXPECT_TRUE(!c.refused || GeometrySnapshot(h) == before) << c.name;
    }
}

TEST(BadGeometry, AnySizeGivesDefinedBoundsAndCalibrates) {
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();
    // Bounds beyond int32 saturate a little below INT32_MAX, so the +-3 search margins still fit.
    constexpr int32_t kSat = INT32_MAX - 15;
    const struct {
        const char* name;
        float distance_cm;
        int32_t geometry;  // 2: the positions below
        float array_pos[8];
        int32_t max_delay[3];
    } cases[] = {
        {"0 cm circle", 0.0f, 1, {}, {1, 1, 1}},
        {"-5 cm circle", -5.0f, 1, {}, {2, 3, 2}},  // a mirrored array: same distances as 5 cm
        {"NaN circle", kNaN, 1, {}, {1, 1, 1}},
        {"infinite line", kInf, 0, {}, {1, kSat, kSat}},  // inf - inf is NaN for the first pair
        {"3e38 cm circle", 3e38f, 1, {}, {kSat, kSat, kSat}},
        {"NaN x", 5, 2, {0, 0, kNaN, 4, 8, 0, 4, 4}, {1, 1, 1}},  // NaN never equals NaN: not coincident
        {"infinite x", 5, 2, {0, 0, kInf, 0, 8, 0, 4, 4}, {1, 1, 1}},
        {"five kilometres", 5, 2, {0, 0, 500000, 0, 0, 500000, -500000, 0}, {231214, 231214, -231214}},
        {"float limits", 5, 2, {FLT_MAX, 0, -FLT_MAX, 0, 0, FLT_MAX, 0, -FLT_MAX}, {-kSat, -kSat, -kSat}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* h = InitAndConfigure(buffer, DefaultInit(16000, c.distance_cm));
        const Printed shaped = Call([&] {
            return c.geometry == 2 ? EzoSsl_Set_ArbitraryShape(h, c.array_pos) : EzoSsl_Set_Shape(h, c.geometry);
        });
        ASSERT_EQ(shaped.status, SSL_RET_OK) << c.name;
        for (int q = 0; q < 3; ++q) EXPECT_EQ(h->max_delay[q], c.max_delay[q]) << c.name << ", pair " << q;
        EXPECT_EQ(Call([&] { return EzoSsl_Cal_Params(h); }).status, SSL_RET_OK) << c.name;
        if (c.distance_cm == 0.0f) {  // 0 / 1e-9 through the guard, where 0 / 0 would be NaN
            for (const auto& row : h->geometry.plane_projection) {
                for (float entry : row) EXPECT_EQ(entry, 0.0f);
            }
        }
    }
}

TEST(CalParams, CircularArraysGetTheGuardedLeastSquaresMatrix) {
    // The worked values are given to four and three decimals.
    const struct { float distance_cm; float tolerance; float projection[2][3]; } cases[] = {
        {10.0f, kFourDecimals, {{3.3333f, 6.6666f, 3.3333f}, {9.9999f, 0.0f, -9.9999f}}},
        {4.0f, 5e-4f, {{8.329f, 16.658f, 8.329f}, {24.987f, 0.0f, -24.987f}}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* h = ReadyHandle(buffer, DefaultInit(16000, c.distance_cm), 1);
        EXPECT_EQ(h->flags.params_flag, 1);
        for (int a = 0; a < 2; ++a) {
            for (int q = 0; q < 3; ++q) {
                EXPECT_NEAR(h->geometry.plane_projection[a][q], c.projection[a][q], c.tolerance) << c.distance_cm << " cm";
            }
        }
    }
}

TEST(CalParams, LinearArrayOnlyRaisesTheFlagAndKeepsAnEarlierTableAndMatrix) {
    WorkingBuffer buffer;
    SslHandle* h = ReadyHandle(buffer, DefaultInit(16000, 10.0f), 0);
    EXPECT_EQ(h->flags.params_flag, 1);
    EXPECT_EQ(h->geometry.plane_projection[0][0], 0.0f);
    h = ReadyHandle(buffer, DefaultInit(16000, 10.0f), 1);
    const GeometrySnapshot circular(h);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(h, 0) == SSL_RET_OK ? EzoSsl_Cal_Params(h) : 1u; }).status, SSL_RET_OK);
    EXPECT_EQ(std::memcmp(h->voting.candidate_delay, circular.candidate_delay, sizeof(circular.candidate_delay)), 0);
    EXPECT_EQ(std::memcmp(h->geometry.plane_projection, circular.geometry.plane_projection, sizeof(circular.geometry.plane_projection)), 0);
    EXPECT_NE(h->geometry.plane_projection[0][0], 0.0f);
}

TEST(CalParams, RefusalUncalibratesTheHandle) {
    // The refusal itself (status and message per missing step) is the call-order suite's.
    WorkingBuffer buffer;
    SslHandle* h = ReadyHandle(buffer, DefaultInit(), 1);
    const GeometrySnapshot calibrated(h);
    h->flags.run_flag = 0;
    EXPECT_EQ(Call([&] { return EzoSsl_Cal_Params(h); }).status, SSL_RET_RUN_STATE_ERROR);
    EXPECT_EQ(h->flags.params_flag, 0);
    EXPECT_TRUE(GeometrySnapshot(h) == calibrated);
}

}  // namespace
}  // namespace ezossl_test
