// Sizing, Init/Reset validation and defaults, Free, version reporting and the ignored callback.
#include <cstring>

#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

TEST(BufferSize, IsStateAreaPlusFftConfigurationAndIsAnnounced) {
    uint32_t size = 0;
    const std::string out = CaptureOutput([&] { size = EzoSsl_GetBufferSize(); });
    EXPECT_EQ(size, 27936u);
    EXPECT_EQ(out, "[ALGO_MSG_MSG] [SSL] Working buffer size = 27936 bytes\t\n");
}

TEST(Init, SucceedsWithVersionAndSizeNotes) {
    WorkingBuffer buffer;
    const SslInit init = DefaultInit();
    SslHandle* handle = nullptr;
    const std::string out = CaptureOutput([&] { handle = EzoSsl_Init(buffer.data(), &init); });
    EXPECT_EQ(handle, buffer.handle());
    EXPECT_EQ(out, InitPreamble());
}

TEST(Init, NullArgumentsAreRefusedBeforeAnyNote) {
    WorkingBuffer buffer;
    const SslInit init = DefaultInit();
    for (auto* call : {EzoSsl_Init, EzoSsl_Reset}) {
        const char* label = call == EzoSsl_Init ? "Init" : "Reset";
        const std::string message = std::string("[ALGO_MSG_ERR]  [SSL] [") + label + "] Fail! The handle or ssl_init is null!\t\n";
        EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(call(nullptr, &init), nullptr); }), message);
        EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(call(buffer.data(), nullptr), nullptr); }), message);
    }
}

struct InvalidInitCase {
    const char* name;
    SslInit init;
    const char* message;
};

TEST(Init, ValidatesFieldsInFixedOrderAndReportsOnlyTheFirstFailure) {
    const InvalidInitCase cases[] = {
        {"point number", {64, 16000, 5.0f, 0, 4}, "[ALGO_MSG_ERR]  [SSL] Fail! The point_number is invalid!\t\n"},
        {"point number before mic number", {64, 16000, 5.0f, 0, 2},
         "[ALGO_MSG_ERR]  [SSL] Fail! The point_number is invalid!\t\n"},
        {"bf_mode", {128, 16000, 5.0f, 2, 4}, "[ALGO_MSG_ERR]  [SSL] Fail! The bf_mode is invalid!\t\n"},
        {"bf_mode before sample rate", {128, 44100, 5.0f, 7, 4},
         "[ALGO_MSG_ERR]  [SSL] Fail! The bf_mode is invalid!\t\n"},
        {"mic number", {128, 16000, 5.0f, 0, 2},
         "[ALGO_MSG_ERR] [SSL] Fail! This library only support 4 Microphones!!\r\n"},
        {"sample rate 44100", {128, 44100, 5.0f, 0, 4}, "[ALGO_MSG_ERR]  [SSL]Fail! Error setting sample rate.\t\n"},
        {"sample rate 0", {128, 0, 5.0f, 0, 4}, "[ALGO_MSG_ERR]  [SSL]Fail! Error setting sample rate.\t\n"},
    };
    for (const auto& c : cases) {
        for (auto* call : {EzoSsl_Init, EzoSsl_Reset}) {
            WorkingBuffer buffer;
            SslHandle* handle = buffer.handle();
            const std::string out = CaptureOutput([&] { handle = call(buffer.data(), &c.init); });
            EXPECT_EQ(handle, nullptr) << c.name;
            EXPECT_EQ(out, InitPreamble() + c.message) << c.name;
            // The refused buffer is left uninitialised: the next step is refused.
            const SslConfig config{25, -80, 32};
            EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(EzoSsl_Config(buffer.handle(), &config), SSL_RET_INIT_ERROR); }), "");
        }
    }
}

TEST(Init, FillsDefaults) {
    WorkingBuffer buffer;
    const SslHandle& h = *InitQuietly(buffer, DefaultInit(16000, 5.0f));
    EXPECT_EQ(std::memcmp(h.handle_magic, "W0Q0", 4), 0);
    EXPECT_EQ(h.settings.point_number, 128u);
    EXPECT_EQ(h.settings.sample_rate, 16000u);
    EXPECT_FLOAT_EQ(h.settings.mic_distance, 0.05f);
    EXPECT_EQ(h.settings.temperature, 25u);
    EXPECT_EQ(h.speed_of_sound, 346.0f);
    EXPECT_EQ(h.settings.level_threshold_db, -80);
    EXPECT_EQ(h.settings.level_threshold_amplitude, 1u);
    EXPECT_EQ(h.settings.direction_frame_num, 32);
    EXPECT_EQ(h.settings.previous_direction_frame_num, 32);
    EXPECT_EQ(h.flags.voting_reset_pending, 0);
    EXPECT_EQ(h.geometry.array_geometry, 0);
    EXPECT_EQ(h.ssl_mode, 0u);
    EXPECT_EQ(h.gain.gain_db, 0);
    EXPECT_EQ(h.gain.gain_linear, 1.0f);
    EXPECT_EQ(h.flags.msg_level, 7u);
    EXPECT_EQ(h.flags.dump_mode, 0);
    EXPECT_EQ(h.lag_table[0], -128);
    EXPECT_EQ(h.lag_table[128], 0);
    EXPECT_EQ(h.lag_table[255], 127);
    EXPECT_EQ(h.fft.initialised, 1);
    EXPECT_EQ(h.fft.n, 256);
    const int32_t flags[7] = {h.flags.init_flag, h.flags.config_flag, h.flags.shape_flag, h.flags.params_flag,
                              h.flags.run_flag,  h.flags.direction_flag, h.flags.mapping_flag};
    const int32_t expected_flags[7] = {1, 2, 2, 2, 2, 2, 1};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(flags[i], expected_flags[i]) << "flag " << i;
}

