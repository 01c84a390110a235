// The period's solve on prepared votes: winners and gates, path differences, both solvers.
#include <cmath>
#include <cstring>

#include "core/direction_solver.h"
#include "core/ssl_handle.h"
#include "core/voting.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

class SolverFixture : public testing::Test {
  protected:
    void SetUp() override {
        h_ = InitQuietly(buffer_, DefaultInit(16000, 5.0f));
        ezossl::Voting_Reset(h_->voting, h_->activity, h_->solver);
    }
    void Votes(int pair, std::initializer_list<std::pair<int, int32_t>> bins) {
        for (const auto& [bin, count] : bins) h_->voting.vote_count[pair][bin] = count;
    }

    WorkingBuffer buffer_;
    SslHandle* h_ = nullptr;
};

TEST_F(SolverFixture, WinnersNeedStrictlyMoreVotesAndTheirGate) {
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 0) << "bin 0 with no votes is below its gate of 2";
    for (int p = 0; p < 3; ++p) Votes(p, {{2, 5}, {6, 5}, {9, 4}});
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 1);
    for (int p = 0; p < 3; ++p) EXPECT_EQ(h_->solver.vote_winner[p], 2) << "ties keep the lower bin";
    Votes(1, {{9, 5}});
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 1) << "a tie with the rejected bin keeps the candidate";
    Votes(1, {{9, 6}});
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 0) << "rejected frames are the majority";
    EXPECT_EQ(h_->solver.vote_winner[1], 9);
    Votes(1, {{9, 0}});
    h_->solver.vote_gate[2] = 6;
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 0) << "5 votes below a gate of 6";
    h_->solver.vote_gate[2] = 5;
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 1);
}

TEST_F(SolverFixture, EmptyPeriodWithZeroGatesWinsAPathDifferenceOfNaN) {
    for (int32_t& gate : h_->solver.vote_gate) gate = 0;  // voting lengths below 32 frames
    EXPECT_EQ(ezossl::Votes_FindWinners(h_->voting, h_->solver), 1);
    // 0 / 0 votes: the NaN difference fails both range tests and is kept as "beyond the limit".
    ezossl::Votes_ToPathDifference(346.0f / 16000.0f, h_->max_delay, h_->voting, h_->solver);
    EXPECT_TRUE(std::isnan(h_->solver.path_difference[0]));
    EXPECT_TRUE(h_->solver.pair_status[0] == 1 && h_->solver.pair_valid[0] == 1);
}

TEST_F(SolverFixture, PathDifferencesAreMeanWinningDelaysInMetres) {
    // 346 m/s at 16 kHz: 0.021625 m per sample; pair 0's bound is 3 samples.
    const struct {
        float mean_delay;
        int32_t status;
        int32_t valid;
    } cases[] = {{2.0f, 0, 1}, {-3.0f, 0, 1}, {4.0f, 1, 1}, {-6.0f, 1, 1}, {6.5f, 2, 0}, {-7.0f, 2, 0}};
    const float metres_per_sample = 346.0f / 16000.0f;
    for (const auto& c : cases) {
        h_->solver.vote_winner[0] = 5;
        h_->voting.vote_count[0][5] = 4;
        h_->voting.delay_sum[0][5] = 4 * c.mean_delay;
        ezossl::Votes_ToPathDifference(metres_per_sample, h_->max_delay, h_->voting, h_->solver);
        EXPECT_FLOAT_EQ(h_->solver.path_difference[0], c.mean_delay * metres_per_sample) << c.mean_delay;
        EXPECT_FLOAT_EQ(h_->solver.path_limit[0], 3 * metres_per_sample);
        EXPECT_FLOAT_EQ(h_->solver.path_tolerance[0], 6 * metres_per_sample);
        EXPECT_EQ(h_->solver.pair_status[0], c.status) << c.mean_delay;
        EXPECT_EQ(h_->solver.pair_valid[0], c.valid) << c.mean_delay;
    }
}

