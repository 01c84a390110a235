// Where the simulated source is over time: fixed, sweeping, or jumping along a list.
#pragma once

#include <string>
#include <vector>

#include "analysis/truth_track.h"

namespace ezossl_tool {

class Trajectory {
  public:
    static Trajectory Fixed(double azimuth_deg);
    // From one azimuth to another at constant speed over the whole scene.
    static Trajectory Sweep(double from_deg, double to_deg);
    // Each azimuth holds from its time until the next one's.
    static Trajectory Path(std::vector<TruthPoint> points);

    // The azimuth at a time within a scene of the given duration (not wrapped).
    double AzimuthAt(double time_s, double duration_s) const;

  private:
    enum class Kind { kFixed, kSweep, kPath };
    Kind kind_ = Kind::kFixed;
    double from_deg_ = 0.0, to_deg_ = 0.0;
    TruthTrack path_;
};

// Refuses an azimuth that is not finite or beyond ten turns; option names it in the message.
void RequireAzimuth(const std::string& option, double azimuth_deg);
// --sweep "FROM:TO" in degrees; throws UsageError.
Trajectory ParseSweep(const std::string& text);
// --path "T:AZ,T:AZ,..." with times in seconds, increasing; throws UsageError.
Trajectory ParsePath(const std::string& text);

}  // namespace ezossl_tool
