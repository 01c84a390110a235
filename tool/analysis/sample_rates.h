// The sample rates the library accepts, and how to talk about them.
#pragma once

#include <cstdint>
#include <string>

namespace ezossl_tool {

bool IsSupportedRate(uint32_t rate);
// "8000, 16000, 32000 or 48000 Hz"
std::string SupportedRatesText();
// The supported rate closest to this one, to suggest as a resampling target.
uint32_t NearestSupportedRate(uint32_t rate);

}  // namespace ezossl_tool
