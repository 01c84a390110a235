// The direction-over-time plot: library directions per period, with the truth when known.
#pragma once

#include <string>

#include "analysis/localizer.h"
#include "analysis/truth_track.h"

namespace ezossl_tool {

struct DirectionPlot {
    std::string title;
    bool linear = false;                       // y range -90..90 instead of -90..270
    const Localization* localization = nullptr;
    const TruthTrack* truth = nullptr;         // optional
};

// A self-contained SVG document.
std::string RenderDirectionPlot(const DirectionPlot& plot);

}  // namespace ezossl_tool
