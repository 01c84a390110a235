// The voting-period loop: Run for each block, and at each period's end Get_Direction and Reset_Mapping.
#include "analysis/localizer.h"

#include "analysis/accuracy.h"
#include "cli/errors.h"
#include "io/progress.h"
#include "io/stop_request.h"
#include "report/number_format.h"

namespace ezossl_tool {

Method ParseMethod(const std::string& text) {
    if (text == "specified") return Method::kSpecified;
    if (text == "srp") return Method::kSrp;
    if (text == "both") return Method::kBoth;
    throw UsageError("--method must be specified, srp or both, got \"" + text + "\"");
}

Method ParseMethod(const std::string& text, bool delays_only) {
    const Method method = ParseMethod(text);
    if (delays_only && method != Method::kSpecified) {
        throw UsageError("--bf-mode 1 gives delays only, so --method " + text +
                         " has no directions to show; leave one of them out");
    }
    return method;
}

double PeriodResult::MiddleSeconds(uint32_t sample_rate) const {
    return start_s + 0.5 * frames * EZOSSL_POINT_NUMBER / sample_rate;
}

double Localization::PeriodSeconds() const { return double(frames_per_vote) * EZOSSL_POINT_NUMBER / sample_rate; }

double Localization::DurationSeconds() const { return double(frame_count) * EZOSSL_POINT_NUMBER / sample_rate; }

namespace {

void ClosePeriod(SslSession& session, std::optional<SrpSession>& srp, PeriodTracker& tracker, PeriodResult& period,
                 Localization& result, ResultSink& sink, bool keep_periods) {
    period.direction = session.CloseVotingPeriod();
    period.trust = tracker.Close(period.direction);
    if (srp) period.srp = srp->ClosePeriod();
    result.last_period = period;
    ++result.period_count;
    result.held_periods += period.trust.held;
    for (const bool srp_method : ShownMethods(result.method)) {
        // The library's own answer: held directions are counted apart.
        const MethodAnswer answer = LibraryAnswerOf(period, srp_method);
        MethodTally& tally = result.tallies[srp_method];
        tally.with_direction += answer.degrees.has_value();
        ++tally.status_counts[answer.status];
    }
    if (keep_periods) result.periods.push_back(period);
    sink.OnPeriod(period, result);
    period.frames = 0;
}

}  // namespace

Localization Localize(BlockSource& source, const LibrarySettings& settings, ResultSink& sink,
                      const LocalizeOptions& options) {
    // The specified library always runs: it applies the gain and checks the settings; the SRP
    // library runs beside it on the same (gained) blocks when the method asks for it.
    SslSession session(settings);
    PeriodTracker tracker(options.steadying);
    std::optional<SrpSession> srp;
    if (RunsSrp(options.method)) srp.emplace(settings);
    Progress progress(options.progress_label, source.TotalInstants(), source.SampleRate());
    Localization result;
    result.sample_rate = source.SampleRate();
    result.frames_per_vote = settings.frames_per_vote;
    result.method = options.method;
    result.steadying = options.steadying;

    Block block;
    PeriodResult period;
    for (int real = 0; !StopRequested() && (real = source.NextBlock(block)) > 0;) {
        FrameResult frame;
        frame.index = result.frame_count++;
        frame.start_s = double(result.instants) / result.sample_rate;
        if (period.frames == 0) period.start_s = frame.start_s;
        frame.delays = session.Run(block);
        tracker.AddFrame(block, frame.delays);
        if (srp) srp->Process(block);
        result.padded_instants = EZOSSL_POINT_NUMBER - real;
        result.clipped_samples = source.ClippedSamples();
        result.nan_samples = source.NanSamples();
        result.overruns = source.Overruns();
        result.wrapped_samples = session.WrappedSamples();
        sink.OnFrame(frame, result);
        result.instants += real;
        progress.Update(result.instants);
        if (!settings.delays_only && ++period.frames == settings.frames_per_vote) {
            ClosePeriod(session, srp, tracker, period, result, sink, options.keep_periods);
        }
    }
    if (period.frames > 0 && !settings.delays_only) ClosePeriod(session, srp, tracker, period, result, sink, options.keep_periods);
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
    if (localization.nan_samples > 0) {
        notes.push_back(std::to_string(localization.nan_samples) +
                        " input samples were not numbers (NaN) and were read as 0; check the recording");
    }
    if (localization.wrapped_samples > 0) {
        notes.push_back("the gain pushed " + std::to_string(localization.wrapped_samples) +
                        " samples beyond 16 bits, which the library wraps around; lower --gain");
    }
    for (std::string& note : notes) note = "note: " + note;
    return notes;
}

}  // namespace ezossl_tool
