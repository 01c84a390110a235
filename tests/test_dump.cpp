// The raw-input dump: set-up at Init and Reset, switching and writing while running, closing.
#include <cstring>
#include <filesystem>
#include <memory>

#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

namespace fs = std::filesystem;

class Dump : public testing::Test {
  protected:
    void SetUp() override { path_ = std::make_unique<ScopedEnv>("AUDIO_DUMP_PATH", dir_.path()); }
    void TearDown() override {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        if (h_) EzoSsl_Free(h_);  // closes whatever is still open
    }
    void Ready() { h_ = ReadyHandle(buffer_, DefaultInit(), 1); }

    // One Run on block `index` of a recognisable pattern.
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

    std::string File(int m) const { return dir_.File("Audio_SSL_input_data" + std::to_string(m) + ".pcm"); }
    std::vector<int16_t> Dumped(int m) const {
        std::fflush(nullptr);
        const std::string bytes = ReadFile(File(m));
        std::vector<int16_t> samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
        return samples;
    }

    TempDir dir_;
    std::unique_ptr<ScopedEnv> path_;
    WorkingBuffer buffer_;
    SslHandle* h_ = nullptr;
};

TEST_F(Dump, MissingDirectoryOrUncreatableFileRefusesInitAndReset) {
    fs::create_directory(File(2));  // a directory where file 2 should go
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    const SslInit init = DefaultInit();
    for (bool missing : {true, false}) {
        ScopedEnv path("AUDIO_DUMP_PATH", missing ? "/nonexistent/ezossl-dumps" : dir_.path());
        for (auto* call : {EzoSsl_Init, EzoSsl_Reset}) {
            const std::string label = call == EzoSsl_Init ? "Init" : "Reset";
            SslHandle* handle = buffer_.handle();
            EXPECT_EQ(CaptureOutput([&] { handle = call(buffer_.data(), &init); }),
                      InitPreamble() + (missing ? "[ALGO_MSG_ERR] [SSL][" + label + "]Fail! Dump path /nonexistent/ezossl-dumps/ doesn't exist!\t\n"
                                                : "[ALGO_MSG_ERR] [SSL] [" + label + "] Fail! The dump input file 2 could not be open\n"));
            EXPECT_EQ(handle, nullptr);
        }
    }
    h_ = buffer_.handle();  // files 0 and 1 stay open until the tear-down's Free
}

TEST_F(Dump, InitOpensFourFilesInTheWorkingDirectoryThatFreeClosesWhileTheSwitchReadsOne) {
    const fs::path before = fs::current_path();
    fs::current_path(dir_.path());
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        ScopedEnv path("AUDIO_DUMP_PATH", std::nullopt);
        Ready();
    }
    fs::current_path(before);
    for (int m = 0; m < kChannels; ++m) EXPECT_EQ(fs::file_size(File(m)), 0u) << m;
    EzoSsl_Free(h_);
    EXPECT_NE(h_->dump_file[0], nullptr) << "switch gone: Free leaves the files";
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    EzoSsl_Free(h_);
    for (int m = 0; m < kChannels; ++m) EXPECT_EQ(h_->dump_file[m], nullptr) << m;
}

TEST_F(Dump, TheSwitchIsFollowedBetweenRunsAndFilesHoldTheirChannel) {
    Ready();
    Run(0);
    EXPECT_TRUE(fs::is_empty(dir_.path())) << "off at Init";
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        for (int i : {1, 2, 3}) ASSERT_EQ(Run(i), SSL_RET_OK);
        ScopedEnv off("AUDIO_SSL_DUMP", "0");
        Run(4);
        EXPECT_EQ(h_->dump_file[0], nullptr);
    }
    for (int m = 0; m < kChannels; ++m) {
        const auto samples = Dumped(m);
        ASSERT_EQ(samples.size(), 384u) << "blocks 1 to 3 only";
        for (int i = 0; i < 384; ++i) ASSERT_EQ(samples[i], Sample(1 + i / 128, i % 128, m)) << m << " " << i;
    }
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        Run(5);  // reopens, emptying the files
    }
    Run(6);  // the variable is gone: no more writing, but the mode stays
    EXPECT_EQ(h_->flags.dump_mode, 1);
    ScopedEnv odd("AUDIO_SSL_DUMP", "3");
    std::string printed;
    EXPECT_EQ(Run(7, &printed), SSL_RET_OK);
    EXPECT_EQ(printed, "[ALGO_MSG_ERR] [SSL] [Run] Fail! [EzoSsl_Run] Dump export error\t\n");
    EXPECT_EQ(Run(8, &printed), SSL_RET_OK);
    EXPECT_EQ(printed, "") << "the value is remembered";
    for (int m = 0; m < kChannels; ++m) EXPECT_EQ(Dumped(m).size(), 128u) << m;
}

TEST_F(Dump, FilesThatCannotBeOpenedWhileRunningRefuseTheFrame) {
    Ready();
    Run(0);
    fs::create_directory(File(1));
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    const float newest = h_->frames.frame_buffer[0][255];
    std::string printed;
    EXPECT_EQ(Run(1, &printed), 0xFFFFFFFFu);
    EXPECT_EQ(printed, "[ALGO_MSG_ERR] [SSL] [Run] Fail! The dump input file 1 could not be open\n");
    EXPECT_EQ(h_->flags.run_flag, 0);
    EXPECT_EQ(h_->frames.frame_buffer[0][255], newest) << "the frame was not processed";
    // The mode is now 1: the next Run does not retry, it runs and writes to the open file 0.
    EXPECT_EQ(Run(2), SSL_RET_OK);
    EXPECT_EQ(Dumped(0).size(), 128u);
}

}  // namespace
}  // namespace ezossl_test
