// Squared-difference delay search (bf_mode 1): its known answers and its bound clamp.
#include <array>

#include "core/asdf.h"
#include "core/frame_input.h"
#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

std::array<int32_t, 3> SearchBlock(SslHandle* handle, const Channels& channels) {
    const auto block = InterleaveBlock(channels, 0);
    ezossl::InputBlock_Append(block.data(), handle->dump_block, handle->frames, handle->asdf);
    std::array<int32_t, 3> delays{};
    ezossl::Asdf_EstimateDelays(handle->asdf, handle->max_delay, delays.data());
    return delays;
}

Channels IndependentNoise(uint64_t seed) {
    Channels out;
    for (int c = 0; c < kChannels; ++c) out.push_back(NoiseSource(seed + c).White(kBlockSamples, 8000.0));
    return out;
}

TEST(Asdf, KnownAnswersOfTheSearchAndItsBoundClamp) {
    // Pair 0 compares channel 0 with itself: its lag-0 score (index bound - 1) is exactly 0 and
    // found first, giving -1. With independent noise the other pairs only reach the two zero
    // scores left past the filled ones, giving bound - 1; silence finds the first score, -bound.
    // Bounds over 14 are clamped to the 30 scores (the sanitizer run would catch an overrun).
    // A seed of 0 stands for silence.
    const struct { const char* name; uint32_t rate; float distance_cm; uint64_t seed; int32_t expected[3]; } cases[] = {
        {"bounds 3, 5, 7", 16000, 5.0f, 21, {-1, 4, 6}},
        {"bounds 1, 1, 1", 8000, 1.0f, 4, {-1, 0, 0}},
        {"silence", 16000, 5.0f, 0, {-3, -5, -7}},
        {"bounds 70 and more", 48000, 50.0f, 9, {-1, 13, 13}},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* h = InitQuietly(buffer, DefaultInit(c.rate, c.distance_cm, 1));
        const Channels channels = c.seed ? IndependentNoise(c.seed) : Channels(kChannels, std::vector<double>(kBlockSamples));
        const auto got = SearchBlock(h, channels);
        for (int p = 0; p < 3; ++p) EXPECT_EQ(got[p], c.expected[p]) << c.name << ", pair " << p;
        if (c.rate == 48000) {
            h->max_delay[1] = -200;  // a microphone far left of microphone 0
            EXPECT_EQ(SearchBlock(h, channels)[1], 14);
        }
    }
}

}  // namespace
}  // namespace ezossl_test
