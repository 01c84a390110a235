// Frame energy: the mean square of channels 0 and 1 over the sliding frame, summed per period.
// (How the frames slide is pinned bit for bit by the golden test.)
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
