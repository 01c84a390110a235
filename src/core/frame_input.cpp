// Frame assembly: 50 % overlapping 256-sample frames built from 128-sample blocks.
#include "frame_input.h"

#include <cstring>

namespace ezossl {

void InputBlock_Append(const int16_t* microphone_input, int16_t (&dump_block)[kMicNum][kPointNumber],
                       Frames& frames, AsdfState& asdf) {
    for (uint32_t c = 0; c < kMicNum; ++c) {
        std::memmove(frames.frame_buffer[c], frames.frame_buffer[c] + kBlockLength, kBlockLength * sizeof(float));
    }
    for (int n = 0; n < kBlockLength; ++n) {
        for (uint32_t c = 0; c < kMicNum; ++c) {
            const int16_t sample = microphone_input[kMicNum * n + c];
            dump_block[c][n] = sample;
            frames.frame_buffer[c][kBlockLength + n] = static_cast<float>(sample) / kSampleFullScale;
        }
    }
    // The squared-difference search compares channel 0 with channels 0, 1 and 2 (not 1, 2, 3):
    // its first pair is channel 0 against itself. Kept as the estimator has always behaved.
    std::memcpy(asdf.reference_block, frames.frame_buffer[0] + kBlockLength, kBlockLength * sizeof(float));
    for (int k = 0; k < kPairNum; ++k) {
        std::memcpy(asdf.compare_block[k], frames.frame_buffer[k] + kBlockLength, kBlockLength * sizeof(float));
    }
}

}  // namespace ezossl
