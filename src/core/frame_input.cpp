// Frame assembly: 50 % overlapping 256-sample frames built from 128-sample blocks.
#include "frame_input.h"

#include <cstring>

namespace ezossl {
namespace {

constexpr float kFullScale = 32768.0f;
constexpr int kBlock = static_cast<int>(kPointNumber);

}  // namespace

void InputBlock_Deinterleave(SslHandle* handle, const int16_t* microphone_input) {
    for (int n = 0; n < kBlock; ++n) {
        for (uint32_t c = 0; c < kMicNum; ++c) handle->dump_block[c][n] = microphone_input[kMicNum * n + c];
    }
}

void InputBlock_Append(SslHandle* handle, const int16_t* microphone_input) {
    for (uint32_t c = 0; c < kMicNum; ++c) {
        std::memmove(handle->frame_buffer[c], handle->frame_buffer[c] + kBlock, kBlock * sizeof(float));
    }
    for (int n = 0; n < kBlock; ++n) {
        for (uint32_t c = 0; c < kMicNum; ++c) {
            handle->frame_buffer[c][kBlock + n] = static_cast<float>(microphone_input[kMicNum * n + c]) / kFullScale;
        }
    }
    // The squared-difference search compares channel 0 with channels 0, 1 and 2 (not 1, 2, 3):
    // its first pair is channel 0 against itself. Kept as the estimator has always behaved.
    std::memcpy(handle->reference_block, handle->frame_buffer[0] + kBlock, kBlock * sizeof(float));
    for (int k = 0; k < kPairNum; ++k) {
        std::memcpy(handle->compare_block[k], handle->frame_buffer[k] + kBlock, kBlock * sizeof(float));
    }
}

}  // namespace ezossl
