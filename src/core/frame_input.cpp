// Frame assembly: 50 % overlapping 256-sample frames built from 128-sample blocks.
#include "frame_input.h"

#include <cstring>

#include "../common/simd4.h"

namespace ezossl {

namespace {

typedef int16_t Samples8 __attribute__((vector_size(16)));
typedef int16_t Samples4 __attribute__((vector_size(8)));

F4 ToFloat(Samples4 samples) { return __builtin_convertvector(__builtin_convertvector(samples, I4), F4); }

}  // namespace

void InputBlock_Append(const int16_t* microphone_input, int16_t (&dump_block)[kMicNum][kPointNumber],
                       Frames& frames, AsdfState& asdf) {
    static_assert(kMicNum == 4 && kBlockLength % 4 == 0, "four channels, whole groups of four instants");
    for (int n = 0; n < kBlockLength; n += 4) {
        Samples8 early, late;  // instants n, n + 1 and n + 2, n + 3, four channels each
        std::memcpy(&early, microphone_input + kMicNum * n, sizeof(early));
        std::memcpy(&late, microphone_input + kMicNum * (n + 2), sizeof(late));
        // Two rounds of interleaving put each channel's four samples side by side.
        const Samples8 even = __builtin_shufflevector(early, late, 0, 8, 1, 9, 2, 10, 3, 11);
        const Samples8 odd = __builtin_shufflevector(early, late, 4, 12, 5, 13, 6, 14, 7, 15);
        const Samples8 raw[2] = {__builtin_shufflevector(even, odd, 0, 8, 1, 9, 2, 10, 3, 11),
                                 __builtin_shufflevector(even, odd, 4, 12, 5, 13, 6, 14, 7, 15)};
        for (uint32_t c = 0; c < kMicNum; ++c) {
            const auto* half = reinterpret_cast<const unsigned char*>(&raw[c / 2]) + (c % 2) * sizeof(Samples4);
            std::memcpy(&dump_block[c][n], half, sizeof(Samples4));
        }
        F4 channel[kMicNum];
        Transpose(ToFloat(__builtin_shufflevector(early, early, 0, 1, 2, 3)) / kSampleFullScale,
                  ToFloat(__builtin_shufflevector(early, early, 4, 5, 6, 7)) / kSampleFullScale,
                  ToFloat(__builtin_shufflevector(late, late, 0, 1, 2, 3)) / kSampleFullScale,
                  ToFloat(__builtin_shufflevector(late, late, 4, 5, 6, 7)) / kSampleFullScale, channel);
        for (uint32_t c = 0; c < kMicNum; ++c) {
            float* frame = frames.frame_buffer[c];
            Store(Load(frame + kBlockLength + n), frame + n);
            Store(channel[c], frame + kBlockLength + n);
        }
        for (uint32_t k = 0; k < kPairNum; ++k) Store(channel[k], asdf.compare_block[k] + n);
        Store(channel[0], asdf.reference_block + n);
    }
}

}  // namespace ezossl
