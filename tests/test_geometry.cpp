// Array geometry: uniform and arbitrary arrays, geometries without physical sense, calibration.
#include <cfloat>
#include <cmath>
#include <limits>

#include "geometry_support.h"

namespace ezossl_test {
namespace {

// Coordinates are single-precision products of centimetre-sized values.
constexpr float kCoordinateTolerance = 1e-7f;

TEST(UniformGeometry, MaxDelayFollowsShapeSpacingAndSampleRate) {
    const struct {
        uint32_t geometry;
        float distance_cm;
        uint32_t rate;
        int32_t max_delay[3];
    } cases[] = {
        {0, 6.0f, 16000, {3, 6, 9}}, {0, 4.0f, 48000, {6, 12, 17}}, {1, 4.0f, 16000, {2, 2, 2}},
        {1, 10.0f, 16000, {4, 5, 4}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = InitWithShape(buffer, DefaultInit(c.rate, c.distance_cm), c.geometry);
        for (int q = 0; q < 3; ++q) {
            EXPECT_EQ(handle->max_delay[q], c.max_delay[q])
                << "geometry " << c.geometry << ", " << c.distance_cm << " cm, " << c.rate << " Hz, pair " << q;
        }
    }
}

TEST(UniformGeometry, MicrophonesOfA4cmArray) {
    const struct {
        uint32_t geometry;
        ezossl::Point2 position[4];
    } cases[] = {
        {0, {{-0.06f, 0.0f}, {-0.02f, 0.0f}, {0.02f, 0.0f}, {0.06f, 0.0f}}},
        {1, {{-0.02f, 0.0f}, {0.0f, 0.02f}, {0.02f, 0.0f}, {0.0f, -0.02f}}},  // clockwise from -x
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, 4.0f), c.geometry);
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(handle->geometry.mic_position[i].x, c.position[i].x, kCoordinateTolerance) << c.geometry << ", " << i;
            EXPECT_NEAR(handle->geometry.mic_position[i].y, c.position[i].y, kCoordinateTolerance) << c.geometry << ", " << i;
        }
        if (c.geometry == 1) {
            // The truncated pi leaves microphone 0 slightly off the axis: r * sin(3.1415926), not 0.
            EXPECT_NEAR(handle->geometry.mic_position[0].y, 1.0718e-9f, 1e-12f);
        }
    }
}

TEST(UniformGeometry, CircularCandidatesFollowEachPairsAxis) {
    WorkingBuffer buffer;
    SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, 10.0f), 1);
    const float pair0[9] = {2.8284f, 1.5307f, 0.0f, -1.5307f, -2.8284f, -3.6955f, -4.0f, -3.6955f, -2.8284f};
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(handle->voting.candidate_delay[0][k], pair0[k], kFourDecimals) << k;

    // The other pairs' axes lie at 0 and -45 degrees: entry k is max_delay * cos(axis + k * 22.5 degrees).
    const double axis_degrees[3] = {45.0, 0.0, -45.0};
    for (int q = 1; q < 3; ++q) {
        for (int k = 0; k < 9; ++k) {
            const double angle = (axis_degrees[q] + 22.5 * k) * std::acos(-1.0) / 180.0;
            EXPECT_NEAR(handle->voting.candidate_delay[q][k], handle->max_delay[q] * std::cos(angle), kFourDecimals)
                << "pair " << q << ", candidate " << k;
        }
    }
}

TEST(UniformGeometry, LinearArrayKeepsTheCandidateTableItFound) {
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit(16000, 10.0f));
    const GeometrySnapshot at_init(handle);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 0); }).status, SSL_RET_OK);
    EXPECT_EQ(std::memcmp(handle->voting.candidate_delay, at_init.candidate_delay, sizeof(at_init.candidate_delay)), 0);

    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 1); }).status, SSL_RET_OK);
    const GeometrySnapshot circular(handle);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 0); }).status, SSL_RET_OK);
    EXPECT_EQ(std::memcmp(handle->voting.candidate_delay, circular.candidate_delay, sizeof(circular.candidate_delay)), 0);
}

