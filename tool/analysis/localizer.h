// Feeding a recording to the library frame by frame and collecting its answers per period.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/srp_session.h"
#include "analysis/ssl_session.h"
#include "io/block_source.h"

namespace ezossl_tool {

struct FrameResult {
    double start_s = 0.0;
    PairDelays delays{};   // EZOSSL_DELAY_REJECTED for a rejected pair
};

// Which library answers: the specified voting, the SRP companion, or both side by side.
enum class Method { kSpecified, kSrp, kBoth };

// Parses --method (specified, srp or both); throws UsageError.
Method ParseMethod(const std::string& text);
inline bool RunsSpecified(Method method) { return method != Method::kSrp; }
inline bool RunsSrp(Method method) { return method != Method::kSpecified; }

struct PeriodResult {
    double start_s = 0.0;
    int frames = 0;
    PeriodDirection direction;       // the specified method's, unless it did not run
    std::optional<SrpDirection> srp; // only when the SRP ran

    // The instant the period's truth is taken at.
    double MiddleSeconds(uint32_t sample_rate) const;
};

struct Localization {
    uint32_t sample_rate = 0;
    int frames_per_vote = 0;
    Method method = Method::kSpecified;
    std::vector<FrameResult> frames;
    std::vector<PeriodResult> periods;   // empty when only delays were asked for
    int padded_instants = 0;             // zeros added to complete the last block
    int64_t clipped_samples = 0;         // input samples beyond 16 bits
    int64_t nan_samples = 0;             // input samples that were not numbers, read as 0
    int64_t wrapped_samples = 0;         // samples the gain pushed beyond 16 bits

    double PeriodSeconds() const;
    double DurationSeconds() const;
};

// Runs the whole recording through one library instance; progress_label names the work on a
// terminal when the recording is long.
Localization Localize(BlockSource& source, const LibrarySettings& settings, const std::string& progress_label,
                      Method method = Method::kSpecified);

// "note: ..." lines about the input that the user must not miss (padding, clipping, wrapping,
// a short last period).
std::vector<std::string> InputNotes(const Localization& localization);

}  // namespace ezossl_tool
