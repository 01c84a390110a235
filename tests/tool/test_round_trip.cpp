// simulate -> locate: directions of synthesised scenes must come back within what the array resolves.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSpeedOfSound = 346.0;        // 25 deg C, the default of both commands
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

std::vector<double> Azimuths(double from, double to, double step) {
    std::vector<double> azimuths;
    for (double a = from; a <= to; a += step) azimuths.push_back(a);
    return azimuths;
}

std::string PathOption(const std::vector<double>& azimuths, double dwell_s) {
    std::string path;
    for (size_t i = 0; i < azimuths.size(); ++i) {
        path += (i ? "," : "") + std::to_string(i * dwell_s) + ":" + std::to_string(azimuths[i]);
    }
    return path;
}

struct ArrayCase {
    const char* name;
    std::vector<std::string> array;
    bool linear;
    double widest_pair_cm;   // microphone 0 with its farthest partner
};

const ArrayCase kArrays[] = {
    {"linear_4cm", {"--array", "ula", "--distance", "4"}, true, 12.0},
    {"circular_6_5cm", {"--array", "uca", "--distance", "6.5"}, false, 6.5},
    {"arbitrary_quad", {"--array", "0,0 4,0 4,4 0,5"}, false, std::hypot(4.0, 4.0)},
};

struct RoundTrip {
    ArrayCase array;
    int rate;
};

void PrintTo(const RoundTrip& trip, std::ostream* out) { *out << trip.array.name << " at " << trip.rate << " Hz"; }

class AnechoicRoundTrip : public ToolTest, public ::testing::WithParamInterface<RoundTrip> {};

// Every azimuth the array can tell apart, visited in turn; each voting period that lies wholly
// within one position must report it within the tolerance.
TEST_P(AnechoicRoundTrip, EveryPositionComesBackWithinHalfASample) {
    const RoundTrip& param = GetParam();
    const double dwell_s = 0.8;
    const std::vector<double> azimuths = param.array.linear ? Azimuths(-90, 90, 15) : Azimuths(-90, 250, 20);
    const std::string rate = std::to_string(param.rate);
    RunOk(Args({"simulate", "scene.wav", "--rate", rate, "--duration", std::to_string(azimuths.size() * dwell_s),
                "--path", PathOption(azimuths, dwell_s)},
               param.array.array));
    const std::vector<Row> rows = ParseCsv(RunOk(Args({"locate", "scene.wav", "--format", "csv"}, param.array.array)).out);

    const double period_s = kFramesPerVote * kBlock / param.rate;
    int checked = 0;
    for (const Row& row : rows) {
        const double start = std::stod(row.at("start_s"));
        const size_t position = static_cast<size_t>(start / dwell_s);
        if (position != static_cast<size_t>((start + period_s) / dwell_s - 1e-9) || position >= azimuths.size()) continue;
        const double truth = azimuths[position];
        ASSERT_EQ(row.at("status"), "OK") << "period at " << start << " s, azimuth " << truth;
        const double error = CircularError(std::stod(row.at("direction_deg")), truth);
        EXPECT_LE(std::abs(error), HalfSampleTolerance(param.rate, param.array.widest_pair_cm, param.array.linear, truth))
            << "period at " << start << " s, azimuth " << truth << ", reported " << row.at("direction_deg");
        ++checked;
    }
    EXPECT_GE(checked, static_cast<int>(azimuths.size()));
}

std::vector<RoundTrip> AllRoundTrips() {
    std::vector<RoundTrip> trips;
    for (const ArrayCase& array : kArrays) {
        for (const int rate : {16000, 48000}) trips.push_back({array, rate});
    }
    return trips;
}

INSTANTIATE_TEST_SUITE_P(Arrays, AnechoicRoundTrip, ::testing::ValuesIn(AllRoundTrips()),
                         [](const auto& info) { return std::string(info.param.array.name) + "_" + std::to_string(info.param.rate); });

using SceneRoundTrip = ToolTest;

// Reflections bias the measured delays; the voting must still pick the right one of its
// candidates, which lie 22.5 degrees apart.
TEST_F(SceneRoundTrip, ReverberantRoomStaysWithinTheCandidateSpacing) {
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

// A source sweeping a full turn: each period is compared with the truth file at its middle,
// so the tolerance grows by the half period's travel.
TEST_F(SceneRoundTrip, SweepFollowsTheTruthFile) {
    const double duration = 6.0, rate = 48000;
    RunOk({"simulate", "sweep.wav", "--array", "uca", "--distance", "6.5", "--rate", "48000", "--sweep", "-90:270",
           "--duration", "6"});
    const std::vector<Row> rows =
        ParseCsv(RunOk({"locate", "sweep.wav", "--array", "uca", "--distance", "6.5", "--format", "csv", "--truth",
                        "sweep.truth.csv"}).out);
    const double travel = 360.0 / duration * kFramesPerVote * kBlock / rate / 2;
    for (const Row& row : rows) {
        ASSERT_EQ(row.at("status"), "OK") << "period at " << row.at("start_s");
        EXPECT_LE(std::abs(std::stod(row.at("error_deg"))), HalfSampleTolerance(rate, 6.5, false, 0) + travel)
            << "period at " << row.at("start_s");
    }
}

}  // namespace
}  // namespace ezossl_tool_test