// A buffer that never went through Init holds garbage where the dump streams would be.
TEST(Free, LeavesABufferThatNeverWentThroughInitAlone) {
    ScopedEnv dump("AUDIO_SSL_DUMP", "1");
    WorkingBuffer buffer;
    std::memset(buffer.data(), 0xA5, BufferSize());
    EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(EzoSsl_Free(buffer.handle()), SSL_RET_OK); }), "");
}

TEST(Init, DefaultDelayBoundsFollowTheLinearSpacing) {
    const struct {
        float cm;
        uint32_t rate;
        int32_t max_delay[3];
    } cases[] = {
        {4.0f, 16000, {2, 4, 6}}, {5.0f, 16000, {3, 5, 7}}, {6.0f, 16000, {3, 6, 9}},
        {4.0f, 48000, {6, 12, 17}}, {4.0f, 8000, {1, 2, 3}}, {0.0f, 16000, {1, 1, 1}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        const SslHandle& h = *InitQuietly(buffer, DefaultInit(c.rate, c.cm));
        for (int p = 0; p < 3; ++p) EXPECT_EQ(h.max_delay[p], c.max_delay[p]) << c.cm << " cm, " << c.rate << " Hz";
    }
}

TEST(Reset, ReturnsAUsedHandleToTheInitialState) {
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit(16000, 5.0f), 100);
    handle->flags.run_flag = 1;  // as after a Run
    handle->voting.vote_count[1][3] = 12;
    handle->activity.energy_sum = 3.0f;

    const SslInit other = DefaultInit(48000, 4.0f, 1);
    SslHandle* reset = nullptr;
    const std::string out = CaptureOutput([&] { reset = EzoSsl_Reset(buffer.data(), &other); });
    ASSERT_EQ(reset, handle);
    EXPECT_EQ(out, InitPreamble());
    EXPECT_EQ(handle->flags.run_flag, 2);
    EXPECT_EQ(handle->flags.config_flag, 2);
    EXPECT_EQ(handle->voting.vote_count[1][3], 0);
    EXPECT_EQ(handle->activity.energy_sum, 0.0f);
    EXPECT_EQ(handle->settings.direction_frame_num, 32);
    EXPECT_EQ(handle->settings.sample_rate, 48000u);
    EXPECT_EQ(handle->settings.bf_mode, 1u);
    EXPECT_EQ(handle->max_delay[2], 17);
}

TEST(Reset, RefusedRecordDestroysTheHandle) {
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
    const SslInit bad = DefaultInit(44100);
    CaptureOutput([&] { EXPECT_EQ(EzoSsl_Reset(buffer.data(), &bad), nullptr); });
    SslConfig config{};
    EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(EzoSsl_Get_Config(handle, &config), SSL_RET_INIT_ERROR); }), "");
}

TEST(Free, ReleasesTheFftStateAndMayBeRepeated) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    EXPECT_EQ(CaptureOutput([&] { EXPECT_EQ(EzoSsl_Free(handle), SSL_RET_OK); }), "");
    EXPECT_EQ(handle->fft.initialised, 0);
    EXPECT_EQ(handle->flags.init_flag, 1);  // Free leaves the flags alone
    EXPECT_EQ(EzoSsl_Free(handle), SSL_RET_OK);
    // A freed buffer can be initialised again.
    EXPECT_NE(InitQuietly(buffer, DefaultInit()), nullptr);
}

TEST(ApiVersion, IsOnePointFourAndAnnounced) {
    uint16_t major = 0;
    uint16_t minor = 0;
    uint32_t status = 1;
    const std::string out = CaptureOutput([&] { status = EzoSsl_GetAPIVersion(&major, &minor); });
    EXPECT_EQ(status, SSL_RET_OK);
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 4);
    EXPECT_EQ(out, "[ALGO_MSG_MSG] SSL_API_VERSION: 1.4\n");
    CaptureOutput([&] { EXPECT_EQ(EzoSsl_GetAPIVersion(nullptr, nullptr), SSL_RET_OK); });
}

TEST(CallbackSetter, IsAcceptedAndChangesNothing) {
    uint32_t status = 1;
    EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_SetCallbackFunction(1, 2, 0xFFFFFFFFu, 0); }), "");
    EXPECT_EQ(status, SSL_RET_OK);
}

}  // namespace
}  // namespace ezossl_test
