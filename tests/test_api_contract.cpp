// API contract: every exported function survives every bad handle and pointer it can be given.
#include <random>

#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

// One call of each function that takes a handle, with otherwise valid arguments.
struct HandleCall {
    const char* name;
    std::function<uint32_t(SslHandle*)> call;
    const char* null_message;  // printed for a null handle, whatever the level
};

std::vector<HandleCall> HandleCalls() {
    static const SslConfig config{25, -80, 32};
    static const float square[8] = {0, 0, 4, 0, 4, 4, 0, 4};
    static int16_t block[512] = {};
    static int32_t delays[3];
    static int32_t direction;
    static SslConfig out;
    return {
        {"Config", [](SslHandle* h) { return EzoSsl_Config(h, &config); },
         "[ALGO_MSG_ERR]  [SSL] [Config] Fail! The handle is null!\t\n"},
        {"Get_Config", [](SslHandle* h) { return EzoSsl_Get_Config(h, &out); },
         "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The handle is null!\t\n"},
        {"Set_Shape", [](SslHandle* h) { return EzoSsl_Set_Shape(h, 1); },
         "[ALGO_MSG_ERR] [SSL] [SetShape] Fail! The handle is NULL!!\r\n"},
        {"Set_ArbitraryShape", [](SslHandle* h) { return EzoSsl_Set_ArbitraryShape(h, square); },
         "[ALGO_MSG_ERR] [SSL] [Set_ArbitraryShape] Fail! The handle is NULL!!\r\n"},
        {"Cal_Params", [](SslHandle* h) { return EzoSsl_Cal_Params(h); },
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! The handle is NULL!!\r\n"},
        {"Run", [](SslHandle* h) { return EzoSsl_Run(h, block, delays); },
         "[ALGO_MSG_ERR]  [SSL] [Run] Fail! The handle is null!\t\n"},
        {"Get_Direction", [](SslHandle* h) { return EzoSsl_Get_Direction(h, &direction); },
         "[ALGO_MSG_ERR]  [SSL] [GetDirection] Fail! The handle is null!\t\n"},
        {"Reset_Mapping", [](SslHandle* h) { return EzoSsl_Reset_Mapping(h); },
         "[ALGO_MSG_ERR]  [SSL] [ResetMapping] Fail! The handle is null!\t\n"},
        {"SetMode", [](SslHandle* h) { return EzoSsl_SetMode(h, 0, 90, 45); },
         "[ALGO_MSG_ERR]  [SSL] [SetMode] Fail! The handle is null!\t\n"},
        {"ApplyDigitalGain", [](SslHandle* h) { return EzoSsl_ApplyDigitalGain(h, block, 6); },
         "[ALGO_MSG_ERR]  [SSL] [ApplyDigitalGain] Fail! The handle is null!\t\n"},
        {"Free", [](SslHandle* h) { return EzoSsl_Free(h); }, "[ALGO_MSG_ERR]  [SSL] [Free] Fail! The handle is null!\t\n"},
    };
}

TEST(ApiContract, NullHandleIsRefusedByEveryFunction) {
    for (const HandleCall& c : HandleCalls()) {
        uint32_t status = 0;
        EXPECT_EQ(CaptureOutput([&] { status = c.call(nullptr); }), c.null_message) << c.name;
        EXPECT_EQ(status, SSL_RET_INVALID_HANDLE) << c.name;
    }
}

TEST(ApiContract, NullDataPointersAreRefused) {
    WorkingBuffer buffer;
    SslHandle* h = ReadyHandle(buffer, DefaultInit(), 1);
    int16_t block[512] = {};
    const struct {
        const char* name;
        std::function<uint32_t()> call;
        uint32_t status;
        const char* message;
    } cases[] = {
        {"Set_ArbitraryShape", [&] { return EzoSsl_Set_ArbitraryShape(h, nullptr); }, SSL_RET_NULL_POINTER,
         "[ALGO_MSG_ERR]  [SSL] [Set_ArbitraryShape] Fail! The array_pos is NULL\t\n"},
        {"ApplyDigitalGain", [&] { return EzoSsl_ApplyDigitalGain(h, nullptr, 0); }, SSL_RET_NULL_POINTER,
         "[ALGO_MSG_ERR]  [SSL] [ApplyDigitalGain] Fail! The microphone_input is NULL\t\n"},
        {"Run", [&] { return EzoSsl_Run(h, block, nullptr); }, SSL_RET_NULL_POINTER,
         "[ALGO_MSG_ERR]  [SSL] [Run] Fail! The delay_sample is NULL\t\n"},
    };
    for (const auto& c : cases) {
        uint32_t status = 0;
        EXPECT_EQ(CaptureOutput([&] { status = c.call(); }), c.message) << c.name;
        EXPECT_EQ(status, c.status) << c.name;
    }
}

TEST(ApiContract, NeverInitialisedBufferIsRefusedQuietly) {
    // A zeroed buffer has message level 0 and no flags: every call refuses without a word.
    for (const HandleCall& c : HandleCalls()) {
        WorkingBuffer buffer;
        uint32_t status = 0;
        const std::string printed = CaptureOutput([&] { status = c.call(buffer.handle()); });
        if (std::string(c.name) == "Free") {
            EXPECT_EQ(status, SSL_RET_OK);
            continue;
        }
        EXPECT_EQ(printed, "") << c.name;
        EXPECT_EQ(status, SSL_RET_INIT_ERROR) << c.name;
    }
}

TEST(ApiContract, GarbageBuffersNeverCrash) {
    // Random bytes may happen to pass any check; whatever they do, nothing reads or writes
    // outside the buffer (the sanitizer build checks that) and every call returns.
    std::mt19937 rng(2024);
    for (int trial = 0; trial < 20; ++trial) {
        for (const HandleCall& c : HandleCalls()) {
            if (std::string(c.name) == "Free") continue;  // would fclose random pointers
            WorkingBuffer buffer;
            uint8_t* bytes = buffer.bytes();
            for (uint32_t i = 0; i < BufferSize(); ++i) bytes[i] = static_cast<uint8_t>(rng());
            CaptureOutput([&] { c.call(buffer.handle()); });
        }
    }
}

TEST(ApiContract, FreshHandleAcceptsTheDocumentedSequence) {
    WorkingBuffer buffer;
    SslHandle* h = ReadyHandle(buffer, DefaultInit(), 1);
    int16_t block[512] = {};
    int32_t delays[3];
    int32_t direction = 0;
    CaptureOutput([&] {
        EXPECT_EQ(EzoSsl_ApplyDigitalGain(h, block, 6), SSL_RET_OK);
        EXPECT_EQ(EzoSsl_Run(h, block, delays), SSL_RET_OK);
        EXPECT_EQ(EzoSsl_Get_Direction(h, &direction), SSL_RET_SIGNAL_TOO_WEAK);
        EXPECT_EQ(EzoSsl_Reset_Mapping(h), SSL_RET_OK);
        EXPECT_EQ(EzoSsl_SetMode(h, 0, 180, 90), SSL_RET_OK);
        EXPECT_EQ(EzoSsl_Free(h), SSL_RET_OK);
    });
}

}  // namespace
}  // namespace ezossl_test
