// Exported digital gain: EzoSsl_ApplyDigitalGain.
#include "../common/message.h"
#include "../core/gain.h"
#include "../core/ssl_constants.h"
#include "api_checks.h"
#include "ezossl.h"

using namespace ezossl;

namespace {

constexpr ApiSite kApplyGainSite = {"[SSL] [ApplyDigitalGain]", "ApplyDigitalGain", nullptr};

}  // namespace

extern "C" {

uint32_t EzoSsl_ApplyDigitalGain(SslHandle* handle, int16_t* microphone_input, int32_t gain) {
    if (!handle) {
        return RefuseNull("[%s] %s [SSL] [ApplyDigitalGain] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    }
    if (!microphone_input) {
        return RefuseNull("[%s] %s [SSL] [ApplyDigitalGain] Fail! The microphone_input is NULL\t\n",
                          SSL_RET_NULL_POINTER);
    }
    const uint32_t status = CheckPrologue(*handle, kApplyGainSite, kNeedCalibrated);
    if (status != SSL_RET_OK) return status;
    if (gain < kGainMinDb || gain > kGainMaxDb) {
        SslError(handle->flags.msg_level,
                 "[%s] %s[SSL][ApplyDigitalGain]Fail! Gain value must be set between -120 to 120!  \t\n");
        return SSL_RET_INVALID_GAIN;
    }

    // A steady gain reuses its factor: pow runs only when the gain changes.
    GainState& state = handle->gain;
    if (gain != state.gain_db) {
        state.gain_db = gain;
        state.gain_linear = Gain_Factor(gain);
    }
    Gain_ApplyBlock(state.gain_linear, microphone_input);
    return SSL_RET_OK;
}

}  // extern "C"
