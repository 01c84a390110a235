// Output formats: the table, CSV and JSON lines parse, and the summary never pollutes them.
#include <cjson/cJSON.h>
#include <sndfile.h>

#include <cmath>
#include <memory>
#include <set>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

const std::vector<std::string> kUla = {"--array", "ula", "--distance", "4"};
const std::set<std::string> kStatuses = {"OK", "SIGNAL_TOO_WEAK", "NO_DIRECTION", "DELAY_TOO_LARGE"};

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

std::vector<Json> ParseJsonLines(const std::string& text) {
    std::vector<Json> objects;
    for (const std::string& line : Lines(text)) {
        Json object(cJSON_Parse(line.c_str()), cJSON_Delete);
        EXPECT_TRUE(object && cJSON_IsObject(object.get())) << "not a JSON object: " << line;
        if (object) objects.push_back(std::move(object));
    }
    return objects;
}

std::vector<std::string> Keys(const cJSON* object) {
    std::vector<std::string> keys;
    for (const cJSON* item = object->child; item; item = item->next) keys.push_back(item->string);
    return keys;
}

class Formats : public ToolTest {
  protected:
    void SetUp() override {
        ToolTest::SetUp();
        // From the +x side (-90): microphone p+1 hears the sound p * 4 cm / c earlier than microphone 0.
        RunOk(Args({"simulate", "scene.wav", "--azimuth", "-90", "--duration", "1.5"}, kUla));
        Audio silence{16000, 4, std::vector<int16_t>(4 * 8192, 0)};
        WriteAudio(Path("silence.wav"), silence, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    }
};

// --truth adds the truth and the error to every period, and every period carries its level
// (the scene's -26 dBFS) and the share of frames each pair delivered; the summary, accuracy
// included, goes to standard error, and --summary writes it as JSON too.
TEST_F(Formats, CsvPeriodsHaveTheirColumnsAndSummaryGoesToStandardError) {
    const RunResult result = RunOk(Args(
        {"locate", "scene.wav", "--format", "csv", "--truth", "scene.truth.csv", "--summary", "summary.json"}, kUla));
    EXPECT_EQ(CsvColumns(result.out),
              (std::vector<std::string>{"start_s", "status", "direction_deg", "truth_deg", "error_deg", "level_dbfs",
                                        "accepted_01", "accepted_02", "accepted_03"}));
    const std::vector<Row> rows = ParseCsv(result.out);
    ASSERT_EQ(rows.size(), 6u);   // 1.5 s in periods of 0.256 s, the last one short
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_DOUBLE_EQ(std::stod(rows[i].at("start_s")), std::round(i * 0.256 * 1000) / 1000);
        EXPECT_EQ(rows[i].at("status"), "OK");
        EXPECT_EQ(rows[i].at("direction_deg"), "-90");
        EXPECT_EQ(rows[i].at("truth_deg"), "-90.0");
        EXPECT_EQ(rows[i].at("error_deg"), "0.0");
        // The scene is -26 dBFS over its whole length; a quarter second of noise strays by tenths of a dB.
        EXPECT_NEAR(std::stod(rows[i].at("level_dbfs")), -26.0, 0.3);
        EXPECT_EQ(rows[i].at("accepted_01") + rows[i].at("accepted_02") + rows[i].at("accepted_03"), "1.001.001.00");
    }
    EXPECT_EQ(result.err,
              "periods: 6 of 0.256 s, with a direction: 6 (100.0 %); OK 6\n"
              "accuracy of the periods with a direction: mean absolute error 0.0 deg, within +-10 deg: 100.0 %, "
              "within +-22.5 deg: 100.0 %\n"
              "note: the last block was completed with 64 zero samples per channel\n"
              "note: the last period (from 1.280 s) has only 28 of 32 frames\n");
    const Json summary(cJSON_Parse(ReadFile("summary.json").c_str()), cJSON_Delete);
    ASSERT_TRUE(summary);
    EXPECT_EQ(Keys(summary.get()), (std::vector<std::string>{"periods", "period_s", "with_direction", "held", "statuses",
                                                              "mean_level_dbfs", "accuracy", "notes"}));
    EXPECT_EQ(cJSON_GetObjectItem(cJSON_GetObjectItem(summary.get(), "statuses"), "OK")->valueint, 6);
    const cJSON* accuracy = cJSON_GetObjectItem(summary.get(), "accuracy");
    EXPECT_EQ(cJSON_GetObjectItem(accuracy, "mean_abs_error_deg")->valuedouble, 0.0);
    EXPECT_EQ(cJSON_GetObjectItem(accuracy, "within_10_deg")->valuedouble, 1.0);
    EXPECT_STREQ(cJSON_GetArrayItem(cJSON_GetObjectItem(summary.get(), "notes"), 1)->valuestring,
                 "the last period (from 1.280 s) has only 28 of 32 frames");
}

