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
    handle->direction_flag = kFlagDone;
    handle->mapping_flag = kFlagNotYet;
}

uint32_t CheckNormalMode(const SslHandle& handle) {
    if (handle.bf_mode == 1) {
        SslError(handle.msg_level,
                 "[%s] %s [SSL] [GetDirection] Fail! The bf_mode is 1, You don't need to call EzoSsl_Get_Direction!\t\n");
        return SSL_RET_INVALID_BF_MODE;
    }
    if (handle.ssl_mode != 0) {
        SslError(handle.msg_level, "[%s] %s[SSL]  Fail! This lib does not include mode 1\t\n");
        return SSL_RET_MODE_NOT_INCLUDED;
    }
    return SSL_RET_OK;
}

void WarnDelaysTooLarge(const SslHandle& handle) {
    if (handle.array_geometry != 0) {
        SslWarning(handle.msg_level,
                   "[%s] %s [SSL]UCA all delay samples are too large. Please check the distance and sampling rate!.\t\n");
    } else {
        SslWarning(handle.msg_level,
                   "[%s] %s [SSL]ULA all delay samples are too large. Please check the distance and sampling rate!.\t\n");
    }
}

// Level test, winners, path differences and the solve; writes the angle on success.
uint32_t SolvePeriod(SslHandle* handle, int32_t* direction_avg_int) {
    if (!Level_IsAboveThreshold(handle)) {
        ClosePeriod(handle);
        return SSL_RET_SIGNAL_TOO_WEAK;
    }
    const int winners = Votes_FindWinners(handle);
    float angle = 0.0f;
    if (winners == 1) {
        Votes_ToPathDifference(handle);
        if (Pairs_ToCosines(handle) == 0) {
            ClosePeriod(handle);
            WarnDelaysTooLarge(*handle);
            return SSL_RET_DELAY_TOO_LARGE;
        }
        angle = Direction_Solve(handle);
    }
    ClosePeriod(handle);
    if (winners != 1) {
        *direction_avg_int = kNoDirection;
        return SSL_RET_NO_DIRECTION;
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
    handle->direction_flag = kFlagFailed;
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
    handle->mapping_flag = kFlagFailed;
    const uint32_t status = CheckPrologue(*handle, kResetMappingSite, kNeedCalibrated | kNeedRunDone);
    if (status != SSL_RET_OK) return status;
    if (handle->bf_mode == 1) {
        SslError(handle->msg_level,
                 "[%s] %s [SSL] [ResetMapping] Fail! The bf_mode is 1, You don't need to call EzoSsl_ResetVoting!\t\n");
        return SSL_RET_INVALID_BF_MODE;
    }
    Voting_Reset(handle);
    handle->direction_flag = kFlagNotYet;
    handle->mapping_flag = kFlagDone;
    return SSL_RET_OK;
}

}  // extern "C"
