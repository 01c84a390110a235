// The handle: the caller's working buffer, laid out as one fixed state area plus FFT work area.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "../common/fft.h"
#include "dither_rng.h"
#include "ssl_constants.h"

namespace ezossl {

constexpr char kHandleMagic[4] = {'W', '0', 'Q', '0'};

// Call-order flag values: three states, not booleans.
constexpr int32_t kFlagFailed = 0;
constexpr int32_t kFlagDone = 1;
constexpr int32_t kFlagNotYet = 2;

constexpr uint32_t kStateAreaBytes = 21908;
constexpr uint32_t kWorkingBufferBytes = kStateAreaBytes + Qel_rdft_size(kFftMaxSize);

// Handle fields that hold a pointer: the FFT configuration and the four dump streams.
constexpr uint32_t kPointerFields = 5;
// Bytes of every field before the reserved region, pointers aside.
constexpr uint32_t kFieldBytesWithoutPointers = 19840;
constexpr uint32_t kReservedBytes =
    kStateAreaBytes - kFieldBytesWithoutPointers - kPointerFields * sizeof(void*);

// The state area is 5477 32-bit words, so every region is packed to 4 bytes: pointer fields
// then sit in word-aligned slots and the handle is exactly 21908 bytes on 32- and 64-bit targets.
#pragma pack(push, 4)

struct Point2 {
    float x;
    float y;
};

struct ComplexF {
    float re;
    float im;
};

// Instance settings from Init and the run-time configuration.
struct Settings {
    uint32_t point_number;
    uint32_t sample_rate;
    float mic_distance;                  // metres
    uint32_t temperature;                // degrees Celsius
    int32_t level_threshold_db;
    uint32_t level_threshold_amplitude;  // 16-bit amplitude in a 32-bit slot
    int32_t direction_frame_num;
    int32_t previous_direction_frame_num;
    uint32_t bf_mode;
    uint32_t mic_num;
};

// Microphone coordinates in metres, the pair vectors and the planar solver matrix.
struct Geometry {
    Point2 mic_position[kMicNum];
    Point2 relative_array_pos[kPairNum];
    float plane_projection[2][kPairNum];
    int32_t array_geometry;  // 0 linear, 1 planar
};

// The sliding analysis frames and their one-sided spectra.
struct Frames {
    float frame_buffer[kMicNum][kFrameLength];
    ComplexF spectrum[kMicNum][kSpectrumBins];
};

// Scratch of the spectral front end and the correlation of one pair.
struct CorrelationWork {
    float cross_spectrum[2 * kSpectrumBins];
    float correlation[kFrameLength];
    float magnitude[kSpectrumBins];
    float fft_buffer[kFrameLength + 2];
    float fft_work[2][kFrameLength];
};

// Energy of the current frame and its sum over the voting period.
struct Activity {
    float frame_energy;
    float energy_sum;
};

// Per pair: the candidates' expected delays, their vote counters (plus the rejection
// counter) and the sums of the refined delays voted to them.
struct VotingState {
    int32_t vote_count[kPairNum][kVoteBins];
    float candidate_delay[kPairNum][kCandidateNum];
    float delay_sum[kPairNum][kCandidateNum];
};

// Call-order state, message level and the pending voting reset.
struct CallOrder {
    int32_t init_flag;
    int32_t config_flag;
    int32_t shape_flag;
    int32_t params_flag;
    int32_t run_flag;
    int32_t direction_flag;
    int32_t mapping_flag;
    uint32_t msg_level;
    int32_t voting_reset_pending;
    int32_t dump_mode;
};

// The newest blocks compared by the squared-difference search, and its scores.
struct AsdfState {
    float reference_block[kPointNumber];
    float compare_block[kPairNum][kPointNumber];
    float score[kAsdfScoreNum];
};

// Working values of the direction solve, and the minimum votes per bin.
struct SolverState {
    int32_t vote_winner[kPairNum];
    float path_difference[kPairNum];
    float path_limit[kPairNum];
    float path_tolerance[kPairNum];
    int32_t pair_valid[kPairNum];
    int32_t pair_status[kPairNum];
    float pair_cosine[kPairNum];
    float cosine_weight[kPairNum];
    float cosine_sum;
    float cosine_mean;
    float weight_sum;
    float weighted_cosine;
    float plane_vector[2];
    int32_t vote_gate[kVoteBins];
};

struct GainState {
    int32_t gain_db;
    float gain_linear;
};

}  // namespace ezossl

