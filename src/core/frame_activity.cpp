// Zero-crossing rate and frame energy of the current analysis frame.
#include "frame_activity.h"

namespace ezossl {

int32_t ZeroCrossingRate(const float* x, int n, float* out) {
    int count = 0;
    for (int i = 0; i + 1 < n; ++i) {
        if ((x[i] > 0.0f && x[i + 1] < 0.0f) || (x[i] < 0.0f && x[i + 1] > 0.0f)) ++count;
    }
    // Divided by n, not by the n - 1 neighbour pairs examined.
    *out = static_cast<float>(count) / static_cast<float>(n);
    return 0;
}

void FrameEnergy_Update(const Frames& frames, Activity& activity) {
    const float* left = frames.frame_buffer[0];
    const float* right = frames.frame_buffer[1];
    float energy = 0.0f;
    for (int i = 0; i < kFrameLength; ++i) energy += (left[i] * left[i] + right[i] * right[i]) / 2.0f;
    activity.frame_energy = energy;
    activity.energy_sum += energy;
}

}  // namespace ezossl
