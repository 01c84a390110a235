// Exported per-block entry point: EzoSsl_Run.
#include "../common/message.h"
#include "../core/frame_pipeline.h"
#include "../core/voting.h"
#include "api_checks.h"
#include "ezossl.h"
#include "input_dump.h"

using namespace ezossl;

namespace {

constexpr ApiSite kRunSite = {"[SSL] [Run]", "Run", nullptr};
// Switching the dump on failed: a status outside the table, before any processing.
constexpr uint32_t kDumpOpenFailed = 0xFFFFFFFFu;

// Run is refused from Get_Direction until a successful Reset_Mapping opens the next period.
uint32_t CheckVotingPeriodOpen(const SslHandle& handle) {
    if (handle.flags.direction_flag != kFlagNotYet) {
        SslError(handle.flags.msg_level, "[%s] %s [SSL] [Run] Fail! Please call EzoSsl_Get_Direction first.\t\n");
        return SSL_RET_RUN_STATE_ERROR;
    }
    if (handle.flags.mapping_flag != kFlagDone) {
        SslError(handle.flags.msg_level, "[%s] %s [SSL] [Run] Fail! Please call EzoSsl_Reset_Mapping first.\t\n");
        return SSL_RET_RUN_STATE_ERROR;
    }
    return SSL_RET_OK;
}

}  // namespace

extern "C" uint32_t EzoSsl_Run(SslHandle* handle, const int16_t* microphone_input, int32_t* delay_sample) {
    if (!handle) return RefuseNull("[%s] %s [SSL] [Run] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    if (!microphone_input) {
        return RefuseNull("[%s] %s [SSL] [Run] Fail! The microphone_input is NULL\t\n", SSL_RET_NULL_POINTER);
    }
    if (!delay_sample) return RefuseNull("[%s] %s [SSL] [Run] Fail! The delay_sample is NULL\t\n", SSL_RET_NULL_POINTER);

    // Cleared before the checks: any refusal leaves Get_Direction and Reset_Mapping blocked,
    // and freezes the geometry from now on.
    handle->flags.run_flag = kFlagFailed;
    uint32_t status = CheckPrologue(*handle, kRunSite, kNeedCalibrated);
    if (status == SSL_RET_OK) status = CheckVotingPeriodOpen(*handle);
    if (status != SSL_RET_OK) return status;

    if (!InputDump_FollowSwitch(handle, handle->flags.msg_level)) return kDumpOpenFailed;
    if (handle->flags.voting_reset_pending == 1) {
        Voting_Reset(handle->voting, handle->activity, handle->solver);
        handle->flags.voting_reset_pending = 0;
    }
    const FrameOutcome outcome = Frame_Process(handle, microphone_input, delay_sample);
    // The raw block goes to the dump even when mode 1 refuses the frame.
    InputDump_Write(handle);
    if (outcome == FrameOutcome::kModeNotIncluded) {
        SslError(handle->flags.msg_level, "[%s] %s[SSL] [CNN Run]  Fail! This lib does not include mode 1\t\n");
        return SSL_RET_MODE_NOT_INCLUDED;
    }

    handle->flags.run_flag = kFlagDone;
    return SSL_RET_OK;
}
