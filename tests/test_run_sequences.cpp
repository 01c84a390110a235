// Whole call sequences around Run, Get_Direction and Reset_Mapping: refusals, flags, periods.
#include <array>

#include "geometry_support.h"
#include "signals.h"

namespace ezossl_test {
namespace {

class RunSequence : public testing::Test {
  protected:
    void Ready(uint32_t bf_mode = 0) { h_ = ReadyHandle(buffer_, DefaultInit(16000, 5.0f, bf_mode), 0); }

    Printed Run() {
        const int delays_shift[kChannels] = {0, 1, 2, 3};
        const auto block = InterleaveBlock(ShiftedCopies(noise_.White(kBlockSamples, 6000.0), delays_shift), 0);
        return Call([&] { return EzoSsl_Run(h_, block.data(), delays_.data()); });
    }
    Printed GetDirection() { return Call([&] { return EzoSsl_Get_Direction(h_, &direction_); }); }
    Printed ResetMapping() { return Call([&] { return EzoSsl_Reset_Mapping(h_); }); }

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
        const Printed refused = Run();
        EXPECT_EQ(refused.status, SSL_RET_RUN_STATE_ERROR);
        EXPECT_EQ(refused.output, kRunGetDirectionFirst);
    }
    // The refused Runs cleared the run flag, so Reset_Mapping now asks for a Run...
    const Printed reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_CALL_ORDER_ERROR);
    EXPECT_EQ(reset.output, kResetMappingRunFirst);
    // ...which stays refused: the handle is blocked until Init or Reset.
    EXPECT_EQ(Run().output, kRunGetDirectionFirst);
    const SslInit init = DefaultInit(16000, 5.0f);
    CaptureOutput([&] { EzoSsl_Reset(buffer_.data(), &init); });
    h_ = ReadyHandle(buffer_, init, 0);
    EXPECT_EQ(Run().status, SSL_RET_OK);
}

TEST_F(RunSequence, ResetMappingOpensTheNextPeriod) {
    Ready();
    for (int i = 0; i < 4; ++i) Run();
    GetDirection();
    const Printed reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_OK);
    EXPECT_EQ(reset.output, "");
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
    const Printed reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_CALL_ORDER_ERROR);
    EXPECT_EQ(reset.output, kResetMappingRunFirst);
    EXPECT_EQ(h_->flags.mapping_flag, 0);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const Printed run = Run();
        EXPECT_EQ(run.status, SSL_RET_RUN_STATE_ERROR);
        EXPECT_EQ(run.output, kRunResetMappingFirst);
        EXPECT_EQ(ResetMapping().output, kResetMappingRunFirst);
    }
}

TEST_F(RunSequence, RefusedRunBlocksGetDirectionAfterEarlierSuccess) {
    Ready();
    ASSERT_EQ(Run().status, SSL_RET_OK);
    h_->flags.params_flag = 0;
    Run();
    h_->flags.params_flag = 1;
    const Printed get = GetDirection();
    EXPECT_EQ(get.status, SSL_RET_CALL_ORDER_ERROR);
    EXPECT_EQ(get.output, kGetDirectionRunFirst);
}

TEST_F(RunSequence, ModeOneRefusesAfterTheFramesAdvanced) {
    Ready();
    CaptureOutput([&] { EzoSsl_SetMode(h_, 1, 90, 45); });
    const float newest_before = h_->frames.frame_buffer[0][255];
    const float energy_before = h_->activity.energy_sum;
    const Printed run = Run();
    EXPECT_EQ(run.status, SSL_RET_MODE_NOT_INCLUDED);
    EXPECT_EQ(run.output, "[ALGO_MSG_ERR] [SSL] [CNN Run]  Fail! This lib does not include mode 1\t\n");
    EXPECT_EQ(h_->frames.frame_buffer[0][127], newest_before) << "the frame moved on by one block";
    EXPECT_GT(h_->activity.energy_sum, energy_before);
    for (int p = 0; p < 3; ++p) {
        for (int k = 0; k < 10; ++k) EXPECT_EQ(h_->voting.vote_count[p][k], 0) << "nothing was voted";
    }
    EXPECT_EQ(h_->flags.run_flag, 0);
    const Printed get = GetDirection();
    EXPECT_EQ(get.status, SSL_RET_CALL_ORDER_ERROR) << "the refused Run left no run to close";
    h_->flags.run_flag = 1;
    EXPECT_EQ(GetDirection().output, "[ALGO_MSG_ERR] [SSL]  Fail! This lib does not include mode 1\t\n");
}

TEST_F(RunSequence, DelayModeRunsButRefusesThePeriodCalls) {
    Ready(1);
    ASSERT_EQ(Run().status, SSL_RET_OK);
    EXPECT_EQ(h_->voting.vote_count[0][9] + h_->voting.vote_count[0][4], 0) << "no votes in bf_mode 1";
    const Printed reset = ResetMapping();
    EXPECT_EQ(reset.status, SSL_RET_INVALID_BF_MODE);
    EXPECT_EQ(reset.output,
              "[ALGO_MSG_ERR]  [SSL] [ResetMapping] Fail! The bf_mode is 1, You don't need to call EzoSsl_ResetVoting!\t\n");
    EXPECT_EQ(Run().output, kRunResetMappingFirst);

    Ready(1);
    ASSERT_EQ(Run().status, SSL_RET_OK);
    const Printed get = GetDirection();
    EXPECT_EQ(get.status, SSL_RET_INVALID_BF_MODE);
    EXPECT_EQ(get.output,
              "[ALGO_MSG_ERR]  [SSL] [GetDirection] Fail! The bf_mode is 1, You don't need to call EzoSsl_Get_Direction!\t\n");
    EXPECT_EQ(Run().output, kRunGetDirectionFirst);
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
