// Uniform linear and circular arrays: coordinates, delay bounds, candidate delays, call order.
#include <cmath>

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

}  // namespace
}  // namespace ezossl_test
