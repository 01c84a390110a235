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

// Refuses a --rate the library does not support; throws UsageError.
void RequireLibraryRate(uint32_t rate);
// The air temperatures the library's unsigned field can hold sensibly: 0 to 60 deg C.
void RequireTemperature(double temperature_c);

// Checks that the array can be resolved at this rate: its microphone pairs at least one sample
// of delay apart, a planar array at least one sample across its line, and no pair beyond the
// library's delay search. Throws UsageError.
void RequireArrayFitsRate(const ArrayDescription& array, uint32_t sample_rate, double temperature_c);

// Checks every value against what the library accepts (it would clamp or wrap some silently)
// and that the array fits the library's delay search at this rate; throws UsageError.
LibrarySettings MakeLibrarySettings(const LibraryOptions& options, const ArrayDescription& array,
                                    uint32_t sample_rate);

}  // namespace ezossl_tool
