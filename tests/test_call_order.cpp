// Prologue behaviour: null refusals, call-order flags and the common handle check.
#include <cstring>

#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

const SslConfig kConfig{25, -80, 32};

TEST(ConfigPrologue, NullPointersAreRefusedWhateverTheLevel) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    handle->msg_level = 0;  // null messages do not depend on the handle's level
    SslConfig out{};
    const struct {
        std::function<uint32_t()> call;
        uint32_t status;
        const char* message;
    } cases[] = {
        {[&] { return EzoSsl_Config(nullptr, &kConfig); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR]  [SSL] [Config] Fail! The handle is null!\t\n"},
        {[&] { return EzoSsl_Config(handle, nullptr); }, SSL_RET_INVALID_CONFIG,
         "[ALGO_MSG_ERR]  [SSL] [Config] Fail! The ssl_config is null!\t\n"},
        {[&] { return EzoSsl_Get_Config(nullptr, &out); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The handle is null!\t\n"},
        {[&] { return EzoSsl_Get_Config(handle, nullptr); }, SSL_RET_INVALID_CONFIG,
         "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The ssl_config is null!\t\n"},
        // The record is tested first.
        {[&] { return EzoSsl_Get_Config(nullptr, nullptr); }, SSL_RET_INVALID_CONFIG,
         "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The ssl_config is null!\t\n"},
    };
    for (const auto& c : cases) {
        uint32_t status = 0;
        EXPECT_EQ(CaptureOutput([&] { status = c.call(); }), c.message);
        EXPECT_EQ(status, c.status) << c.message;
    }
    // A null record does not reach the flags: the handle stays configured as it was.
    EXPECT_EQ(handle->config_flag, 2);
}

TEST(ConfigPrologue, MissingInitIsRefusedWithItsOwnSpacing) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    handle->init_flag = 0;
    uint32_t status = 0;
    EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Config(handle, &kConfig); }),
              "[ALGO_MSG_ERR]  [SSL] [Config] Fail! Please call EzoSsl_Init first!\t\n");
    EXPECT_EQ(status, SSL_RET_INIT_ERROR);
    SslConfig out{};
    EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Get_Config(handle, &out); }),
              "[ALGO_MSG_ERR] [SSL] [GetConfig] Fail! Please call EzoSsl_Init first!\t\n");
    EXPECT_EQ(status, SSL_RET_INIT_ERROR);
}

TEST(ConfigPrologue, RefusedConfigLeavesTheHandleUnconfigured) {
    WorkingBuffer buffer;
    SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
    ASSERT_EQ(handle->config_flag, 1);
    std::memcpy(handle->handle_magic, "XXXX", 4);
    CaptureOutput([&] { EXPECT_EQ(EzoSsl_Config(handle, &kConfig), SSL_RET_INVALID_HANDLE); });
    std::memcpy(handle->handle_magic, "W0Q0", 4);
    EXPECT_EQ(handle->config_flag, 0);

    SslConfig out{};
    uint32_t status = 0;
    EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Get_Config(handle, &out); }),
              "[ALGO_MSG_ERR] [SSL] [GetConfig] Fail! Please call EzoSSL_Config first!\t\n");
    EXPECT_EQ(status, SSL_RET_CALL_ORDER_ERROR);
}

TEST(ConfigPrologue, GetConfigBeforeConfigIsRefused) {
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    SslConfig out{};
    CaptureOutput([&] { EXPECT_EQ(EzoSsl_Get_Config(handle, &out), SSL_RET_CALL_ORDER_ERROR); });
}

// One corruption of the handle, and what the common check says about it for each label.
struct CorruptionCase {
    const char* what;
    void (*corrupt)(SslHandle*);
    uint32_t status;
    const char* format;  // %s receives the function's check label
};

const CorruptionCase kCorruptions[] = {
    {"magic", [](SslHandle* h) { std::memcpy(h->handle_magic, "W0Q1", 4); }, SSL_RET_INVALID_HANDLE,
     "[ALGO_MSG_ERR] [BF][%s] Fail! The handle pointer seems to be dirty!!\r\n"},
    {"point number", [](SslHandle* h) { h->point_number = 256; }, SSL_RET_INVALID_POINT_NUMBER,
     "[ALGO_MSG_ERR] [BF] [%s] Fail! This library only support 128 point number!!\r\n"},
    {"mic number", [](SslHandle* h) { h->mic_num = 2; }, SSL_RET_INVALID_MIC_NUMBER,
     "[ALGO_MSG_ERR] [BF][%s] Fail! This library only support 4 Microphones!!\r\n"},
    // The point number is checked before the magic.
    {"everything", [](SslHandle* h) { std::memset(h, 0x55, 64); h->init_flag = 1; h->config_flag = 1; h->msg_level = 7; },
     SSL_RET_INVALID_POINT_NUMBER, "[ALGO_MSG_ERR] [BF] [%s] Fail! This library only support 128 point number!!\r\n"},
};

std::string WithLabel(const char* format, const char* label) {
    char text[256];
    std::snprintf(text, sizeof(text), format, label);
    return text;
}

TEST(HandleCheck, CorruptHandlesAreRefusedByConfigAndGetConfig) {
    for (const CorruptionCase& c : kCorruptions) {
        WorkingBuffer buffer;
        SslHandle* handle = InitAndConfigure(buffer, DefaultInit());
        c.corrupt(handle);
        SslConfig out{};
        uint32_t status = 0;
        EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Get_Config(handle, &out); }), WithLabel(c.format, "Get_Config"))
            << c.what;
        EXPECT_EQ(status, c.status) << c.what;
        EXPECT_EQ(CaptureOutput([&] { status = EzoSsl_Config(handle, &kConfig); }), WithLabel(c.format, "Config"))
            << c.what;
        EXPECT_EQ(status, c.status) << c.what;
    }
}

}  // namespace
}  // namespace ezossl_test
