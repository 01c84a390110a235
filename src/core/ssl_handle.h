// The handle: the caller's working buffer, laid out as one fixed state area plus FFT work area.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "../common/fft.h"
#include "dither_rng.h"

namespace ezossl {

constexpr uint32_t kPointNumber = 128;  // sample instants per block
constexpr uint32_t kMicNum = 4;
constexpr int kPairNum = 3;             // microphone 0 with 1, 2, 3
constexpr int kCandidateNum = 9;        // candidate directions, 22.5 degrees apart
constexpr int kRejectBin = 9;           // vote_count bin of rejected frames
constexpr int kVoteBins = 10;
constexpr int kFrameLength = 256;       // analysis frame: previous block + new block
constexpr int kSpectrumBins = kFrameLength / 2 + 1;
constexpr int kAsdfScoreNum = 30;
constexpr int32_t kDelayRejected = -32768;
constexpr int32_t kNoDirection = -10000;
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

#pragma pack(push, 4)

struct Point2 {
    float x;
    float y;
};

struct ComplexF {
    float re;
    float im;
};

#pragma pack(pop)

}  // namespace ezossl

#pragma pack(push, 4)

// The state area is 5477 32-bit words, so the handle is packed to 4 bytes: pointer fields then
// sit in word-aligned slots and the struct can be exactly 21908 bytes on 32- and 64-bit targets.
struct SslHandle {
    // 1. identity
    char handle_magic[4];

    // 2. instance settings and run-time configuration
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

    // 3. geometry record and analysis buffers
    ezossl::Point2 mic_position[ezossl::kMicNum];
    ezossl::Point2 relative_array_pos[ezossl::kPairNum];
    float plane_projection[2][ezossl::kPairNum];
    int32_t array_geometry;              // 0 linear, 1 planar
    float frame_buffer[ezossl::kMicNum][ezossl::kFrameLength];
    ezossl::ComplexF spectrum[ezossl::kMicNum][ezossl::kSpectrumBins];
    float cross_spectrum[2 * ezossl::kSpectrumBins];
    float correlation[ezossl::kFrameLength];
    float magnitude[ezossl::kSpectrumBins];
    float fft_buffer[ezossl::kFrameLength + 2];
    float fft_work[2][ezossl::kFrameLength];

    // 4. lag of each correlation index
    int32_t lag_table[ezossl::kFrameLength];

    // 5. propagation and activity
    float speed_of_sound;
    float frame_energy;
    float energy_sum;

    // 6. delay bound per pair
    int32_t max_delay[ezossl::kPairNum];

    // 7. voting state
    int32_t vote_count[ezossl::kPairNum][ezossl::kVoteBins];
    float candidate_delay[ezossl::kPairNum][ezossl::kCandidateNum];
    float delay_sum[ezossl::kPairNum][ezossl::kCandidateNum];

    // 8. call-order state
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

    // 9. per-block buffers
    int16_t dump_block[ezossl::kMicNum][ezossl::kPointNumber];
    float reference_block[ezossl::kPointNumber];
    float compare_block[ezossl::kPairNum][ezossl::kPointNumber];
    float asdf_score[ezossl::kAsdfScoreNum];

    // 10. FFT wrapper state
    ezossl::FftState fft;

    // 11. direction solver state and vote gates
    int32_t vote_winner[ezossl::kPairNum];
    float path_difference[ezossl::kPairNum];
    float path_limit[ezossl::kPairNum];
    float path_tolerance[ezossl::kPairNum];
    int32_t pair_valid[ezossl::kPairNum];
    int32_t pair_status[ezossl::kPairNum];
    float pair_cosine[ezossl::kPairNum];
    float cosine_weight[ezossl::kPairNum];
    float cosine_sum;
    float cosine_mean;
    float weight_sum;
    float weighted_cosine;
    float plane_vector[2];
    int32_t vote_gate[ezossl::kVoteBins];

    // 12. solving method
    uint32_t ssl_mode;

    // 13. input dump streams, one per microphone (null when closed)
    std::FILE* dump_file[ezossl::kMicNum];

    // 14. digital gain
    int32_t gain_db;
    float gain_linear;

    // Words no specified field uses; the interpolation dither generator lives at their start.
    ezossl::DitherRng dither_rng;
    uint8_t reserved[ezossl::kReservedBytes];
};

#pragma pack(pop)

namespace ezossl {

static_assert(sizeof(SslHandle) == kStateAreaBytes, "the state area is 21908 bytes");
static_assert(kWorkingBufferBytes == 27936, "working buffer = state area + FFT configuration");
static_assert(alignof(SslHandle) == 4, "the handle needs only word alignment");
static_assert(offsetof(SslHandle, handle_magic) == 0, "the magic is the first word");
static_assert(offsetof(SslHandle, point_number) == 4 && offsetof(SslHandle, mic_num) == 40,
              "instance settings follow the magic");
static_assert(offsetof(SslHandle, mic_position) == 44, "the geometry record follows the settings");
// The regions keep their documented order.
static_assert(offsetof(SslHandle, correlation) < offsetof(SslHandle, lag_table) &&
                  offsetof(SslHandle, lag_table) < offsetof(SslHandle, speed_of_sound) &&
                  offsetof(SslHandle, energy_sum) < offsetof(SslHandle, max_delay) &&
                  offsetof(SslHandle, max_delay) < offsetof(SslHandle, vote_count) &&
                  offsetof(SslHandle, delay_sum) < offsetof(SslHandle, init_flag) &&
                  offsetof(SslHandle, dump_mode) < offsetof(SslHandle, dump_block) &&
                  offsetof(SslHandle, asdf_score) < offsetof(SslHandle, fft) &&
                  offsetof(SslHandle, fft) < offsetof(SslHandle, vote_winner) &&
                  offsetof(SslHandle, vote_gate) < offsetof(SslHandle, ssl_mode) &&
                  offsetof(SslHandle, ssl_mode) < offsetof(SslHandle, dump_file) &&
                  offsetof(SslHandle, dump_file) < offsetof(SslHandle, gain_db) &&
                  offsetof(SslHandle, gain_linear) < offsetof(SslHandle, reserved),
              "handle regions in order");
static_assert(offsetof(SslHandle, init_flag) + 6 * sizeof(int32_t) ==
                  offsetof(SslHandle, mapping_flag),
              "the seven call-order flags are consecutive words");

// Start of the FFT work area, right after the state area.
inline void* FftWorkArea(SslHandle* handle) {
    return reinterpret_cast<unsigned char*>(handle) + kStateAreaBytes;
}

}  // namespace ezossl
