// Run-time configuration: clamping, derived values, read-back and the voting-length warning.
#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

uint32_t Configure(SslHandle* handle, uint32_t temperature, int32_t threshold_db, int32_t frames, std::string* out = nullptr) {
    const SslConfig config{temperature, threshold_db, frames};
    uint32_t status = 1;
    const std::string printed = CaptureOutput([&] { status = EzoSsl_Config(handle, &config); });
    if (out) *out = printed;
    return status;
}

TEST(Config, ThresholdIsClampedAndLookedUpAndTemperatureSetsTheSpeedOfSound) {
    // A negative temperature wraps to a huge unsigned value; it is taken as given.
    const uint32_t kWrapped = static_cast<uint32_t>(-10);
    const float kWrappedSpeed = static_cast<float>(4294967286.0 * 0.6 + 331.0);
    const struct { int32_t given; int32_t stored; uint32_t amplitude; uint32_t temperature; float speed; } cases[] = {
        {-100, -80, 1, 0, 331.0f}, {-81, -80, 1, 25, 346.0f}, {-80, -80, 1, 20, 343.0f}, {-79, -79, 1, 40, 355.0f},
        {-76, -76, 4, kWrapped, kWrappedSpeed}, {-75, -75, 5, 25, 346.0f}, {-40, -40, 327, 25, 346.0f},
        {-6, -6, 16422, 25, 346.0f}, {-1, -1, 29203, 25, 346.0f}, {0, 0, 32767, 25, 346.0f}, {6, 0, 32767, 25, 346.0f},
        {INT32_MIN, -80, 1, 25, 346.0f},
    };
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    for (const auto& c : cases) {
        ASSERT_EQ(Configure(handle, c.temperature, c.given, 32), SSL_RET_OK);
        EXPECT_EQ(handle->settings.level_threshold_db, c.stored) << c.given;
        EXPECT_EQ(handle->settings.level_threshold_amplitude, c.amplitude) << c.given;
        EXPECT_EQ(handle->speed_of_sound, c.speed) << c.temperature;
    }
    // Read back: what was stored, the threshold clamped, and quietly.
    ASSERT_EQ(Configure(handle, 31, -100, 77), SSL_RET_OK);
    SslConfig back{};
    EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(EzoSsl_Get_Config(handle, &back), SSL_RET_OK); }), "");
    EXPECT_EQ(back.temperature, 31u);
    EXPECT_EQ(back.level_threshold_db, -80);
    EXPECT_EQ(back.direction_frame_num, 77);
}

TEST(Config, ChangingTheVotingLengthWarnsAndSchedulesAVoteReset) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    std::string out;

    ASSERT_EQ(Configure(handle, 25, -80, 32, &out), SSL_RET_OK);
    EXPECT_EQ(out, "") << "same length as the default";
    EXPECT_EQ(handle->flags.voting_reset_pending, 0);

    ASSERT_EQ(Configure(handle, 25, -80, 50, &out), SSL_RET_OK);
    EXPECT_EQ(out, "[ALGO_MSG_WRN]  [SSL] [Config] Warning! The voting number direction_frame_num has been change!\t\n");
    EXPECT_EQ(handle->flags.voting_reset_pending, 1);
    EXPECT_EQ(handle->settings.previous_direction_frame_num, 50);

    // Re-sending the same length withdraws the pending reset.
    ASSERT_EQ(Configure(handle, 25, -80, 50, &out), SSL_RET_OK);
    EXPECT_EQ(out, "");
    EXPECT_EQ(handle->flags.voting_reset_pending, 0);
}

TEST(Config, VoteGatesScaleWithWholeMultiplesOf32Frames) {
    // -1 >> 5 is -1, read as unsigned: every product saturates instead of overflowing.
    const std::pair<int32_t, int64_t> cases[] = {{16, 0}, {31, 0}, {32, 1}, {63, 1}, {64, 2}, {100, 3}, {0, 0}, {-1, -1}};
    const int32_t base[10] = {2, 4, 4, 4, 4, 4, 4, 4, 2, 16};
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
    handle->flags.run_flag = 1;  // Config is accepted while running
    for (const auto& [frames, factor] : cases) {
        ASSERT_EQ(Configure(handle, 25, -80, frames), SSL_RET_OK);
        for (int k = 0; k < 10; ++k) {
            EXPECT_EQ(handle->solver.vote_gate[k], factor < 0 ? INT32_MAX : base[k] * factor) << frames << " bin " << k;
        }
    }
}

}  // namespace
}  // namespace ezossl_test