TEST_F(Formats, JsonLinesCarryNumbersStringsAndNulls) {
    const RunResult scene = RunOk(Args({"locate", "scene.wav", "--format", "json"}, kUla));
    for (const Json& object : ParseJsonLines(scene.out)) {
        EXPECT_EQ(Keys(object.get()), (std::vector<std::string>{"start_s", "status", "direction_deg", "level_dbfs",
                                                                "accepted_01", "accepted_02", "accepted_03"}));
        EXPECT_TRUE(cJSON_IsNumber(cJSON_GetObjectItem(object.get(), "start_s")));
        EXPECT_TRUE(kStatuses.count(cJSON_GetObjectItem(object.get(), "status")->valuestring));
        EXPECT_EQ(cJSON_GetObjectItem(object.get(), "direction_deg")->valueint, -90);
    }
    const RunResult silent = RunOk(Args({"locate", "silence.wav", "--format", "json"}, kUla));
    const std::vector<Json> objects = ParseJsonLines(silent.out);
    ASSERT_EQ(objects.size(), 2u);
    for (const Json& object : objects) {
        EXPECT_STREQ(cJSON_GetObjectItem(object.get(), "status")->valuestring, "SIGNAL_TOO_WEAK");
        EXPECT_TRUE(cJSON_IsNull(cJSON_GetObjectItem(object.get(), "direction_deg")));
    }
}

// --method both: the SRP's answer follows the specified one in the same row, with its
// confidence and the period's level; silence is SILENT for the SRP.
TEST_F(Formats, BothMethodsShareEachRowAndTheSrpAddsConfidenceAndLevel) {
    const RunResult scene = RunOk(Args({"locate", "scene.wav", "--format", "json", "--method", "both"}, kUla));
    const std::vector<Json> objects = ParseJsonLines(scene.out);
    ASSERT_EQ(objects.size(), 6u);
    for (size_t i = 0; i + 1 < objects.size(); ++i) {   // the short last period aside
        const cJSON* row = objects[i].get();
        EXPECT_EQ(Keys(row), (std::vector<std::string>{"start_s", "status", "direction_deg", "srp_status",
                                                        "srp_direction_deg", "srp_confidence", "srp_level_dbfs",
                                                        "level_dbfs", "accepted_01", "accepted_02", "accepted_03"}));
        EXPECT_EQ(cJSON_GetObjectItem(row, "direction_deg")->valueint, -90);
        EXPECT_STREQ(cJSON_GetObjectItem(row, "srp_status")->valuestring, "OK");
        EXPECT_NEAR(cJSON_GetObjectItem(row, "srp_direction_deg")->valuedouble, -90.0, 2.0);
        EXPECT_GT(cJSON_GetObjectItem(row, "srp_confidence")->valuedouble, 0.5);
        EXPECT_NEAR(cJSON_GetObjectItem(row, "srp_level_dbfs")->valuedouble, -26.0, 0.5);   // simulate's level
    }
    const RunResult silent = RunOk(Args({"locate", "silence.wav", "--method", "srp"}, kUla));
    EXPECT_EQ(silent.out,
              " start_s  status           direction_deg  confidence  level_dbfs\n"
              "   0.000  SILENT                                0.00      -100.0\n"
              "   0.256  SILENT                                0.00      -100.0\n"
              "\n"
              "periods: 2 of 0.256 s, with a direction: 0 (0.0 %); SILENT 2\n");
}

