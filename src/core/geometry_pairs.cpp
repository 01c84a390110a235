// Pair vectors and delay bounds, shared by the uniform and the arbitrary geometry.
#include <cmath>

#include "delay_tables.h"
#include "geometry.h"

namespace ezossl {

void Geometry_SetPairs(const Settings& settings, float speed_of_sound, Geometry& geometry, int32_t* max_delay) {
    const auto fs = static_cast<float>(settings.sample_rate);
    const Point2& reference = geometry.mic_position[0];
    for (int q = 0; q < kPairNum; ++q) {
        const Point2& mic = geometry.mic_position[q + 1];
        const float dx = mic.x - reference.x;
        const float dy = mic.y - reference.y;
        geometry.relative_array_pos[q] = Point2{dx, dy};

        const float squared = dx * dx + dy * dy;
        const auto distance = static_cast<float>(std::sqrt(static_cast<double>(squared)));
        // Divided before multiplied: the rounding of the bound depends on it.
        max_delay[q] = DelayBound(distance / speed_of_sound * fs);
    }
}

}  // namespace ezossl
