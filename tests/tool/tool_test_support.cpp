// Test helpers: the binary run through the shell with its streams captured in files.
#include "tool_test_support.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace ezossl_tool_test {
namespace {

std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

std::vector<std::string> Args(std::vector<std::string> args, const std::vector<std::string>& extra) {
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> CsvColumns(const std::string& text) {
    std::vector<std::string> columns;
    const std::vector<std::string> lines = Lines(text);
    if (lines.empty()) return columns;
    std::istringstream header(lines[0]);
    for (std::string column; std::getline(header, column, ',');) columns.push_back(column);
    return columns;
}

std::vector<Row> ParseCsv(const std::string& text) {
    const std::vector<std::string> columns = CsvColumns(text);
    const std::vector<std::string> lines = Lines(text);
    std::vector<Row> rows;
    for (size_t i = 1; i < lines.size(); ++i) {
        Row row;
        std::istringstream fields(lines[i] + ",");
        std::string field;
        for (const std::string& column : columns) {
            std::getline(fields, field, ',');
            row[column] = field;
        }
        rows.push_back(row);
    }
    return rows;
}

Audio ReadAudio(const std::string& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    Audio audio;
    if (!file) {
        ADD_FAILURE() << "cannot read " << path << ": " << sf_strerror(nullptr);
        return audio;
    }
    audio.sample_rate = info.samplerate;
    audio.channels = info.channels;
    audio.samples.resize(size_t(info.frames) * info.channels);
    sf_readf_short(file, audio.samples.data(), info.frames);
    sf_close(file);
    return audio;
}

void WriteAudio(const std::string& path, const Audio& audio, int format) {
    SF_INFO info{};
    info.samplerate = audio.sample_rate;
    info.channels = audio.channels;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    const sf_count_t frames = static_cast<sf_count_t>(audio.samples.size() / audio.channels);
    const int subtype = format & SF_FORMAT_SUBMASK;
    if (subtype == SF_FORMAT_FLOAT || subtype == SF_FORMAT_DOUBLE) {
        // Floating-point files hold full scale as 1.0.
        std::vector<float> normalised(audio.samples.begin(), audio.samples.end());
        for (float& v : normalised) v /= 32768.0f;
        EXPECT_EQ(sf_writef_float(file, normalised.data(), frames), frames);
    } else {
        // 16-bit values shifted to the top of 32 bits reach every integer width exactly.
        std::vector<int> wide(audio.samples.begin(), audio.samples.end());
        for (int& v : wide) v *= 65536;
        EXPECT_EQ(sf_writef_int(file, wide.data(), frames), frames);
    }
    sf_close(file);
}

bool IsWellFormedSvg(const std::string& path) {
    const std::string check =
        "python3 -c \"import sys, xml.etree.ElementTree as E; "
        "sys.exit(E.parse(sys.argv[1]).getroot().tag != '{http://www.w3.org/2000/svg}svg')\" " + ShellQuoted(path);
    return std::system(check.c_str()) == 0;
}

RunResult ToolTest::Run(const std::vector<std::string>& args) const {
    std::string command = "cd " + ShellQuoted(dir_.path()) + " && exec " + EZOSSL_EMULATOR + ShellQuoted(EZOSSL_BINARY);
    for (const std::string& arg : args) command += " " + ShellQuoted(arg);
    command += " >" + ShellQuoted(Path(".stdout")) + " 2>" + ShellQuoted(Path(".stderr")) + " </dev/null";
    const int status = std::system(command.c_str());
    RunResult result;
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = ReadFile(".stdout");
    result.err = ReadFile(".stderr");
    std::filesystem::remove(Path(".stdout"));
    std::filesystem::remove(Path(".stderr"));
    return result;
}

RunResult ToolTest::RunOk(const std::vector<std::string>& args) const {
    RunResult result = Run(args);
    std::string line = "ezossl";
    for (const std::string& arg : args) line += " " + arg;
    EXPECT_EQ(result.exit_code, 0) << line << "\n" << result.err;
    return result;
}

Child ToolTest::Start(const std::vector<std::string>& args, const std::string& stdout_file) const {
    int input[2], output[2];
    if (pipe(input) != 0 || pipe(output) != 0) ADD_FAILURE() << "no pipes";
    const int err = open(Path(".stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int out = stdout_file.empty() ? output[1] : open(stdout_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    // A cross-built tool starts through the emulator, whose command is words split by spaces.
    std::vector<std::string> argv_text;
    std::istringstream emulator(EZOSSL_EMULATOR);
    for (std::string word; emulator >> word;) argv_text.push_back(word);
    argv_text = Args(Args(argv_text, {EZOSSL_BINARY}), args);
    std::vector<char*> argv;
    for (std::string& arg : argv_text) argv.push_back(arg.data());
    argv.push_back(nullptr);
    Child child;
    child.pid = fork();
    if (child.pid == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        for (const int fd : {input[0], input[1], output[0], output[1], err, out}) close(fd);
        if (chdir(Path("").c_str()) == 0) execv(argv[0], argv.data());
        _exit(127);
    }
    for (const int fd : {input[0], output[1], err}) close(fd);
    if (out != output[1]) close(out);
    child.input = input[1];
    child.output = output[0];
    return child;
}

Finished ToolTest::Wait(Child& child) const {
    for (int* fd : {&child.input, &child.output}) {
        if (*fd >= 0) close(*fd);
        *fd = -1;
    }
    int status = 0;
    struct rusage usage {};
    wait4(child.pid, &status, 0, &usage);
    Finished finished;
    finished.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    finished.max_rss_kb = usage.ru_maxrss;
    finished.err = ReadFile(".stderr");
    return finished;
}

bool ToolTest::Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }

}  // namespace ezossl_tool_test
