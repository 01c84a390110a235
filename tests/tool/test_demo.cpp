// ezossl demo: runs without arguments or files, scores itself and draws a well-formed plot.
#include <regex>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

using Demo = ToolTest;

TEST_F(Demo, RunsScoresAndPlots) {
    const RunResult result = RunOk({"demo"});
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(IsWellFormedSvg(Path("ezossl-demo.svg")));
    EXPECT_NE(result.out.find("plot: ezossl-demo.svg"), std::string::npos);
    // The scene is fixed (seeded), so its score is too; these floors leave room for harmless
    // changes while catching a broken pipeline, which scores near chance.
    std::smatch score;
    ASSERT_TRUE(std::regex_search(result.out, score, std::regex(R"(with a direction: \d+ \(([\d.]+) %\))"))) << result.out;
    EXPECT_GE(std::stod(score[1]), 80.0);
    ASSERT_TRUE(std::regex_search(result.out, score, std::regex(R"(within \+-22.5 deg: ([\d.]+) %)"))) << result.out;
    EXPECT_GE(std::stod(score[1]), 80.0);
}

}  // namespace
}  // namespace ezossl_tool_test
