// The sound a simulated source emits: shaped noise, a tone, or a recording.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ezossl_tool {

enum class SignalKind { kWhite, kPink, kSpeech, kTone };

struct SourceSignal {
    SignalKind kind = SignalKind::kWhite;
    double tone_hz = 1000.0;
    std::optional<std::string> file;   // a recording instead of a synthetic signal
};

// Parses --signal (white, pink, speech or tone); throws UsageError.
SignalKind ParseSignalKind(const std::string& text);

// n samples of the source at unit RMS. Throws UsageError or RunError for unusable files.
std::vector<double> MakeSourceSignal(const SourceSignal& source, uint32_t sample_rate, size_t n, uint64_t seed);

// How long the source file lasts, in seconds (to default the scene's duration to it).
double SourceFileSeconds(const std::string& path);

}  // namespace ezossl_tool
