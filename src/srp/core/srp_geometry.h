// Array geometry for the SRP: pair vectors, line detection, delay lags and steering tables.
#pragma once

#include <cstdint>

#include "srp_state.h"

namespace ezossl::srp {

struct ArrayLayout {
    double pair[kPairs][2];  // second microphone minus first, metres
    double axis[2];          // unit vector along the line of a collinear array
    bool collinear;
};

// Pair vectors and line detection; EZOSSL_SRP_RET_INVALID_POSITIONS or _COINCIDENT_MICS when
// the positions cannot be used.
uint32_t Layout_FromPositions(const float mic_pos_cm[8], ArrayLayout* layout);

// Lays out the per-pair correlations and fills the steering table of state->grid_points
// directions; state->sample_rate and the band must be set. EZOSSL_SRP_RET_ARRAY_TOO_SMALL or
// _ARRAY_TOO_LARGE when the delays do not suit the rate or the buffer.
uint32_t Steering_Build(SrpState* state, const ArrayLayout& layout, double speed_of_sound);

// The reported direction of grid position `grid` (fractional after peak refinement).
float Steering_GridToDegrees(const SrpState& state, double grid);

}  // namespace ezossl::srp
