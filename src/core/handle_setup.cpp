// The steps of Init and Reset that fill the handle once the arguments are known to be valid.
#include "handle_setup.h"

#include <cstring>

#include "delay_tables.h"
#include "dither_rng.h"
#include "run_config.h"

namespace ezossl {
namespace {

constexpr double kCentimetresToMetres = 0.01;
constexpr int32_t kDefaultGainDb = 0;
constexpr float kDefaultGainLinear = 1.0f;

}  // namespace

void Handle_StoreInit(SslHandle* handle, const SslInit& ssl_init, uint32_t level) {
    std::memcpy(handle->handle_magic, kHandleMagic, sizeof(kHandleMagic));
    handle->fft.n = kFftMaxSize;
    handle->mic_distance = static_cast<float>(static_cast<double>(ssl_init.mic_distance) * kCentimetresToMetres);
    handle->sample_rate = ssl_init.sample_rate;
    handle->point_number = ssl_init.point_number;
    handle->bf_mode = ssl_init.bf_mode;
    handle->array_geometry = 0;
    handle->mic_num = ssl_init.mic_num;
    handle->frame_energy = 0.0f;
    handle->energy_sum = 0.0f;
    Config_SetDefaults(handle);
    handle->gain_db = kDefaultGainDb;
    handle->gain_linear = kDefaultGainLinear;
    handle->msg_level = level;
    DitherRng_Seed(&handle->dither_rng);
}

bool Handle_SetUpFft(SslHandle* handle) {
    handle->fft.initialised = 0;
    Qel_rdft_init(&handle->fft);
    for (int j = 0; j < kFrameLength; ++j) handle->lag_table[j] = j - kFrameLength / 2;
    return handle->fft.initialised == 1;
}

void Handle_SetUpDelayTables(SslHandle* handle) {
    MaxDelay_SetDefault(handle);
    CandidateDelay_SetDefault(handle);
}

void Handle_SetInitialFlags(SslHandle* handle) {
    handle->init_flag = kFlagDone;
    handle->config_flag = kFlagNotYet;
    handle->shape_flag = kFlagNotYet;
    handle->params_flag = kFlagNotYet;
    handle->run_flag = kFlagNotYet;
    handle->direction_flag = kFlagNotYet;
    handle->mapping_flag = kFlagDone;
}

}  // namespace ezossl