TEST(UniformGeometry, InvalidGeometryIsRefusedAndChangesNothing) {
    const std::string refusal =
        "[ALGO_MSG_ERR] [SSL] [SetShape] Fail! The array_geometry setting is not allow, it should be 0 or 1 !!\r\n";
    const std::string warning =
        "[ALGO_MSG_WRN] [SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape first. The array "
        "geometry will be overwrite !\t\n";
    // A first shape call, and one after a calibrated shape (which stays in force).
    for (bool calibrated : {false, true}) {
        WorkingBuffer buffer;
        SslHandle* handle = calibrated ? ReadyHandle(buffer, DefaultInit(), 1) : InitAndConfigure(buffer, DefaultInit());
        const GeometrySnapshot before(handle);
        const Printed refused = Call([&] { return EzoSsl_Set_Shape(handle, 2); });
        EXPECT_EQ(refused.status, SSL_RET_INVALID_GEOMETRY);
        EXPECT_EQ(refused.output, calibrated ? warning + refusal : refusal);
        EXPECT_TRUE(GeometrySnapshot(handle) == before);
        EXPECT_EQ(handle->flags.shape_flag, calibrated ? 1 : 0);
        EXPECT_EQ(handle->flags.params_flag, calibrated ? 1 : 2);
    }
}

TEST(UniformGeometry, EveryShapeCallAfterAnotherWarnsAndNeedsRecalibration) {
    const float square[8] = {0, 0, 4, 0, 4, 4, 0, 4};
    const std::string arbitrary_warning =
        "[ALGO_MSG_WRN] [SSL] [Set_ArbitraryShape] Warning!You may have called EzoSsl_Set_Shape first. The array "
        "geometry will be overwrite !\t\n";
    const std::string shape_warning =
        "[ALGO_MSG_WRN] [SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape first. The array "
        "geometry will be overwrite !\t\n";
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
    const struct {
        std::function<uint32_t()> call;
        std::string warning;
    } sequence[] = {
        {[&] { return EzoSsl_Set_Shape(handle, 1); }, ""},
        {[&] { return EzoSsl_Set_Shape(handle, 0); }, shape_warning},
        {[&] { return EzoSsl_Set_ArbitraryShape(handle, square); }, arbitrary_warning},
        {[&] { return EzoSsl_Set_ArbitraryShape(handle, square); }, arbitrary_warning},
    };
    for (size_t i = 0; i < std::size(sequence); ++i) {
        handle->flags.params_flag = 1;
        const Printed result = Call(sequence[i].call);
        EXPECT_EQ(result.status, SSL_RET_OK) << i;
        EXPECT_EQ(result.output, sequence[i].warning) << i;
        EXPECT_EQ(handle->flags.params_flag, 2) << i;
    }
}

constexpr float kHalfPi = 1.5707963f;

constexpr const char* kCoincidentRefusal =
    "[ALGO_MSG_ERR] [BF] [Set_ArbitraryShape] Fail! Some microphones are at same position !\t\n";

struct Layout {
    const char* name;
    float array_pos[8];
    int32_t max_delay[3];
    float slope[3];  // radians; the builder keeps it only through candidate_delay
    int32_t array_geometry;
};

const Layout kLayouts[] = {
    {"square", {0, 0, 4, 0, 4, 4, 0, 4}, {2, 3, 2}, {0.0f, 0.7853982f, kHalfPi}, 1},
    {"line with a microphone left of 0", {0, 0, -4, 0, 4, 0, 8, 0}, {-2, 2, 4}, {0.0f, 0.0f, 0.0f}, 0},
    {"y axis", {0, 0, 0, 4, 0, 8, 0, 12}, {2, 4, 6}, {kHalfPi, kHalfPi, kHalfPi}, 0},
    // A pair pointing straight down is taken as pointing straight up: positive bounds, slope pi/2.
    {"y axis downwards", {0, 12, 0, 8, 0, 4, 0, 0}, {2, 4, 6}, {kHalfPi, kHalfPi, kHalfPi}, 0},
    {"three on a line, one off it", {0, 0, 4, 0, 8, 0, 4, 3}, {2, 4, 3}, {0.0f, 0.0f, 0.6435011f}, 1},
};

SslHandle* InitWithPositions(WorkingBuffer& buffer, const float* array_pos) {
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
    EXPECT_EQ(Call([&] { return EzoSsl_Set_ArbitraryShape(handle, array_pos); }).status, SSL_RET_OK);
    return handle;
}

TEST(ArbitraryGeometry, LayoutsGiveSignedBoundsSlopesAndShape) {
    for (const Layout& layout : kLayouts) {
        WorkingBuffer buffer;
        SslHandle* handle = InitWithPositions(buffer, layout.array_pos);
        EXPECT_EQ(handle->geometry.array_geometry, layout.array_geometry) << layout.name;
        for (int q = 0; q < 3; ++q) {
            EXPECT_EQ(handle->max_delay[q], layout.max_delay[q]) << layout.name << ", pair " << q;
            // Every row, linear arrays included, is max_delay * cos(slope + k * 22.5 degrees).
            for (int k = 0; k < 9; ++k) {
                const double angle = layout.slope[q] + k * std::acos(-1.0) / 8.0;
                EXPECT_NEAR(handle->voting.candidate_delay[q][k], layout.max_delay[q] * std::cos(angle), kFourDecimals)
                    << layout.name << ", pair " << q << ", candidate " << k;
            }
        }
    }
}

