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

TEST(SetMode, EveryArgumentCombination) {
    const struct {
        uint32_t mode, angular_distance, convidence;
        uint32_t status;
        std::string output;
        uint32_t stored_mode;
        uint32_t start_mode = 0;
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
        // Mode 1 stays until mode 0 succeeds: an invalid mode is refused before anything is stored.
        {2, 90, 45, SSL_RET_INVALID_MODE, kModeRefusal, 1, 1},
        {0, 90, 45, SSL_RET_OK, kUsingNormal + "[ALGO_MSG_MSG] [SSL][SetMode] mode = 0\t\n", 0, 1},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1);
        handle->voting.vote_count[1][4] = 7;  // a period with votes cast, to see whether the call clears it
        handle->voting.delay_sum[2][3] = handle->activity.energy_sum = 3.0f;
        handle->ssl_mode = c.start_mode;
        const Printed result = Call([&] { return EzoSsl_SetMode(handle, c.mode, c.angular_distance, c.convidence); });
        const std::string name = std::to_string(c.mode) + "," + std::to_string(c.angular_distance) + "," +
                                 std::to_string(c.convidence) + " from " + std::to_string(c.start_mode);
        EXPECT_EQ(result.status, c.status) << name;
        EXPECT_EQ(result.output, c.output) << name;
        EXPECT_EQ(handle->ssl_mode, c.stored_mode) << name;
        EXPECT_EQ(handle->voting.vote_count[1][4] == 0 && handle->voting.delay_sum[2][3] == 0.0f && handle->activity.energy_sum == 0.0f,
                  c.status == SSL_RET_OK) << name;
    }
}

}  // namespace
}  // namespace ezossl_test
