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

TEST(CorrelationKernels, ExtremesKeepTheFirstOfEqualValues) {
    constexpr float kTies[] = {1.0f, 3.0f, -2.0f, 3.0f, -2.0f, 0.0f};
    EXPECT_EQ(ezossl::ArgMax(kTies, 6), 1);
    EXPECT_EQ(ezossl::ArgMin(kTies, 6), 2);
    constexpr float kFlat[] = {0.0f, 0.0f, 0.0f};
    EXPECT_EQ(ezossl::ArgMax(kFlat, 3), 0);
    EXPECT_EQ(ezossl::ArgMin(kFlat, 3), 0);
}

TEST(CorrelationKernels, ShiftPutsLagZeroAtTheCentre) {
    float in[256];
    float out[256];
    for (int i = 0; i < 256; ++i) in[i] = static_cast<float>(i);
    ezossl::FftShift(in, 256, out);
    EXPECT_EQ(out[0], 128.0f);    // lag -128
    EXPECT_EQ(out[127], 255.0f);  // lag -1
    EXPECT_EQ(out[128], 0.0f);    // lag 0
    EXPECT_EQ(out[255], 127.0f);
}

TEST(CorrelationKernels, MagnitudeAndMean) {
    constexpr float kPairs[] = {3.0f, 4.0f, -5.0f, 12.0f, 0.0f, 0.0f};
    float magnitude[3];
    ezossl::ComplexMagnitude(kPairs, 6, magnitude);
    EXPECT_EQ(magnitude[0], 5.0f);
    EXPECT_EQ(magnitude[1], 13.0f);
    EXPECT_EQ(magnitude[2], 0.0f);
    constexpr float kValues[] = {1.0f, 2.0f, 3.0f, 6.0f};
    EXPECT_EQ(ezossl::Mean(kValues, 4), 3.0f);
}

TEST(CorrelationKernels, NearestCandidatePrefersTheLowestColumnOnTies) {
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

TEST_F(GccPhatFixture, WholeSampleShiftsComeBackWithTheOppositeSign) {
    // Channel p + 1 carries the noise of channel 0 delayed by d samples: it hears it later.
    for (int d : {-6, -3, -1, 0, 1, 2, 4, 6}) {
        const int delays[kChannels] = {0, d, d, d};
        const auto noise = NoiseSource(static_cast<uint64_t>(100 + d)).White(3 * kBlockSamples, 8000.0);
        const auto got = Feed(ShiftedCopies(noise, delays));
        for (int p = 0; p < 3; ++p) EXPECT_EQ(got[p], -d) << "shift " << d << " pair " << p;
    }
}

TEST_F(GccPhatFixture, AcceptsThreeSamplesBeyondTheBoundButNotFour) {
    // Pair 0's bound is 3: lags up to 6 either way are accepted, 7 is rejected.
    const struct {
        int shift;
        int32_t expected;
    } cases[] = {{-6, 6}, {6, -6}, {-7, ezossl::kDelayRejected}, {7, ezossl::kDelayRejected}};
    for (const auto& c : cases) {
        const int delays[kChannels] = {0, c.shift, 0, 0};
        const auto noise = NoiseSource(7).White(3 * kBlockSamples, 8000.0);
        const int32_t before = handle_->voting.vote_count[0][ezossl::kRejectBin];
        EXPECT_EQ(Feed(ShiftedCopies(noise, delays))[0], c.expected) << c.shift;
        if (c.expected == ezossl::kDelayRejected) {
            EXPECT_GT(handle_->voting.vote_count[0][ezossl::kRejectBin], before);
        }
    }
}

TEST_F(GccPhatFixture, PeakToMeanBelowOnePointFourIsRejected) {
    // Spectra chosen so that each pair's correlation is 1 everywhere except a peak of 1 + p/2 at
    // lag 0 and a trough of 1/2 at lag -128: lifted to a zero floor, peak over mean is 1 + p.
    // Cross-spectrum bins far below the 1e-9 guard keep their proportions through the phase
    // transform, so the bins are set to guard * X / (1 - X) for the wanted weighted value X.
    const struct {
        float p;
        int32_t expected;
    } cases[] = {{0.3f, ezossl::kDelayRejected}, {0.7f, 0}};
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

TEST_F(GccPhatFixture, SilenceRejectsEveryPair) {
    const Channels silence(kChannels, std::vector<double>(kBlockSamples, 0.0));
    const auto got = Feed(silence);
    for (int p = 0; p < 3; ++p) {
        EXPECT_EQ(got[p], ezossl::kDelayRejected) << p;
        EXPECT_EQ(handle_->voting.vote_count[p][ezossl::kRejectBin], 1) << p;
        for (int k = 0; k < 9; ++k) EXPECT_EQ(handle_->voting.vote_count[p][k], 0) << p << "," << k;
    }
}

TEST_F(GccPhatFixture, AcceptedFramesVoteForTheNearestCandidateAndSumTheirDelay) {
    // Identical channels: lag 0, nearest to the broadside candidate k = 4; a symmetric peak
    // refines to exactly 0 whatever the dithered gain.
    const int delays[kChannels] = {0, 0, 0, 0};
    const auto noise = NoiseSource(3).White(2 * kBlockSamples, 8000.0);
    const auto got = Feed(ShiftedCopies(noise, delays));
    for (int p = 0; p < 3; ++p) {
        EXPECT_EQ(got[p], 0);
        EXPECT_EQ(handle_->voting.vote_count[p][4], 2) << p;
        EXPECT_NEAR(handle_->voting.delay_sum[p][4], 0.0f, 1e-6f) << p;
    }
}

TEST_F(GccPhatFixture, RefinedDelaysStayWithinHalfASampleOfAFractionalShift) {
    // A 1.5-sample advance on pair 2 (bound 7) lies between lags 1 and 2; the refined sum per
    // vote must land between them (dithered interpolation, not rounding).
    MicPosition mics[kChannels] = {{0, 0}, {0, 0}, {0, 0}, {1.5, 0}};
    const Channels scene = FarFieldScene(mics, -90.0, 1.0, 1.0, 4096, 8000.0, 5);
    const auto got = Feed(scene);
    const int32_t votes = handle_->voting.vote_count[2][ezossl::NearestCandidate(handle_->voting.candidate_delay[2], got[2])];
    ASSERT_GT(votes, 0);
    float sum = 0.0f;
    int32_t total = 0;
    for (int k = 0; k < 9; ++k) {
        sum += handle_->voting.delay_sum[2][k];
        total += handle_->voting.vote_count[2][k];
    }
    EXPECT_GT(sum / total, 1.0f);
    EXPECT_LT(sum / total, 2.0f);
}

}  // namespace
}  // namespace ezossl_test
