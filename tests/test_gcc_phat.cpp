// Phase-transform correlation: known-answer kernels and delays measured on synthetic frames.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "common/real_fft.h"
#include "core/gcc_phat.h"
#include "core/gcc_phat_internal.h"
#include "core/frame_input.h"
#include "core/frame_fft.h"
#include "core/phat_lanes.h"
#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

// Writes value v at correlation index j of every lane.
void SetCorrelation(ezossl::RealFftPlan* plan, int j, float v) {
    for (int l = 0; l < ezossl::kFftLanes; ++l) const_cast<ezossl::F4&>(ezossl::Correlation_At(plan, j))[l] = v;
}

TEST(CorrelationKernels, ExtremesKeepTheFirstOfEqualValues) {
    // Ties next to each other, apart, at both ends and against index order, and an all-zero
    // lane mixing both signs of zero.
    alignas(16) unsigned char region[ezossl::Qel_rdft_size(256)];
    ezossl::RealFftPlan* plan = ezossl::RealFft_Build(region, sizeof(region));
    const struct {
        int first, second;
    } ties[] = {{5, 6}, {6, 9}, {200, 255}, {0, 3}, {131, 130}};
    for (const auto& t : ties) {
        for (int j = 0; j < 256; ++j) SetCorrelation(plan, j, 0.25f * static_cast<float>(j % 7));
        SetCorrelation(plan, t.first, 9.0f);
        SetCorrelation(plan, t.second, 9.0f);
        SetCorrelation(plan, t.first ^ 64, -9.0f);
        SetCorrelation(plan, t.second ^ 64, -9.0f);
        const ezossl::PairExtremes e = ezossl::Correlation_Extremes(plan);
        EXPECT_EQ(e.max_index[1], std::min(t.first, t.second)) << t.first << "," << t.second;
        EXPECT_EQ(e.min_index[1], std::min(t.first ^ 64, t.second ^ 64)) << t.first << "," << t.second;
    }
    for (int j = 0; j < 256; ++j) SetCorrelation(plan, j, j % 3 ? 0.0f : -0.0f);
    const ezossl::PairExtremes flat = ezossl::Correlation_Extremes(plan);
    EXPECT_EQ(flat.max_index[2], 0);
    EXPECT_EQ(flat.min_index[2], 0);
    EXPECT_TRUE(std::signbit(flat.max_value[2])) << "the value found first, with its sign";
    // A NaN and an infinity (only a corrupted handle has them): the index-by-index answer.
    for (int j = 0; j < 256; ++j) SetCorrelation(plan, j, static_cast<float>(j % 5 + 1));
    SetCorrelation(plan, 127, std::nanf(""));  // the last value the first pass sees
    SetCorrelation(plan, 200, INFINITY);
    const ezossl::PairExtremes odd = ezossl::Correlation_Extremes(plan);
    EXPECT_EQ(odd.max_index[3], 200);
    EXPECT_EQ(odd.min_index[3], 0);
}

TEST(CorrelationKernels, LiftedSumBoundsHoldTheSumInOrder) {
    // Noise around offsets and at scales far apart, a lone peak, and a flat correlation: the
    // serial sum of the values lifted to the minimum lies within the bounds.
    alignas(16) unsigned char region[ezossl::Qel_rdft_size(256)];
    ezossl::RealFftPlan* plan = ezossl::RealFft_Build(region, sizeof(region));
    const struct { double offset, scale; int peak; } cases[] = {{0.0, 1.0, -1}, {-40.0, 9.0, -1}, {300.0, 1e-3, -1}, {0.0, 0.0, 77}, {5.0, 0.0, -1}};
    for (const auto& c : cases) {
        const std::vector<double> noise = NoiseSource(11).White(256, c.scale);
        for (int j = 0; j < 256; ++j) SetCorrelation(plan, j, static_cast<float>(c.offset + noise[j] + (j == c.peak ? 256.0 : 0.0)));
        const ezossl::PairExtremes e = ezossl::Correlation_Extremes(plan);
        float floor[4], sum[4];
        std::copy(e.min_value, e.min_value + 4, floor);
        ezossl::Correlation_ShiftedSums(plan, floor, sum);
        EXPECT_LE(e.lifted_sum_low[1], sum[1]) << c.offset << ", " << c.scale;
        EXPECT_GE(e.lifted_sum_high[1], sum[1]) << c.offset << ", " << c.scale;
    }
}

