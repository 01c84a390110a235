// Calibration: the planar solver matrix, Init's default tables, and what a refused call leaves.
#include "geometry_support.h"

namespace ezossl_test {
namespace {

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

TEST(CalParams, InitDefaultsAreALinearArrayOfTheGivenSpacing) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit(16000, 4.0f));
    const int32_t max_delay[3] = {2, 4, 6};
    for (int q = 0; q < 3; ++q) EXPECT_EQ(handle->max_delay[q], max_delay[q]) << q;
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
    EXPECT_EQ(std::memcmp(handle->geometry.plane_projection, planar.plane_projection, sizeof(planar.plane_projection)), 0);
    EXPECT_NE(handle->geometry.plane_projection[0][0], 0.0f);
}

TEST(CalParams, RefusalUncalibratesTheHandle) {
    const struct {
        const char* name;
        void (*spoil)(SslHandle*);
        uint32_t status;
        const char* message;
    } cases[] = {
        {"not initialised", [](SslHandle* h) { h->flags.init_flag = 0; }, SSL_RET_INIT_ERROR,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! Please call EzoSsl_Init first!\t\n"},
        {"config refused", [](SslHandle* h) { h->flags.config_flag = 0; }, SSL_RET_CALL_ORDER_ERROR,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! Please call EzoSSL_Config first!\t\n"},
        {"no shape", [](SslHandle* h) { h->flags.shape_flag = 2; }, SSL_RET_CALL_ORDER_ERROR,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! Please call EzoSsl_Set_Shape first!\t\n"},
        {"run succeeded", [](SslHandle* h) { h->flags.run_flag = 1; }, SSL_RET_RUN_STATE_ERROR,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! Can't not change intrinsic parameters during run process!\t\n"},
        {"run refused", [](SslHandle* h) { h->flags.run_flag = 0; }, SSL_RET_RUN_STATE_ERROR,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! Can't not change intrinsic parameters during run process!\t\n"},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
        const GeometrySnapshot calibrated(handle);
        c.spoil(handle);
        const Printed result = Call([&] { return EzoSsl_Cal_Params(handle); });
        EXPECT_EQ(result.status, c.status) << c.name;
        EXPECT_EQ(result.output, c.message) << c.name;
        EXPECT_EQ(handle->flags.params_flag, 0) << c.name;
        EXPECT_TRUE(GeometrySnapshot(handle) == calibrated) << c.name;
    }
}

}  // namespace
}  // namespace ezossl_test
