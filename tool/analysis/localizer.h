// Feeding blocks to the library frame by frame and handing out each answer as soon as it is complete.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "analysis/period_trust.h"
#include "analysis/srp_session.h"
#include "analysis/ssl_session.h"
#include "io/block_source.h"

namespace ezossl_tool {

struct FrameResult {
    int64_t index = 0;
    double start_s = 0.0;
    PairDelays delays{};   // EZOSSL_DELAY_REJECTED for a rejected pair
};

// Which library answers: the specified voting, the SRP companion, or both side by side.
enum class Method { kSpecified, kSrp, kBoth };

// Parses --method (specified, srp or both); throws UsageError.
Method ParseMethod(const std::string& text);
// ParseMethod, refusing the SRP when the library gives delays only (--bf-mode 1).
Method ParseMethod(const std::string& text, bool delays_only);
inline bool RunsSpecified(Method method) { return method != Method::kSrp; }
inline bool RunsSrp(Method method) { return method != Method::kSpecified; }

struct PeriodResult {
    double start_s = 0.0;
    int frames = 0;
    PeriodDirection direction;       // the specified method's, unless it did not run
    PeriodTrust trust;               // level, accepted shares, steadied direction
    std::optional<SrpDirection> srp; // only when the SRP ran

    // The instant the period's truth is taken at.
    double MiddleSeconds(uint32_t sample_rate) const;
};

// Counts of one method's period answers, kept as the periods close.
struct MethodTally {
    int64_t with_direction = 0;
    std::map<std::string, int64_t> status_counts;   // by status name
};

// What a run keeps: counters, and the periods unless the caller needs none of them. Frames are
// never kept, so memory does not grow with the length of the input.
struct Localization {
    uint32_t sample_rate = 0;
    int frames_per_vote = 0;
    Method method = Method::kSpecified;
    SteadyingOptions steadying;
    int64_t frame_count = 0;
    int64_t instants = 0;                // real sample instants read, without padding
    std::vector<PeriodResult> periods;   // empty when not kept
    int64_t period_count = 0;
    std::array<MethodTally, 2> tallies;  // the specified method's, then the SRP's
    std::optional<PeriodResult> last_period;
    int64_t held_periods = 0;            // periods that kept an earlier direction
    int padded_instants = 0;             // zeros added to complete the last block
    int64_t clipped_samples = 0;         // input samples beyond 16 bits
    int64_t nan_samples = 0;             // input samples that were not numbers, read as 0
    int64_t wrapped_samples = 0;         // samples the gain pushed beyond 16 bits
    int64_t overruns = 0;                // capture overruns, recovered from

    double PeriodSeconds() const;
    double DurationSeconds() const;      // of the frames, the padding of the last included
};

// Receives every frame and every closed period the moment the library has answered; so_far
// holds the counters up to that point. Writers of rows, plots or statistics each implement
// what they need.
class ResultSink {
  public:
    virtual ~ResultSink() = default;
    virtual void OnFrame(const FrameResult& /*frame*/, const Localization& /*so_far*/) {}
    virtual void OnPeriod(const PeriodResult& /*period*/, const Localization& /*so_far*/) {}
};

struct LocalizeOptions {
    std::string progress_label;   // names the work on a terminal when the input is long
    bool keep_periods = true;
    Method method = Method::kSpecified;
    SteadyingOptions steadying;   // holding and smoothing of each period's direction
};

// Runs the whole input through one library instance, until the source ends or a stop is
// requested; a last, shorter period is still voted. Each closed period also gets its trust figures.
Localization Localize(BlockSource& source, const LibrarySettings& settings, ResultSink& sink,
                      const LocalizeOptions& options);

// "note: ..." lines about the input that the user must not miss (padding, clipping, wrapping,
// a short last period).
std::vector<std::string> InputNotes(const Localization& localization);

}  // namespace ezossl_tool
