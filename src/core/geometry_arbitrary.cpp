// Arbitrary planar arrays: four free positions, centred, in metres, classified linear or planar.
#include <cmath>

#include "delay_tables.h"
#include "geometry.h"
#include "ssl_constants.h"

namespace ezossl {
namespace {

// Positions relative to the centroid, in metres. Each term is divided by 4 before it is added.
void PlaceCentred(const float* array_pos, Geometry& geometry) {
    float mean_value[2] = {0.0f, 0.0f};
    for (int j = 0; j < 2; ++j) {
        for (uint32_t i = 0; i < kMicNum; ++i) mean_value[j] += array_pos[2 * i + j] / 4.0f;
    }
    for (uint32_t i = 0; i < kMicNum; ++i) {
        geometry.mic_position[i] = Point2{(array_pos[2 * i] - mean_value[0]) / kCentimetresPerMetre,
                                         (array_pos[2 * i + 1] - mean_value[1]) / kCentimetresPerMetre};
    }
}

// Angle of a pair's axis, folded into (-pi/2, pi/2]: a vertical pair is pi/2 whichever way it
// points, a horizontal one exactly 0.
float PairSlope(const Point2& relative) {
    if (relative.x == 0.0f) return kHalfPiFloat;
    if (relative.y == 0.0f) return 0.0f;
    return static_cast<float>(std::atan(static_cast<double>(relative.y / relative.x)));
}

}  // namespace

void Geometry_BuildArbitrary(const float* array_pos, const Settings& settings, float speed_of_sound,
                             Geometry& geometry, PairTables tables) {
    PlaceCentred(array_pos, geometry);
    Geometry_SetPairs(settings, speed_of_sound, geometry, tables.max_delay);

    // The slope only covers half a turn; the bound's sign carries the other half, so that
    // max_delay * cos(slope + alpha) follows the pair's true axis.
    float slope[kPairNum];
    for (int q = 0; q < kPairNum; ++q) {
        if (geometry.relative_array_pos[q].x < 0.0f) tables.max_delay[q] = -tables.max_delay[q];
        slope[q] = PairSlope(geometry.relative_array_pos[q]);
    }

    // Parallel axes, compared exactly: rounding alone can make a nearly linear array planar.
    const bool linear = slope[1] == slope[0] && slope[2] == slope[0];
    geometry.array_geometry = linear ? 0 : 1;

    // Written for linear arrays too.
    for (int q = 0; q < kPairNum; ++q) {
        for (int k = 0; k < kCandidateNum; ++k) {
            const double turn = static_cast<double>(static_cast<float>(k)) * kSslPi / 8.0;
            const auto theta = static_cast<float>(static_cast<double>(slope[q]) + turn);
            tables.candidate_delay[q][k] = CandidateDelayAt(tables.max_delay[q], theta);
        }
    }
}

}  // namespace ezossl
