// Integer PCM to 16-bit blocks, rounding the way recordings read through libsndfile are rounded.
#include "io/pcm_samples.h"

#include <cmath>

#include "analysis/library_facts.h"

namespace ezossl_tool {
namespace {

constexpr double kInt16Max = kSampleFullScale - 1;
constexpr double kInt16Min = -kSampleFullScale;
// libsndfile scales 32-bit integers to floats by 2^-31 in single precision.
constexpr float kInt32Scale = 1.0f / 2147483648.0f;

int32_t LittleEndian(const uint8_t* bytes, int width) {
    uint32_t value = 0;
    for (int b = width - 1; b >= 0; --b) value = (value << 8) | bytes[b];
    if (width == 2) return static_cast<int16_t>(static_cast<uint16_t>(value));
    return static_cast<int32_t>(value);
}

}  // namespace

int16_t NormalisedToInt16(double sample, int64_t& clipped) {
    const double scaled = std::nearbyint(sample * kSampleFullScale);
    if (scaled > kInt16Max || scaled < kInt16Min) {
        ++clipped;
        return static_cast<int16_t>(scaled > 0 ? kInt16Max : kInt16Min);
    }
    return static_cast<int16_t>(scaled);
}

PcmFrames::PcmFrames(int channels, int bits, const ChannelMap& map)
    : channels_(channels),
      bits_(bits),
      frame_bytes_(channels * bits / 8),
      map_(map),
      bytes_(size_t(EZOSSL_POINT_NUMBER) * frame_bytes_) {}

void PcmFrames::ToBlock(int frames, Block& block) {
    const int width = bits_ / 8;
    for (int n = 0; n < EZOSSL_POINT_NUMBER; ++n) {
        for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) {
            int16_t& out = block[n * EZOSSL_MIC_NUM + mic];
            if (n >= frames) {
                out = 0;
                continue;
            }
            const int32_t value = LittleEndian(&bytes_[size_t(n) * frame_bytes_ + size_t(map_[mic]) * width], width);
            out = width == 2 ? static_cast<int16_t>(value)
                             : NormalisedToInt16(double(static_cast<float>(value) * kInt32Scale), clipped_);
        }
    }
}

}  // namespace ezossl_tool
