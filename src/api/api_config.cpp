// Exported configuration functions: EzoSsl_Config and EzoSsl_Get_Config.
#include "../core/run_config.h"
#include "api_checks.h"
#include "ezossl.h"

using namespace ezossl;

namespace {

constexpr ApiSite kConfigSite = {" [SSL] [Config]", "Config", nullptr};
constexpr ApiSite kGetConfigSite = {"[SSL] [GetConfig]", "Get_Config", nullptr};

}  // namespace

extern "C" {

uint32_t EzoSsl_Config(SslHandle* handle, const SslConfig* ssl_config) {
    if (!handle) return RefuseNull("[%s] %s [SSL] [Config] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    if (!ssl_config) {
        return RefuseNull("[%s] %s [SSL] [Config] Fail! The ssl_config is null!\t\n", SSL_RET_INVALID_CONFIG);
    }
    // Cleared before the checks: a refused Config leaves the handle unconfigured.
    handle->config_flag = kFlagFailed;
    const uint32_t status = CheckPrologue(*handle, kConfigSite, kNeedInit);
    if (status != SSL_RET_OK) return status;

    Config_Store(handle, *ssl_config);
    handle->config_flag = kFlagDone;
    return SSL_RET_OK;
}

uint32_t EzoSsl_Get_Config(SslHandle* handle, SslConfig* ssl_config) {
    // The record is tested before the handle.
    if (!ssl_config) {
        return RefuseNull("[%s] %s [SSL] [GetConfig] Fail! The ssl_config is null!\t\n", SSL_RET_INVALID_CONFIG);
    }
    if (!handle) return RefuseNull("[%s] %s [SSL] [GetConfig] Fail! The handle is null!\t\n", SSL_RET_INVALID_HANDLE);
    const uint32_t status = CheckPrologue(*handle, kGetConfigSite, kNeedInit | kNeedConfig);
    if (status != SSL_RET_OK) return status;

    ssl_config->temperature = handle->temperature;
    ssl_config->level_threshold_db = handle->level_threshold_db;
    ssl_config->direction_frame_num = handle->direction_frame_num;
    return SSL_RET_OK;
}

}  // extern "C"
