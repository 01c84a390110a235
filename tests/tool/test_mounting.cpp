// Mounting: microphones numbered in any order, lines in any direction, turned and compass angles.
#include <cmath>
#include <string>
#include <vector>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

double CircularError(double estimate, double truth) { return std::remainder(estimate - truth, 360.0); }

using Mounting = ToolTest;

// The tool renumbers (and for a line turns) the array for the library and must carry every
// direction back into the user's frame: a 5 cm square numbered from each corner, and lines
// along y and along x numbered from the right. The truth is the user's; a line cannot tell
// the two sides of it apart, so its truth is folded onto the side it reports.
TEST_F(Mounting, RenumberedAndTurnedArraysReportInTheUsersFrame) {
    struct Trip {
        const char* array;
        double azimuth;
        double reported;   // the truth as the array can report it
    };
    const Trip trips[] = {
        {"0,0 5,0 5,5 0,5", 30, 30},   {"5,0 5,5 0,5 0,0", 200, 200}, {"5,5 0,5 0,0 5,0", -60, -60},
        {"0,5 0,0 5,0 5,5", 120, 120}, {"0,0 0,4 0,8 0,12", 200, 160}, {"12,0 8,0 4,0 0,0", -120, -60},
    };
    // Half a sample on these arrays at 16 kHz moves a direction by up to 4 deg off the line's
    // ends, and the tool rounds once more.
    constexpr double kTolerance = 5.0;
    for (const Trip& trip : trips) {
        SCOPED_TRACE(std::string(trip.array) + " at " + std::to_string(trip.azimuth));
        RunOk({"simulate", "scene.wav", "--array", trip.array, "--azimuth", std::to_string(trip.azimuth), "--duration", "1"});
        const std::vector<Row> rows =
            ParseCsv(RunOk({"locate", "scene.wav", "--array", trip.array, "--format", "csv"}).out);
        ASSERT_EQ(rows.size(), 4u);
        for (const Row& row : rows) {
            ASSERT_EQ(row.at("status"), "OK") << "period at " << row.at("start_s");
            EXPECT_LE(std::abs(CircularError(std::stod(row.at("direction_deg")), trip.reported)), kTolerance)
                << "period at " << row.at("start_s") << " reported " << row.at("direction_deg");
        }
    }
}

// A source visiting eight azimuths (library angles of the array, three periods each) reported
// in library and compass angles, unturned and mounted turned by 90 deg. A line folds the back
// half onto the front: 135 looks like 45.
TEST_F(Mounting, RotateAndCompassAtEightAngles) {
    struct Case {
        std::vector<std::string> array;
        std::vector<std::string> angles;
        int expected[8];
    };
    const std::vector<std::string> uca = {"--array", "uca", "--distance", "6.5"};
    const std::vector<std::string> ula = {"--array", "ula", "--distance", "6.5"};
    const Case cases[] = {
        {uca, {"--angles", "library"}, {0, 45, 90, 135, 180, 225, -90, -45}},
        {uca, {"--angles", "library", "--rotate", "90"}, {90, 135, 180, 225, -90, -45, 0, 45}},
        {uca, {"--angles", "compass"}, {0, 315, 270, 225, 180, 135, 90, 45}},
        {uca, {"--angles", "compass", "--rotate", "90"}, {90, 45, 0, 315, 270, 225, 180, 135}},
        {ula, {"--angles", "library"}, {0, 45, 90, 45, 0, -45, -90, -45}},
        {ula, {"--angles", "library", "--rotate", "90"}, {90, 135, 180, 135, 90, 45, 0, 45}},
        {ula, {"--angles", "compass"}, {0, 315, 270, 315, 0, 45, 90, 45}},
        {ula, {"--angles", "compass", "--rotate", "90"}, {90, 45, 0, 45, 90, 135, 180, 135}},
    };
    const double dwell = 3 * 0.256;
    std::string path;
    for (int k = 0; k < 8; ++k) path += (k ? "," : "") + std::to_string(k * dwell) + ":" + std::to_string(45 * k);
    // Half a sample on the 6.5 cm circle is 4 deg; a line's ends, where asin is steepest, 5.
    constexpr double kTolerance = 6.0;
    for (const Case& c : cases) {
        const std::string file = c.array[1] + ".wav";
        if (!Exists(file)) RunOk(Args({"simulate", file, "--path", path, "--duration", std::to_string(8 * dwell)}, c.array));
        const std::vector<Row> rows = ParseCsv(RunOk(Args(Args({"locate", file, "--format", "csv"}, c.array), c.angles)).out);
        ASSERT_EQ(rows.size(), 24u);
        for (size_t i = 0; i < rows.size(); ++i) {
            SCOPED_TRACE(c.array[1] + " " + c.angles[1] + (c.angles.size() > 2 ? " rotated" : "") + ", period " +
                         std::to_string(i));
            ASSERT_EQ(rows[i].at("status"), "OK");
            EXPECT_LE(std::abs(CircularError(std::stod(rows[i].at("direction_deg")), c.expected[i / 3])), kTolerance)
                << "reported " << rows[i].at("direction_deg");
        }
    }
}

}  // namespace
}  // namespace ezossl_tool_test
