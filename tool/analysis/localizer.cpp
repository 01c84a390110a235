// The voting-period loop: Run for each block, and at each period's end Get_Direction and Reset_Mapping.
#include "analysis/localizer.h"

#include "cli/errors.h"
#include "io/progress.h"
#include "report/number_format.h"

namespace ezossl_tool {

Method ParseMethod(const std::string& text) {
    if (text == "specified") return Method::kSpecified;
    if (text == "srp") return Method::kSrp;
    if (text == "both") return Method::kBoth;
    throw UsageError("--method must be specified, srp or both, got \"" + text + "\"");
}

double PeriodResult::MiddleSeconds(uint32_t sample_rate) const {
    return start_s + 0.5 * frames * EZOSSL_POINT_NUMBER / sample_rate;
}

double Localization::PeriodSeconds() const { return double(frames_per_vote) * EZOSSL_POINT_NUMBER / sample_rate; }

double Localization::DurationSeconds() const { return double(frames.size()) * EZOSSL_POINT_NUMBER / sample_rate; }

// The specified library always runs: it applies the gain and checks the settings; the SRP
// library runs beside it on the same (gained) blocks when the method asks for it.
Localization Localize(BlockSource& source, const LibrarySettings& settings, const std::string& progress_label,
                      Method method) {
    SslSession session(settings);
    std::optional<SrpSession> srp;
    if (RunsSrp(method)) srp.emplace(settings);
    Progress progress(progress_label, source.TotalInstants(), source.SampleRate());
    Localization result;
    result.sample_rate = source.SampleRate();
    result.frames_per_vote = settings.frames_per_vote;
    result.method = method;

    Block block;
    int64_t done = 0;
    PeriodResult period;
    for (int real = source.NextBlock(block); real > 0; real = source.NextBlock(block)) {
        const double start_s = double(done) / result.sample_rate;
        if (period.frames == 0) period.start_s = start_s;
        result.frames.push_back({start_s, session.Run(block)});
        if (srp) srp->Process(block);
        result.padded_instants = EZOSSL_POINT_NUMBER - real;
        done += real;
        progress.Update(done);
        if (!settings.delays_only && ++period.frames == settings.frames_per_vote) {
            period.direction = session.CloseVotingPeriod();
            if (srp) period.srp = srp->ClosePeriod();
            result.periods.push_back(period);
            period.frames = 0;
        }
    }
    // A last, shorter period still gets its vote; the notes say how short it was.
    if (period.frames > 0) {
        period.direction = session.CloseVotingPeriod();
        if (srp) period.srp = srp->ClosePeriod();
        result.periods.push_back(period);
    }
    result.clipped_samples = source.ClippedSamples();
    result.nan_samples = source.NanSamples();
    result.wrapped_samples = session.WrappedSamples();
    return result;
}

std::vector<std::string> InputNotes(const Localization& localization) {
    std::vector<std::string> notes;
    if (localization.padded_instants > 0) {
        notes.push_back("the last block was completed with " + std::to_string(localization.padded_instants) +
                        " zero samples per channel");
    }
    if (!localization.periods.empty() && localization.periods.back().frames < localization.frames_per_vote) {
        const PeriodResult& last = localization.periods.back();
        notes.push_back("the last period (from " + FormatFixed(last.start_s, 3) + " s) has only " +
                        std::to_string(last.frames) + " of " + std::to_string(localization.frames_per_vote) +
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
