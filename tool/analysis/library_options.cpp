// Validation of the library-facing options before the library sees them.
#include "analysis/library_options.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

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

constexpr double kCmPerMetre = 100.0;

// Two significant digits: 0.001, 0.12, 3e-300.
std::string Rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2g", value);
    return text;
}

// The library measures the pairs of microphone 0 with 1, 2 and 3.
double LargestPairM(const MicPositions& mics) {
    double largest = 0.0;
    for (int i = 1; i < EZOSSL_MIC_NUM; ++i) largest = std::max(largest, std::hypot(mics[i].x - mics[0].x, mics[i].y - mics[0].y));
    return largest;
}

// Width of the positions across their principal axis: 0 for four points on one line.
double WidthAcrossM(const MicPositions& mics) {
    double sxx = 0.0, syy = 0.0, sxy = 0.0;
    for (const Vec2& m : mics) {
        sxx += m.x * m.x;
        syy += m.y * m.y;
        sxy += m.x * m.y;
    }
    const double axis = 0.5 * std::atan2(2.0 * sxy, sxx - syy);
    const Vec2 across{-std::sin(axis), std::cos(axis)};
    double lowest = 0.0, highest = 0.0;
    for (const Vec2& m : mics) {
        lowest = std::min(lowest, Dot(m, across));
        highest = std::max(highest, Dot(m, across));
    }
    return highest - lowest;
}

}  // namespace

void RequireTemperature(double temperature_c) {
    if (!(temperature_c >= kMinTemperature && temperature_c <= kMaxTemperature)) {
        throw UsageError("--temperature must lie between 0 and 60 deg C, got " + FormatNumber(temperature_c));
    }
}

void RequireArrayFitsRate(const ArrayDescription& array, uint32_t sample_rate, double temperature_c) {
    const MicPositions mics = MicrophonePositionsM(array);
    const double sample_m = SpeedOfSound(temperature_c) / sample_rate;
    const std::string one_sample = "less than the " + FormatFixed(sample_m * kCmPerMetre, 2) +
                                   " cm sound travels in one sample at " + std::to_string(sample_rate) + " Hz";
    const double pair_m = LargestPairM(mics);
    if (pair_m < sample_m) {
        const bool by_distance = array.kind != ArrayKind::kArbitrary;
        throw UsageError((by_distance ? "--distance " + FormatNumber(array.distance_cm) + " cm" : std::string("--array")) +
                         " puts the microphone pairs at most " + Rounded(pair_m * kCmPerMetre) + " cm apart, " +
                         one_sample + ", so every direction looks alike; " +
                         (by_distance ? "--distance is in cm, e.g. --distance 6.5"
                                      : "positions are in cm, e.g. --array \"0,0 4,0 4,4 0,4\""));
    }
    const double width_m = WidthAcrossM(mics);
    if (!IsLinear(array) && width_m < sample_m) {
        throw UsageError("--array: the microphones lie within " + Rounded(width_m * kCmPerMetre) + " cm of one line, " +
                         one_sample + ", so directions across it cannot be told apart; move them at least " +
                         FormatFixed(sample_m * kCmPerMetre, 2) + " cm off the line, or put all four on one line "
                         "for a linear array");
    }
    const double span = ApertureM(array) / sample_m;
    if (span >= kMaxPairDelaySamples) {
        throw UsageError("the array spans " + FormatFixed(ApertureM(array) * 100, 1) + " cm, which sound crosses in " +
                         FormatFixed(span, 0) + " samples at " + std::to_string(sample_rate) +
                         " Hz; the library handles less than " + FormatNumber(kMaxPairDelaySamples) + ", so use a smaller array or a lower rate");
    }
}

void RequireLibraryRate(uint32_t rate) {
    if (!IsSupportedRate(rate)) {
        throw UsageError("--rate " + std::to_string(rate) + " Hz is not one the library supports; choose " +
                         SupportedRatesText());
    }
}

LibrarySettings MakeLibrarySettings(const LibraryOptions& options, const ArrayDescription& array,
                                    uint32_t sample_rate) {
    RequireTemperature(options.temperature_c);
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
