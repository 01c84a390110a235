// The options that mirror the library's settings, and their checks.
#pragma once

#include <optional>

#include "analysis/ssl_session.h"

namespace ezossl_tool {

struct LibraryOptions {
    int temperature_c = kDefaultTemperatureC;
    int threshold_db = kDefaultThresholdDb;
    int frames_per_vote = kDefaultFramesPerVote;
    std::optional<int> gain_db;
    int bf_mode = 0;
};

// Checks every value against what the library accepts (it would clamp or wrap some silently)
// and that the array fits the library's delay search at this rate; throws UsageError.
LibrarySettings MakeLibrarySettings(const LibraryOptions& options, const ArrayDescription& array,
                                    uint32_t sample_rate);

}  // namespace ezossl_tool
