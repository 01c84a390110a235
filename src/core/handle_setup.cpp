// The steps of Init and Reset that fill the handle once the arguments are known to be valid.
#include "handle_setup.h"

#include <cstring>

#include "delay_tables.h"
#include "dither_rng.h"
#include "run_config.h"

namespace ezossl {
namespace {

constexpr int32_t kDefaultGainDb = 0;
constexpr float kDefaultGainLinear = 1.0f;

}  // namespace

void Handle_StoreInit(SslHandle* handle, const SslInit& ssl_init, uint32_t level) {
    std::memcpy(handle->handle_magic, kHandleMagic, sizeof(kHandleMagic));
    handle->fft.n = kFftMaxSize;
    Settings& settings = handle->settings;
    settings.mic_distance = static_cast<float>(static_cast<double>(ssl_init.mic_distance) * kMetresPerCentimetre);
    settings.sample_rate = ssl_init.sample_rate;
    settings.point_number = ssl_init.point_number;
    settings.bf_mode = ssl_init.bf_mode;
    handle->geometry.array_geometry = 0;
    settings.mic_num = ssl_init.mic_num;
    handle->activity = Activity{0.0f, 0.0f};
    Config_SetDefaults(handle);
    handle->gain = GainState{kDefaultGainDb, kDefaultGainLinear};
    handle->flags.msg_level = level;
    DitherRng_Seed(&handle->dither_rng);
}

bool Handle_SetUpFft(FftState& fft, int32_t* lag_table) {
    fft.initialised = 0;
    Qel_rdft_init(&fft);
    for (int j = 0; j < kFrameLength; ++j) lag_table[j] = j - kFrameLength / 2;
    return fft.initialised == 1;
}

void Handle_SetUpDelayTables(SslHandle* handle) {
    MaxDelay_SetDefault(handle->settings, handle->speed_of_sound, handle->max_delay);
    CandidateDelay_SetDefault(handle->max_delay, handle->voting);
}

void Handle_SetInitialFlags(CallOrder& flags) {
    flags.init_flag = kFlagDone;
    flags.config_flag = kFlagNotYet;
    flags.shape_flag = kFlagNotYet;
    flags.params_flag = kFlagNotYet;
    flags.run_flag = kFlagNotYet;
    flags.direction_flag = kFlagNotYet;
    flags.mapping_flag = kFlagDone;
}

}  // namespace ezossl
