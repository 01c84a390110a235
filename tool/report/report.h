// Result rows for periods and frames, written as the loop completes them, and the summary after.
#pragma once

#include <string>
#include <vector>

#include "analysis/localizer.h"
#include "analysis/orientation.h"
#include "analysis/truth_track.h"
#include "report/result_table.h"

namespace ezossl_tool {

// One row per closed period: start_s, status, direction_deg (as reported; the SRP adds
// confidence and level_dbfs); held and raw_deg when held or smoothed; with a truth also
// truth_deg and error_deg; then, for the specified method, level_dbfs and the pairs' accepted
// shares; from a capture device also the overruns so far. Both methods: the SRP's columns
// follow with the prefix srp_.
class PeriodRows : public ResultSink {
  public:
    struct Extras {
        const Orientation* orientation = nullptr;   // required: the frame and angles reported in
        const TruthTrack* truth = nullptr;
        bool overruns = false;
        Method method = Method::kSpecified;
        SteadyingOptions steadying;
    };
    PeriodRows(OutputFormat format, const Extras& extras);
    void OnPeriod(const PeriodResult& period, const Localization& so_far) override;

  private:
    Extras extras_;
    RowWriter writer_;
};

// One row per frame: frame, start_s and the delay of each pair (empty when the library rejected
// the pair).
class FrameRows : public ResultSink {
  public:
    explicit FrameRows(OutputFormat format);
    void OnFrame(const FrameResult& frame, const Localization& so_far) override;

  private:
    RowWriter writer_;
};

// The summary follows the rows in a text table, but goes to standard error for CSV and JSON so
// that standard output stays machine-readable.
void WriteSummary(OutputFormat format, const std::vector<std::string>& summary);

}  // namespace ezossl_tool
