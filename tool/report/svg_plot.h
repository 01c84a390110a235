// The direction-over-time plot: library directions per period, with the truth when known.
#pragma once

#include <string>

#include "analysis/localizer.h"
#include "analysis/orientation.h"
#include "analysis/truth_track.h"

namespace ezossl_tool {

struct DirectionPlot {
    std::string title;
    const Orientation* orientation = nullptr;  // the angles reported, and the axis they need
    const Localization* localization = nullptr;
    const TruthTrack* truth = nullptr;         // optional
};

// A self-contained SVG document: directions over time (held ones hollow), below the angle axis a
// band with one mark per status for the periods without a direction, and under it the level.
std::string RenderDirectionPlot(const DirectionPlot& plot);

}  // namespace ezossl_tool
