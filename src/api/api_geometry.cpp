// Exported geometry functions: EzoSsl_Set_Shape, EzoSsl_Set_ArbitraryShape and EzoSsl_Cal_Params.
#include "../common/message.h"
#include "../core/delay_tables.h"
#include "../core/geometry.h"
#include "api_checks.h"
#include "ezossl.h"

using namespace ezossl;

namespace {

constexpr ApiSite kSetShapeSite = {"[SSL] [SetShape]", "Set_Shape", "array shape"};
constexpr ApiSite kArbitraryShapeSite = {"[SSL] [Set_ArbitraryShape]", "Set_ArbitraryShape", "array shape"};
constexpr ApiSite kCalParamsSite = {"[SSL] [CalParams]", "CalParams", "intrinsic parameters"};

constexpr uint32_t kShapeNeeds = kNeedInit | kNeedConfig | kNeedNotRunning;
constexpr uint32_t kCalParamsNeeds = kNeedInit | kNeedConfig | kNeedShape | kNeedNotRunning;

constexpr uint32_t kTwoMicrophones = 2;

// A repeated shape call only warns: if it is then refused, the earlier geometry and its
// calibration stay in force. A first call that is refused leaves the handle without a shape.
void OpenShape(SslHandle* handle, const char* overwrite_warning) {
    if (handle->flags.shape_flag == kFlagDone) {
        SslWarning(handle->flags.msg_level, overwrite_warning);
    } else {
        handle->flags.shape_flag = kFlagFailed;
    }
}

// Call order, then the shape flag, then the handle check: the common part of both shape calls.
uint32_t CheckShapePrologue(SslHandle* handle, const ApiSite& site, const char* overwrite_warning) {
    const uint32_t status = CheckCallOrder(*handle, site, kShapeNeeds);
    if (status != SSL_RET_OK) return status;
    OpenShape(handle, overwrite_warning);
    return SslHandleCheck(handle, handle->flags.msg_level, site.check_label);
}

// A new geometry makes the solver matrix stale until Cal_Params runs again.
uint32_t CloseShape(SslHandle* handle) {
    handle->flags.shape_flag = kFlagDone;
    handle->flags.params_flag = kFlagNotYet;
    return SSL_RET_OK;
}

PairTables PairTablesOf(SslHandle* handle) { return PairTables{handle->max_delay, handle->voting.candidate_delay}; }

// Pairs of microphones given exactly the same position; positions that differ at all pass.
int CountCoincidentPairs(const float* array_pos) {
    int count = 0;
    for (uint32_t i = 0; i < kMicNum; ++i) {
        for (uint32_t j = i + 1; j < kMicNum; ++j) {
            if (array_pos[2 * j] == array_pos[2 * i] && array_pos[2 * j + 1] == array_pos[2 * i + 1]) ++count;
        }
    }
    return count;
}

uint32_t CheckArrayPositions(const SslHandle& handle, const float* array_pos) {
    // Never true while the handle check admits only four microphones; it keeps its place in
    // the checks for builds of the two-microphone variant.
    if (handle.settings.mic_num == kTwoMicrophones) {
        SslError(handle.flags.msg_level,
                 "[%s] %s[SSL] [Set_ArbitraryShape] Fail! Two microphone array must be linear. Can't use Arbitrary "
                 "shape !\t\n");
        return SSL_RET_INVALID_ARRAY_POS;
    }
    if (CountCoincidentPairs(array_pos) != 0) {
        SslError(handle.flags.msg_level, "[%s] %s[BF] [Set_ArbitraryShape] Fail! Some microphones are at same position !\t\n");
        return SSL_RET_INVALID_ARRAY_POS;
    }
    return SSL_RET_OK;
}

}  // namespace

extern "C" {

uint32_t EzoSsl_Set_Shape(SslHandle* handle, uint32_t array_geometry) {
    if (!handle) return RefuseNull("[%s] %s[SSL] [SetShape] Fail! The handle is NULL!!\r\n", SSL_RET_INVALID_HANDLE);
    const uint32_t status = CheckShapePrologue(
        handle, kSetShapeSite,
        "[%s] %s[SSL] [SetShape] Warning!You may have called EzoSsl_Set_ArbitraryShape first. The array geometry "
        "will be overwrite !\t\n");
    if (status != SSL_RET_OK) return status;
    if (array_geometry != 0 && array_geometry != 1) {
        SslError(handle->flags.msg_level,
                 "[%s] %s[SSL] [SetShape] Fail! The array_geometry setting is not allow, it should be 0 or 1 !!\r\n");
        return SSL_RET_INVALID_GEOMETRY;
    }

    handle->geometry.array_geometry = static_cast<int32_t>(array_geometry);
    Geometry_BuildUniform(handle->settings, handle->speed_of_sound, handle->geometry, PairTablesOf(handle));
    return CloseShape(handle);
}

uint32_t EzoSsl_Set_ArbitraryShape(SslHandle* handle, const float* array_pos) {
    if (!handle) {
        return RefuseNull("[%s] %s[SSL] [Set_ArbitraryShape] Fail! The handle is NULL!!\r\n", SSL_RET_INVALID_HANDLE);
    }
    if (!array_pos) {
        return RefuseNull("[%s] %s [SSL] [Set_ArbitraryShape] Fail! The array_pos is NULL\t\n", SSL_RET_NULL_POINTER);
    }
    uint32_t status = CheckShapePrologue(
        handle, kArbitraryShapeSite,
        "[%s] %s[SSL] [Set_ArbitraryShape] Warning!You may have called EzoSsl_Set_Shape first. The array geometry "
        "will be overwrite !\t\n");
    if (status != SSL_RET_OK) return status;
    status = CheckArrayPositions(*handle, array_pos);
    if (status != SSL_RET_OK) return status;

    Geometry_BuildArbitrary(array_pos, handle->settings, handle->speed_of_sound, handle->geometry,
                            PairTablesOf(handle));
    return CloseShape(handle);
}

uint32_t EzoSsl_Cal_Params(SslHandle* handle) {
    if (!handle) return RefuseNull("[%s] %s[SSL] [CalParams] Fail! The handle is NULL!!\r\n", SSL_RET_INVALID_HANDLE);
    // Cleared before the checks, so that a refused call leaves the handle uncalibrated.
    handle->flags.params_flag = kFlagFailed;
    const uint32_t status = CheckPrologue(*handle, kCalParamsSite, kCalParamsNeeds);
    if (status != SSL_RET_OK) return status;

    Projection_Compute(handle->geometry);
    handle->flags.params_flag = kFlagDone;
    return SSL_RET_OK;
}

}  // extern "C"
