// The checks every exported function makes before it touches the handle's state.
#include "api_checks.h"

#include <cstring>

#include "../common/message.h"
#include "ezossl.h"

namespace ezossl {
namespace {

struct FlagRule {
    Need need;
    int32_t CallOrder::*flag;
    int32_t required;
    uint32_t status;
    const char* format;  // "[%s] %s" + site.head + the rest
};

constexpr FlagRule kFlagRules[] = {
    {kNeedInit, &CallOrder::init_flag, kFlagDone, SSL_RET_INIT_ERROR,
     "[%s] %s%s Fail! Please call EzoSsl_Init first!\t\n"},
    {kNeedConfig, &CallOrder::config_flag, kFlagDone, SSL_RET_CALL_ORDER_ERROR,
     "[%s] %s%s Fail! Please call EzoSSL_Config first!\t\n"},
    {kNeedShape, &CallOrder::shape_flag, kFlagDone, SSL_RET_CALL_ORDER_ERROR,
     "[%s] %s%s Fail! Please call EzoSsl_Set_Shape first!\t\n"},
    {kNeedParams, &CallOrder::params_flag, kFlagDone, SSL_RET_CALL_ORDER_ERROR,
     "[%s] %s%s Fail! Please call EzoSsl_Cal_Params first!\t\n"},
    {kNeedNotRunning, &CallOrder::run_flag, kFlagNotYet, SSL_RET_RUN_STATE_ERROR,
     "[%s] %s%s Fail! Can't not change %s during run process!\t\n"},
    {kNeedRunDone, &CallOrder::run_flag, kFlagDone, SSL_RET_CALL_ORDER_ERROR,
     "[%s] %s%s Fail! Please call EzoSsl_Run first!\t\n"},
};

}  // namespace

uint32_t RefuseNull(const char* format, uint32_t status) {
    SslError(kDefaultMsgLevel, format);
    return status;
}

uint32_t CheckCallOrder(const SslHandle& handle, const ApiSite& site, uint32_t needs) {
    for (const FlagRule& rule : kFlagRules) {
        if (!(needs & rule.need) || handle.flags.*rule.flag == rule.required) continue;
        SslError(handle.flags.msg_level, rule.format, site.head, site.frozen_subject);
        return rule.status;
    }
    return SSL_RET_OK;
}

bool CarriesHandleMagic(const SslHandle& handle) {
    return std::memcmp(handle.handle_magic, kHandleMagic, sizeof(kHandleMagic)) == 0;
}

uint32_t SslHandleCheck(const SslHandle* handle, uint32_t level, const char* label) {
    if (handle->settings.point_number != kPointNumber) {
        SslError(level, "[%s] %s[BF] [%s] Fail! This library only support %d point number!!\r\n",
                 label, static_cast<int>(kPointNumber));
        return SSL_RET_INVALID_POINT_NUMBER;
    }
    if (handle->settings.mic_num != kMicNum) {
        SslError(level, "[%s] %s[BF][%s] Fail! This library only support %d Microphones!!\r\n", label,
                 static_cast<int>(kMicNum));
        return SSL_RET_INVALID_MIC_NUMBER;
    }
    if (!CarriesHandleMagic(*handle)) {
        SslError(level, "[%s] %s[BF][%s] Fail! The handle pointer seems to be dirty!!\r\n", label);
        return SSL_RET_INVALID_HANDLE;
    }
    return SSL_RET_OK;
}

uint32_t CheckPrologue(const SslHandle& handle, const ApiSite& site, uint32_t needs) {
    const uint32_t status = CheckCallOrder(handle, site, needs);
    if (status != SSL_RET_OK) return status;
    return SslHandleCheck(&handle, handle.flags.msg_level, site.check_label);
}

}  // namespace ezossl
