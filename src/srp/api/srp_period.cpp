// EzoSslSrp_Process, EzoSslSrp_GetDirection and EzoSslSrp_Reset: handle checks and the period.
#include <ezossl_srp.h>

#include <cmath>
#include <cstring>

#include "core/srp_frame.h"
#include "core/srp_state.h"
#include "core/srp_steer.h"

using ezossl::srp::SrpState;

namespace {

constexpr double kLevelFloor = 1e-10;  // mean square of -100 dBFS, the level of silence

// The state behind a handle, or null when it is not one Init returned.
SrpState* StateOf(EzoSslSrp* srp) {
    auto* state = reinterpret_cast<SrpState*>(srp);
    return state && state->magic == ezossl::srp::kMagic ? state : nullptr;
}

float LevelDbfs(const SrpState& state) {
    const double mean_square = state.blocks ? static_cast<double>(state.level_sum) / state.blocks : 0.0;
    return static_cast<float>(10.0 * std::log10(mean_square + kLevelFloor));
}

}  // namespace

uint32_t EzoSslSrp_Process(EzoSslSrp* srp, const int16_t* block) {
    SrpState* state = StateOf(srp);
    if (!state) return EZOSSL_SRP_RET_INVALID_HANDLE;
    if (!block) return EZOSSL_SRP_RET_NULL_POINTER;
    ezossl::srp::Frame_Accumulate(state, block);
    return state->blocks >= state->frames_per_period ? EZOSSL_SRP_RET_PERIOD_FULL : EZOSSL_SRP_RET_OK;
}

uint32_t EzoSslSrp_GetDirection(EzoSslSrp* srp, EzoSslSrpResult* result) {
    SrpState* state = StateOf(srp);
    if (!state) return EZOSSL_SRP_RET_INVALID_HANDLE;
    if (!result) return EZOSSL_SRP_RET_NULL_POINTER;
    result->blocks = state->blocks;
    result->level_dbfs = LevelDbfs(*state);
    result->direction_deg = EZOSSL_SRP_NO_DIRECTION;
    result->confidence = 0.0f;
    if (state->blocks == 0) {
        result->status = EZOSSL_SRP_RET_NO_BLOCKS;
    } else if (result->level_dbfs <= state->level_threshold_db) {
        result->status = EZOSSL_SRP_RET_SILENT;
    } else {
        const ezossl::srp::SteeredPeak peak = ezossl::srp::Steer_FindPeak(state);
        result->status = EZOSSL_SRP_RET_OK;
        result->direction_deg = peak.direction_deg;
        result->confidence = peak.confidence;
    }
    ezossl::srp::Period_Clear(state);
    return result->status;
}

uint32_t EzoSslSrp_Reset(EzoSslSrp* srp) {
    SrpState* state = StateOf(srp);
    if (!state) return EZOSSL_SRP_RET_INVALID_HANDLE;
    ezossl::srp::Period_Clear(state);
    std::memset(state->history, 0, sizeof(state->history));
    state->recent_energy = 0.0f;
    return EZOSSL_SRP_RET_OK;
}
