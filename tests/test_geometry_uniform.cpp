// Uniform linear and circular arrays: coordinates, delay bounds, candidate delays, call order.
#include <cmath>

#include "geometry_support.h"

namespace ezossl_test {
namespace {

constexpr float kFourDecimals = 5e-5f;
// Coordinates are single-precision sums and products of centimetre-sized values.
constexpr float kCoordinateTolerance = 1e-7f;

constexpr const char* kSetShapeWarning =
    "[ALGO_MSG_WRN] [SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape first. The array "
    "geometry will be overwrite !\t\n";

TEST(UniformGeometry, MaxDelayFollowsShapeSpacingAndSampleRate) {
    const struct {
        uint32_t geometry;
        float distance_cm;
        uint32_t rate;
        int32_t max_delay[3];
    } cases[] = {
        {0, 4.0f, 16000, {2, 4, 6}}, {0, 5.0f, 16000, {3, 5, 7}}, {0, 6.0f, 16000, {3, 6, 9}},
        {0, 4.0f, 48000, {6, 12, 17}}, {0, 4.0f, 8000, {1, 2, 3}}, {1, 4.0f, 16000, {2, 2, 2}},
        {1, 10.0f, 16000, {4, 5, 4}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = InitWithShape(buffer, DefaultInit(c.rate, c.distance_cm), c.geometry);
        for (int q = 0; q < 3; ++q) {
            EXPECT_EQ(handle->max_delay[q], c.max_delay[q])
                << "geometry " << c.geometry << ", " << c.distance_cm << " cm, " << c.rate << " Hz, pair " << q;
        }
        EXPECT_EQ(handle->array_geometry, static_cast<int32_t>(c.geometry));
    }
}

TEST(UniformGeometry, LinearArrayIsCentredOnTheXAxis) {
    WorkingBuffer buffer;
    SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, 4.0f), 0);
    const float x[4] = {-0.06f, -0.02f, 0.02f, 0.06f};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(handle->mic_position[i].x, x[i], kCoordinateTolerance) << i;
        EXPECT_EQ(handle->mic_position[i].y, 0.0f) << i;
    }
    for (int q = 0; q < 3; ++q) {
        EXPECT_NEAR(handle->relative_array_pos[q].x, 0.04f * (q + 1), kCoordinateTolerance) << q;
        EXPECT_EQ(handle->relative_array_pos[q].y, 0.0f) << q;
    }
}

TEST(UniformGeometry, CircularArrayRunsClockwiseFromTheNegativeXAxis) {
    WorkingBuffer buffer;
    SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, 4.0f), 1);
    const ezossl::Point2 expected[4] = {{-0.02f, 0.0f}, {0.0f, 0.02f}, {0.02f, 0.0f}, {0.0f, -0.02f}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(handle->mic_position[i].x, expected[i].x, kCoordinateTolerance) << i;
        EXPECT_NEAR(handle->mic_position[i].y, expected[i].y, kCoordinateTolerance) << i;
    }
    // The truncated pi leaves microphone 0 slightly off the axis: r * sin(3.1415926), not 0.
    EXPECT_NEAR(handle->mic_position[0].y, 1.0718e-9f, 1e-12f);
    EXPECT_NEAR(handle->relative_array_pos[0].x, 0.02f, kCoordinateTolerance);
    EXPECT_NEAR(handle->relative_array_pos[0].y, 0.02f, kCoordinateTolerance);
}

TEST(UniformGeometry, CircularCandidatesFollowEachPairsAxis) {
    WorkingBuffer buffer;
    SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, 10.0f), 1);
    const float pair0[9] = {2.8284f, 1.5307f, 0.0f, -1.5307f, -2.8284f, -3.6955f, -4.0f, -3.6955f, -2.8284f};
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(handle->candidate_delay[0][k], pair0[k], kFourDecimals) << k;

    // The pair axes lie at 45, 0 and -45 degrees: entry k is max_delay * cos(axis + k * 22.5 degrees).
    const double axis_degrees[3] = {45.0, 0.0, -45.0};
    for (int q = 0; q < 3; ++q) {
        for (int k = 0; k < 9; ++k) {
            const double angle = (axis_degrees[q] + 22.5 * k) * std::acos(-1.0) / 180.0;
            EXPECT_NEAR(handle->candidate_delay[q][k], handle->max_delay[q] * std::cos(angle), kFourDecimals)
                << "pair " << q << ", candidate " << k;
        }
    }
}

