// The prologue contract of every exported function: null pointers, missing steps, the handle
// check, the frozen geometry and the flags a refusal leaves behind.
#include <random>

#include "core/ssl_handle.h"
#include "geometry_support.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

using F = ezossl::CallOrder;

// Which call-order flags a function requires, in the order they are tested.
enum Needs : unsigned { kInit = 1, kConfig = 2, kShape = 4, kParams = 8, kNotRunning = 16, kRunDone = 32 };

struct ApiFunction {
    const char* name;
    const char* head;   // what its refusals print after the empty prefix
    const char* label;  // what its handle check prints
    unsigned needs;
    int32_t F::*entry_flag;  // cleared on entry, before the checks
    std::function<uint32_t(SslHandle*)> call;  // with valid data pointers
    const char* null_handle;
};

const float kSquareCm[8] = {0, 0, 4, 0, 4, 4, 0, 4};
int16_t g_block[512];
int32_t g_delays[3], g_direction;
SslConfig g_config{25, -80, 32};
constexpr unsigned kReady = kInit | kConfig | kShape | kParams;

const std::vector<ApiFunction>& Functions() {
    static const std::vector<ApiFunction> functions = {
        {"Config", " [SSL] [Config]", "Config", kInit, &F::config_flag, [](SslHandle* h) { return EzoSsl_Config(h, &g_config); },
         "[ALGO_MSG_ERR]  [SSL] [Config] Fail! The handle is null!\t\n"},
        {"Get_Config", "[SSL] [GetConfig]", "Get_Config", kInit | kConfig, nullptr, [](SslHandle* h) { return EzoSsl_Get_Config(h, &g_config); },
         "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The handle is null!\t\n"},
        {"Set_Shape", "[SSL] [SetShape]", "Set_Shape", kInit | kConfig | kNotRunning, &F::shape_flag,
         [](SslHandle* h) { return EzoSsl_Set_Shape(h, 1); }, "[ALGO_MSG_ERR] [SSL] [SetShape] Fail! The handle is NULL!!\r\n"},
        {"Set_ArbitraryShape", "[SSL] [Set_ArbitraryShape]", "Set_ArbitraryShape", kInit | kConfig | kNotRunning, &F::shape_flag,
         [](SslHandle* h) { return EzoSsl_Set_ArbitraryShape(h, kSquareCm); }, "[ALGO_MSG_ERR] [SSL] [Set_ArbitraryShape] Fail! The handle is NULL!!\r\n"},
        {"Cal_Params", "[SSL] [CalParams]", "CalParams", kInit | kConfig | kShape | kNotRunning, &F::params_flag, EzoSsl_Cal_Params,
         "[ALGO_MSG_ERR] [SSL] [CalParams] Fail! The handle is NULL!!\r\n"},
        {"Run", "[SSL] [Run]", "Run", kReady, &F::run_flag, [](SslHandle* h) { return EzoSsl_Run(h, g_block, g_delays); },
         "[ALGO_MSG_ERR]  [SSL] [Run] Fail! The handle is null!\t\n"},
        {"Get_Direction", "[SSL] [GetDirection]", "GetDirection", kReady | kRunDone, &F::direction_flag,
         [](SslHandle* h) { return EzoSsl_Get_Direction(h, &g_direction); }, "[ALGO_MSG_ERR]  [SSL] [GetDirection] Fail! The handle is null!\t\n"},
        {"Reset_Mapping", "[SSL] [ResetMapping]", "ResetMapping", kReady | kRunDone, &F::mapping_flag, EzoSsl_Reset_Mapping,
         "[ALGO_MSG_ERR]  [SSL] [ResetMapping] Fail! The handle is null!\t\n"},
        {"SetMode", "[SSL] [SetMode]", "SetMode", kReady, nullptr, [](SslHandle* h) { return EzoSsl_SetMode(h, 0, 90, 45); },
         "[ALGO_MSG_ERR]  [SSL] [SetMode] Fail! The handle is null!\t\n"},
        {"ApplyDigitalGain", "[SSL] [ApplyDigitalGain]", "ApplyDigitalGain", kReady, nullptr,
         [](SslHandle* h) { return EzoSsl_ApplyDigitalGain(h, g_block, 6); }, "[ALGO_MSG_ERR]  [SSL] [ApplyDigitalGain] Fail! The handle is null!\t\n"},
    };
    return functions;
}

// A calibrated handle after one successful Run: every step any function needs is done, and
// the shape calls, which need Run not entered, get run_flag 2 back.
SslHandle* ReadyFor(WorkingBuffer& buffer, const ApiFunction& f) {
    SslHandle* h = ReadyHandle(buffer, DefaultInit(), 1);
    h->flags.run_flag = (f.needs & kNotRunning) ? 2 : 1;
    return h;
}

