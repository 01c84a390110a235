// Samples in chunks of any length, voting periods out: the streaming core of ezossl.Localizer.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/localizer.h"
#include "analysis/orientation.h"
#include "analysis/srp_session.h"
#include "analysis/ssl_session.h"
#include "io/block_source.h"

namespace ezossl_python {

struct PeriodRow {
    double start_s = 0.0;
    int frames = 0;
    std::string status;
    double direction_deg = 0.0;  // NaN without a direction
    double confidence = 0.0;     // SRP only
    double level_dbfs = 0.0;     // SRP only
};

struct FrameRow {
    double start_s = 0.0;
    std::array<double, EZOSSL_PAIR_NUM> delays{};  // whole samples; NaN when the pair was rejected
};

// What the library is told, as the tool tells it: the array renumbered and turned so that its
// microphone 0 is leftmost (a line along x), and the order in which the channels reach it.
struct LibrarySetup {
    ezossl_tool::Orientation orientation;
    ezossl_tool::LibrarySettings settings;
};

// One library instance fed block by block. Instants that do not fill a block wait for the next
// call, and a period closes after frames_per_vote blocks, exactly as the tool's voting loop.
class StreamLocalizer {
  public:
    // method: kSpecified or kSrp.
    // Directions come back in the user's frame.
    StreamLocalizer(const LibrarySetup& setup, ezossl_tool::Method method);

    // interleaved holds instants x 4 samples; returns the periods these instants complete.
    std::vector<PeriodRow> Process(const int16_t* interleaved, size_t instants);
    // Completes a waiting block with zeros and votes a started period, as the tool does at the
    // end of a recording. The stream may go on afterwards; time keeps counting whole blocks.
    std::vector<PeriodRow> Flush();
    // Every frame's delays from now on are kept, for TakeFrames (the specified method only).
    void KeepFrames() { keep_frames_ = true; }
    std::vector<FrameRow> TakeFrames();

  private:
    void RunBlock(std::vector<PeriodRow>& periods);
    void KeepFrame(const ezossl_tool::PairDelays& delays);
    void ClosePeriod(std::vector<PeriodRow>& periods);
    double Seconds(int64_t frame) const;

    std::optional<ezossl_tool::SslSession> specified_;
    std::optional<ezossl_tool::SrpSession> srp_;
    ezossl_tool::Orientation orientation_;
    std::array<int, EZOSSL_MIC_NUM> mic_order_;
    uint32_t sample_rate_;
    int frames_per_vote_;
    ezossl_tool::Block pending_{};
    size_t pending_instants_ = 0;
    int64_t frames_run_ = 0;
    int period_frames_ = 0;
    bool keep_frames_ = false;
    std::vector<FrameRow> frames_;
};

}  // namespace ezossl_python
