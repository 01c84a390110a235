// Recordings as boards deliver them: other sample formats, headerless PCM, more channels,
// gain, long files; every form of the same sound must give the library the same samples.
#include <sndfile.h>

#include <cmath>
#include <fstream>

#include "tool_test_support.h"

namespace ezossl_tool_test {
namespace {

const std::vector<std::string> kUca = {"--array", "uca", "--distance", "6.5"};

// Little-endian integers of the given width, 16-bit values placed in the top bits.
void WriteRaw(const std::string& path, const Audio& audio, int bytes, const std::string& trailing = "") {
    std::ofstream out(path, std::ios::binary);
    for (const int16_t sample : audio.samples) {
        const uint32_t value = static_cast<uint32_t>(int32_t(sample) * (bytes == 4 ? 65536 : 1));
        for (int b = 0; b < bytes; ++b) out.put(static_cast<char>(value >> (8 * b)));
    }
    out << trailing;
}

// Microphones 0..3 on channels 6, 2, 4 and 1 of six; channels 3 and 5 carry unrelated sound.
Audio SixChannelBoard(const Audio& four) {
    Audio six{four.sample_rate, 6, {}};
    const int channel_of_mic[] = {5, 1, 3, 0};
    const size_t frames = four.samples.size() / 4;
    six.samples.assign(frames * 6, 0);
    for (size_t n = 0; n < frames; ++n) {
        for (int mic = 0; mic < 4; ++mic) six.samples[n * 6 + channel_of_mic[mic]] = four.samples[n * 4 + mic];
        six.samples[n * 6 + 2] = static_cast<int16_t>((n * 7919) % 4001 - 2000);
        six.samples[n * 6 + 4] = static_cast<int16_t>((n * 104729) % 3001 - 1500);
    }
    return six;
}

struct Delivery {
    const char* name;
    std::string file;
    std::vector<std::string> options;
};

class Recordings : public ToolTest {
  protected:
    void SetUp() override {
        ToolTest::SetUp();
        RunOk(Args({"simulate", "reference.wav", "--azimuth", "100", "--duration", "1", "--snr", "30"}, kUca));
        reference_ = ReadAudio(Path("reference.wav"));
    }

    std::string Analysed(const std::string& command, const std::string& file, const std::vector<std::string>& options) {
        return RunOk(Args(Args({command, file, "--format", "csv"}, kUca), options)).out;
    }

    Audio reference_;
};

TEST_F(Recordings, EveryDeliveryGivesTheSameResults) {
    WriteAudio(Path("24bit.wav"), reference_, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    WriteAudio(Path("32bit.wav"), reference_, SF_FORMAT_WAV | SF_FORMAT_PCM_32);
    WriteAudio(Path("float.wav"), reference_, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    WriteAudio(Path("lossless.flac"), reference_, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    WriteAudio(Path("board.wav"), SixChannelBoard(reference_), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    WriteRaw(Path("board16.raw"), reference_, 2);
    WriteRaw(Path("board32.raw"), reference_, 4);
    const std::vector<std::string> raw = {"--raw", "--rate", "16000", "--channels", "4"};
    const Delivery deliveries[] = {
        {"24-bit WAV", "24bit.wav", {}},
        {"32-bit WAV", "32bit.wav", {}},
        {"float WAV", "float.wav", {}},
        {"FLAC", "lossless.flac", {}},
        {"six channels, mapped", "board.wav", {"--map", "6,2,4,1"}},
        {"headerless 16-bit", "board16.raw", raw},
        {"headerless 32-bit", "board32.raw", Args(raw, {"--bits", "32"})},
    };
    const std::string delays = Analysed("delays", "reference.wav", {});
    const std::string directions = Analysed("locate", "reference.wav", {});
    for (const Delivery& delivery : deliveries) {
        EXPECT_EQ(Analysed("delays", delivery.file, delivery.options), delays) << delivery.name;
        EXPECT_EQ(Analysed("locate", delivery.file, delivery.options), directions) << delivery.name;
    }
}

TEST_F(Recordings, BytesShortOfAFrameAreReportedNotHidden) {
    WriteRaw(Path("odd.raw"), reference_, 2, "xyz");
    const RunResult result =
        RunOk(Args({"delays", "odd.raw", "--format", "csv", "--raw", "--rate", "16000", "--channels", "4"}, kUca));
    EXPECT_EQ(result.out, Analysed("delays", "reference.wav", {}));
    EXPECT_EQ(Lines(result.err).at(0),
              "ezossl: warning: ignored the last 3 bytes of \"odd.raw\", too few for one sample of every channel "
              "(check --channels and --bits)");
}

// NaN samples never reach a conversion to integers: they are read as 0 and counted.
TEST_F(Recordings, FloatBeyondFullScaleOrNotANumberIsReported) {
    SF_INFO info{};
    info.samplerate = reference_.sample_rate;
    info.channels = 4;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(Path("loud.wav").c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    std::vector<float> samples(reference_.samples.begin(), reference_.samples.end());
    for (float& s : samples) s *= 8.0f / 32768.0f;   // 18 dB beyond full scale
    samples[0] = samples[7] = std::nanf("");
    sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size() / 4));
    sf_close(file);
    const RunResult result = RunOk(Args({"locate", "loud.wav", "--format", "csv"}, kUca));
    EXPECT_NE(result.err.find(" input samples beyond full scale were clipped to 16 bits"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("note: 2 input samples were not numbers (NaN) and were read as 0; check the recording"),
              std::string::npos)
        << result.err;
}

// The gain acts before the level test: a quiet scene becomes loud enough, and a gain that
// pushes samples past 16 bits is reported because the library wraps them around.
TEST_F(Recordings, GainLiftsQuietScenesAndWarnsOfWrapping) {
    RunOk(Args({"simulate", "quiet.wav", "--azimuth", "100", "--duration", "1", "--level", "-70"}, kUca));
    for (const Row& row : ParseCsv(Analysed("locate", "quiet.wav", {}))) EXPECT_EQ(row.at("status"), "SIGNAL_TOO_WEAK");
    for (const Row& row : ParseCsv(Analysed("locate", "quiet.wav", {"--gain", "20"}))) EXPECT_EQ(row.at("status"), "OK");

    const RunResult wrapped = RunOk(Args({"locate", "reference.wav", "--format", "csv", "--gain", "40"}, kUca));
    EXPECT_NE(wrapped.err.find("samples beyond 16 bits, which the library wraps around; lower --gain"), std::string::npos)
        << wrapped.err;
}

// Over a minute of audio shows a progress percentage on a terminal, and never in a file.
TEST_F(Recordings, ProgressOnlyOnATerminal) {
    RunOk(Args({"simulate", "long.wav", "--rate", "8000", "--duration", "61"}, kUca));
    const RunResult to_file = RunOk(Args({"locate", "long.wav", "--format", "csv"}, kUca));
    EXPECT_EQ(to_file.err.find("locating"), std::string::npos) << to_file.err;

    const std::string command = "cd '" + Path("") + "' && script -qec \"" + EZOSSL_EMULATOR + "'" + EZOSSL_BINARY +
                                "' locate long.wav --array uca --distance 6.5 --format csv > rows.csv\" /dev/null > terminal.txt";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_NE(ReadFile("terminal.txt").find("locating long.wav: 100 %"), std::string::npos) << ReadFile("terminal.txt");
    EXPECT_EQ(ReadFile("rows.csv"), to_file.out);
}

}  // namespace
}  // namespace ezossl_tool_test
