// Which recorded channel feeds each of the four microphones.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "ezossl.h"

namespace ezossl_tool {

// 0-based channel index for microphones 0..3.
using ChannelMap = std::array<int, EZOSSL_MIC_NUM>;

// Parses --map "1,2,3,4" (1-based, microphone order) against the file's channel count; without a
// map the file must hold exactly four channels, taken in order. Throws UsageError or RunError.
ChannelMap ResolveChannelMap(const std::optional<std::string>& map_text, int channels, const std::string& file);

}  // namespace ezossl_tool
