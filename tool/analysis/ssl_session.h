// One instance of the localisation library, set up in its required call order.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "analysis/array_geometry.h"
#include "analysis/library_facts.h"
#include "io/block_source.h"

namespace ezossl_tool {

// Everything the library is told, as the tool's options give it.
struct LibrarySettings {
    ArrayDescription array;
    uint32_t sample_rate = 16000;
    uint32_t temperature_c = kDefaultTemperatureC;
    int32_t threshold_db = kDefaultThresholdDb;
    int32_t frames_per_vote = kDefaultFramesPerVote;
    std::optional<int32_t> gain_db;   // applied to every block before Run when given
    bool delays_only = false;         // bf_mode 1: per-frame delays, no directions
    // The library's microphone i is microphone mic_order[i] of the blocks Run is given: the
    // library needs its microphone 0 leftmost, whatever the user's numbering.
    std::array<int, EZOSSL_MIC_NUM> mic_order{0, 1, 2, 3};
};

using PairDelays = std::array<int32_t, EZOSSL_PAIR_NUM>;

struct PeriodDirection {
    uint32_t status = SSL_RET_OK;
    std::optional<int32_t> degrees;   // only with SSL_RET_OK
};

// Init, Config, shape and Cal_Params on construction; Free on destruction. A refusal becomes a
// RunError naming the function, the status and the library's own message.
class SslSession {
  public:
    explicit SslSession(const LibrarySettings& settings);

    // Puts the block's microphones in the library's order and applies the gain (if any), both in
    // place, and runs one frame.
    PairDelays Run(Block& block);
    // Get_Direction, then Reset_Mapping to open the next voting period.
    PeriodDirection CloseVotingPeriod();
    // Samples that the gain pushed beyond 16 bits (the library wraps them around).
    int64_t WrappedSamples() const { return wrapped_samples_; }

  private:
    void Require(uint32_t status, const char* function) const;
    void CountWrappedSamples(const Block& block);

    // Free must run also when a later set-up step throws; the handle goes before its buffer.
    struct FreeHandle {
        void operator()(SslHandle* handle) const { EzoSsl_Free(handle); }
    };
    std::unique_ptr<uint64_t[]> buffer_;
    std::unique_ptr<SslHandle, FreeHandle> handle_;
    std::array<int, EZOSSL_MIC_NUM> mic_order_;
    std::optional<int32_t> gain_db_;
    double gain_factor_ = 1.0;
    int64_t wrapped_samples_ = 0;
};

}  // namespace ezossl_tool
