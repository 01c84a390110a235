// Layout of the SRP working buffer: setup-derived tables, the open period and the FFT region.
#pragma once

#include <cstdint>

#include "common/fft.h"

namespace ezossl::srp {

constexpr uint32_t kMagic = 0x31505253u;  // "SRP1"
constexpr int kChannels = 4;
constexpr int kPairs = 6;  // every pair of the four microphones
constexpr int kHop = 128;  // sample instants per block
constexpr int kFrame = 2 * kHop;
constexpr int kBins = kFrame / 2 + 1;
constexpr int kPlanarGrid = 360;  // 1 degree steps around the circle
constexpr int kLineGrid = 181;    // 1 degree steps from -90 to 90
constexpr int kMaxLagUpsampling = 4;
constexpr int kMaxPhaseTable = kFrame * kMaxLagUpsampling;
constexpr int kMaxLagPoints = 4096;  // correlation values of all pairs together

// The pairs, first microphone then second.
constexpr int kPairMics[kPairs][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};

// Every member is 4 bytes wide, so a 4-byte aligned buffer suffices.
#pragma pack(push, 4)
struct SrpState {
    uint32_t magic;
    uint32_t sample_rate;
    uint32_t frames_per_period;
    float level_threshold_db;
    uint32_t bin_low;   // analysed bins bin_low..bin_high, inclusive
    uint32_t bin_count;
    uint32_t collinear;  // 1: steer -90..90 from the line, 0: the whole circle
    uint32_t grid_points;
    uint32_t lag_upsampling;  // correlation values per sample of delay
    int32_t lag_first[kPairs];   // where each pair's correlation starts in `correlation`
    int32_t lag_centre[kPairs];  // offset of lag 0 within it
    int32_t lag_count[kPairs];
    float pair_weight[kPairs];  // each pair's share of the steered power

    // The open period.
    uint32_t blocks;
    float level_sum;   // sum of the blocks' mean squares
    float cross[kPairs][kBins][2];  // energy-weighted, partially whitened cross-spectra (re, im)
    float magnitude[kPairs][kBins];  // sum of the magnitudes of the terms added to `cross`

    float history[kHop][kChannels];  // the previous block, full scale 1.0, instant by instant
    float recent_energy;  // decaying mean of the recent frames' band energy
    float spectrum[kChannels][2 * kBins];  // the current frame's spectra, re, im per bin
    float whitened_re[kChannels][kBins];  // spectra of the current frame, partially whitened
    float whitened_im[kChannels][kBins];
    float whitened_magnitude[kChannels][kBins];
    float bin_weight[kBins];  // what each bin of the current frame adds to the period: see Frame_Accumulate

    float diffuse_coherence[kPairs][kBins];  // of each pair in a diffuse field: sin(x) / x
    float phase_table[kMaxPhaseTable];  // cos(2 pi i / (256 * lag_upsampling))
    float steer[kPlanarGrid][kPairs];   // correlation index of each grid direction and pair
    float correlation[kMaxLagPoints];
    float power[kPlanarGrid];

    FftState fft;
    uint8_t fft_region[Qel_rdft_size(kFrame)];
};
#pragma pack(pop)

static_assert(sizeof(SrpState) <= 65536, "the working buffer must stay within 64 KiB");

}  // namespace ezossl::srp