std::string Format(const char* format, const char* text, const char* more = "") {
    char out[256];
    std::snprintf(out, sizeof(out), format, text, more);
    return out;
}

TEST(CallOrder, NullHandleAndNeverInitialisedBufferAreRefused) {
    for (const ApiFunction& f : Functions()) {
        const Printed result = Call([&] { return f.call(nullptr); });
        EXPECT_EQ(result.output, f.null_handle) << f.name;
        EXPECT_EQ(result.status, SSL_RET_INVALID_HANDLE) << f.name;
        // A zeroed buffer has message level 0 and no flags: refused without a word.
        WorkingBuffer zeroed;
        const Printed quiet = Call([&] { return f.call(zeroed.handle()); });
        EXPECT_EQ(quiet.output, "") << f.name;
        EXPECT_EQ(quiet.status, SSL_RET_INIT_ERROR) << f.name;
    }
    const Printed freed = Call([] { return EzoSsl_Free(nullptr); });
    EXPECT_EQ(freed.output, "[ALGO_MSG_ERR]  [SSL] [Free] Fail! The handle is null!\t\n");
    EXPECT_EQ(freed.status, SSL_RET_INVALID_HANDLE);
}

TEST(CallOrder, NullDataPointersAreRefusedBeforeTheFlagsWhateverTheLevel) {
    WorkingBuffer buffer;
    SslHandle* h = buffer.handle();  // never initialised: the pointer tests come first
    const struct { std::function<uint32_t()> call; uint32_t status; const char* message; } cases[] = {
        {[&] { return EzoSsl_Config(h, nullptr); }, SSL_RET_INVALID_CONFIG, "[ALGO_MSG_ERR]  [SSL] [Config] Fail! The ssl_config is null!\t\n"},
        {[&] { return EzoSsl_Get_Config(h, nullptr); }, SSL_RET_INVALID_CONFIG, "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The ssl_config is null!\t\n"},
        {[&] { return EzoSsl_Get_Config(nullptr, nullptr); }, SSL_RET_INVALID_CONFIG, "[ALGO_MSG_ERR]  [SSL] [GetConfig] Fail! The ssl_config is null!\t\n"},
        {[&] { return EzoSsl_Set_ArbitraryShape(h, nullptr); }, SSL_RET_NULL_POINTER, "[ALGO_MSG_ERR]  [SSL] [Set_ArbitraryShape] Fail! The array_pos is NULL\t\n"},
        {[&] { return EzoSsl_Run(h, nullptr, g_delays); }, SSL_RET_NULL_POINTER, "[ALGO_MSG_ERR]  [SSL] [Run] Fail! The microphone_input is NULL\t\n"},
        {[&] { return EzoSsl_Run(h, g_block, nullptr); }, SSL_RET_NULL_POINTER, "[ALGO_MSG_ERR]  [SSL] [Run] Fail! The delay_sample is NULL\t\n"},
        {[&] { return EzoSsl_Get_Direction(h, nullptr); }, SSL_RET_NULL_POINTER, "[ALGO_MSG_ERR]  [SSL] [GetDirection] Fail! The direction_avg_int is NULL\t\n"},
        {[&] { return EzoSsl_ApplyDigitalGain(h, nullptr, 0); }, SSL_RET_NULL_POINTER, "[ALGO_MSG_ERR]  [SSL] [ApplyDigitalGain] Fail! The microphone_input is NULL\t\n"},
    };
    for (const auto& c : cases) {
        const Printed result = Call(c.call);
        EXPECT_EQ(result.output, c.message);
        EXPECT_EQ(result.status, c.status) << c.message;
    }
}

