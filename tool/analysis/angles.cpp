// Conversions between library angles, direction vectors and angle differences.
#include "analysis/angles.h"

#include <cmath>

namespace ezossl_tool {

Vec2 DirectionOf(double azimuth_deg) {
    const double radians = azimuth_deg * kPi / 180.0;
    return {-std::sin(radians), std::cos(radians)};
}

double WrapAzimuth(double azimuth_deg) {
    double wrapped = std::fmod(azimuth_deg - kPlanarLowest, kFullTurn);
    if (wrapped < 0.0) wrapped += kFullTurn;
    return wrapped + kPlanarLowest;
}

double WrapBearing(double bearing_deg) {
    const double wrapped = std::fmod(bearing_deg, kFullTurn);
    return wrapped < 0.0 ? wrapped + kFullTurn : wrapped;
}

double FoldFrontBack(double azimuth_deg) {
    const double wrapped = WrapAzimuth(azimuth_deg);
    return wrapped > kLinearHighest ? 180.0 - wrapped : wrapped;
}

double CircularDifference(double estimate_deg, double truth_deg) {
    double difference = std::fmod(estimate_deg - truth_deg, kFullTurn);
    if (difference > 180.0) difference -= kFullTurn;
    if (difference <= -180.0) difference += kFullTurn;
    return difference;
}

}  // namespace ezossl_tool
