// The library's angle convention: degrees counter-clockwise from +y, reported in [-90, 270).
#pragma once

namespace ezossl_tool {

struct Vec2 {
    double x = 0.0;
    double y = 0.0;
};

inline double Dot(Vec2 a, Vec2 b) { return a.x * b.x + a.y * b.y; }

constexpr double kPi = 3.14159265358979323846;
constexpr double kFullTurn = 360.0;
// Range of the directions a planar array reports; a linear one reports [-90, 90].
constexpr double kPlanarLowest = -90.0;
constexpr double kPlanarHighest = 270.0;
constexpr double kLinearHighest = 90.0;

// Unit vector from the array centre toward a far source at this library angle.
Vec2 DirectionOf(double azimuth_deg);
// The same angle expressed in [-90, 270).
double WrapAzimuth(double azimuth_deg);
// The same angle expressed in [0, 360), as compass bearings are.
double WrapBearing(double bearing_deg);
// A linear array cannot tell front from back: theta and 180 - theta look the same. This gives
// the one it reports, in [-90, 90].
double FoldFrontBack(double azimuth_deg);
// Signed difference estimate - truth, in (-180, 180].
double CircularDifference(double estimate_deg, double truth_deg);

}  // namespace ezossl_tool
