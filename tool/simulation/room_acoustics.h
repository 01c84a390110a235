// Shoebox-room impulse responses by the image-source method.
#pragma once

#include <string>
#include <vector>

namespace ezossl_tool {

struct Point3 {
    double x = 0.0, y = 0.0, z = 0.0;
};

struct Room {
    Point3 size{5.0, 4.0, 3.0};   // metres; walls at 0 and size on each axis
    double rt60_s = 0.3;
};

// Parses --room "LxWxH" in metres; throws UsageError.
Point3 ParseRoomSize(const std::string& text);

// The one reflection coefficient for all six walls that gives the room its RT60 (Sabine);
// throws UsageError when the room is too small or absorbent for that RT60.
double WallReflection(const Room& room);

struct ResponseTiming {
    double speed_of_sound = 346.0;   // m/s
    double sample_rate = 16000.0;
    double reference_distance = 1.0; // m: this path length arrives at `offset` with gain 1
    double offset = 0.0;             // samples
};

// Direct sound and every image source that arrives within the RT60, each placed as a
// band-limited impulse at its fractional delay, with gain (reflection^bounces / distance)
// relative to the reference distance.
std::vector<double> RoomImpulseResponse(const Room& room, double reflection, Point3 source, Point3 microphone,
                                        const ResponseTiming& timing);

}  // namespace ezossl_tool
