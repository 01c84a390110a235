// EzoSslSrp_GetBufferSize and EzoSslSrp_Init: the setup checks, in the order they are documented.
#include <ezossl_srp.h>

#include <cmath>
#include <cstring>

#include "core/srp_frame.h"
#include "core/srp_geometry.h"
#include "core/srp_state.h"

using ezossl::srp::SrpState;

namespace {

// Measured on the accuracy grid: below 1 kHz the close pairs mostly hear the diffuse field.
constexpr float kDefaultBandLowHz = 1000.0f;
constexpr float kDefaultBandHighHz = 7000.0f;
constexpr double kSoundSpeedAtZero = 331.0;  // m/s, plus 0.6 per degree Celsius
constexpr double kSoundSpeedPerDegree = 0.6;
constexpr float kLowestTemperature = -100.0f;
constexpr float kHighestTemperature = 100.0f;

bool SupportedRate(uint32_t rate) { return rate == 8000 || rate == 16000 || rate == 32000 || rate == 48000; }

// The analysed bins of the setup's band, or of the default band capped at the Nyquist rate.
uint32_t ChooseBand(const EzoSslSrpSetup& setup, SrpState* state) {
    const float nyquist = static_cast<float>(setup.sample_rate) / 2.0f;
    float low = setup.band_low_hz;
    float high = setup.band_high_hz;
    if (low == 0.0f && high == 0.0f) {
        low = kDefaultBandLowHz;
        high = std::fmin(kDefaultBandHighHz, nyquist);
    }
    if (!std::isfinite(low) || !std::isfinite(high) || low < 0.0f || high > nyquist || low >= high) {
        return EZOSSL_SRP_RET_INVALID_BAND;
    }
    const double bins_per_hz = static_cast<double>(ezossl::srp::kFrame) / setup.sample_rate;
    const auto first = static_cast<uint32_t>(std::ceil(low * bins_per_hz));
    const auto last = static_cast<uint32_t>(std::floor(high * bins_per_hz));
    if (first > last) return EZOSSL_SRP_RET_INVALID_BAND;
    state->bin_low = first;
    state->bin_count = last - first + 1;
    return EZOSSL_SRP_RET_OK;
}

uint32_t CheckScalars(const EzoSslSrpSetup& setup) {
    if (!SupportedRate(setup.sample_rate)) return EZOSSL_SRP_RET_INVALID_SAMPLE_RATE;
    if (!(setup.temperature_c >= kLowestTemperature && setup.temperature_c <= kHighestTemperature)) {
        return EZOSSL_SRP_RET_INVALID_TEMPERATURE;
    }
    if (!std::isfinite(setup.level_threshold_db)) return EZOSSL_SRP_RET_INVALID_THRESHOLD;
    if (setup.frames_per_period == 0) return EZOSSL_SRP_RET_INVALID_FRAMES;
    return EZOSSL_SRP_RET_OK;
}

uint32_t Build(const EzoSslSrpSetup& setup, SrpState* state) {
    uint32_t status = CheckScalars(setup);
    if (status == EZOSSL_SRP_RET_OK) status = ChooseBand(setup, state);
    ezossl::srp::ArrayLayout layout;
    if (status == EZOSSL_SRP_RET_OK) status = ezossl::srp::Layout_FromPositions(setup.mic_pos_cm, &layout);
    if (status != EZOSSL_SRP_RET_OK) return status;
    state->sample_rate = setup.sample_rate;
    state->frames_per_period = setup.frames_per_period;
    state->level_threshold_db = setup.level_threshold_db;
    const double speed = kSoundSpeedAtZero + kSoundSpeedPerDegree * setup.temperature_c;
    return ezossl::srp::Steering_Build(state, layout, speed);
}

}  // namespace

uint32_t EzoSslSrp_GetBufferSize(void) { return sizeof(SrpState); }

EzoSslSrp* EzoSslSrp_Init(void* buffer, const EzoSslSrpSetup* setup, uint32_t* status) {
    if (!status) return nullptr;
    if (!buffer || !setup || reinterpret_cast<uintptr_t>(buffer) % alignof(float) != 0) {
        *status = EZOSSL_SRP_RET_NULL_POINTER;
        return nullptr;
    }
    auto* state = static_cast<SrpState*>(buffer);
    std::memset(state, 0, sizeof(SrpState));
    *status = Build(*setup, state);
    if (*status != EZOSSL_SRP_RET_OK) return nullptr;

    state->fft.n = ezossl::srp::kFrame;
    state->fft.configuration = state->fft_region;
    ezossl::Qel_rdft_init(&state->fft);
    ezossl::srp::Period_Clear(state);
    state->magic = ezossl::srp::kMagic;
    return reinterpret_cast<EzoSslSrp*>(state);
}
