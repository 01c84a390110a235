// Exported configuration functions: EzoSsl_Config and EzoSsl_Get_Config.
#include "../common/message.h"
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
    handle->flags.config_flag = kFlagFailed;
    const uint32_t status = CheckPrologue(*handle, kConfigSite, kNeedInit);
    if (status != SSL_RET_OK) return status;

    // Re-sending the same voting length keeps the votes; a new one discards them at the next Run.
    const bool voting_length_changed = Config_Store(handle, *ssl_config);
    handle->flags.voting_reset_pending = voting_length_changed ? 1 : 0;
    if (voting_length_changed) {
        SslWarning(handle->flags.msg_level,
                   "[%s] %s [SSL] [Config] Warning! The voting number direction_frame_num has been change!\t\n");
    }
    handle->flags.config_flag = kFlagDone;
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

    ssl_config->temperature = handle->settings.temperature;
    ssl_config->level_threshold_db = handle->settings.level_threshold_db;
    ssl_config->direction_frame_num = handle->settings.direction_frame_num;
    return SSL_RET_OK;
}

}  // extern "C"
