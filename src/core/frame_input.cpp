// Frame assembly: 50 % overlapping 256-sample frames built from 128-sample blocks.
#include "frame_input.h"

#include <cstring>

namespace ezossl {

void InputBlock_Append(const int16_t* microphone_input, int16_t (&dump_block)[kMicNum][kPointNumber],
                       Frames& frames, AsdfState& asdf) {
    for (uint32_t c = 0; c < kMicNum; ++c) {
        std::memmove(frames.frame_buffer[c], frames.frame_buffer[c] + kBlockLength, kBlockLength * sizeof(float));
    }
    // One pass over the input: the raw dump copy, the frames' new half and the newest blocks of
    // the squared-difference search. That search compares channel 0 with channels 0, 1 and 2
    // (not 1, 2, 3): its first pair is channel 0 against itself, as it has always behaved.
    for (int n = 0; n < kBlockLength; ++n) {
        float scaled[kMicNum];
        for (uint32_t c = 0; c < kMicNum; ++c) {
            const int16_t sample = microphone_input[kMicNum * n + c];
            scaled[c] = static_cast<float>(sample) / kSampleFullScale;
            dump_block[c][n] = sample;
            frames.frame_buffer[c][kBlockLength + n] = scaled[c];
        }
        for (int k = 0; k < kPairNum; ++k) asdf.compare_block[k][n] = scaled[k];
        asdf.reference_block[n] = scaled[0];
    }
}

}  // namespace ezossl
