// Uniform linear and circular arrays built from the spacing or diameter given to Init.
#include <cmath>

#include "delay_tables.h"
#include "geometry.h"
#include "ssl_constants.h"

namespace ezossl {
namespace {

// Microphone 0 at the most negative x, centred on the origin: factors -1.5, -0.5, 0.5, 1.5.
void PlaceLinear(float mic_distance, Geometry& geometry) {
    float factor = -1.5f;
    for (Point2& mic : geometry.mic_position) {
        mic = Point2{mic_distance * factor, 0.0f};
        factor += 1.0f;
    }
}

// Clockwise from the negative x axis: angles pi, pi/2, 0, -pi/2. With the truncated pi the
// ideally zero coordinates come out tiny but non-zero; they are kept as computed.
void PlaceCircular(float mic_distance, Geometry& geometry) {
    const auto radius = static_cast<double>(mic_distance * 0.5f);
    float factor = 1.0f;
    for (Point2& mic : geometry.mic_position) {
        const double angle = static_cast<double>(factor) * kSslPi;
        mic = Point2{static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle))};
        factor -= 0.5f;
    }
}

// Pair p's axis lies at (1/2 - p/4) pi; candidate k is k pi/8 further round.
void SetCircularCandidates(PairTables tables) {
    for (int p = 1; p <= kPairNum; ++p) {
        for (int k = 0; k < kCandidateNum; ++k) {
            const float fraction = (static_cast<float>(k) / 8.0f + 0.5f) - static_cast<float>(p) / 4.0f;
            const auto theta = static_cast<float>(static_cast<double>(fraction) * kSslPi);
            tables.candidate_delay[p - 1][k] = CandidateDelayAt(tables.max_delay[p - 1], theta);
        }
    }
}

}  // namespace

void Geometry_BuildUniform(const Settings& settings, float speed_of_sound, Geometry& geometry, PairTables tables) {
    const bool linear = geometry.array_geometry == 0;
    if (linear) {
        PlaceLinear(settings.mic_distance, geometry);
    } else {
        PlaceCircular(settings.mic_distance, geometry);
    }
    Geometry_SetPairs(settings, speed_of_sound, geometry, tables.max_delay);
    // A linear array keeps the candidate table it had (Init's default, or an earlier shape's).
    if (!linear) SetCircularCandidates(tables);
}

}  // namespace ezossl