// The regions in their fixed order; the static_asserts below pin every region's offset.
struct SslHandle {
    char handle_magic[4];
    ezossl::Settings settings;
    ezossl::Geometry geometry;
    ezossl::Frames frames;
    ezossl::CorrelationWork work;
    int32_t lag_table[ezossl::kFrameLength];  // lag of each correlation index
    float speed_of_sound;                     // m/s, from the temperature
    ezossl::Activity activity;
    int32_t max_delay[ezossl::kPairNum];      // delay bound per pair, in samples
    ezossl::VotingState voting;
    ezossl::CallOrder flags;
    int16_t dump_block[ezossl::kMicNum][ezossl::kPointNumber];  // raw block per channel
    ezossl::AsdfState asdf;
    ezossl::FftState fft;
    ezossl::SolverState solver;
    uint32_t ssl_mode;                         // 0 normal, 1 the AI method (not included)
    std::FILE* dump_file[ezossl::kMicNum];     // input dump streams (null when closed)
    ezossl::GainState gain;
    // Words no specified field uses; the interpolation dither generator lives at their start.
    ezossl::DitherRng dither_rng;
    uint8_t reserved[ezossl::kReservedBytes];
};

#pragma pack(pop)

namespace ezossl {

static_assert(sizeof(SslHandle) == kStateAreaBytes, "the state area is 21908 bytes");
static_assert(kWorkingBufferBytes == 27936, "working buffer = state area + FFT configuration");
static_assert(alignof(SslHandle) == 4, "the handle needs only word alignment");
// Every region at the byte offset it has always had. The FFT state holds the first pointer, so
// from there on the offsets grow with the pointer size (32-bit and 64-bit targets).
constexpr size_t kPtr = sizeof(void*);
static_assert(offsetof(SslHandle, handle_magic) == 0 && offsetof(SslHandle, settings) == 4 &&
                  offsetof(SslHandle, settings.mic_num) == 40 && offsetof(SslHandle, geometry) == 44 &&
                  offsetof(SslHandle, geometry.array_geometry) == 124 && offsetof(SslHandle, frames) == 128 &&
                  offsetof(SslHandle, frames.spectrum) == 4224 && offsetof(SslHandle, work) == 8352 &&
                  offsetof(SslHandle, work.fft_work) == 11956 && offsetof(SslHandle, lag_table) == 14004 &&
                  offsetof(SslHandle, speed_of_sound) == 15028 && offsetof(SslHandle, activity) == 15032 &&
                  offsetof(SslHandle, max_delay) == 15040 && offsetof(SslHandle, voting) == 15052 &&
                  offsetof(SslHandle, voting.candidate_delay) == 15172 &&
                  offsetof(SslHandle, voting.delay_sum) == 15280 && offsetof(SslHandle, flags) == 15388 &&
                  offsetof(SslHandle, flags.dump_mode) == 15424 && offsetof(SslHandle, dump_block) == 15428 &&
                  offsetof(SslHandle, asdf) == 16452 && offsetof(SslHandle, asdf.score) == 18500 &&
                  offsetof(SslHandle, fft) == 18620,
              "regions before the first pointer keep their offsets");
static_assert(offsetof(SslHandle, solver) == 19660 + kPtr && offsetof(SslHandle, solver.plane_vector) == 19772 + kPtr &&
                  offsetof(SslHandle, solver.vote_gate) == 19780 + kPtr &&
                  offsetof(SslHandle, ssl_mode) == 19820 + kPtr && offsetof(SslHandle, dump_file) == 19824 + kPtr &&
                  offsetof(SslHandle, gain) == 19824 + 5 * kPtr && offsetof(SslHandle, dither_rng) == 19832 + 5 * kPtr &&
                  offsetof(SslHandle, reserved) == 19840 + 5 * kPtr,
              "regions after the FFT state keep their offsets");
static_assert(offsetof(SslHandle, flags.init_flag) + 6 * sizeof(int32_t) ==
                  offsetof(SslHandle, flags.mapping_flag),
              "the seven call-order flags are consecutive words");

// Start of the FFT work area, right after the state area.
inline void* FftWorkArea(SslHandle* handle) {
    return reinterpret_cast<unsigned char*>(handle) + kStateAreaBytes;
}

}  // namespace ezossl
