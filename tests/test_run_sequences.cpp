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

TEST_F(RunSequence, PeriodCallsAndTheirRefusalsInOrder) {
    // Steps: R Run, G Get_Direction, M Reset_Mapping, I a fresh Init to Cal_Params (D: in bf_mode 1),
    // 0 / 1 params_flag cleared / set. Output nullptr: not compared.
    struct Step {
        char op;
        uint32_t status = SSL_RET_OK;
        const char* output = nullptr;
    };
    constexpr uint32_t kOk = SSL_RET_OK, kState = SSL_RET_RUN_STATE_ERROR, kOrder = SSL_RET_CALL_ORDER_ERROR;
    const char* kGetBfMode = "[ALGO_MSG_ERR]  [SSL] [GetDirection] Fail! The bf_mode is 1, You don't need to call EzoSsl_Get_Direction!\t\n";
    const char* kResetBfMode = "[ALGO_MSG_ERR]  [SSL] [ResetMapping] Fail! The bf_mode is 1, You don't need to call EzoSsl_ResetVoting!\t\n";
    const struct { const char* name; std::vector<Step> steps; } sequences[] = {
        {"Get_Direction holds Run until Reset_Mapping; refused Runs block that too, until Init",
         {{'I'}, {'R'}, {'R'}, {'G', SSL_RET_NO_DIRECTION}, {'R', kState, kRunGetDirectionFirst}, {'R', kState, kRunGetDirectionFirst},
          {'M', kOrder, kResetMappingRunFirst}, {'R', kState, kRunGetDirectionFirst}, {'I'}, {'R'}}},
        {"Reset_Mapping opens the next period, also without Get_Direction",
         {{'I'}, {'R'}, {'G', SSL_RET_NO_DIRECTION}, {'M', kOk, ""}, {'R'}, {'M', kOk, ""}, {'R'}}},
        {"Reset_Mapping before any Run blocks the handle until Init",
         {{'I'}, {'M', kOrder, kResetMappingRunFirst}, {'R', kState, kRunResetMappingFirst}, {'M', kOrder, kResetMappingRunFirst},
          {'R', kState, kRunResetMappingFirst}}},
        {"a refused Run blocks Get_Direction after an earlier success",
         {{'I'}, {'R'}, {'0'}, {'R', kOrder}, {'1'}, {'G', kOrder, kGetDirectionRunFirst}}},
        {"delay mode runs but refuses Reset_Mapping", {{'D'}, {'R'}, {'M', SSL_RET_INVALID_BF_MODE, kResetBfMode},
                                                       {'R', kState, kRunResetMappingFirst}}},
        {"delay mode runs but refuses Get_Direction", {{'D'}, {'R'}, {'G', SSL_RET_INVALID_BF_MODE, kGetBfMode},
                                                       {'R', kState, kRunGetDirectionFirst}}},
    };
    for (const auto& sequence : sequences) {
        for (size_t i = 0; i < sequence.steps.size(); ++i) {
            const Step& step = sequence.steps[i];
            Printed result{SSL_RET_OK, ""};
            switch (step.op) {
                case 'I': Ready(); continue;
                case 'D': Ready(1); continue;
                case '0': h_->flags.params_flag = 0; continue;
                case '1': h_->flags.params_flag = 1; continue;
                case 'R': result = Run(); break;
                case 'G': result = GetDirection(); break;
                default: result = ResetMapping(); break;
            }
            EXPECT_EQ(result.status, step.status) << sequence.name << ", step " << i;
            EXPECT_EQ(result.output, step.output ? step.output : result.output) << sequence.name << ", step " << i;
        }
    }
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
