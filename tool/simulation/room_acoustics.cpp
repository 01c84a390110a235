// Image-source method (Allen and Berkley) for a rectangular room with uniform walls.
#include "simulation/room_acoustics.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "cli/errors.h"
#include "report/number_format.h"
#include "simulation/fractional_delay.h"

namespace ezossl_tool {
namespace {

// Sabine's constant, 24 ln(10) / c, in s/m at room temperature.
constexpr double kSabine = 0.161;

// Images along one axis: position and number of wall bounces, for mirror index n and parity p.
struct AxisImage {
    double position;
    int bounces;
};

std::vector<AxisImage> AxisImages(double source, double size, double microphone, double reach) {
    std::vector<AxisImage> images;
    const int most = static_cast<int>(std::ceil(reach / (2.0 * size))) + 1;
    for (int n = -most; n <= most; ++n) {
        for (int parity = 0; parity <= 1; ++parity) {
            const double position = (parity ? -source : source) + 2.0 * n * size;
            if (std::abs(position - microphone) > reach) continue;
            images.push_back({position, std::abs(n - parity) + std::abs(n)});
        }
    }
    return images;
}

}  // namespace

Point3 ParseRoomSize(const std::string& text) {
    Point3 size;
    char x1 = 0, x2 = 0, rest = 0;
    const int parsed = std::sscanf(text.c_str(), "%lf%c%lf%c%lf%c", &size.x, &x1, &size.y, &x2, &size.z, &rest);
    const bool valid = parsed == 5 && (x1 == 'x' || x1 == 'X') && (x2 == 'x' || x2 == 'X') && size.x > 0 &&
                       size.y > 0 && size.z > 0;
    if (!valid) throw UsageError("--room \"" + text + "\": give length, width and height in metres, e.g. --room 5x4x3");
    return size;
}

double WallReflection(const Room& room) {
    const Point3& s = room.size;
    const double volume = s.x * s.y * s.z;
    const double surface = 2.0 * (s.x * s.y + s.x * s.z + s.y * s.z);
    const double absorption = kSabine * volume / (surface * room.rt60_s);
    if (absorption >= 1.0) {
        throw UsageError("--rt60 " + FormatNumber(room.rt60_s) + " s is shorter than a " + FormatNumber(s.x) + "x" +
                         FormatNumber(s.y) + "x" + FormatNumber(s.z) + " m room can be; use at least " +
                         FormatFixed(kSabine * volume / surface + 0.005, 2) + " s or a larger room");
    }
    return std::sqrt(1.0 - absorption);
}

std::vector<double> RoomImpulseResponse(const Room& room, double reflection, Point3 source, Point3 microphone,
                                        const ResponseTiming& timing) {
    const double reach = timing.reference_distance + timing.speed_of_sound * room.rt60_s;
    const double samples_per_metre = timing.sample_rate / timing.speed_of_sound;
    std::vector<double> response(
        static_cast<size_t>(std::ceil((reach - timing.reference_distance) * samples_per_metre + timing.offset)) +
        kSincHalfWidth + 2);
    const auto xs = AxisImages(source.x, room.size.x, microphone.x, reach);
    const auto ys = AxisImages(source.y, room.size.y, microphone.y, reach);
    const auto zs = AxisImages(source.z, room.size.z, microphone.z, reach);
    for (const AxisImage& ix : xs) {
        for (const AxisImage& iy : ys) {
            for (const AxisImage& iz : zs) {
                const double distance = std::hypot(ix.position - microphone.x, iy.position - microphone.y,
                                                   iz.position - microphone.z);
                if (distance > reach) continue;
                const double gain = std::pow(reflection, ix.bounces + iy.bounces + iz.bounces) *
                                    timing.reference_distance / distance;
                const double delay = (distance - timing.reference_distance) * samples_per_metre + timing.offset;
                AddFractionalImpulse(response, delay, gain);
            }
        }
    }
    return response;
}

}  // namespace ezossl_tool
