// Validation of the library-facing options before the library sees them.
#include "analysis/library_options.h"

#include <cmath>

#include "analysis/library_facts.h"
#include "cli/errors.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

constexpr int kMaxFramesPerVote = 1000000;

void RequireWithin(const char* option, int value, int lowest, int highest, const char* unit) {
    if (value < lowest || value > highest) {
        throw UsageError(std::string(option) + " must lie between " + std::to_string(lowest) + " and " +
                         std::to_string(highest) + unit + ", got " + std::to_string(value));
    }
}

void RequireArrayFitsRate(const ArrayDescription& array, uint32_t sample_rate, int temperature_c) {
    const double span = ApertureM(array) / SpeedOfSound(temperature_c) * sample_rate;
    if (span >= kMaxPairDelaySamples) {
        throw UsageError("the array spans " + FormatFixed(ApertureM(array) * 100, 1) + " cm, which sound crosses in " +
                         FormatFixed(span, 0) + " samples at " + std::to_string(sample_rate) +
                         " Hz; the library handles less than " + FormatNumber(kMaxPairDelaySamples) + ", so use a smaller array or a lower rate");
    }
}

}  // namespace

LibrarySettings MakeLibrarySettings(const LibraryOptions& options, const ArrayDescription& array,
                                    uint32_t sample_rate) {
    RequireWithin("--temperature", options.temperature_c, kMinTemperature, kMaxTemperature, " deg C");
    RequireWithin("--threshold", options.threshold_db, kMinThreshold, kMaxThreshold, " dB");
    RequireWithin("--frames-per-vote", options.frames_per_vote, 1, kMaxFramesPerVote, "");
    if (options.gain_db) RequireWithin("--gain", *options.gain_db, -kMaxGainDb, kMaxGainDb, " dB");
    RequireWithin("--bf-mode", options.bf_mode, 0, 1, "");
    RequireArrayFitsRate(array, sample_rate, options.temperature_c);

    LibrarySettings settings;
    settings.array = array;
    settings.sample_rate = sample_rate;
    settings.temperature_c = static_cast<uint32_t>(options.temperature_c);
    settings.threshold_db = options.threshold_db;
    settings.frames_per_vote = options.frames_per_vote;
    settings.gain_db = options.gain_db;
    settings.delays_only = options.bf_mode == 1;
    return settings;
}

}  // namespace ezossl_tool
