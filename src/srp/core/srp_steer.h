// Steering the period's cross-spectra over the direction grid: power, peak and confidence.
#pragma once

#include "srp_state.h"

namespace ezossl::srp {

struct SteeredPeak {
    float direction_deg;
    float confidence;  // normalised steered power at the peak, 0..1
};

// Correlates each pair on its lag grid, sums the pairs' correlations at every direction of
// the steering table, and refines the strongest direction with a parabola.
SteeredPeak Steer_FindPeak(SrpState* state);

}  // namespace ezossl::srp
