// Renumbering and turning an array for the library, and carrying its directions back.
#include "analysis/orientation.h"

#include <algorithm>
#include <cmath>

#include "cli/errors.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

constexpr double kDegreesPerRadian = 180.0 / kPi;
constexpr double kCompassTickDeg = 45.0, kPlanarTickDeg = 45.0, kLinearTickDeg = 30.0;

bool AllOnOneRow(const MicPositions& p) {
    return std::all_of(p.begin(), p.end(), [&](const Vec2& q) { return q.y == p[0].y; });
}

// The line's axis, pointing toward +x (or +y when it is vertical), from its outermost pair.
Vec2 LineAxis(const MicPositions& p, int& origin) {
    double widest = -1.0;
    Vec2 axis;
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) {
        for (int j = i + 1; j < EZOSSL_MIC_NUM; ++j) {
            const double length = std::hypot(p[j].x - p[i].x, p[j].y - p[i].y);
            if (length > widest) {
                widest = length;
                origin = i;
                axis = {(p[j].x - p[i].x) / length, (p[j].y - p[i].y) / length};
            }
        }
    }
    if (axis.x < 0.0 || (axis.x == 0.0 && axis.y < 0.0)) axis = {-axis.x, -axis.y};
    return axis;
}

}  // namespace

AngleConvention ParseAngleConvention(const std::string& text) {
    if (text == "library") return AngleConvention::kLibrary;
    if (text == "compass") return AngleConvention::kCompass;
    throw UsageError("--angles " + text + " is not known; choose library (counter-clockwise from +y, -90 to 269) "
                     "or compass (clockwise from the front, 0 to 359)");
}

Orientation::Orientation(const ArrayDescription& user_array, double rotate_deg, AngleConvention angles)
    : library_array_(user_array), rotate_deg_(rotate_deg), angles_(angles), linear_(IsLinear(user_array)) {
    if (!std::isfinite(rotate_deg)) throw UsageError("--rotate must be a number of degrees, e.g. --rotate 90");
    if (user_array.kind != ArrayKind::kArbitrary) return;   // uniform arrays are numbered by construction
    MicPositions positions = user_array.positions_cm;
    // The library solves a line only along x: the line is laid onto x, each microphone at its
    // distance along the line, so that the library sees it exactly collinear.
    if (linear_ && !AllOnOneRow(positions)) {
        int origin = 0;
        const Vec2 axis = LineAxis(positions, origin);
        turn_deg_ = -std::atan2(axis.y, axis.x) * kDegreesPerRadian;
        const Vec2 start = positions[origin];
        for (Vec2& p : positions) p = {Dot({p.x - start.x, p.y - start.y}, axis), 0.0};
    }
    // A pair whose second microphone lies left of microphone 0 gets a negative delay bound in
    // the library, which then rejects almost every frame: the leftmost microphone goes first.
    int leftmost = 0;
    for (int i = 1; i < EZOSSL_MIC_NUM; ++i) {
        if (positions[i].x < positions[leftmost].x) leftmost = i;
    }
    int next = 0;
    order_[next++] = leftmost;
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) {
        if (i != leftmost) order_[next++] = i;
    }
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) library_array_.positions_cm[i] = positions[order_[i]];
}

bool Orientation::Renumbered() const { return order_ != MicOrder{0, 1, 2, 3}; }

double Orientation::FromUserFrame(double user_deg) const {
    return angles_ == AngleConvention::kCompass ? WrapBearing(rotate_deg_ - user_deg)
                                                : WrapAzimuth(user_deg + rotate_deg_);
}

int32_t Orientation::Report(int32_t library_deg) const {
    const double rounded = std::round(FromUserFrame(library_deg - turn_deg_));
    // Rounding may reach the upper end of the range, which is the lower end once more.
    return static_cast<int32_t>(angles_ == AngleConvention::kCompass ? WrapBearing(rounded) : WrapAzimuth(rounded));
}

double Orientation::ReportExact(double library_deg) const { return FromUserFrame(library_deg - turn_deg_); }

double Orientation::ReportTruth(double azimuth_deg) const {
    if (!linear_) return FromUserFrame(azimuth_deg);
    return FromUserFrame(FoldFrontBack(azimuth_deg + turn_deg_) - turn_deg_);
}

double Orientation::ArrayAzimuth(double reported_deg) const {
    return WrapAzimuth(angles_ == AngleConvention::kCompass ? rotate_deg_ - reported_deg : reported_deg - rotate_deg_);
}

AngleAxis Orientation::Axis() const {
    if (angles_ == AngleConvention::kCompass) return {0.0, kFullTurn, kCompassTickDeg};
    if (linear_ && turn_deg_ == 0.0 && rotate_deg_ == 0.0) return {kPlanarLowest, kLinearHighest, kLinearTickDeg};
    return {kPlanarLowest, kPlanarHighest, kPlanarTickDeg};
}

std::string Orientation::RenumberingNote() const {
    std::string note;
    if (Renumbered()) {
        note = "the library needs its microphone 0 leftmost, so your microphones";
        for (int i = 0; i < EZOSSL_MIC_NUM; ++i) note += (i ? ", " : " ") + std::to_string(order_[i]);
        note += " are its 0, 1, 2, 3";
    }
    if (turn_deg_ != 0.0) {
        note += std::string(note.empty() ? "the library solves a line only along x, so" : ", and") +
                " the line is turned by " + FormatNumber(turn_deg_) + " deg for it";
    }
    return note.empty() ? note : "note: " + note;
}

}  // namespace ezossl_tool
