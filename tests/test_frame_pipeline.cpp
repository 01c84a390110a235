// Frame assembly and activity measures: sliding frames, zero-crossing rate, frame energy.
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

TEST(FrameInput, FramesSlideByOneBlockAndScaleToFullScale) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit());
    const int16_t first[kChannels] = {-32768, 16384, 1, 32767};
    const int16_t second[kChannels] = {100, 200, 300, 400};
    ezossl::InputBlock_Append(h, ConstantBlock(first).data());
    EXPECT_EQ(h->frame_buffer[0][0], 0.0f) << "the first frame's older half is zero";
    EXPECT_EQ(h->frame_buffer[0][128], -1.0f);
    EXPECT_EQ(h->frame_buffer[1][255], 0.5f);
    EXPECT_EQ(h->frame_buffer[3][200], 32767.0f / 32768.0f);

    ezossl::InputBlock_Append(h, ConstantBlock(second).data());
    EXPECT_EQ(h->frame_buffer[0][127], -1.0f) << "the previous block moved to the older half";
    EXPECT_EQ(h->frame_buffer[2][0], 1.0f / 32768.0f);
    EXPECT_EQ(h->frame_buffer[2][128], 300.0f / 32768.0f);
    // The squared-difference blocks: channel 0 as reference, channels 0, 1, 2 to compare.
    EXPECT_EQ(h->reference_block[5], 100.0f / 32768.0f);
    EXPECT_EQ(h->compare_block[0][5], 100.0f / 32768.0f);
    EXPECT_EQ(h->compare_block[1][5], 200.0f / 32768.0f);
    EXPECT_EQ(h->compare_block[2][5], 300.0f / 32768.0f);
}

TEST(FrameInput, DeinterleaveKeepsTheRawSamples) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit());
    std::vector<int16_t> block(kBlockSamples * kChannels);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<int16_t>(i * 37 - 9000);
    ezossl::InputBlock_Deinterleave(h, block.data());
    for (int n = 0; n < kBlockSamples; ++n) {
        for (int c = 0; c < kChannels; ++c) ASSERT_EQ(h->dump_block[c][n], block[4 * n + c]) << n << "," << c;
    }
}

TEST(ZeroCrossingRate, CountsStrictSignChangesOverN) {
    const struct {
        const char* name;
        float (*sample)(int);
        float rate;
    } cases[] = {
        {"alternating", [](int i) { return i % 2 ? -0.5f : 0.5f; }, 127.0f / 128.0f},
        {"zero between changes", [](int i) { return i % 4 == 0 ? 0.5f : i % 4 == 2 ? -0.5f : 0.0f; }, 0.0f},
        {"one change", [](int i) { return i < 64 ? 0.25f : -0.25f; }, 1.0f / 128.0f},
        {"silence", [](int) { return 0.0f; }, 0.0f},
    };
    for (const auto& c : cases) {
        float x[128];
        for (int i = 0; i < 128; ++i) x[i] = c.sample(i);
        float rate = -1.0f;
        EXPECT_EQ(ezossl::ZeroCrossingRate(x, 128, &rate), 0);
        EXPECT_EQ(rate, c.rate) << c.name;
    }
}

TEST(FrameEnergy, IsTheMeanSquareOfChannelsZeroAndOneOverTheFrame) {
    WorkingBuffer buffer;
    SslHandle* h = InitQuietly(buffer, DefaultInit());
    const int16_t level[kChannels] = {8192, -8192, 32767, -32768};  // a = 0.25 on channels 0 and 1
    ezossl::InputBlock_Append(h, ConstantBlock(level).data());
    ezossl::FrameEnergy_Update(h);
    EXPECT_EQ(h->frame_energy, 128 * 0.0625f) << "only the new half is non-zero yet";
    ezossl::InputBlock_Append(h, ConstantBlock(level).data());
    ezossl::FrameEnergy_Update(h);
    EXPECT_EQ(h->frame_energy, 256 * 0.0625f) << "channels 2 and 3 do not count";
    EXPECT_EQ(h->energy_sum, 384 * 0.0625f);

    const int16_t silence[kChannels] = {0, 0, 0, 0};
    for (int i = 0; i < 2; ++i) ezossl::InputBlock_Append(h, ConstantBlock(silence).data());
    ezossl::FrameEnergy_Update(h);
    EXPECT_EQ(h->frame_energy, 0.0f);
    EXPECT_EQ(h->energy_sum, 384 * 0.0625f);
}

}  // namespace
}  // namespace ezossl_test
