// Exported mode selection: EzoSsl_SetMode, with the checks of the AI method's parameters.
#include "../common/message.h"
#include "../core/voting.h"
#include "api_checks.h"
#include "ezossl.h"

using namespace ezossl;

namespace {

constexpr ApiSite kSetModeSite = {"[SSL] [SetMode]", "SetMode", nullptr};

constexpr uint32_t kModeNormal = 0;
constexpr uint32_t kModeAi = 1;

// An accepted range and the bounds its refusal prints. The angular refusal prints 0 and 181
// although 1..180 is accepted; the message text is part of the interface and stays as it is.
struct ParamRange {
    uint32_t min;
    uint32_t max;
    int printed_min;
    int printed_max;
    const char* refusal;
};

constexpr ParamRange kAngularDistance = {
    1, 180, 0, 181, "[%s] %s [SSL] [SetNNParams] Fail! angular_distance must be set between [%d,%d] !\t\n"};
constexpr ParamRange kConvidence = {
    1, 90, 1, 90, "[%s] %s [SSL] [SetNNParams] Fail! convidence must be set between [%d,%d] !\t\n"};

uint32_t CheckRange(const SslHandle& handle, const ParamRange& range, uint32_t value) {
    if (value >= range.min && value <= range.max) return SSL_RET_OK;
    SslError(handle.flags.msg_level, range.refusal, range.printed_min, range.printed_max);
    return SSL_RET_INVALID_MODE;
}

}  // namespace

extern "C" {

uint32_t EzoSsl_SetMode(SslHandle* handle, uint32_t mode, uint32_t angular_distance, uint32_t convidence) {
    if (!handle) return RefuseNull("[%s] %s [SSL] [SetMode] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    uint32_t status = CheckPrologue(*handle, kSetModeSite, kNeedCalibrated);
    if (status != SSL_RET_OK) return status;
    if (mode != kModeNormal && mode != kModeAi) {
        SslError(handle->flags.msg_level, "[%s] %s [SSL] [SetMode] Fail! The mode is only to be 0 or 1!\t\n");
        return SSL_RET_INVALID_MODE;
    }

    // Stored before the parameter checks: a refused call still switches the mode, and mode 1
    // then keeps Run and Get_Direction refusing until mode 0 is set successfully.
    handle->ssl_mode = mode;
    SslNote(handle->flags.msg_level, "[%s] %s[SSL] [SetMode] Using mode = %d!,[0: Normal,1:AI Method]\t\n",
            static_cast<int>(mode));
    status = CheckRange(*handle, kAngularDistance, angular_distance);
    if (status != SSL_RET_OK) return status;
    status = CheckRange(*handle, kConvidence, convidence);
    if (status != SSL_RET_OK) return status;
    if (handle->ssl_mode == kModeAi) {
        SslError(handle->flags.msg_level, "[%s] %s[SSL] [SetMode] Fail! This lib does not include mode 1\t\n");
        return SSL_RET_MODE_NOT_INCLUDED;
    }

    Voting_Reset(handle->voting, handle->activity, handle->solver);
    SslNote(handle->flags.msg_level, "[%s] %s[SSL][SetMode] mode = %d\t\n", static_cast<int>(mode));
    return SSL_RET_OK;
}

}  // extern "C"
