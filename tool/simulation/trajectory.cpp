// Source trajectories and their option syntax.
#include "simulation/trajectory.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

#include "cli/errors.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

// "A:B" as two numbers; false when malformed.
bool ParsePair(const std::string& text, double& first, double& second) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos) return false;
    const std::string a = text.substr(0, colon), b = text.substr(colon + 1);
    char* end_a = nullptr;
    char* end_b = nullptr;
    first = std::strtod(a.c_str(), &end_a);
    second = std::strtod(b.c_str(), &end_b);
    return !a.empty() && !b.empty() && *end_a == '\0' && *end_b == '\0';
}

// Ten turns either way: room for multi-turn sweeps, and far from where angles lose precision.
constexpr double kMaxAzimuthDeg = 3600.0;

}  // namespace

void RequireAzimuth(const std::string& option, double azimuth_deg) {
    if (!std::isfinite(azimuth_deg) || std::abs(azimuth_deg) > kMaxAzimuthDeg) {
        throw UsageError(option + ": azimuths must be finite numbers of degrees between -3600 and 3600, got " +
                         FormatNumber(azimuth_deg));
    }
}

Trajectory Trajectory::Fixed(double azimuth_deg) { return Sweep(azimuth_deg, azimuth_deg); }

Trajectory Trajectory::Sweep(double from_deg, double to_deg) {
    Trajectory trajectory;
    trajectory.kind_ = from_deg == to_deg ? Kind::kFixed : Kind::kSweep;
    trajectory.from_deg_ = from_deg;
    trajectory.to_deg_ = to_deg;
    return trajectory;
}

Trajectory Trajectory::Path(std::vector<TruthPoint> points) {
    Trajectory trajectory;
    trajectory.kind_ = Kind::kPath;
    trajectory.path_.points = std::move(points);
    return trajectory;
}

double Trajectory::AzimuthAt(double time_s, double duration_s) const {
    switch (kind_) {
        case Kind::kFixed:
            return from_deg_;
        case Kind::kSweep:
            return from_deg_ + (to_deg_ - from_deg_) * (duration_s > 0 ? time_s / duration_s : 0.0);
        case Kind::kPath:
            break;
    }
    return path_.AzimuthAt(time_s);
}

Trajectory ParseSweep(const std::string& text) {
    double from = 0.0, to = 0.0;
    if (!ParsePair(text, from, to)) {
        throw UsageError("--sweep \"" + text + "\": give start and end azimuths in degrees, e.g. --sweep -90:270");
    }
    RequireAzimuth("--sweep \"" + text + "\"", from);
    RequireAzimuth("--sweep \"" + text + "\"", to);
    return Trajectory::Sweep(from, to);
}

Trajectory ParsePath(const std::string& text) {
    std::vector<TruthPoint> points;
    std::istringstream stream(text);
    std::string item;
    while (std::getline(stream, item, ',')) {
        TruthPoint point;
        if (!ParsePair(item, point.time_s, point.azimuth_deg) || !(point.time_s >= 0) || !std::isfinite(point.time_s)) {
            throw UsageError("--path \"" + text + "\": give time:azimuth pairs (seconds:degrees), e.g. --path 0:0,2:90,4:180");
        }
        RequireAzimuth("--path \"" + text + "\"", point.azimuth_deg);
        if (!points.empty() && point.time_s <= points.back().time_s) {
            throw UsageError("--path \"" + text + "\": times must increase from pair to pair");
        }
        points.push_back(point);
    }
    if (points.empty()) throw UsageError("--path needs at least one time:azimuth pair, e.g. --path 0:0,2:90");
    return Trajectory::Path(std::move(points));
}

}  // namespace ezossl_tool
