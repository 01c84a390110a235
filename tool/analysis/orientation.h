// How the user's array meets the library: renumbered microphones, a turned frame, and the
// angles the user asked for (library or compass, turned by the mounting).
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "analysis/array_geometry.h"

namespace ezossl_tool {

enum class AngleConvention { kLibrary, kCompass };

// Parses --angles (library or compass); throws UsageError.
AngleConvention ParseAngleConvention(const std::string& text);

// Library microphone i listens to the user's microphone order[i].
using MicOrder = std::array<int, EZOSSL_MIC_NUM>;

// The span a plot's angle axis covers, and its grid step.
struct AngleAxis {
    double lowest = 0.0, highest = 0.0, tick = 0.0;
};

class Orientation {
  public:
    // rotate_deg: the array is mounted turned by this much, counter-clockwise in library angles
    // and clockwise in compass angles; throws UsageError when it is not a finite number.
    Orientation(const ArrayDescription& user_array, double rotate_deg = 0.0,
                AngleConvention angles = AngleConvention::kLibrary);

    // What the library is given: microphone 0 leftmost, a line along x.
    const ArrayDescription& LibraryArray() const { return library_array_; }
    const MicOrder& Order() const { return order_; }
    bool Renumbered() const;
    bool Linear() const { return linear_; }
    AngleConvention Angles() const { return angles_; }

    // A direction of the library (its frame, whole degrees) as reported: in the user's frame,
    // turned by the mounting, in the chosen angles, rounded to whole degrees.
    int32_t Report(int32_t library_deg) const;
    // The same for a direction in fractions of a degree (the SRP library's), not rounded.
    double ReportExact(double library_deg) const;
    // An azimuth in the array's own library angles (as simulate writes the truth) in the
    // reported angles; for a line first folded onto the side it reports.
    double ReportTruth(double azimuth_deg) const;
    // The reverse of ReportTruth without the fold: reported angles to the array's library angles.
    double ArrayAzimuth(double reported_deg) const;
    AngleAxis Axis() const;
    // "note: the library needs its microphone 0 leftmost, so ..." or empty when the library
    // takes the array as given.
    std::string RenumberingNote() const;

  private:
    double FromUserFrame(double user_deg) const;

    ArrayDescription library_array_;
    MicOrder order_{0, 1, 2, 3};
    double turn_deg_ = 0.0;     // library frame = user frame turned counter-clockwise by this
    double rotate_deg_ = 0.0;
    AngleConvention angles_ = AngleConvention::kLibrary;
    bool linear_ = false;
};

}  // namespace ezossl_tool