// Columns line up under their headers at fixed widths, since rows stream out as periods close:
// text to the left, numbers to the right; the summary
// follows after an empty line on standard output, and nothing goes to standard error.
TEST_F(Formats, TableIsAlignedWithTheSummaryBelow) {
    const RunResult result = RunOk(Args({"locate", "silence.wav"}, kUla));
    EXPECT_EQ(result.out,
              " start_s  status           direction_deg  level_dbfs  accepted_01  accepted_02  accepted_03\n"
              "   0.000  SIGNAL_TOO_WEAK                     -120.0         0.00         0.00         0.00\n"
              "   0.256  SIGNAL_TOO_WEAK                     -120.0         0.00         0.00         0.00\n"
              "\n"
              "periods: 2 of 0.256 s, with a direction: 0 (0.0 %); SIGNAL_TOO_WEAK 2\n");
    EXPECT_EQ(result.err, "");
}

// Pair p's delay is p * 4 cm / 346 m/s * 16000 = 1.85 p samples; the library reports whole
// samples, so each accepted frame lies within one sample of it.
TEST_F(Formats, DelaysArePerFrameWithTheSignOfTheLeadingMicrophone) {
    const RunResult result = RunOk(Args({"delays", "scene.wav", "--format", "csv"}, kUla));
    EXPECT_EQ(CsvColumns(result.out), (std::vector<std::string>{"frame", "start_s", "delay_01", "delay_02", "delay_03"}));
    const std::vector<Row> rows = ParseCsv(result.out);
    ASSERT_EQ(rows.size(), 188u);   // 24000 samples in blocks of 128, the last one completed with zeros
    for (const Row& row : rows) {
        for (int p = 1; p <= 3; ++p) {
            const std::string& delay = row.at("delay_0" + std::to_string(p));
            ASSERT_FALSE(delay.empty()) << "frame " << row.at("frame");
            EXPECT_LT(std::abs(std::stoi(delay) - p * 0.04 / kSpeedOfSound * 16000), 1.0) << "frame " << row.at("frame");
        }
    }
    EXPECT_EQ(result.err, "note: the last block was completed with 64 zero samples per channel\n");
}

TEST_F(Formats, RejectedPairsAreEmpty) {
    const std::vector<Row> rows = ParseCsv(RunOk(Args({"delays", "silence.wav", "--format", "csv"}, kUla)).out);
    ASSERT_EQ(rows.size(), 64u);
    for (const Row& row : rows) EXPECT_EQ(row.at("delay_01") + row.at("delay_02") + row.at("delay_03"), "");
}

// bf_mode 1 makes the library estimate delays only: locate then prints frames, not periods.
TEST_F(Formats, BfModeOneGivesFrameDelays) {
    const RunResult result = RunOk(Args({"locate", "scene.wav", "--bf-mode", "1", "--format", "csv"}, kUla));
    EXPECT_EQ(CsvColumns(result.out), (std::vector<std::string>{"frame", "start_s", "delay_01", "delay_02", "delay_03"}));
    EXPECT_EQ(ParseCsv(result.out).size(), 188u);
}

// The SVG of locate --plot must be well-formed XML (browsers refuse anything else), also when
// the title carries characters that XML reserves.
TEST_F(Formats, PlotIsWellFormedSvg) {
    RunOk(Args({"simulate", "<a> & b.wav", "--azimuth", "30", "--duration", "1"}, kUla));
    RunOk(Args({"locate", "<a> & b.wav", "--plot", "plot.svg", "--truth", "<a> & b.truth.csv"}, kUla));
    EXPECT_TRUE(IsWellFormedSvg(Path("plot.svg")));
    const std::string svg = ReadFile("plot.svg");
    for (const char* label : {"time (s)", "direction (deg)", "truth", "library direction", "&lt;a&gt; &amp; b.wav"}) {
        EXPECT_NE(svg.find(label), std::string::npos) << label;
    }
}

}  // namespace
}  // namespace ezossl_tool_test
