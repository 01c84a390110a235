// Phase-transform correlation: known-answer kernels and delays measured on synthetic frames.
#include <array>
#include <cmath>

#include "common/vector_ops.h"
#include "core/gcc_phat.h"
#include "core/gcc_phat_internal.h"
#include "core/frame_input.h"
#include "core/frame_fft.h"
#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

TEST(CorrelationKernels, TiesGoToTheFirstExtremeAndTheLowestCandidateColumn) {
    constexpr float kTies[] = {1.0f, 3.0f, -2.0f, 3.0f, -2.0f, 0.0f};
    EXPECT_EQ(ezossl::ArgMax(kTies, 6), 1);
    EXPECT_EQ(ezossl::ArgMin(kTies, 6), 2);
    constexpr float kRow[9] = {4.0f, 3.0f, 2.0f, 1.0f, 0.0f, -1.0f, -2.0f, -3.0f, -4.0f};
    EXPECT_EQ(ezossl::NearestCandidate(kRow, 0), 4);
    EXPECT_EQ(ezossl::NearestCandidate(kRow, 4), 0);
    EXPECT_EQ(ezossl::NearestCandidate(kRow, -9), 8);
    constexpr float kHalfSteps[9] = {3.0f, 1.0f, -1.0f, -3.0f, -5.0f, -7.0f, -9.0f, -11.0f, -13.0f};
    EXPECT_EQ(ezossl::NearestCandidate(kHalfSteps, 0), 1) << "1.0 and -1.0 are equally near";
}

// Drives the frame pipeline of bf_mode 0 on one handle, block by block.
class GccPhatFixture : public testing::Test {
  protected:
    void SetUp() override { handle_ = InitQuietly(buffer_, DefaultInit(16000, 5.0f)); }  // bounds 3, 5, 7

    // Feeds every block of the channels; returns the delays of the last one.
    std::array<int32_t, 3> Feed(const Channels& channels) {
        std::array<int32_t, 3> delays{};
        const int blocks = static_cast<int>(channels[0].size()) / kBlockSamples;
        for (int b = 0; b < blocks; ++b) {
            const auto block = InterleaveBlock(channels, b);
            ezossl::InputBlock_Append(block.data(), handle_->dump_block, handle_->frames, handle_->asdf);
            ezossl::Spectrum_Compute(handle_->frames, handle_->work, handle_->fft);
            Estimate(delays.data());
        }
        return delays;
    }

    void Estimate(int32_t* delays) {
        ezossl::GccPhat_EstimateDelays(handle_->frames, ezossl::DelayLimits{handle_->lag_table, handle_->max_delay},
                                       handle_->work, handle_->fft, handle_->dither_rng, handle_->voting, delays);
    }

    WorkingBuffer buffer_;
    SslHandle* handle_ = nullptr;
};

TEST_F(GccPhatFixture, ShiftsComeBackNegatedAndVoteWithinThreeSamplesBeyondTheBound) {
    // Channels 1 to 3 carry the noise of channel 0 delayed by `shift` samples: they hear it later.
    // Bounds 3, 5, 7 accept lags up to 6, 8 and 10 either way.
    constexpr int32_t R = ezossl::kDelayRejected;
    const struct { int shift; double amplitude; int32_t expected[3]; } cases[] = {
        {0, 8000, {0, 0, 0}}, {-1, 8000, {1, 1, 1}}, {1, 8000, {-1, -1, -1}}, {2, 8000, {-2, -2, -2}},
        {-3, 8000, {3, 3, 3}}, {4, 8000, {-4, -4, -4}}, {-6, 8000, {6, 6, 6}}, {6, 8000, {-6, -6, -6}},
        {-7, 8000, {R, 7, 7}}, {7, 8000, {R, -7, -7}}, {-9, 8000, {R, R, 9}}, {0, 0, {R, R, R}},  // silence
    };
    for (const auto& c : cases) {
        handle_ = InitQuietly(buffer_, DefaultInit(16000, 5.0f));
        const int delays[kChannels] = {0, c.shift, c.shift, c.shift};
        const auto got = Feed(ShiftedCopies(NoiseSource(100 + c.shift).White(3 * kBlockSamples, c.amplitude), delays));
        for (int p = 0; p < 3; ++p) {
            EXPECT_EQ(got[p], c.expected[p]) << "shift " << c.shift << " pair " << p;
            const int bin = c.expected[p] == R ? ezossl::kRejectBin
                                               : ezossl::NearestCandidate(handle_->voting.candidate_delay[p], c.expected[p]);
            int32_t votes = 0;
            for (int k = 0; k < 10; ++k) votes += handle_->voting.vote_count[p][k];
            EXPECT_EQ(handle_->voting.vote_count[p][bin], 3) << "shift " << c.shift << " pair " << p;
            EXPECT_EQ(votes, 3) << "shift " << c.shift << " pair " << p;
        }
        if (c.shift == 0 && c.amplitude > 0) {  // a symmetric peak refines to exactly 0 whatever the dithered gain
            for (int p = 0; p < 3; ++p) EXPECT_NEAR(handle_->voting.delay_sum[p][4], 0.0f, 1e-6f) << p;
        }
    }
}

TEST_F(GccPhatFixture, PeakToMeanBelowOnePointFourIsRejected) {
    // Spectra chosen so that each pair's correlation is 1 everywhere except a peak of 1 + p/2 at
    // lag 0 and a trough of 1/2 at lag -128: lifted to a zero floor, peak over mean is 1 + p.
    // Cross-spectrum bins far below the 1e-9 guard keep their proportions through the phase
    // transform, so the bins are set to guard * X / (1 - X) for the wanted weighted value X.
    const struct { float p; int32_t expected; } cases[] = {{0.3f, ezossl::kDelayRejected}, {0.7f, 0}};
    for (const auto& c : cases) {
        for (int k = 0; k < ezossl::kSpectrumBins; ++k) {
            const double x = k == 0 ? 1.0 : 0.5 / 256.0 * (c.p - (k % 2 ? -1.0 : 1.0));
            const auto bin = static_cast<float>(k == 0 ? 1.0 : 1e-9 * x / (1.0 - std::fabs(x)));
            for (int ch = 0; ch < kChannels; ++ch) handle_->frames.spectrum[ch][k] = {ch == 0 ? 1.0f : bin, 0.0f};
        }
        int32_t delays[3];
        Estimate(delays);
        for (int p = 0; p < 3; ++p) EXPECT_EQ(delays[p], c.expected) << "1 + " << c.p << ", pair " << p;
    }
}

}  // namespace
}  // namespace ezossl_test
