// Truth CSV reading, writing and lookup.
#include "analysis/truth_track.h"

#include <algorithm>
#include <cstdlib>
#include <cmath>
#include <fstream>
#include <sstream>

#include "cli/errors.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

constexpr const char* kHeader = "time_s,azimuth_deg";
// A truth CSV has a row per change of position: far below this even for a day of sweeps.
constexpr size_t kMaxTruthBytes = 16u << 20;

bool ParseRow(const std::string& line, TruthPoint& point) {
    const size_t comma = line.find(',');
    if (comma == std::string::npos) return false;
    const std::string time = line.substr(0, comma), azimuth = line.substr(comma + 1);
    char* end_time = nullptr;
    char* end_azimuth = nullptr;
    point.time_s = std::strtod(time.c_str(), &end_time);
    point.azimuth_deg = std::strtod(azimuth.c_str(), &end_azimuth);
    return !time.empty() && !azimuth.empty() && *end_time == '\0' && (*end_azimuth == '\0' || *end_azimuth == '\r');
}

}  // namespace

double TruthTrack::AzimuthAt(double time_s) const {
    const auto after = std::upper_bound(points.begin(), points.end(), time_s,
                                        [](double t, const TruthPoint& p) { return t < p.time_s; });
    return after == points.begin() ? points.front().azimuth_deg : std::prev(after)->azimuth_deg;
}

std::string TruthTrack::ToCsv() const {
    std::string text = std::string(kHeader) + "\n";
    for (const TruthPoint& p : points) text += FormatFixed(p.time_s, 3) + "," + FormatFixed(p.azimuth_deg, 2) + "\n";
    return text;
}

TruthTrack ReadTruthTrack(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw RunError("cannot open the truth file \"" + path + "\" (check the path)");
    // Read with a bound: the path may name something endless, such as a device.
    std::string text(kMaxTruthBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    if (text.size() > kMaxTruthBytes) {
        throw RunError("the truth file \"" + path + "\" is larger than 16 MB, too large for a truth CSV (check the path)");
    }
    return ParseTruthCsv(text, path);
}

TruthTrack ParseTruthCsv(const std::string& text, const std::string& path) {
    std::istringstream stream(text);
    TruthTrack track;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        if (number == 1 && line.rfind(kHeader, 0) == 0) continue;
        if (line.empty() || line == "\r") continue;
        TruthPoint point;
        if (!ParseRow(line, point)) {
            throw RunError(path + " line " + std::to_string(number) + ": expected \"" + kHeader +
                           "\" numbers, as ezossl simulate writes them");
        }
        if (!std::isfinite(point.time_s) || !std::isfinite(point.azimuth_deg)) {
            if (line.back() == '\r') line.pop_back();
            throw RunError(path + " line " + std::to_string(number) + ": \"" + line +
                           "\" is not a finite time and azimuth; give numbers as ezossl simulate writes them");
        }
        if (!track.points.empty() && point.time_s <= track.points.back().time_s) {
            throw RunError(path + " line " + std::to_string(number) + ": times must increase from row to row");
        }
        track.points.push_back(point);
    }
    if (track.points.empty()) throw RunError("the truth file \"" + path + "\" has no rows");
    return track;
}

}  // namespace ezossl_tool
