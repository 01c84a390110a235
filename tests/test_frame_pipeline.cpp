// Frame assembly and frame energy: sliding frames, the raw block kept for the dump, energy sums.
#include "core/frame_activity.h"
#include "core/frame_input.h"
#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

std::vector<int16_t> ConstantBlock(const int16_t value[kChannels]) {
    std::vector<int16_t> block(kBlockSamples * kChannels);
    for (int n = 0; n < kBlockSamples; ++n) {
        for (int c = 0; c < kChannels; ++c) block[kChannels * n + c] = value[c];
    }
    return block;
}

void Append(SslHandle* h, const std::vector<int16_t>& block) {
    ezossl::InputBlock_Append(block.data(), h->dump_block, h->frames, h->asdf);
}

TEST(FrameInput, FramesSlideByOneBlockAndScaleToFullScale) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit());
    const int16_t first[kChannels] = {-32768, 16384, 1, 32767};
    const int16_t second[kChannels] = {100, 200, 300, 400};
    Append(h, ConstantBlock(first));
    EXPECT_EQ(h->frames.frame_buffer[0][0], 0.0f) << "the first frame's older half is zero";
    EXPECT_EQ(h->frames.frame_buffer[0][128], -1.0f);
    EXPECT_EQ(h->frames.frame_buffer[1][255], 0.5f);
    EXPECT_EQ(h->frames.frame_buffer[3][200], 32767.0f / 32768.0f);

    Append(h, ConstantBlock(second));
    EXPECT_EQ(h->frames.frame_buffer[0][127], -1.0f) << "the previous block moved to the older half";
    EXPECT_EQ(h->frames.frame_buffer[2][0], 1.0f / 32768.0f);
    EXPECT_EQ(h->frames.frame_buffer[2][128], 300.0f / 32768.0f);
    // The squared-difference blocks: channel 0 as reference, channels 0, 1, 2 to compare.
    EXPECT_EQ(h->asdf.reference_block[5], 100.0f / 32768.0f);
    EXPECT_EQ(h->asdf.compare_block[0][5], 100.0f / 32768.0f);
    EXPECT_EQ(h->asdf.compare_block[1][5], 200.0f / 32768.0f);
    EXPECT_EQ(h->asdf.compare_block[2][5], 300.0f / 32768.0f);
}

TEST(FrameInput, TheSamePassKeepsTheRawSamplesPerChannel) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit());
    std::vector<int16_t> block(kBlockSamples * kChannels);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<int16_t>(i * 37 - 9000);
    Append(h, block);
    for (int n = 0; n < kBlockSamples; ++n) {
        for (int c = 0; c < kChannels; ++c) ASSERT_EQ(h->dump_block[c][n], block[4 * n + c]) << n << "," << c;
    }
}

TEST(FrameEnergy, IsTheMeanSquareOfChannelsZeroAndOneOverTheFrame) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit());
    const int16_t level[kChannels] = {8192, -8192, 32767, -32768};  // a = 0.25 on channels 0 and 1
    Append(h, ConstantBlock(level));
    ezossl::FrameEnergy_Update(h->frames, h->activity);
    EXPECT_EQ(h->activity.frame_energy, 128 * 0.0625f) << "only the new half is non-zero yet";
    Append(h, ConstantBlock(level));
    ezossl::FrameEnergy_Update(h->frames, h->activity);
    EXPECT_EQ(h->activity.frame_energy, 256 * 0.0625f) << "channels 2 and 3 do not count";
    EXPECT_EQ(h->activity.energy_sum, 384 * 0.0625f);

    const int16_t silence[kChannels] = {0, 0, 0, 0};
    for (int i = 0; i < 2; ++i) Append(h, ConstantBlock(silence));
    ezossl::FrameEnergy_Update(h->frames, h->activity);
    EXPECT_EQ(h->activity.frame_energy, 0.0f);
    EXPECT_EQ(h->activity.energy_sum, 384 * 0.0625f);
}

}  // namespace
}  // namespace ezossl_test
