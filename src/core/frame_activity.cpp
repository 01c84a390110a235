// Frame energy of the current analysis frame, the measure behind the level test.
#include "frame_activity.h"

namespace ezossl {

void FrameEnergy_Update(const Frames& frames, Activity& activity) {
    const float* left = frames.frame_buffer[0];
    const float* right = frames.frame_buffer[1];
    float energy = 0.0f;
    for (int i = 0; i < kFrameLength; ++i) energy += (left[i] * left[i] + right[i] * right[i]) / 2.0f;
    activity.frame_energy = energy;
    activity.energy_sum += energy;
}

}  // namespace ezossl
