// Writing a four-channel 16-bit WAV file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ezossl_tool {

// Writes interleaved samples to path as 16-bit PCM WAV; throws RunError naming the path.
void WriteWav16(const std::string& path, const std::vector<int16_t>& interleaved, int channels, uint32_t sample_rate);

}  // namespace ezossl_tool
