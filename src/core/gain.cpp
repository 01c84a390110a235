// Digital gain applied in place to one interleaved block, truncating and wrapping to 16 bits.
#include "gain.h"

#include <cmath>

#include "../common/numeric.h"
#include "ssl_handle.h"

namespace ezossl {
namespace {

constexpr float kDecibelsPerDecade = 20.0f;

// The low 16 bits of value as a signed sample: results beyond the 16-bit range wrap around
// instead of clipping, which is what the devices' sample path has always done.
int16_t LowHalfWord(int32_t value) {
    const auto low = static_cast<int32_t>(static_cast<uint32_t>(value) & 0xFFFFu);
    return static_cast<int16_t>(low >= 0x8000 ? low - 0x10000 : low);
}

}  // namespace

float Gain_Factor(int32_t gain_db) {
    const float exponent = static_cast<float>(gain_db) / kDecibelsPerDecade;
    return static_cast<float>(std::pow(10.0, static_cast<double>(exponent)));
}

void Gain_ApplyBlock(float gain_linear, int16_t* samples) {
    for (uint32_t i = 0; i < kPointNumber; ++i) {
        for (uint32_t c = 0; c < kMicNum; ++c) {
            int16_t& sample = samples[kMicNum * i + c];
            const float scaled = static_cast<float>(sample) * gain_linear;
            sample = LowHalfWord(TruncateToInt32(scaled));
        }
    }
}

}  // namespace ezossl
