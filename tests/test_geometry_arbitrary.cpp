// Arbitrary arrays: centring, signed bounds, slopes, linear-or-planar decision, refused positions.
#include <cmath>

#include "geometry_support.h"

namespace ezossl_test {
namespace {

constexpr float kCoordinateTolerance = 1e-7f;
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

}  // namespace
}  // namespace ezossl_test