TEST(ArbitraryGeometry, PositionsAreCentredAndInMetres) {
    WorkingBuffer buffer;
    const float array_pos[8] = {0, 0, -4, 0, 4, 0, 8, 0};
    SslHandle* handle = InitWithPositions(buffer, array_pos);
    const float x[4] = {-0.02f, -0.06f, 0.02f, 0.06f};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(handle->geometry.mic_position[i].x, x[i], kCoordinateTolerance) << i;
        EXPECT_EQ(handle->geometry.mic_position[i].y, 0.0f) << i;
    }
    EXPECT_EQ(handle->voting.candidate_delay[0][0], -2.0f);
    EXPECT_NEAR(handle->voting.candidate_delay[0][8], 2.0f, kFourDecimals);
}

TEST(ArbitraryGeometry, CollinearOnlyUpToRoundingIsPlanar) {
    WorkingBuffer buffer;
    const float almost_a_line[8] = {0, 0, 0.3f, 0.9f, 0.6f, 1.8f, 0.9f, 2.7f};
    SslHandle* handle = InitWithPositions(buffer, almost_a_line);
    EXPECT_EQ(handle->geometry.array_geometry, 1);
}

TEST(ArbitraryGeometry, CoincidentMicrophonesAreRefusedAndChangeNothing) {
    const float one_ulp_apart = std::nextafter(4.0f, 5.0f);
    const struct {
        const char* name;
        float array_pos[8];
        bool refused;
    } cases[] = {
        {"1 and 3 together", {0, 0, 4, 4, 8, 0, 4, 4}, true},
        {"0 and 1 together", {2, 2, 2, 2, 8, 0, 4, 4}, true},
        {"all together", {1, 1, 1, 1, 1, 1, 1, 1}, true},
        {"1 and 3 one unit in the last place apart", {0, 0, 4, 4, 8, 0, one_ulp_apart, 4}, false},
        {"same x, other y", {0, 0, 0, 4, 8, 0, 4, 4}, false},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
        const GeometrySnapshot before(handle);
        const Printed result = Call([&] { return EzoSsl_Set_ArbitraryShape(handle, c.array_pos); });
        if (c.refused) {
            EXPECT_EQ(result.status, SSL_RET_INVALID_ARRAY_POS) << c.name;
            EXPECT_EQ(result.output, kCoincidentRefusal) << c.name;
            EXPECT_EQ(handle->flags.shape_flag, 0) << c.name;
            EXPECT_TRUE(GeometrySnapshot(handle) == before) << c.name;
        } else {
            EXPECT_EQ(result.status, SSL_RET_OK) << c.name;
            EXPECT_EQ(result.output, "") << c.name;
            EXPECT_EQ(handle->flags.shape_flag, 1) << c.name;
        }
    }
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
// Bounds beyond int32 saturate a little below INT32_MAX, so the +-3 search margins still fit.
constexpr int32_t kSaturated = INT32_MAX - 15;

void ExpectBoundsAndCalibration(SslHandle* handle, const int32_t (&max_delay)[3], const std::string& name) {
    for (int q = 0; q < 3; ++q) EXPECT_EQ(handle->max_delay[q], max_delay[q]) << name << ", pair " << q;
    EXPECT_EQ(Call([&] { return EzoSsl_Cal_Params(handle); }).status, SSL_RET_OK) << name;
}

TEST(BadGeometry, UniformArraysOfAnySizeGiveDefinedBounds) {
    const struct {
        float distance_cm;
        uint32_t geometry;
        int32_t max_delay[3];
    } cases[] = {
        {0.0f, 1, {1, 1, 1}},
        {-5.0f, 1, {2, 3, 2}},  // a mirrored array: same distances as 5 cm
        {kNaN, 1, {1, 1, 1}},
        {kInf, 0, {1, kSaturated, kSaturated}},  // inf - inf is NaN for the first pair
        {3e38f, 1, {kSaturated, kSaturated, kSaturated}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, c.distance_cm), c.geometry);
        ExpectBoundsAndCalibration(handle, c.max_delay, std::to_string(c.distance_cm) + " cm");
    }
}

