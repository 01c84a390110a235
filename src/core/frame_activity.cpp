// Frame energy of the current analysis frame, the measure behind the level test.
#include "frame_activity.h"

namespace ezossl {

void FrameEnergy_Update(const Frames& frames, Activity& activity) {
    float energy = 0.0f;
    for (int t = 0; t < kFrameLength; t += 4) {
        energy = FrameEnergy_AddFour(energy, Load(frames.frame_buffer[0] + t), Load(frames.frame_buffer[1] + t));
    }
    FrameEnergy_Record(energy, activity);
}

void FrameEnergy_Record(float energy, Activity& activity) {
    activity.frame_energy = energy;
    activity.energy_sum += energy;
}

}  // namespace ezossl
