// Stores the run-time settings and everything derived from them.
#include "run_config.h"

#include "delay_tables.h"
#include "level_table.h"
#include "ssl_constants.h"
#include "voting.h"

namespace ezossl {
namespace {

void StoreTemperature(SslHandle* handle, uint32_t temperature) {
    handle->settings.temperature = temperature;
    handle->speed_of_sound = SpeedOfSound(temperature);
}

void StoreLevelThreshold(Settings& settings, int32_t level_db) {
    settings.level_threshold_db = ClampLevelThreshold(level_db);
    settings.level_threshold_amplitude = VolTable(settings.level_threshold_db);
}

}  // namespace

int32_t ClampLevelThreshold(int32_t level_db) {
    if (level_db < kLevelThresholdMinDb) return kLevelThresholdMinDb;
    if (level_db > kLevelThresholdMaxDb) return kLevelThresholdMaxDb;
    return level_db;
}

void Config_SetDefaults(SslHandle* handle) {
    StoreTemperature(handle, kDefaultTemperature);
    handle->settings.direction_frame_num = kDefaultDirectionFrameNum;
    handle->settings.previous_direction_frame_num = kDefaultDirectionFrameNum;
    handle->flags.voting_reset_pending = 0;
    VoteGate_Update(handle->settings.direction_frame_num, handle->solver);
    StoreLevelThreshold(handle->settings, kDefaultLevelThresholdDb);
}

bool Config_Store(SslHandle* handle, const SslConfig& config) {
    StoreTemperature(handle, config.temperature);
    Settings& settings = handle->settings;
    settings.direction_frame_num = config.direction_frame_num;
    const bool changed = settings.direction_frame_num != settings.previous_direction_frame_num;
    settings.previous_direction_frame_num = settings.direction_frame_num;
    VoteGate_Update(settings.direction_frame_num, handle->solver);
    StoreLevelThreshold(settings, config.level_threshold_db);
    return changed;
}

}  // namespace ezossl
