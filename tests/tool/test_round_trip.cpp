// simulate -> locate: directions of synthesised scenes must come back within what the array resolves.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

constexpr double kFramesPerVote = 32, kBlock = 128;
constexpr double kTruncation = 1.0;            // the library truncates directions to whole degrees

double Degrees(double radians) { return radians * 180.0 / kPi; }

double CircularError(double estimate, double truth) { return std::remainder(estimate - truth, 360.0); }

// The library measures whole-sample lags and refines them, so a correct implementation is off
// by less than half a sample on each pair. On the widest pair that is a change of delta in the
// cosine of the angle to the pair's axis; the tolerance is the angle that change moves.
double HalfSampleTolerance(double rate, double widest_pair_cm, bool linear, double azimuth) {
    const double delta = 0.5 * kSpeedOfSound / rate / (widest_pair_cm / 100.0);
    if (!linear) return Degrees(std::asin(std::min(1.0, delta))) + kTruncation;
    // A line reports asin of the along-axis component, steepest toward the ends (+-90).
    const double s = std::sin(azimuth * kPi / 180.0);
    const auto moved = [&](double d) { return std::abs(Degrees(std::asin(std::clamp(s + d, -1.0, 1.0)) - std::asin(s))); };
    return std::max(moved(delta), moved(-delta)) + kTruncation;
}

struct RoundTrip {
    const char* name;
    std::vector<std::string> array;
    bool linear;
    double widest_pair_cm;   // microphone 0 with its farthest partner
    int rate;
    double azimuth;          // away from every mirror image the array could confuse it with
};

// The library's accuracy over every azimuth is tested on the library itself. Here each array
// description and each rate goes once through the tool's whole path: the description parsed,
// the microphones placed by the simulator as the library places them, the session set up,
// frames fed and voting periods closed.
using RoundTrips = ToolTest;

TEST_F(RoundTrips, EveryArrayAndRateComesBackWithinHalfASample) {
    const RoundTrip trips[] = {
        {"linear 4 cm", {"--array", "ula", "--distance", "4"}, true, 12.0, 16000, 20},
        {"circular 6.5 cm", {"--array", "uca", "--distance", "6.5"}, false, 6.5, 48000, 130},
        {"circular 10 cm", {"--array", "uca", "--distance", "10"}, false, 10.0, 8000, 200},
        {"arbitrary quad", {"--array", "0,0 4,0 4,4 0,5"}, false, std::hypot(4.0, 4.0), 32000, -30},
    };
    for (const RoundTrip& trip : trips) {
        SCOPED_TRACE(std::string(trip.name) + " at " + std::to_string(trip.rate) + " Hz");
        const std::string file = std::to_string(trip.rate) + ".wav";
        RunOk(Args({"simulate", file, "--rate", std::to_string(trip.rate), "--duration", "1.5", "--azimuth",
                    std::to_string(trip.azimuth)},
                   trip.array));
        const std::vector<Row> rows = ParseCsv(RunOk(Args({"locate", file, "--format", "csv"}, trip.array)).out);
        ASSERT_GE(rows.size(), 3u);   // 0.512 s periods at 8 kHz, 0.085 s at 48 kHz
        for (const Row& row : rows) {
            ASSERT_EQ(row.at("status"), "OK") << "period at " << row.at("start_s");
            EXPECT_LE(std::abs(CircularError(std::stod(row.at("direction_deg")), trip.azimuth)),
                      HalfSampleTolerance(trip.rate, trip.widest_pair_cm, trip.linear, trip.azimuth))
                << "period at " << row.at("start_s") << " reported " << row.at("direction_deg");
        }
    }
}

// Reflections bias the measured delays; the voting must still pick the right one of its
// candidates, which lie 22.5 degrees apart.
TEST_F(RoundTrips, ReverberantRoomStaysWithinTheCandidateSpacing) {
    RunOk({"simulate", "room.wav", "--array", "uca", "--distance", "6.5", "--path", "0:60,2:200,4:300", "--duration",
           "6", "--rt60", "0.3", "--snr", "20"});
    const std::vector<Row> rows =
        ParseCsv(RunOk({"locate", "room.wav", "--array", "uca", "--distance", "6.5", "--format", "csv", "--truth",
                        "room.truth.csv"}).out);
    const double period_s = kFramesPerVote * kBlock / 16000;
    for (const Row& row : rows) {
        const double start = std::stod(row.at("start_s"));
        if (std::floor(start / 2) != std::floor((start + period_s) / 2)) continue;   // straddles a move
        ASSERT_EQ(row.at("status"), "OK") << "period at " << start << " s";
        EXPECT_LE(std::abs(std::stod(row.at("error_deg"))), 22.5) << "period at " << start << " s";
    }
}

}  // namespace
}  // namespace ezossl_tool_test
