// Stores the run-time settings and everything derived from them.
#include "run_config.h"

#include "../common/message.h"
#include "level_table.h"
#include "delay_tables.h"
#include "ssl_constants.h"
#include "voting.h"

namespace ezossl {
namespace {

void StoreTemperature(SslHandle* handle, uint32_t temperature) {
    handle->temperature = temperature;
    handle->speed_of_sound = SpeedOfSound(temperature);
}

void StoreLevelThreshold(SslHandle* handle, int32_t level_db) {
    handle->level_threshold_db = ClampLevelThreshold(level_db);
    handle->level_threshold_amplitude = VolTable(handle->level_threshold_db);
}

}  // namespace

int32_t ClampLevelThreshold(int32_t level_db) {
    if (level_db < kLevelThresholdMinDb) return kLevelThresholdMinDb;
    if (level_db > kLevelThresholdMaxDb) return kLevelThresholdMaxDb;
    return level_db;
}

void Config_SetDefaults(SslHandle* handle) {
    StoreTemperature(handle, kDefaultTemperature);
    handle->direction_frame_num = kDefaultDirectionFrameNum;
    handle->previous_direction_frame_num = kDefaultDirectionFrameNum;
    handle->voting_reset_pending = 0;
    VoteGate_Update(handle);
    StoreLevelThreshold(handle, kDefaultLevelThresholdDb);
}

void Config_Store(SslHandle* handle, const SslConfig& config) {
    StoreTemperature(handle, config.temperature);

    // Re-sending the same voting length keeps the votes; a new one discards them at the next Run.
    handle->direction_frame_num = config.direction_frame_num;
    if (handle->direction_frame_num == handle->previous_direction_frame_num) {
        handle->voting_reset_pending = 0;
    } else {
        handle->voting_reset_pending = 1;
        SslWarning(handle->msg_level,
                   "[%s] %s [SSL] [Config] Warning! The voting number direction_frame_num has been change!\t\n");
    }
    handle->previous_direction_frame_num = handle->direction_frame_num;
    VoteGate_Update(handle);

    StoreLevelThreshold(handle, config.level_threshold_db);
}

}  // namespace ezossl
