// The input dump while running: switching on and off, what reaches the files, failures.
#include <cstring>
#include <filesystem>
#include <memory>

#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

namespace fs = std::filesystem;

class DumpWhileRunning : public testing::Test {
  protected:
    void SetUp() override { path_ = std::make_unique<ScopedEnv>("AUDIO_DUMP_PATH", dir_.path()); }
    void TearDown() override {
        if (h_) {
            ScopedEnv on("AUDIO_SSL_DUMP", "1");
            EzoSsl_Free(h_);  // closes whatever is still open
        }
    }
    void Ready() { h_ = ReadyHandle(buffer_, DefaultInit(), 1); }

    // One Run on block number `index` of a recognisable pattern; returns its status and output.
    uint32_t Run(int index, std::string* printed = nullptr) {
        std::vector<int16_t> block(kBlockSamples * kChannels);
        for (int n = 0; n < kBlockSamples; ++n) {
            for (int c = 0; c < kChannels; ++c) block[4 * n + c] = Sample(index, n, c);
        }
        int32_t delays[3];
        uint32_t status = 0;
        const std::string out = CaptureOutput([&] { status = EzoSsl_Run(h_, block.data(), delays); });
        if (printed) *printed = out;
        return status;
    }
    static int16_t Sample(int index, int n, int c) { return static_cast<int16_t>(1000 * c + 7 * n - 300 * index); }

    std::vector<int16_t> Dumped(int m) const {
        const std::string bytes = ReadFile(dir_.File("Audio_SSL_input_data" + std::to_string(m) + ".pcm"));
        std::vector<int16_t> samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
        return samples;
    }
    void Flush() { std::fflush(nullptr); }

    TempDir dir_;
    std::unique_ptr<ScopedEnv> path_;
    WorkingBuffer buffer_;
    SslHandle* h_ = nullptr;
};

TEST_F(DumpWhileRunning, EachFileHoldsItsChannelOfEverySuccessfulRun) {
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    Ready();
    for (int i = 0; i < 10; ++i) ASSERT_EQ(Run(i), SSL_RET_OK);
    Flush();
    for (int m = 0; m < kChannels; ++m) {
        const auto samples = Dumped(m);
        ASSERT_EQ(samples.size() * 2, 2560u) << m;
        for (int i = 0; i < 10; ++i) {
            for (int n = 0; n < kBlockSamples; ++n) ASSERT_EQ(samples[i * 128 + n], Sample(i, n, m)) << m << " " << i << " " << n;
        }
    }
}

TEST_F(DumpWhileRunning, SwitchesOnAndOffBetweenRuns) {
    Ready();
    Run(0);
    EXPECT_TRUE(fs::is_empty(dir_.path())) << "off at Init";
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        Run(1);
        Run(2);
        ScopedEnv off("AUDIO_SSL_DUMP", "0");
        Run(3);
        EXPECT_EQ(h_->dump_mode, 0);
        EXPECT_EQ(h_->dump_file[0], nullptr);
    }
    for (int m = 0; m < kChannels; ++m) {
        const auto samples = Dumped(m);
        ASSERT_EQ(samples.size(), 256u) << "blocks 1 and 2 only";
        EXPECT_EQ(samples[0], Sample(1, 0, m));
        EXPECT_EQ(samples[128], Sample(2, 0, m));
    }
}

TEST_F(DumpWhileRunning, RemovingTheVariableStopsWritingButKeepsTheMode) {
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        Ready();
        Run(0);
    }
    Run(1);
    Run(2);
    EXPECT_EQ(h_->dump_mode, 1);
    for (int m = 0; m < kChannels; ++m) {
        EXPECT_EQ(h_->dump_file[m], nullptr);
        EXPECT_EQ(Dumped(m).size(), 128u) << m;
    }
}

TEST_F(DumpWhileRunning, UnknownValueIsReportedOnceAndFramesGoOn) {
    Ready();
    ScopedEnv odd("AUDIO_SSL_DUMP", "3");
    std::string printed;
    EXPECT_EQ(Run(0, &printed), SSL_RET_OK);
    EXPECT_EQ(printed, "[ALGO_MSG_ERR] [SSL] [Run] Fail! [EzoSsl_Run] Dump export error\t\n");
    EXPECT_EQ(Run(1, &printed), SSL_RET_OK);
    EXPECT_EQ(printed, "") << "the value is remembered";
    EXPECT_EQ(h_->dump_mode, 3);
    EXPECT_TRUE(fs::is_empty(dir_.path()));
}

TEST_F(DumpWhileRunning, FilesThatCannotBeOpenedRefuseTheFrame) {
    Ready();
    Run(0);
    fs::create_directory(dir_.File("Audio_SSL_input_data1.pcm"));  // file 1 cannot be created
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    const float newest = h_->frame_buffer[0][255];
    std::string printed;
    EXPECT_EQ(Run(1, &printed), 0xFFFFFFFFu);
    EXPECT_EQ(printed, "[ALGO_MSG_ERR] [SSL] [Run] Fail! The dump input file 1 could not be open\n");
    EXPECT_EQ(h_->run_flag, 0);
    EXPECT_EQ(h_->frame_buffer[0][255], newest) << "the frame was not processed";
    // The mode is now 1: the next Run does not retry, it runs and writes to the open file 0.
    EXPECT_EQ(Run(2), SSL_RET_OK);
    Flush();
    EXPECT_EQ(Dumped(0).size(), 128u);
}

}  // namespace
}  // namespace ezossl_test
