// Capture from an ALSA device as a stream of library blocks.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "io/block_source.h"

namespace ezossl_tool {

struct CaptureOptions {
    std::string device;
    uint32_t rate = 16000;
    int channels = 4;
    int bits = 16;                          // S16_LE or S32_LE
    std::optional<std::string> map;         // --map, 1-based
    std::optional<double> duration_s;       // stop after this much audio
};

// Opens the device for interleaved capture at exactly the rate, channel count and sample format
// asked for. A device that cannot give them is refused with a line saying what it can give and
// how to get the rest (a plughw: device converts). Throws UsageError or RunError.
// The source reads 128 frames per block, recovers from overruns and counts them, and ends at
// --duration or when a stop is requested.
std::unique_ptr<BlockSource> OpenCapture(const CaptureOptions& options);

}  // namespace ezossl_tool
