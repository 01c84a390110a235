// Whole call sequences around Run, Get_Direction and Reset_Mapping: refusals, flags, periods.
#include <array>

#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

struct Outcome {
    uint32_t status;
    std::string printed;
};

class RunSequence : public testing::Test {
  protected:
    void Ready(uint32_t bf_mode = 0) { h_ = ReadyHandle(buffer_, DefaultInit(16000, 5.0f, bf_mode), 0); }

    Outcome Run() {
        const int delays_shift[kChannels] = {0, 1, 2, 3};
        const auto block = InterleaveBlock(ShiftedCopies(noise_.White(kBlockSamples, 6000.0), delays_shift), 0);
        Outcome out{};
        out.printed = CaptureOutput([&] { out.status = EzoSsl_Run(h_, block.data(), delays_.data()); });
        return out;
    }
    Outcome GetDirection() {
        Outcome out{};
        out.printed = CaptureOutput([&] { out.status = EzoSsl_Get_Direction(h_, &direction_); });
        return out;
    }
    Outcome ResetMapping() {
        Outcome out{};
        out.printed = CaptureOutput([&] { out.status = EzoSsl_Reset_Mapping(h_); });
        return out;
    }

    WorkingBuffer buffer_;
    SslHandle* h_ = nullptr;
    NoiseSource noise_{17};
    std::array<int32_t, 3> delays_{};
    int32_t direction_ = 0;
};

constexpr const char* kRunGetDirectionFirst = "[ALGO_MSG_ERR]  [SSL] [Run] Fail! Please call EzoSsl_Get_Direction first.\t\n";
constexpr const char* kRunResetMappingFirst = "[ALGO_MSG_ERR]  [SSL] [Run] Fail! Please call EzoSsl_Reset_Mapping first.\t\n";
constexpr const char* kResetMappingRunFirst = "[ALGO_MSG_ERR] [SSL] [ResetMapping] Fail! Please call EzoSsl_Run first!\t\n";
constexpr const char* kGetDirectionRunFirst = "[ALGO_MSG_ERR] [SSL] [GetDirection] Fail! Please call EzoSsl_Run first!\t\n";

TEST_F(RunSequence, RunAfterGetDirectionWaitsForResetMapping) {
    Ready();
    for (int i = 0; i < 4; ++i) ASSERT_EQ(Run().status, SSL_RET_OK);
    GetDirection();
    EXPECT_EQ(h_->flags.direction_flag, 1);
    EXPECT_EQ(h_->flags.mapping_flag, 2);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const Outcome refused = Run();
        EXPECT_EQ(refused.status, SSL_RET_RUN_STATE_ERROR);
        EXPECT_EQ(refused.printed, kRunGetDirectionFirst);
    }
    // The refused Runs cleared the run flag, so Reset_Mapping now asks for a Run...
    const Outcome reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_CALL_ORDER_ERROR);
    EXPECT_EQ(reset.printed, kResetMappingRunFirst);
    // ...which stays refused: the handle is blocked until Init or Reset.
    EXPECT_EQ(Run().printed, kRunGetDirectionFirst);
    const SslInit init = DefaultInit(16000, 5.0f);
    CaptureOutput([&] { EzoSsl_Reset(buffer_.data(), &init); });
    h_ = ReadyHandle(buffer_, init, 0);
    EXPECT_EQ(Run().status, SSL_RET_OK);
}

TEST_F(RunSequence, ResetMappingOpensTheNextPeriod) {
    Ready();
    for (int i = 0; i < 4; ++i) Run();
    GetDirection();
    const Outcome reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_OK);
    EXPECT_EQ(reset.printed, "");
    EXPECT_EQ(h_->flags.direction_flag, 2);
    EXPECT_EQ(h_->flags.mapping_flag, 1);
    for (int p = 0; p < 3; ++p) {
        for (int k = 0; k < 10; ++k) EXPECT_EQ(h_->voting.vote_count[p][k], 0);
    }
    EXPECT_EQ(Run().status, SSL_RET_OK);
    // Reset_Mapping may also discard a period without a Get_Direction.
    EXPECT_EQ(ResetMapping().status, SSL_RET_OK);
    EXPECT_EQ(Run().status, SSL_RET_OK);
}