// The one-pair-at-a-time kernel the library ran before the pairs shared their transforms,
// kept here as the reference: cross spectrum, phase transform, inverse FFT, shift, first
// extremes by serial search, tests, vote and refinement.
void ReferenceEstimate(const ezossl::Frames& frames, const SslHandle& limits, ezossl::FftState& fft,
                       ezossl::DitherRng& rng, ezossl::VotingState& voting, int32_t* delay_sample) {
    for (int p = 0; p < 3; ++p) {
        float x[258], unused[256], y[256];
        for (int k = 0; k < 129; ++k) {
            const float a = frames.spectrum[0][k].re, b = frames.spectrum[0][k].im;
            const float c = frames.spectrum[p + 1][k].re, d = frames.spectrum[p + 1][k].im;
            const float re = a * c + b * d, im = b * c - a * d;
            const double weight = static_cast<float>(std::sqrt(static_cast<double>(re * re + im * im))) + 1e-9;
            x[2 * k] = static_cast<float>(re / weight);
            x[2 * k + 1] = static_cast<float>(im / weight);
        }
        ezossl::Qel_rdft(&fft, 256, ezossl::kFftInverse, x, unused, unused);
        int hi = 0, lo = 0;
        for (int j = 0; j < 256; ++j) {
            y[j] = x[(j + 128) % 256];
            if (y[j] > y[hi]) hi = j;
            if (y[j] < y[lo]) lo = j;
        }
        int32_t lag = limits.lag_table[hi];
        double ratio = -1.0;
        if (std::abs(lag) <= limits.max_delay[p] + 3 && std::fabs(static_cast<double>(y[hi])) - std::fabs(static_cast<double>(y[lo])) > 0.0) {
            const float floor = y[lo];
            float sum = 0.0f;
            for (float& v : y) sum += (v -= floor);
            ratio = y[hi] / (sum / 256.0f);
        } else {
            lag = 0;
        }
        const int k = ezossl::NearestCandidate(voting.candidate_delay[p], lag);
        if (ratio < 1.4) {
            ++voting.vote_count[p][9];
            delay_sample[p] = ezossl::kDelayRejected;
            continue;
        }
        ++voting.vote_count[p][k];
        const float g = ezossl::DitherRng_Gain(&rng), ym = y[(hi + 255) % 256], y0 = y[hi], yp = y[(hi + 1) % 256];
        voting.delay_sum[p][k] += static_cast<float>(lag);
        voting.delay_sum[p][k] += ((yp - ym) * g) / (2.0f * y0 - yp - ym);
        delay_sample[p] = lag;
    }
}

