// Frame assembly: 50 % overlapping 256-sample frames built from 128-sample blocks.
#include "frame_input.h"

#include <cstring>

namespace ezossl {

void InputBlock_Append(const int16_t* microphone_input, int16_t (&dump_block)[kMicNum][kPointNumber],
                       Frames& frames, AsdfState& asdf) {
    for (uint32_t c = 0; c < kMicNum; ++c) {
        std::memmove(frames.frame_buffer[c], frames.frame_buffer[c] + kBlockLength, kBlockLength * sizeof(float));
    }
    // The dump copy and the frames' new half, one loop each with a statement per channel: so
    // written, both vectorise. They read a local copy of the input, which cannot overlap the
    // handle, so the loops need no aliasing check. The squared-difference search then takes its
    // newest blocks from the frames: it compares channel 0 with channels 0, 1 and 2 (not 1, 2,
    // 3), its first pair being channel 0 against itself, as it has always behaved.
    int16_t block[kMicNum * kBlockLength];
    std::memcpy(block, microphone_input, sizeof(block));
    static_assert(kMicNum == 4, "one statement per channel, so that the loops over n vectorise");
    for (int n = 0; n < kBlockLength; ++n) {
        const int16_t* instant = block + kMicNum * n;
        const auto dump = [&](int c) { dump_block[c][n] = instant[c]; };
        dump(0), dump(1), dump(2), dump(3);
    }
    for (int n = 0; n < kBlockLength; ++n) {
        const int16_t* instant = block + kMicNum * n;
        const auto scale = [&](int c) {
            frames.frame_buffer[c][kBlockLength + n] = static_cast<float>(instant[c]) / kSampleFullScale;
        };
        scale(0), scale(1), scale(2), scale(3);
    }
    for (int k = 0; k < kPairNum; ++k) {
        std::memcpy(asdf.compare_block[k], frames.frame_buffer[k] + kBlockLength, kBlockLength * sizeof(float));
    }
    std::memcpy(asdf.reference_block, frames.frame_buffer[0] + kBlockLength, kBlockLength * sizeof(float));
}

}  // namespace ezossl