TEST(BadGeometry, ZeroSizedCircularArrayCalibratesToZeroThroughTheGuard) {
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(16000, 0.0f), 1);
    for (const auto& row : handle->geometry.plane_projection) {
        for (float entry : row) EXPECT_EQ(entry, 0.0f);  // 0 / 1e-9, where 0 / 0 would be NaN
    }
}

TEST(BadGeometry, ArbitraryPositionsFollowTheArithmetic) {
    const struct {
        const char* name;
        float array_pos[8];
        int32_t max_delay[3];
    } cases[] = {
        {"NaN x", {0, 0, kNaN, 4, 8, 0, 4, 4}, {1, 1, 1}},  // NaN never equals NaN: not coincident
        {"infinite x", {0, 0, kInf, 0, 8, 0, 4, 4}, {1, 1, 1}},
        {"five kilometres", {0, 0, 500000, 0, 0, 500000, -500000, 0}, {231214, 231214, -231214}},
        {"float limits", {FLT_MAX, 0, -FLT_MAX, 0, 0, FLT_MAX, 0, -FLT_MAX}, {-kSaturated, -kSaturated, -kSaturated}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
        ASSERT_EQ(Call([&] { return EzoSsl_Set_ArbitraryShape(handle, c.array_pos); }).status, SSL_RET_OK) << c.name;
        ExpectBoundsAndCalibration(handle, c.max_delay, c.name);
    }
}

constexpr float kThreeDecimals = 5e-4f;

TEST(CalParams, CircularArraysGetTheGuardedLeastSquaresMatrix) {
    const struct {
        float distance_cm;
        float tolerance;  // the worked values are given to four and three decimals
        float projection[2][3];
    } cases[] = {
        {10.0f, kFourDecimals, {{3.3333f, 6.6666f, 3.3333f}, {9.9999f, 0.0f, -9.9999f}}},
        {4.0f, kThreeDecimals, {{8.329f, 16.658f, 8.329f}, {24.987f, 0.0f, -24.987f}}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = ReadyHandle(buffer, DefaultInit(16000, c.distance_cm), 1);
        EXPECT_EQ(handle->flags.params_flag, 1);
        for (int a = 0; a < 2; ++a) {
            for (int q = 0; q < 3; ++q) {
                EXPECT_NEAR(handle->geometry.plane_projection[a][q], c.projection[a][q], c.tolerance)
                    << c.distance_cm << " cm, row " << a << ", pair " << q;
            }
        }
    }
}

TEST(CalParams, InitDefaultCandidatesAreThoseOfALinearArray) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit(16000, 4.0f));  // bounds 2, 4, 6
    const float row2[9] = {6.0f, 5.5433f, 4.2426f, 2.2961f, 0.0f, -2.2961f, -4.2426f, -5.5433f, -6.0f};
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(handle->voting.candidate_delay[2][k], row2[k], kFourDecimals) << k;
    // Broadside is not exactly 0: pi is taken as 3.1415926.
    EXPECT_NE(handle->voting.candidate_delay[2][4], 0.0f);
}

TEST(CalParams, LinearArrayOnlyRaisesTheFlag) {
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 0);
    EXPECT_EQ(handle->flags.params_flag, 1);
    for (const auto& row : handle->geometry.plane_projection) {
        for (float entry : row) EXPECT_EQ(entry, 0.0f);
    }

    // After a planar calibration, a linear one keeps the earlier matrix.
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 1); }).status, SSL_RET_OK);
    ASSERT_EQ(Call([&] { return EzoSsl_Cal_Params(handle); }).status, SSL_RET_OK);
    const GeometrySnapshot planar(handle);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 0); }).status, SSL_RET_OK);
    ASSERT_EQ(Call([&] { return EzoSsl_Cal_Params(handle); }).status, SSL_RET_OK);
    EXPECT_EQ(std::memcmp(handle->geometry.plane_projection, planar.geometry.plane_projection, sizeof(planar.geometry.plane_projection)), 0);
    EXPECT_NE(handle->geometry.plane_projection[0][0], 0.0f);
}

TEST(CalParams, RefusalUncalibratesTheHandle) {
    // The refusal itself (status and message per missing step) is the call-order suite's.
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
    const GeometrySnapshot calibrated(handle);
    handle->flags.run_flag = 0;
    EXPECT_EQ(Call([&] { return EzoSsl_Cal_Params(handle); }).status, SSL_RET_RUN_STATE_ERROR);
    EXPECT_EQ(handle->flags.params_flag, 0);
    EXPECT_TRUE(GeometrySnapshot(handle) == calibrated);
}

}  // namespace
}  // namespace ezossl_test
