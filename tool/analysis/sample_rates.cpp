// The library's sample rates (8, 16, 32 and 48 kHz).
#include "analysis/sample_rates.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace ezossl_tool {
namespace {
constexpr std::array<uint32_t, 4> kRates = {8000, 16000, 32000, 48000};
}

bool IsSupportedRate(uint32_t rate) { return std::find(kRates.begin(), kRates.end(), rate) != kRates.end(); }

std::string SupportedRatesText() { return "8000, 16000, 32000 or 48000 Hz"; }

uint32_t NearestSupportedRate(uint32_t rate) {
    return *std::min_element(kRates.begin(), kRates.end(), [rate](uint32_t a, uint32_t b) {
        return std::llabs(int64_t(a) - rate) < std::llabs(int64_t(b) - rate);
    });
}

}  // namespace ezossl_tool