TEST(CallOrder, EachMissingStepIsNamedWithTheCallersHead) {
    const struct { Needs need; int32_t F::*flag; int32_t missing; uint32_t status; const char* format; } steps[] = {
        {kInit, &F::init_flag, 0, SSL_RET_INIT_ERROR, "[ALGO_MSG_ERR] %s Fail! Please call EzoSsl_Init first!\t\n"},
        {kConfig, &F::config_flag, 0, SSL_RET_CALL_ORDER_ERROR, "[ALGO_MSG_ERR] %s Fail! Please call EzoSSL_Config first!\t\n"},
        {kShape, &F::shape_flag, 2, SSL_RET_CALL_ORDER_ERROR, "[ALGO_MSG_ERR] %s Fail! Please call EzoSsl_Set_Shape first!\t\n"},
        {kParams, &F::params_flag, 0, SSL_RET_CALL_ORDER_ERROR, "[ALGO_MSG_ERR] %s Fail! Please call EzoSsl_Cal_Params first!\t\n"},
        {kRunDone, &F::run_flag, 0, SSL_RET_CALL_ORDER_ERROR, "[ALGO_MSG_ERR] %s Fail! Please call EzoSsl_Run first!\t\n"},
        {kNotRunning, &F::run_flag, 1, SSL_RET_RUN_STATE_ERROR, "[ALGO_MSG_ERR] %s Fail! Can't not change %s during run process!\t\n"},
        // A refused Run freezes the geometry as well.
        {kNotRunning, &F::run_flag, 0, SSL_RET_RUN_STATE_ERROR, "[ALGO_MSG_ERR] %s Fail! Can't not change %s during run process!\t\n"},
    };
    for (const ApiFunction& f : Functions()) {
        for (const auto& step : steps) {
            if (!(f.needs & step.need)) continue;
            WorkingBuffer buffer;
            SslHandle* h = ReadyFor(buffer, f);
            h->flags.*step.flag = step.missing;
            const GeometrySnapshot before(h);
            const Printed result = Call([&] { return f.call(h); });
            EXPECT_TRUE(GeometrySnapshot(h) == before) << f.name;
            const std::string expected = Format(step.format, f.head, f.entry_flag == &F::params_flag ? "intrinsic parameters" : "array shape");
            EXPECT_EQ(result.output, expected) << f.name;
            EXPECT_EQ(result.status, step.status) << f.name << " " << expected;
        }
    }
}

TEST(CallOrder, CorruptHandlesAreRefusedByTheCommonCheck) {
    // The refusals also leave the flags each function clears on entry cleared. %s: the check label.
    const struct { const char* what; void (*corrupt)(SslHandle*); uint32_t status; const char* format; } corruptions[] = {
        {"magic", [](SslHandle* h) { std::memcpy(h->handle_magic, "W0Q1", 4); }, SSL_RET_INVALID_HANDLE,
         "[ALGO_MSG_ERR] [BF][%s] Fail! The handle pointer seems to be dirty!!\r\n"},
        {"point number", [](SslHandle* h) { h->settings.point_number = 256; }, SSL_RET_INVALID_POINT_NUMBER,
         "[ALGO_MSG_ERR] [BF] [%s] Fail! This library only support 128 point number!!\r\n"},
        {"mic number", [](SslHandle* h) { h->settings.mic_num = 2; }, SSL_RET_INVALID_MIC_NUMBER,
         "[ALGO_MSG_ERR] [BF][%s] Fail! This library only support 4 Microphones!!\r\n"},
        {"all three (point number first)",
         [](SslHandle* h) { std::memset(h->handle_magic, 0x55, 4); h->settings.point_number = 1; h->settings.mic_num = 1; },
         SSL_RET_INVALID_POINT_NUMBER, "[ALGO_MSG_ERR] [BF] [%s] Fail! This library only support 128 point number!!\r\n"},
    };
    for (const auto& c : corruptions) {
        for (const ApiFunction& f : Functions()) {
            WorkingBuffer buffer;
            SslHandle* h = ReadyFor(buffer, f);
            h->flags.shape_flag = (f.needs & kShape) ? 1 : 2;  // no overwrite warning before the check
            const GeometrySnapshot before(h);
            c.corrupt(h);
            const Printed result = Call([&] { return f.call(h); });
            EXPECT_EQ(result.output, Format(c.format, f.label)) << c.what << ", " << f.name;
            EXPECT_EQ(result.status, c.status) << c.what << ", " << f.name;
            EXPECT_TRUE(GeometrySnapshot(h) == before) << c.what << ", " << f.name;
            EXPECT_TRUE(!f.entry_flag || h->flags.*f.entry_flag == 0) << c.what << ", " << f.name;
        }
    }
}

TEST(CallOrder, GarbageBuffersNeverCrash) {
    // Random bytes may pass any check; whatever they do, nothing reads or writes outside the
    // buffer (the sanitizer build checks that) and every call returns.
    std::mt19937 rng(2024);
    for (int trial = 0; trial < 20; ++trial) {
        for (const ApiFunction& f : Functions()) {
            WorkingBuffer buffer;
            for (uint32_t i = 0; i < BufferSize(); ++i) buffer.bytes()[i] = static_cast<uint8_t>(rng());
            Call([&] { return f.call(buffer.handle()); });
        }
    }
}

}  // namespace
}  // namespace ezossl_test
