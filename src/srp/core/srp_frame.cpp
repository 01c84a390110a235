// Frames of 256 samples, hop 128, sine-windowed; per frame the phase-transform cross-spectrum
// of each pair, weighted by the frame's band energy so that loud frames outvote quiet ones.
#include "srp_frame.h"

#include <cmath>
#include <cstring>

#include "common/window_tables.h"

namespace ezossl::srp {
namespace {

constexpr float kFullScale = 32768.0f;

// Fills state->phase[c] with the unit-magnitude spectrum of channel c in the band; returns
// the channel's band energy.
float ChannelSpectrum(SrpState* state, int c, const int16_t* block) {
    float* frame = state->fft_buffer;
    std::memcpy(frame, state->history[c], sizeof(state->history[c]));
    for (int n = 0; n < kHop; ++n) {
        const float v = static_cast<float>(block[kChannels * n + c]) / kFullScale;
        frame[kHop + n] = v;
        state->history[c][n] = v;
    }
    frame[kFrame] = frame[kFrame + 1] = 0.0f;
    FftWindow_Apply(frame, kWindowIn);
    Qel_rdft(&state->fft, kFrame, kFftForward, frame, state->fft.scratch, state->fft.scratch);

    float energy = 0.0f;
    for (uint32_t i = 0; i < state->bin_count; ++i) {
        const uint32_t k = state->bin_low + i;
        const float re = frame[2 * k];
        const float im = frame[2 * k + 1];
        const float power = re * re + im * im;
        energy += power;
        const float magnitude = std::sqrt(power);
        state->phase[c][i][0] = magnitude > 0.0f ? re / magnitude : 0.0f;
        state->phase[c][i][1] = magnitude > 0.0f ? im / magnitude : 0.0f;
    }
    return energy;
}

float BlockMeanSquare(const int16_t* block) {
    float sum = 0.0f;
    for (int i = 0; i < kHop * kChannels; ++i) {
        const float v = static_cast<float>(block[i]) / kFullScale;
        sum += v * v;
    }
    return sum / static_cast<float>(kHop * kChannels);
}

}  // namespace

void Frame_Accumulate(SrpState* state, const int16_t* block) {
    state->level_sum += BlockMeanSquare(block);
    float weight = 0.0f;
    for (int c = 0; c < kChannels; ++c) weight += ChannelSpectrum(state, c, block);
    state->weight_sum += weight;
    for (int p = 0; p < kPairs; ++p) {
        const float(*a)[2] = state->phase[kPairMics[p][0]];
        const float(*b)[2] = state->phase[kPairMics[p][1]];
        float(*sum)[2] = state->cross[p];
        for (uint32_t i = 0; i < state->bin_count; ++i) {
            // a * conj(b): its phase is the delay of the second microphone behind the first.
            sum[i][0] += weight * (a[i][0] * b[i][0] + a[i][1] * b[i][1]);
            sum[i][1] += weight * (a[i][1] * b[i][0] - a[i][0] * b[i][1]);
        }
    }
    state->blocks += 1;
}

void Period_Clear(SrpState* state) {
    state->blocks = 0;
    state->level_sum = 0.0f;
    state->weight_sum = 0.0f;
    std::memset(state->cross, 0, sizeof(state->cross));
}

}  // namespace ezossl::srp
