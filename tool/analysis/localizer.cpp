// The voting-period loop: Run for each block, and at each period's end Get_Direction and Reset_Mapping.
#include "analysis/localizer.h"

#include "io/progress.h"
#include "io/stop_request.h"
#include "report/number_format.h"

namespace ezossl_tool {

double PeriodResult::MiddleSeconds(uint32_t sample_rate) const {
    return start_s + 0.5 * frames * EZOSSL_POINT_NUMBER / sample_rate;
}

double Localization::PeriodSeconds() const { return double(frames_per_vote) * EZOSSL_POINT_NUMBER / sample_rate; }

double Localization::DurationSeconds() const { return double(frame_count) * EZOSSL_POINT_NUMBER / sample_rate; }

namespace {

void ClosePeriod(SslSession& session, PeriodResult& period, Localization& result, ResultSink& sink,
                 bool keep_periods) {
    period.direction = session.CloseVotingPeriod();
    result.last_period = period;
    ++result.period_count;
    result.with_direction += period.direction.degrees.has_value();
    ++result.status_counts[period.direction.status];
    if (keep_periods) result.periods.push_back(period);
    sink.OnPeriod(period, result);
    period.frames = 0;
}

}  // namespace

Localization Localize(BlockSource& source, const LibrarySettings& settings, ResultSink& sink,
                      const LocalizeOptions& options) {
    SslSession session(settings);
    Progress progress(options.progress_label, source.TotalInstants(), source.SampleRate());
    Localization result;
    result.sample_rate = source.SampleRate();
    result.frames_per_vote = settings.frames_per_vote;

    Block block;
    PeriodResult period;
    for (int real = 0; !StopRequested() && (real = source.NextBlock(block)) > 0;) {
        FrameResult frame;
        frame.index = result.frame_count++;
        frame.start_s = double(result.instants) / result.sample_rate;
        if (period.frames == 0) period.start_s = frame.start_s;
        frame.delays = session.Run(block);
        result.padded_instants = EZOSSL_POINT_NUMBER - real;
        result.clipped_samples = source.ClippedSamples();
        result.overruns = source.Overruns();
        result.wrapped_samples = session.WrappedSamples();
        sink.OnFrame(frame, result);
        result.instants += real;
        progress.Update(result.instants);
        if (!settings.delays_only && ++period.frames == settings.frames_per_vote) {
            ClosePeriod(session, period, result, sink, options.keep_periods);
        }
    }
    if (period.frames > 0 && !settings.delays_only) ClosePeriod(session, period, result, sink, options.keep_periods);
    return result;
}

std::vector<std::string> InputNotes(const Localization& localization) {
    std::vector<std::string> notes;
    if (localization.padded_instants > 0) {
        notes.push_back("the last block was completed with " + std::to_string(localization.padded_instants) +
                        " zero samples per channel");
    }
    const std::optional<PeriodResult>& last = localization.last_period;
    if (last && last->frames < localization.frames_per_vote) {
        notes.push_back("the last period (from " + FormatFixed(last->start_s, 3) + " s) has only " +
                        std::to_string(last->frames) + " of " + std::to_string(localization.frames_per_vote) +
                        " frames");
    }
    if (localization.clipped_samples > 0) {
        notes.push_back(std::to_string(localization.clipped_samples) +
                        " input samples beyond full scale were clipped to 16 bits");
    }
    if (localization.wrapped_samples > 0) {
        notes.push_back("the gain pushed " + std::to_string(localization.wrapped_samples) +
                        " samples beyond 16 bits, which the library wraps around; lower --gain");
    }
    for (std::string& note : notes) note = "note: " + note;
    return notes;
}

}  // namespace ezossl_tool
