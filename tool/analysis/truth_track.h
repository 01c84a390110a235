// The ground-truth azimuth over time, as simulate writes it and locate reads it.
#pragma once

#include <string>
#include <vector>

namespace ezossl_tool {

struct TruthPoint {
    double time_s = 0.0;
    double azimuth_deg = 0.0;
};

// Rows of a CSV file "time_s,azimuth_deg"; each azimuth holds from its time to the next row.
struct TruthTrack {
    std::vector<TruthPoint> points;

    double AzimuthAt(double time_s) const;
    std::string ToCsv() const;
};

// Reads and checks a truth CSV; throws RunError naming the file and line at fault.
TruthTrack ReadTruthTrack(const std::string& path);
// The same for the file's text; path only names it in messages.
TruthTrack ParseTruthCsv(const std::string& text, const std::string& path);

}  // namespace ezossl_tool