TEST_F(RunSequence, ResetMappingBeforeAnyRunBlocksTheHandleUntilInit) {
    Ready();
    const Outcome reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_CALL_ORDER_ERROR);
    EXPECT_EQ(reset.printed, kResetMappingRunFirst);
    EXPECT_EQ(h_->flags.mapping_flag, 0);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const Outcome run = Run();
        EXPECT_EQ(run.status, SSL_RET_RUN_STATE_ERROR);
        EXPECT_EQ(run.printed, kRunResetMappingFirst);
        EXPECT_EQ(ResetMapping().printed, kResetMappingRunFirst);
    }
}

TEST_F(RunSequence, RefusedRunBlocksGetDirectionAfterEarlierSuccess) {
    Ready();
    ASSERT_EQ(Run().status, SSL_RET_OK);
    h_->flags.params_flag = 0;
    Run();
    h_->flags.params_flag = 1;
    const Outcome get = GetDirection();
    EXPECT_EQ(get.status, SSL_RET_CALL_ORDER_ERROR);
    EXPECT_EQ(get.printed, kGetDirectionRunFirst);
}

TEST_F(RunSequence, ModeOneRefusesAfterTheFramesAdvanced) {
    Ready();
    CaptureOutput([&] { EzoSsl_SetMode(h_, 1, 90, 45); });
    const float newest_before = h_->frames.frame_buffer[0][255];
    const float energy_before = h_->activity.energy_sum;
    const Outcome run = Run();
    EXPECT_EQ(run.status, SSL_RET_MODE_NOT_INCLUDED);
    EXPECT_EQ(run.printed, "[ALGO_MSG_ERR] [SSL] [CNN Run]  Fail! This lib does not include mode 1\t\n");
    EXPECT_EQ(h_->frames.frame_buffer[0][127], newest_before) << "the frame moved on by one block";
    EXPECT_GT(h_->activity.energy_sum, energy_before);
    for (int p = 0; p < 3; ++p) {
        for (int k = 0; k < 10; ++k) EXPECT_EQ(h_->voting.vote_count[p][k], 0) << "nothing was voted";
    }
    EXPECT_EQ(h_->flags.run_flag, 0);
    const Outcome get = GetDirection();
    EXPECT_EQ(get.status, SSL_RET_CALL_ORDER_ERROR) << "the refused Run left no run to close";
    h_->flags.run_flag = 1;
    EXPECT_EQ(GetDirection().printed, "[ALGO_MSG_ERR] [SSL]  Fail! This lib does not include mode 1\t\n");
}

TEST_F(RunSequence, DelayModeRunsButRefusesThePeriodCalls) {
    Ready(1);
    ASSERT_EQ(Run().status, SSL_RET_OK);
    EXPECT_EQ(h_->voting.vote_count[0][9] + h_->voting.vote_count[0][4], 0) << "no votes in bf_mode 1";
    const Outcome reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_INVALID_BF_MODE);
    EXPECT_EQ(reset.printed,
              "[ALGO_MSG_ERR]  [SSL] [ResetMapping] Fail! The bf_mode is 1, You don't need to call EzoSsl_ResetVoting!\t\n");
    EXPECT_EQ(Run().printed, kRunResetMappingFirst);

    Ready(1);
    ASSERT_EQ(Run().status, SSL_RET_OK);
    const Outcome get = GetDirection();
    EXPECT_EQ(get.status, SSL_RET_INVALID_BF_MODE);
    EXPECT_EQ(get.printed,
              "[ALGO_MSG_ERR]  [SSL] [GetDirection] Fail! The bf_mode is 1, You don't need to call EzoSsl_Get_Direction!\t\n");
    EXPECT_EQ(Run().printed, kRunGetDirectionFirst);
}

TEST_F(RunSequence, NewVotingLengthClearsTheVotesAtTheNextRun) {
    Ready();
    for (int i = 0; i < 3; ++i) Run();
    auto votes = [&](int pair) {
        int32_t total = 0;
        for (int k = 0; k < 10; ++k) total += h_->voting.vote_count[pair][k];
        return total;
    };
    ASSERT_EQ(votes(0), 3);
    const SslConfig same{25, -80, 32};
    CaptureOutput([&] { EzoSsl_Config(h_, &same); });
    Run();
    EXPECT_EQ(votes(0), 4) << "the same length keeps the period";
    const SslConfig longer{25, -80, 64};
    CaptureOutput([&] { EzoSsl_Config(h_, &longer); });
    EXPECT_EQ(votes(0), 4) << "Config itself clears nothing";
    Run();
    EXPECT_EQ(votes(0), 1);
    EXPECT_EQ(h_->flags.voting_reset_pending, 0);
}

}  // namespace
}  // namespace ezossl_test
