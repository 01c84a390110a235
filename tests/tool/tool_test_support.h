// Helpers for the tool's end-to-end tests: running the binary in a temporary folder, CSV and audio files.
#pragma once

#include <gtest/gtest.h>

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "test_support.h"

namespace ezossl_tool_test {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSpeedOfSound = 346.0;   // m/s at 25 deg C, the default of every command

// True in a cross build, where the tool runs under an emulator.
inline bool UnderEmulator() { return std::string(EZOSSL_EMULATOR) != ""; }

struct RunResult {
    int exit_code = -1;
    std::string out;
    std::string err;
};

using Row = std::map<std::string, std::string>;

// Rows of a CSV text with a header line, by column name.
std::vector<Row> ParseCsv(const std::string& text);
// The header line's column names.
std::vector<std::string> CsvColumns(const std::string& text);

// The arguments followed by the extra ones.
std::vector<std::string> Args(std::vector<std::string> args, const std::vector<std::string>& extra);

// Lines of a text, without their line ends.
std::vector<std::string> Lines(const std::string& text);

struct Audio {
    int sample_rate = 0;
    int channels = 0;
    std::vector<int16_t> samples;   // interleaved
};

Audio ReadAudio(const std::string& path);
// format: an SF_FORMAT_* combination; samples are 16-bit values, scaled to the format's width.
void WriteAudio(const std::string& path, const Audio& audio, int format);

// Parses the file with Python's XML parser and checks that its root is an SVG element.
bool IsWellFormedSvg(const std::string& path);

// A running tool: its standard input and output are pipes, its standard error a file.
struct Child {
    pid_t pid = -1;
    int input = -1;    // write end of its standard input
    int output = -1;   // read end of its standard output
};

struct Finished {
    int exit_code = -1;
    long max_rss_kb = 0;   // the child's own peak memory
    std::string err;
};

// Each test gets its own temporary folder, where the binary runs.
class ToolTest : public ::testing::Test {
  protected:
    std::string Path(const std::string& name) const { return dir_.File(name); }
    RunResult Run(const std::vector<std::string>& args) const;
    // Runs and expects success; on failure the test stops with the tool's error output.
    RunResult RunOk(const std::vector<std::string>& args) const;
    // Starts the binary without waiting; stdout_file, when given, replaces the output pipe.
    Child Start(const std::vector<std::string>& args, const std::string& stdout_file = "") const;
    // Closes what is still open of the pipes and waits for the child to end.
    Finished Wait(Child& child) const;
    std::string ReadFile(const std::string& name) const { return ezossl_test::ReadFile(Path(name)); }
    void WriteFile(const std::string& name, const std::string& content) const { dir_.Write(name, content); }
    bool Exists(const std::string& name) const;

  private:
    ezossl_test::TempDir dir_;
};

}  // namespace ezossl_tool_test
