// Exported end of a voting period and start of the next: EzoSsl_Get_Direction, EzoSsl_Reset_Mapping.
#include "../common/message.h"
#include "../common/numeric.h"
#include "../core/direction_solver.h"
#include "../core/voting.h"
#include "api_checks.h"
#include "ezossl.h"

using namespace ezossl;

namespace {

constexpr ApiSite kGetDirectionSite = {"[SSL] [GetDirection]", "GetDirection", nullptr};
constexpr ApiSite kResetMappingSite = {"[SSL] [ResetMapping]", "ResetMapping", nullptr};

// From the level test on, every outcome closes the period: Run waits for Reset_Mapping.
void ClosePeriod(SslHandle* handle) {
    handle->flags.direction_flag = kFlagDone;
    handle->flags.mapping_flag = kFlagNotYet;
}

uint32_t CheckNormalMode(const SslHandle& handle) {
    if (handle.settings.bf_mode == 1) {
        SslError(handle.flags.msg_level,
                 "[%s] %s [SSL] [GetDirection] Fail! The bf_mode is 1, You don't need to call EzoSsl_Get_Direction!\t\n");
        return SSL_RET_INVALID_BF_MODE;
    }
    if (handle.ssl_mode != 0) {
        SslError(handle.flags.msg_level, "[%s] %s[SSL]  Fail! This lib does not include mode 1\t\n");
        return SSL_RET_MODE_NOT_INCLUDED;
    }
    return SSL_RET_OK;
}

void WarnDelaysTooLarge(const SslHandle& handle) {
    if (handle.geometry.array_geometry != 0) {
        SslWarning(handle.flags.msg_level,
                   "[%s] %s [SSL]UCA all delay samples are too large. Please check the distance and sampling rate!.\t\n");
    } else {
        SslWarning(handle.flags.msg_level,
                   "[%s] %s [SSL]ULA all delay samples are too large. Please check the distance and sampling rate!.\t\n");
    }
}

// The period's outcome as a status; the angle is written only when one was found.
uint32_t SolvePeriod(SslHandle* handle, int32_t* direction_avg_int) {
    float angle = 0.0f;
    const PeriodOutcome outcome = Period_Solve(handle, &angle);
    ClosePeriod(handle);
    switch (outcome) {
        case PeriodOutcome::kSignalTooWeak: return SSL_RET_SIGNAL_TOO_WEAK;
        case PeriodOutcome::kNoWinner: return SSL_RET_NO_DIRECTION;
        case PeriodOutcome::kDelaysTooLarge:
            WarnDelaysTooLarge(*handle);
            return SSL_RET_DELAY_TOO_LARGE;
        case PeriodOutcome::kSolved: break;
    }
    *direction_avg_int = TruncateToInt32(angle);
    return SSL_RET_OK;
}

}  // namespace

extern "C" {

uint32_t EzoSsl_Get_Direction(SslHandle* handle, int32_t* direction_avg_int) {
    if (!handle) return RefuseNull("[%s] %s [SSL] [GetDirection] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    if (!direction_avg_int) {
        return RefuseNull("[%s] %s [SSL] [GetDirection] Fail! The direction_avg_int is NULL\t\n", SSL_RET_NULL_POINTER);
    }
    *direction_avg_int = kNoDirection;
    // Cleared on entry: from here on Run waits for a successful Reset_Mapping.
    handle->flags.direction_flag = kFlagFailed;
    uint32_t status = CheckPrologue(*handle, kGetDirectionSite, kNeedCalibrated | kNeedRunDone);
    if (status == SSL_RET_OK) status = CheckNormalMode(*handle);
    if (status != SSL_RET_OK) return status;
    return SolvePeriod(handle, direction_avg_int);
}

uint32_t EzoSsl_Reset_Mapping(SslHandle* handle) {
    if (!handle) {
        return RefuseNull("[%s] %s [SSL] [ResetMapping] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    }
    // Cleared before every other check: a refused Reset_Mapping leaves Run refused.
    handle->flags.mapping_flag = kFlagFailed;
    const uint32_t status = CheckPrologue(*handle, kResetMappingSite, kNeedCalibrated | kNeedRunDone);
    if (status != SSL_RET_OK) return status;
    if (handle->settings.bf_mode == 1) {
        SslError(handle->flags.msg_level,
                 "[%s] %s [SSL] [ResetMapping] Fail! The bf_mode is 1, You don't need to call EzoSsl_ResetVoting!\t\n");
        return SSL_RET_INVALID_BF_MODE;
    }
    Voting_Reset(handle->voting, handle->activity, handle->solver);
    handle->flags.direction_flag = kFlagNotYet;
    handle->flags.mapping_flag = kFlagDone;
    return SSL_RET_OK;
}

}  // extern "C"
