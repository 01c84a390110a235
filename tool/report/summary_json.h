// The summary of a localisation as one JSON document, for scripts.
#pragma once

#include <string>

#include "analysis/localizer.h"
#include "analysis/orientation.h"
#include "analysis/truth_track.h"

namespace ezossl_tool {

// periods, period_s, with_direction, held, statuses, mean_level_dbfs, accuracy (null without a
// truth) and notes, as an indented document.
std::string SummaryJson(const Localization& localization, const TruthTrack* truth, const Orientation& orientation);

}  // namespace ezossl_tool
