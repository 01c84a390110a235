// Digital gain: the factor, truncation toward zero, 16-bit wrap-around, refusals, factor reuse.
#include <array>

#include "geometry_support.h"

namespace ezossl_test {
namespace {

using Block = std::array<int16_t, 512>;

Block Filled(int16_t value) {
    Block block;
    block.fill(value);
    return block;
}

uint32_t ApplyGain(SslHandle* handle, Block& block, int32_t gain) {
    return Call([&] { return EzoSsl_ApplyDigitalGain(handle, block.data(), gain); }).status;
}

TEST(DigitalGain, ScalesTruncatesAndWrapsEverySample) {
    const struct { int16_t sample; int32_t gain; int16_t result; } cases[] = {
        {16384, 6, 32690},    // factor 1.9952624
        {20000, 6, -25631},   // 39905 wraps around
        {1, 120, 16960},      // 1000000, low 16 bits
        {-3, -6, -1},         // -1.5035 truncates toward zero
        {-32768, -120, 0}, {32767, -120, 0}, {-1, -120, 0},
        {-32768, 0, -32768}, {12345, 0, 12345},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
        Block block = Filled(c.sample);
        ASSERT_EQ(ApplyGain(handle, block, c.gain), SSL_RET_OK);
        EXPECT_EQ(block, Filled(c.result)) << c.sample << " at " << c.gain << " dB";
    }
}

TEST(DigitalGain, OutOfRangeGainIsRefusedAndChangesNothing) {
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
    Block block = Filled(1234);
    ASSERT_EQ(ApplyGain(handle, block, 6), SSL_RET_OK);
    const float factor = handle->gain.gain_linear;
    const Block before = block;
    for (int32_t gain : {121, -121, INT32_MAX, INT32_MIN}) {
        const Printed result = Call([&] { return EzoSsl_ApplyDigitalGain(handle, block.data(), gain); });
        EXPECT_EQ(result.status, SSL_RET_INVALID_GAIN) << gain;
        EXPECT_EQ(result.output, "[ALGO_MSG_ERR] [SSL][ApplyDigitalGain]Fail! Gain value must be set between -120 to 120!  \t\n");
        EXPECT_TRUE(block == before && handle->gain.gain_db == 6 && handle->gain.gain_linear == factor) << gain;
    }
}

}  // namespace
}  // namespace ezossl_test
