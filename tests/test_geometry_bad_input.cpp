// Geometries without physical sense: defined results, no crash, the handle stays usable.
#include <cfloat>
#include <limits>

#include "geometry_support.h"

namespace ezossl_test {
namespace {

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

}  // namespace
}  // namespace ezossl_test
