// check-wiring: the channel order that puts a known source where it is, and locate agreeing.
#include <cmath>
#include <sndfile.h>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

using CheckWiring = ToolTest;

// A 6.5 cm circle with a source at 30 deg, recorded once as wired and once with every channel
// holding the next microphone (channel c has microphone c + 1, the last one microphone 0).
TEST_F(CheckWiring, FindsTheMapThatPutsTheSourceBack) {
    const std::vector<std::string> uca = {"--array", "uca", "--distance", "6.5"};
    RunOk(Args({"simulate", "wired.wav", "--azimuth", "30", "--duration", "2"}, uca));
    Audio rotated = ReadAudio(Path("wired.wav"));
    const Audio wired = rotated;
    for (size_t n = 0; n < wired.samples.size(); n += 4) {
        for (size_t c = 0; c < 4; ++c) rotated.samples[n + c] = wired.samples[n + (c + 1) % 4];
    }
    WriteAudio(Path("rotated.wav"), rotated, SF_FORMAT_WAV | SF_FORMAT_PCM_16);

    const struct {
        const char* file;
        const char* map;
    } cases[] = {{"wired.wav", "1,2,3,4"}, {"rotated.wav", "4,1,2,3"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        const RunResult check = RunOk(Args({"check-wiring", c.file, "--azimuth", "30", "--format", "csv"}, uca));
        EXPECT_EQ(Lines(check.out).at(1).substr(0, 11), "1,\"" + std::string(c.map) + "\"");
        EXPECT_NE(check.err.find("\nuse: --map " + std::string(c.map)), std::string::npos) << check.err;
        // Half a sample on the 6.5 cm circle at 16 kHz is 4 deg off broadside, less here.
        for (const Row& row : ParseCsv(RunOk(Args({"locate", c.file, "--map", c.map, "--format", "csv"}, uca)).out)) {
            ASSERT_EQ(row.at("status"), "OK");
            EXPECT_LE(std::abs(std::stod(row.at("direction_deg")) - 30), 3.0) << "period at " << row.at("start_s");
        }
    }
}

}  // namespace
}  // namespace ezossl_tool_test
