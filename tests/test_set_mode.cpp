// Mode selection: the mode check, the AI method's parameter checks, and when the mode is stored.
#include "geometry_support.h"

namespace ezossl_test {
namespace {

const std::string kUsingNormal = "[ALGO_MSG_MSG] [SSL] [SetMode] Using mode = 0!,[0: Normal,1:AI Method]\t\n";
const std::string kUsingAi = "[ALGO_MSG_MSG] [SSL] [SetMode] Using mode = 1!,[0: Normal,1:AI Method]\t\n";
const std::string kAngularRefusal =
    "[ALGO_MSG_ERR]  [SSL] [SetNNParams] Fail! angular_distance must be set between [0,181] !\t\n";
const std::string kConvidenceRefusal =
    "[ALGO_MSG_ERR]  [SSL] [SetNNParams] Fail! convidence must be set between [1,90] !\t\n";
const std::string kModeRefusal = "[ALGO_MSG_ERR]  [SSL] [SetMode] Fail! The mode is only to be 0 or 1!\t\n";
const std::string kNotIncluded = "[ALGO_MSG_ERR] [SSL] [SetMode] Fail! This lib does not include mode 1\t\n";

// A period with some votes cast, to see whether a call clears it.
void CastVotes(SslHandle* handle) {
    handle->voting.vote_count[1][4] = 7;
    handle->voting.delay_sum[2][3] = 1.5f;
    handle->activity.energy_sum = 3.0f;
}

bool VotesCleared(const SslHandle* handle) {
    return handle->voting.vote_count[1][4] == 0 && handle->voting.delay_sum[2][3] == 0.0f && handle->activity.energy_sum == 0.0f;
}

TEST(SetMode, EveryArgumentCombination) {
    const struct {
        uint32_t mode, angular_distance, convidence;
        uint32_t status;
        std::string output;
        uint32_t stored_mode;  // the handle starts in mode 0
    } cases[] = {
        {0, 180, 90, SSL_RET_OK, kUsingNormal + "[ALGO_MSG_MSG] [SSL][SetMode] mode = 0\t\n", 0},
        {0, 1, 1, SSL_RET_OK, kUsingNormal + "[ALGO_MSG_MSG] [SSL][SetMode] mode = 0\t\n", 0},
        {0, 0, 45, SSL_RET_INVALID_MODE, kUsingNormal + kAngularRefusal, 0},
        {0, 181, 45, SSL_RET_INVALID_MODE, kUsingNormal + kAngularRefusal, 0},
        {0, 90, 0, SSL_RET_INVALID_MODE, kUsingNormal + kConvidenceRefusal, 0},
        {0, 90, 91, SSL_RET_INVALID_MODE, kUsingNormal + kConvidenceRefusal, 0},
        {0, 0xFFFFFFFFu, 45, SSL_RET_INVALID_MODE, kUsingNormal + kAngularRefusal, 0},  // -1 as unsigned
        // Mode 1 is stored before its refusals, whichever refuses.
        {1, 90, 45, SSL_RET_MODE_NOT_INCLUDED, kUsingAi + kNotIncluded, 1},
        {1, 0, 45, SSL_RET_INVALID_MODE, kUsingAi + kAngularRefusal, 1},
        {1, 90, 91, SSL_RET_INVALID_MODE, kUsingAi + kConvidenceRefusal, 1},
        {2, 90, 45, SSL_RET_INVALID_MODE, kModeRefusal, 0},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
        CastVotes(handle);
        const Printed result = Call([&] { return EzoSsl_SetMode(handle, c.mode, c.angular_distance, c.convidence); });
        const std::string name = "SetMode(" + std::to_string(c.mode) + ", " + std::to_string(c.angular_distance) +
                                 ", " + std::to_string(c.convidence) + ")";
        EXPECT_EQ(result.status, c.status) << name;
        EXPECT_EQ(result.output, c.output) << name;
        EXPECT_EQ(handle->ssl_mode, c.stored_mode) << name;
        EXPECT_EQ(VotesCleared(handle), c.status == SSL_RET_OK) << name;
    }
}

TEST(SetMode, ModeOneStaysUntilModeZeroSucceeds) {
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
    ASSERT_EQ(Call([&] { return EzoSsl_SetMode(handle, 1, 90, 45); }).status, SSL_RET_MODE_NOT_INCLUDED);
    // An invalid mode is refused before anything is stored.
    EXPECT_EQ(Call([&] { return EzoSsl_SetMode(handle, 2, 90, 45); }).status, SSL_RET_INVALID_MODE);
    EXPECT_EQ(handle->ssl_mode, 1u);
    EXPECT_EQ(Call([&] { return EzoSsl_SetMode(handle, 0, 90, 45); }).status, SSL_RET_OK);
    EXPECT_EQ(handle->ssl_mode, 0u);
}

}  // namespace
}  // namespace ezossl_test