TEST_F(SolverFixture, LinearArrayAnglesFollowTheWeightedCosineOfTheValidPairs) {
    // Pairs 5, 10 and 15 cm along x; path difference = spacing * cosine.
    // An angle of NaN: no usable pair, no solution.
    const struct { float cosine[3]; int32_t valid[3]; float degrees; } cases[] = {
        {{0, 0, 0}, {1, 1, 1}, 0.0f}, {{1, 1, 1}, {1, 1, 1}, -90.0f}, {{-1, -1, -1}, {1, 1, 1}, 90.0f},
        {{1.2f, 1.2f, 1.2f}, {1, 1, 1}, -90.0f}, {{0.5f, 0.5f, 0.5f}, {1, 1, 1}, -30.0000019f},
        // Cosines 0.2, 0.3, 0.7: mean 0.4, weights 5, 10, 3.33 by inverse distance to the mean.
        {{0.2f, 0.3f, 0.7f}, {1, 1, 1}, -20.20954f}, {{0, 1, 0}, {0, 1, 0}, -90.0f}, {{0, 1, 0}, {0, 0, 0}, NAN},
    };
    for (const auto& c : cases) {
        ezossl::Voting_Reset(h_->voting, h_->activity, h_->solver);
        h_->geometry.array_geometry = 0;
        for (int p = 0; p < 3; ++p) {
            h_->geometry.relative_array_pos[p] = {0.05f * (p + 1), 0.0f};
            h_->solver.path_difference[p] = 0.05f * (p + 1) * c.cosine[p];
            h_->solver.pair_valid[p] = c.valid[p];
        }
        const bool usable = ezossl::Pairs_ToCosines(h_->geometry, h_->solver) != 0;
        EXPECT_EQ(usable, !std::isnan(c.degrees)) << c.degrees;
        if (usable) {
            EXPECT_NEAR(ezossl::Direction_Solve(h_->geometry, h_->solver), c.degrees, 1e-4f) << c.cosine[0];
        }
    }
}

TEST_F(SolverFixture, PlanarAnglesGrowCounterClockwiseFromMinus90AtPlusX) {
    const struct {
        float x;
        float y;
        int32_t degrees;
    } cases[] = {{1, 0, -90}, {0, 1, 0}, {-1, 0, 90}, {0, -1, 180}, {1, 1, -45}, {1, -1, 225}, {-1, -1, 135}};
    h_->geometry.array_geometry = 1;
    for (int p = 0; p < 3; ++p) h_->solver.pair_valid[p] = 1;
    EXPECT_EQ(ezossl::Pairs_ToCosines(h_->geometry, h_->solver), 1);
    h_->solver.pair_valid[2] = 0;
    EXPECT_EQ(ezossl::Pairs_ToCosines(h_->geometry, h_->solver), 0) << "a planar array needs every pair";
    // Projection rows pick path differences 0 and 1 as x and y.
    const float projection[2][3] = {{1, 0, 0}, {0, 1, 0}};
    std::memcpy(h_->geometry.plane_projection, projection, sizeof(projection));
    for (const auto& c : cases) {
        h_->solver.path_difference[0] = c.x;
        h_->solver.path_difference[1] = c.y;
        h_->solver.path_difference[2] = 5.0f;
        const float angle = ezossl::Direction_Solve(h_->geometry, h_->solver);
        EXPECT_EQ(static_cast<int32_t>(angle), c.degrees) << c.x << "," << c.y << " gave " << angle;
        EXPECT_EQ(h_->solver.plane_vector[0], c.x);
        EXPECT_EQ(h_->solver.plane_vector[1], c.y);
    }
}

TEST_F(SolverFixture, LevelTestReplacesTheEnergyByItsLevelInDb) {
    h_->activity.energy_sum = 0.0f;
    EXPECT_FALSE(ezossl::Level_IsAboveThreshold(h_->settings, h_->activity)) << "silence is -90 dB";
    EXPECT_NEAR(h_->activity.energy_sum, -90.0f, 1e-4f);

    // Full-scale-ish frames: 32 frames of energy 256 * 0.01 give a mean square of 0.01, -20 dB.
    h_->activity.energy_sum = 32 * 256 * 0.01f;
    h_->settings.level_threshold_db = -20;
    EXPECT_NEAR((ezossl::Level_IsAboveThreshold(h_->settings, h_->activity), h_->activity.energy_sum), -20.0f, 1e-4f);
    h_->activity.energy_sum = 32 * 256 * 0.0101f;
    EXPECT_TRUE(ezossl::Level_IsAboveThreshold(h_->settings, h_->activity));
}

}  // namespace
}  // namespace ezossl_test
