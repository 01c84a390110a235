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

TEST(Asdf, SearchesTwoScoresPastThoseItFills) {
    // Bounds 3, 5, 7. Pair 0 compares channel 0 with itself: its lag-0 score (index bound - 1) is
    // exactly 0 and found first, giving -1. The other pairs only reach the two zero scores left
    // past the filled ones, giving bound - 1.
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit(16000, 5.0f, 1));
    const auto got = SearchBlock(h, IndependentNoise(21));
    EXPECT_EQ(got[0], -1);
    EXPECT_EQ(got[1], 4);
    EXPECT_EQ(got[2], 6);
}

TEST(Asdf, BoundOneSearchesThreeScores) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit(8000, 1.0f, 1));  // bounds 1, 1, 1
    ASSERT_EQ(h->max_delay[2], 1);
    const auto got = SearchBlock(h, IndependentNoise(4));
    EXPECT_EQ(got[0], -1) << "lag 0 of channel 0 with itself is score 0";
    EXPECT_EQ(got[1], 0);
    EXPECT_EQ(got[2], 0);
}

TEST(Asdf, SilenceFindsTheFirstScore) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit(16000, 5.0f, 1));
    const auto got = SearchBlock(h, Channels(kChannels, std::vector<double>(kBlockSamples, 0.0)));
    EXPECT_EQ(got[0], -3);
    EXPECT_EQ(got[1], -5);
    EXPECT_EQ(got[2], -7);
}

TEST(Asdf, BoundsBeyondTheScoreArrayAreClamped) {
    // A 50 cm spacing at 48 kHz gives bounds of 70 samples and more; the search stays within
    // its 30 scores (the sanitizer run would catch an overrun) and answers within +-14.
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit(48000, 50.0f, 1));
    ASSERT_GT(h->max_delay[0], 14);
    const auto got = SearchBlock(h, IndependentNoise(9));
    EXPECT_EQ(got[0], -1);
    EXPECT_EQ(got[1], 13);
    EXPECT_EQ(got[2], 13);
    h->max_delay[1] = -200;  // a microphone far left of microphone 0
    EXPECT_EQ(SearchBlock(h, IndependentNoise(9))[1], 14);
}

}  // namespace
}  // namespace ezossl_test
