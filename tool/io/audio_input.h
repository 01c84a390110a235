// Opening a recording (any format libsndfile reads, or headerless PCM) as a block source.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "io/block_source.h"

namespace ezossl_tool {

struct AudioInputOptions {
    std::string path;
    bool raw = false;                     // headerless interleaved little-endian PCM
    std::optional<uint32_t> raw_rate;     // required with raw
    std::optional<int> raw_channels;      // required with raw
    int raw_bits = 16;                    // 16 or 32
    std::optional<std::string> map;       // --map, 1-based
};

// A sample in full-scale units (-1 ... 1) as the library's 16 bits: rounded to nearest, clipped
// beyond full scale (infinities too) with a count in clipped. The value must not be NaN.
int16_t FullScaleToInt16(double sample, int64_t& clipped);

// Opens and checks the recording: it exists, is audio, has a supported rate and four usable
// channels. Throws UsageError or RunError with the line to show.
std::unique_ptr<BlockSource> OpenRecording(const AudioInputOptions& options);

}  // namespace ezossl_tool