// The same spectra through the reference and the library's kernel: delays, votes, delay sums,
// the dither sequence and the directions solved from them equal bit for bit, frame by frame.
TEST(CorrelationKernels, SameResultsAsTheOnePairKernel) {
    const auto loud = [](int frame, int c) { return frame >= 8 && frame < 12 ? 0.0 : 30000.0 * (c + 1); };
    const struct {
        const char* scene;
        uint32_t rate;
        uint32_t geometry;
        std::function<Channels(int frames)> make;
    } cases[] = {
        {"noise, whole-sample delays", 16000, 1, [](int n) { const int d[4] = {0, 2, -3, 5}; return ShiftedCopies(NoiseSource(1).White(n * kBlockSamples, 9000.0), d); }},
        {"far field at 48 kHz", 48000, 1, [](int n) { MicPosition m[4]; CircularArray(0.065, m); return FarFieldScene(m, 130.0, 48000, 346.0, 4096 * ((n * 128 + 4095) / 4096), 7000.0, 2); }},
        {"one-sample noise", 8000, 0, [](int n) { const int d[4] = {0, 1, 0, 1}; return ShiftedCopies(NoiseSource(3).White(n * kBlockSamples, 1.2), d); }},
        {"delays beyond the bounds", 8000, 0, [](int n) { const int d[4] = {0, 9, -14, 30}; return ShiftedCopies(NoiseSource(5).White(n * kBlockSamples, 9000.0), d); }},
        {"unrelated channels", 16000, 1, [](int n) { Channels ch; for (uint64_t c = 0; c < 4; ++c) ch.push_back(NoiseSource(10 + c).White(n * kBlockSamples, 3000.0)); return ch; }},
        {"clipped, with silent gaps", 32000, 0, [&](int n) {
             Channels ch = ShiftedCopies(NoiseSource(4).White(n * kBlockSamples, 1.0), std::array<int, 4>{0, 1, 2, 3}.data());
             for (int c = 0; c < 4; ++c) for (size_t i = 0; i < ch[c].size(); ++i) ch[c][i] *= loud(static_cast<int>(i) / kBlockSamples, c);
             return ch; }},
        {"tone", 16000, 1, [](int n) { Channels ch(4); for (int c = 0; c < 4; ++c) for (int i = 0; i < n * kBlockSamples; ++i) ch[c].push_back(8000.0 * std::sin(0.2 * (i - c))); return ch; }},
    };
    constexpr int kFrames = 24;
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* h = ReadyHandle(buffer, DefaultInit(c.rate, 6.5f), c.geometry, kFrames);
        ezossl::VotingState reference_voting = h->voting;
        ezossl::DitherRng reference_rng = h->dither_rng;
        const Channels scene = c.make(kFrames);
        for (int f = 0; f < kFrames; ++f) {
            const auto block = InterleaveBlock(scene, f);
            ezossl::InputBlock_Append(block.data(), h->dump_block, h->frames, h->asdf);
            ezossl::Spectrum_Compute(h->frames, h->fft, h->activity);
            int32_t expected[3], got[3];
            ReferenceEstimate(h->frames, *h, h->fft, reference_rng, reference_voting, expected);
            ezossl::GccPhat_EstimateDelays(h->frames, ezossl::DelayLimits{h->lag_table, h->max_delay}, h->fft,
                                           h->dither_rng, h->voting, got);
            ASSERT_EQ(std::vector<int32_t>(got, got + 3), std::vector<int32_t>(expected, expected + 3)) << c.scene << ", frame " << f;
            ASSERT_EQ(std::memcmp(&h->voting, &reference_voting, sizeof(reference_voting)), 0) << c.scene << ", frame " << f;
            ASSERT_EQ(h->dither_rng.state, reference_rng.state) << c.scene;
        }
        h->flags.run_flag = 1;
        WorkingBuffer copy;
        std::memcpy(copy.data(), buffer.data(), BufferSize());
        copy.handle()->voting = reference_voting;
        int32_t direction = 0, reference_direction = 0;
        CaptureOutput([&] {
            EXPECT_EQ(EzoSsl_Get_Direction(h, &direction), EzoSsl_Get_Direction(copy.handle(), &reference_direction));
        });
        EXPECT_EQ(direction, reference_direction) << c.scene;
    }
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
            ezossl::Spectrum_Compute(handle_->frames, handle_->fft, handle_->activity);
            Estimate(delays.data());
        }
        return delays;
    }

    void Estimate(int32_t* delays) {
        ezossl::GccPhat_EstimateDelays(handle_->frames, ezossl::DelayLimits{handle_->lag_table, handle_->max_delay},
                                       handle_->fft, handle_->dither_rng, handle_->voting, delays);
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
