// Turning a localisation into result rows, and where rows and summary are written.
#pragma once

#include <string>
#include <vector>

#include "analysis/localizer.h"
#include "analysis/truth_track.h"
#include "report/result_table.h"

namespace ezossl_tool {

// start_s, status, direction_deg (the SRP adds confidence and level_dbfs); with a truth also
// truth_deg and error_deg. Both methods: the SRP's columns follow with the prefix srp_.
ResultTable PeriodTable(const Localization& localization, const TruthTrack* truth, bool linear);

// frame, start_s and the delay of each pair (empty when the library rejected the pair).
ResultTable FrameTable(const Localization& localization);

// Rows on the tool's standard output; the summary follows them in a text table, but goes to
// standard error for CSV and JSON so that standard output stays machine-readable.
void WriteReport(OutputFormat format, const ResultTable& table, const std::vector<std::string>& summary);

}  // namespace ezossl_tool
