// Prologue behaviour: null refusals, call-order flags and the common handle check.
#include <cstring>

#include "core/ssl_handle.h"
#include "geometry_support.h"
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

// The geometry, calibration, mode and gain calls, each with its message head and check label.
struct GeometryStageCall {
    const char* head;   // the bracket in its messages
    const char* label;  // the label its handle check prints
    uint32_t (*call)(SslHandle*);
    bool needs_shape;
    bool needs_params;
};

const float kSquare[8] = {0, 0, 4, 0, 4, 4, 0, 4};
int16_t g_block[512];

const GeometryStageCall kGeometryStageCalls[] = {
    {"SetShape", "Set_Shape", [](SslHandle* h) { return EzoSsl_Set_Shape(h, 1); }, false, false},
    {"Set_ArbitraryShape", "Set_ArbitraryShape", [](SslHandle* h) { return EzoSsl_Set_ArbitraryShape(h, kSquare); },
     false, false},
    {"CalParams", "CalParams", EzoSsl_Cal_Params, true, false},
    {"SetMode", "SetMode", [](SslHandle* h) { return EzoSsl_SetMode(h, 0, 90, 45); }, true, true},
    {"ApplyDigitalGain", "ApplyDigitalGain", [](SslHandle* h) { return EzoSsl_ApplyDigitalGain(h, g_block, 0); },
     true, true},
};

std::string PrerequisiteMessage(const char* head, const char* step) {
    return std::string("[ALGO_MSG_ERR] [SSL] [") + head + "] Fail! Please call " + step + " first!\t\n";
}

TEST(HandleCheck, CorruptHandlesAreRefusedByTheGeometryStageCalls) {
    for (const CorruptionCase& c : kCorruptions) {
        for (const GeometryStageCall& stage : kGeometryStageCalls) {
            WorkingBuffer buffer;
            SslHandle* handle = InitCalibrated(buffer, DefaultInit(), 1);
            c.corrupt(handle);
            // Shape calls are tested as first calls, so no overwrite warning precedes the check.
            handle->shape_flag = stage.needs_shape ? 1 : 2;
            const GeometrySnapshot corrupted(handle);
            const Printed result = Call([&] { return stage.call(handle); });
            EXPECT_EQ(result.output, WithLabel(c.format, stage.label)) << c.what << ", " << stage.label;
            EXPECT_EQ(result.status, c.status) << c.what << ", " << stage.label;
            EXPECT_TRUE(GeometrySnapshot(handle) == corrupted) << c.what << ", " << stage.label;
            // A refused first shape call leaves the handle without a shape.
            if (!stage.needs_shape) {
                EXPECT_EQ(handle->shape_flag, 0) << c.what << ", " << stage.label;
            }
        }
    }
}

TEST(CallOrder, GeometryStageCallsNeedEveryEarlierStep) {
    const struct {
        const char* step;
        int32_t SslHandle::*flag;
        uint32_t status;
    } steps[] = {
        {"EzoSsl_Init", &SslHandle::init_flag, SSL_RET_INIT_ERROR},
        {"EzoSSL_Config", &SslHandle::config_flag, SSL_RET_CALL_ORDER_ERROR},
        {"EzoSsl_Set_Shape", &SslHandle::shape_flag, SSL_RET_CALL_ORDER_ERROR},
        {"EzoSsl_Cal_Params", &SslHandle::params_flag, SSL_RET_CALL_ORDER_ERROR},
    };
    for (const GeometryStageCall& stage : kGeometryStageCalls) {
        const size_t needed = stage.needs_params ? 4 : stage.needs_shape ? 3 : 2;
        for (size_t s = 0; s < needed; ++s) {
            WorkingBuffer buffer;
            SslHandle* handle = InitCalibrated(buffer, DefaultInit(), 1);
            handle->*steps[s].flag = 0;
            const Printed result = Call([&] { return stage.call(handle); });
            EXPECT_EQ(result.output, PrerequisiteMessage(stage.head, steps[s].step)) << stage.head;
            EXPECT_EQ(result.status, steps[s].status) << stage.head << " without " << steps[s].step;
        }
    }
}

TEST(CallOrder, ShapeIsFrozenOnceRunHasBeenEntered) {
    for (int32_t run_flag : {0, 1}) {  // a refused and a successful Run
        for (const GeometryStageCall& stage : kGeometryStageCalls) {
            if (stage.needs_shape) continue;
            WorkingBuffer buffer;
            SslHandle* handle = InitCalibrated(buffer, DefaultInit(), 0);
            const GeometrySnapshot running(handle);
            handle->run_flag = run_flag;
            const Printed result = Call([&] { return stage.call(handle); });
            EXPECT_EQ(result.status, SSL_RET_RUN_STATE_ERROR) << stage.head;
            EXPECT_EQ(result.output, std::string("[ALGO_MSG_ERR] [SSL] [") + stage.head +
                                         "] Fail! Can't not change array shape during run process!\t\n")
                << stage.head;
            EXPECT_TRUE(GeometrySnapshot(handle) == running) << stage.head;
            EXPECT_EQ(handle->shape_flag, 1) << stage.head;
            EXPECT_EQ(handle->params_flag, 1) << stage.head;
        }
    }
}

TEST(CallOrder, NullPointersAreRefusedByTheGeometryStageCallsBeforeTheFlags) {
    WorkingBuffer buffer;
    SslHandle* uninitialised = buffer.handle();
    const struct {
        std::function<uint32_t()> call;
        uint32_t status;
        const char* message;
    } cases[] = {
        {[] { return kGeometryStageCalls[0].call(nullptr); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR] [SSL] [SetShape] Fail! The handle is NULL!!\r\n"},
        {[] { return kGeometryStageCalls[1].call(nullptr); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR] [SSL] [Set_ArbitraryShape] Fail! The handle is NULL!!\r\n"},
        {[] { return kGeometryStageCalls[2].call(nullptr); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! The handle is NULL!!\r\n"},
        {[] { return kGeometryStageCalls[3].call(nullptr); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR]  [SSL] [SetMode] Fail! The handle is null!\t\n"},
        {[] { return kGeometryStageCalls[4].call(nullptr); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR]  [SSL] [ApplyDigitalGain] Fail! The handle is null!\t\n"},
        {[&] { return EzoSsl_Set_ArbitraryShape(uninitialised, nullptr); }, SSL_RET_NULL_POINTER,
         "[ALGO_MSG_ERR]  [SSL] [Set_ArbitraryShape] Fail! The array_pos is NULL\t\n"},
        {[&] { return EzoSsl_ApplyDigitalGain(uninitialised, nullptr, 0); }, SSL_RET_NULL_POINTER,
         "[ALGO_MSG_ERR]  [SSL] [ApplyDigitalGain] Fail! The microphone_input is NULL\t\n"},
    };
    for (const auto& c : cases) {
        const Printed result = Call(c.call);
        EXPECT_EQ(result.status, c.status) << c.message;
        EXPECT_EQ(result.output, c.message);
    }
}

}  // namespace
}  // namespace ezossl_test
