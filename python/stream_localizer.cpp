// Cutting arbitrary chunks into library blocks and blocks into voting periods.
#include "stream_localizer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/library_facts.h"

namespace ezossl_python {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr size_t kBlock = EZOSSL_POINT_NUMBER;

}  // namespace

StreamLocalizer::StreamLocalizer(const LibrarySetup& setup, ezossl_tool::Method method)
    : orientation_(setup.orientation),
      mic_order_(setup.settings.mic_order),
      sample_rate_(setup.settings.sample_rate),
      frames_per_vote_(setup.settings.frames_per_vote) {
    if (method == ezossl_tool::Method::kSrp) {
        srp_.emplace(setup.settings);
    } else {
        specified_.emplace(setup.settings);
    }
}

std::vector<PeriodRow> StreamLocalizer::Process(const int16_t* interleaved, size_t instants) {
    std::vector<PeriodRow> periods;
    while (instants > 0) {
        const size_t take = std::min(instants, kBlock - pending_instants_);
        std::copy_n(interleaved, take * EZOSSL_MIC_NUM, pending_.begin() + pending_instants_ * EZOSSL_MIC_NUM);
        pending_instants_ += take;
        interleaved += take * EZOSSL_MIC_NUM;
        instants -= take;
        if (pending_instants_ == kBlock) RunBlock(periods);
    }
    return periods;
}

std::vector<PeriodRow> StreamLocalizer::Flush() {
    std::vector<PeriodRow> periods;
    if (pending_instants_ > 0) {
        std::fill(pending_.begin() + pending_instants_ * EZOSSL_MIC_NUM, pending_.end(), 0);
        RunBlock(periods);
    }
    if (period_frames_ > 0) ClosePeriod(periods);
    return periods;
}

std::vector<FrameRow> StreamLocalizer::TakeFrames() { return std::move(frames_); }

void StreamLocalizer::RunBlock(std::vector<PeriodRow>& periods) {
    if (srp_) {
        // The specified session puts the channels in the library's order itself; here it is done
        // by hand, so that both libraries see the same array.
        ezossl_tool::Block block;
        for (size_t n = 0; n < kBlock; ++n) {
            for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) {
                block[n * EZOSSL_MIC_NUM + mic] = pending_[n * EZOSSL_MIC_NUM + mic_order_[mic]];
            }
        }
        srp_->Process(block);
    } else {
        const ezossl_tool::PairDelays delays = specified_->Run(pending_);
        if (keep_frames_) KeepFrame(delays);
    }
    pending_instants_ = 0;
    ++frames_run_;
    if (++period_frames_ == frames_per_vote_) ClosePeriod(periods);
}

void StreamLocalizer::KeepFrame(const ezossl_tool::PairDelays& delays) {
    FrameRow frame{Seconds(frames_run_), {}};
    for (size_t pair = 0; pair < delays.size(); ++pair) {
        frame.delays[pair] = delays[pair] == EZOSSL_DELAY_REJECTED ? kNaN : delays[pair];
    }
    frames_.push_back(frame);
}

void StreamLocalizer::ClosePeriod(std::vector<PeriodRow>& periods) {
    PeriodRow row;
    row.start_s = Seconds(frames_run_ - period_frames_);
    row.frames = period_frames_;
    if (srp_) {
        const ezossl_tool::SrpDirection srp = srp_->ClosePeriod();
        row.status = ezossl_tool::SrpStatusName(srp.status);
        row.direction_deg = srp.degrees ? orientation_.ReportExact(*srp.degrees) : kNaN;
        row.confidence = srp.confidence;
        row.level_dbfs = srp.level_dbfs;
    } else {
        const ezossl_tool::PeriodDirection direction = specified_->CloseVotingPeriod();
        row.status = ezossl_tool::StatusName(direction.status);
        row.direction_deg = direction.degrees ? orientation_.Report(*direction.degrees) : kNaN;
        row.confidence = row.level_dbfs = kNaN;
    }
    periods.push_back(row);
    period_frames_ = 0;
}

double StreamLocalizer::Seconds(int64_t frame) const { return double(frame) * EZOSSL_POINT_NUMBER / sample_rate_; }

}  // namespace ezossl_python
