// Per-frame activity measure: the energy behind the level test.
#pragma once

#include <cstdint>

#include "../common/simd4.h"
#include "ssl_handle.h"

namespace ezossl {

// frame_energy = sum over the 256-sample frame of the mean square of channels 0 and 1;
// energy_sum accumulates it over the voting period.
void FrameEnergy_Update(const Frames& frames, Activity& activity);

// The same in steps, for a pass that reads the frame's samples anyway: the running sum over
// samples t..t + 3 of channels 0 and 1 (left, right), added in sample order from t = 0 on, then
// the frame's total recorded.
inline float FrameEnergy_AddFour(float energy, F4 left, F4 right) {
    const F4 term = (left * left + right * right) / 2.0f;
    return (((energy + term[0]) + term[1]) + term[2]) + term[3];
}
void FrameEnergy_Record(float energy, Activity& activity);

}  // namespace ezossl
