// Exported lifecycle functions: buffer size, Init, Reset, Free and the ignored callback setter.
#include <cstring>

#include "../common/message.h"
#include "../common/msg_level.h"
#include "../common/version_records.h"
#include "../core/handle_setup.h"
#include "api_checks.h"
#include "ezossl.h"
#include "input_dump.h"

using namespace ezossl;

namespace {

// Init and Reset run the same steps; only their messages differ.
struct LifecycleTexts {
    const char* null_arguments;
    const char* setup_failed;
    DumpTexts dump;
};

constexpr LifecycleTexts kInitTexts = {
    "[%s] %s [SSL] [Init] Fail! The handle or ssl_init is null!\t\n",
    "[%s] %s [SSL] [Init] Fail! Initialization fail!\t\n",
    {"[%s] %s[SSL][Init]Fail! Dump path %s doesn't exist!\t\n",
     "[%s] %s[SSL] [Init] Fail! The dump input file %d could not be open\n"},
};

constexpr LifecycleTexts kResetTexts = {
    "[%s] %s [SSL] [Reset] Fail! The handle or ssl_init is null!\t\n",
    "[%s] %s [SSL] [Reset] Fail! Initialization fail!\t\n",
    {"[%s] %s[SSL][Reset]Fail! Dump path %s doesn't exist!\t\n",
     "[%s] %s[SSL] [Reset] Fail! The dump input file %d could not be open\n"},
};

bool IsSupportedSampleRate(uint32_t rate) {
    return rate == 8000 || rate == 16000 || rate == 32000 || rate == 48000;
}

// The first invalid field decides; Init reports it only through the message.
bool ValidateSslInit(const SslInit& ssl_init, uint32_t level) {
    if (ssl_init.point_number != kPointNumber) {
        SslError(level, "[%s] %s [SSL] Fail! The point_number is invalid!\t\n");
        return false;
    }
    if (ssl_init.bf_mode != 0 && ssl_init.bf_mode != 1) {
        SslError(level, "[%s] %s [SSL] Fail! The bf_mode is invalid!\t\n");
        return false;
    }
    if (ssl_init.mic_num != kMicNum) {
        SslError(level, "[%s] %s[SSL] Fail! This library only support %d Microphones!!\r\n", static_cast<int>(kMicNum));
        return false;
    }
    if (!IsSupportedSampleRate(ssl_init.sample_rate)) {
        SslError(level, "[%s] %s [SSL]Fail! Error setting sample rate.\t\n");
        return false;
    }
    return true;
}

SslHandle* InitializeHandle(void* working_buffer, const SslInit* ssl_init, const LifecycleTexts& texts) {
    const uint32_t level = LoadMessageLevel();
    if (!working_buffer || !ssl_init) {
        SslError(level, texts.null_arguments);
        return nullptr;
    }
    SslNote(level, "[%s] %s[SSL] ver.%04x.%04x.%04x\r\n", kLibraryVersion[0], kLibraryVersion[1], kLibraryVersion[2]);

    // Zeroing forgets any dump streams an earlier Init opened; they stay open, as intended.
    std::memset(working_buffer, 0, EzoSsl_GetBufferSize());
    auto* handle = static_cast<SslHandle*>(working_buffer);
    handle->fft.configuration = FftWorkArea(handle);
    // The library's own FFT needs no library-wide initialisation (no kernel dispatch to choose):
    // its plan is built per handle below.

    if (!ValidateSslInit(*ssl_init, level)) return nullptr;
    Handle_StoreInit(handle, *ssl_init, level);
    if (SslHandleCheck(handle, level, "Init") != SSL_RET_OK) return nullptr;
    if (!Handle_SetUpFft(handle->fft, handle->lag_table)) {
        SslError(level, texts.setup_failed);
        return nullptr;
    }
    Handle_SetUpDelayTables(handle);
    if (!InputDump_Setup(handle, level, texts.dump)) return nullptr;
    Handle_SetInitialFlags(handle->flags);
    return handle;
}

}  // namespace

extern "C" {

uint32_t EzoSsl_GetBufferSize(void) {
    const uint32_t level = LoadMessageLevel();
    SslNote(level, "[%s] %s[SSL] Working buffer size = %d bytes\t\n", static_cast<int>(kWorkingBufferBytes));
    return kWorkingBufferBytes;
}

uint32_t EzoSsl_SetCallbackFunction(uint32_t, uint32_t, uint32_t, uint32_t) { return SSL_RET_OK; }

SslHandle* EzoSsl_Init(void* working_buffer, const SslInit* ssl_init) {
    return InitializeHandle(working_buffer, ssl_init, kInitTexts);
}

SslHandle* EzoSsl_Reset(void* working_buffer, const SslInit* ssl_init) {
    return InitializeHandle(working_buffer, ssl_init, kResetTexts);
}

uint32_t EzoSsl_Free(SslHandle* handle) {
    if (!handle) return RefuseNull("[%s] %s [SSL] [Free] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    Qel_rdft_free(&handle->fft);
    // A buffer that never went through Init holds no streams, only whatever bytes were there.
    if (CarriesHandleMagic(*handle)) InputDump_CloseOnFree(handle);
    return SSL_RET_OK;
}

}  // extern "C"
