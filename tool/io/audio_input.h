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

// The path that names standard input.
constexpr const char* kStandardInput = "-";

// "standard input" for "-", otherwise the path: for progress and channel-map messages.
std::string DisplayPath(const std::string& path);
// "standard input" for "-", otherwise the path in double quotes, for messages.
std::string InputName(const std::string& path);

// Opens and checks the recording: it exists, is audio, has a supported rate and four usable
// channels. Files, pipes, FIFOs and "-" (standard input) all work; only a regular file's length
// is known in advance. Throws UsageError or RunError with the line to show.
std::unique_ptr<BlockSource> OpenRecording(const AudioInputOptions& options);

}  // namespace ezossl_tool