TEST(UniformGeometry, LinearArrayKeepsTheCandidateTableItFound) {
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit(16000, 10.0f));
    const GeometrySnapshot at_init(handle);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 0); }).status, SSL_RET_OK);
    EXPECT_EQ(std::memcmp(handle->candidate_delay, at_init.candidate_delay, sizeof(at_init.candidate_delay)), 0);

    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 1); }).status, SSL_RET_OK);
    const GeometrySnapshot circular(handle);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 0); }).status, SSL_RET_OK);
    EXPECT_EQ(std::memcmp(handle->candidate_delay, circular.candidate_delay, sizeof(circular.candidate_delay)), 0);
    EXPECT_NE(std::memcmp(handle->max_delay, circular.max_delay, sizeof(circular.max_delay)), 0);
}

TEST(UniformGeometry, SpeedOfSoundIsTakenWhenTheShapeIsSet) {
    WorkingBuffer buffer;
    SslHandle* handle = InitWithShape(buffer, DefaultInit(16000, 4.0f), 0);
    // At 100 degrees sound travels at 391 m/s: 12 cm take 4.9 samples instead of 5.5.
    const SslConfig hot{100, -80, 32};
    ASSERT_EQ(Call([&] { return EzoSsl_Config(handle, &hot); }).status, SSL_RET_OK);
    EXPECT_EQ(handle->max_delay[2], 6);
    ASSERT_EQ(Call([&] { return EzoSsl_Set_Shape(handle, 0); }).status, SSL_RET_OK);
    EXPECT_EQ(handle->max_delay[2], 5);
}

TEST(UniformGeometry, RepeatedCallWarnsAndRecalibrationIsNeeded) {
    WorkingBuffer buffer;
    SslHandle* handle = InitCalibrated(buffer, DefaultInit(), 1);
    const Printed again = Call([&] { return EzoSsl_Set_Shape(handle, 0); });
    EXPECT_EQ(again.status, SSL_RET_OK);
    EXPECT_EQ(again.output, kSetShapeWarning);
    EXPECT_EQ(handle->shape_flag, 1);
    EXPECT_EQ(handle->params_flag, 2);
}

TEST(UniformGeometry, InvalidGeometryIsRefusedAndChangesNothing) {
    const char* refusal =
        "[ALGO_MSG_ERR] [SSL] [SetShape] Fail! The array_geometry setting is not allow, it should be 0 or 1 !!\r\n";
    for (uint32_t geometry : {2u, 0xFFFFFFFFu}) {
        // First shape call: the refusal leaves the handle without a shape.
        WorkingBuffer fresh_buffer;
        SslHandle* fresh = InitAndConfigure(fresh_buffer, DefaultInit());
        const GeometrySnapshot at_init(fresh);
        Printed refused = Call([&] { return EzoSsl_Set_Shape(fresh, geometry); });
        EXPECT_EQ(refused.status, SSL_RET_INVALID_GEOMETRY);
        EXPECT_EQ(refused.output, refusal);
        EXPECT_EQ(fresh->shape_flag, 0);
        EXPECT_TRUE(GeometrySnapshot(fresh) == at_init);
        const Printed cal = Call([&] { return EzoSsl_Cal_Params(fresh); });
        EXPECT_EQ(cal.status, SSL_RET_CALL_ORDER_ERROR);
        EXPECT_EQ(cal.output, "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! Please call EzoSsl_Set_Shape first!\t\n");

        // After a calibrated shape: it warns, refuses, and the earlier geometry stays in force.
        WorkingBuffer buffer;
        SslHandle* handle = InitCalibrated(buffer, DefaultInit(), 1);
        const GeometrySnapshot calibrated(handle);
        refused = Call([&] { return EzoSsl_Set_Shape(handle, geometry); });
        EXPECT_EQ(refused.status, SSL_RET_INVALID_GEOMETRY);
        EXPECT_EQ(refused.output, std::string(kSetShapeWarning) + refusal);
        EXPECT_EQ(handle->shape_flag, 1);
        EXPECT_EQ(handle->params_flag, 1);
        EXPECT_TRUE(GeometrySnapshot(handle) == calibrated);
    }
}

}  // namespace
}  // namespace ezossl_test
