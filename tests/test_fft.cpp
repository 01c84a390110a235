// The window table and the real FFT wrapper: transforms against a direct DFT, and their packing.
#include <cmath>
#include <complex>
#include <random>

#include "common/fft.h"
#include "common/window_tables.h"
#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

using ezossl::FftState;
constexpr int kN = 256;

TEST(WindowTables, HoldTheFirstHalfOfThePeriodicSineWindow) {
    for (int i = 0; i <= kN / 2; ++i) {
        EXPECT_EQ(ezossl::FloatingFftInWindow256[i], static_cast<float>(std::sin(M_PI * i / kN))) << i;
    }
}

TEST(WindowTables, ApplyReadsTheHalfTableForwardsThenBackwards) {
    float frame[kN];
    for (int mode : {0, 1}) {
        std::fill(frame, frame + kN, 2.0f);
        ezossl::FftWindow_Apply(frame, mode);
        for (int n = 0; n < kN; ++n) {
            const float w = n <= 128 ? ezossl::FloatingFftInWindow256[n] : ezossl::FloatingFftInWindow256[kN - n];
            EXPECT_EQ(frame[n], 2.0f * w) << n;
        }
    }
    std::fill(frame, frame + kN, 2.0f);
    ezossl::FftWindow_Apply(frame, 2);
    EXPECT_EQ(frame[0], 2.0f) << "unknown mode leaves the frame alone";
}

// An FFT state with its configuration region, as Init lays it out (region start unaligned).
class FftFixture : public testing::Test {
  protected:
    void SetUp() override {
        state_.n = kN;
        state_.initialised = 0;
        state_.configuration = region();
        ASSERT_EQ(CaptureOutput([&] { ezossl::Qel_rdft_init(&state_); }), "");
        ASSERT_EQ(state_.initialised, 1);
    }
    unsigned char* region() { return storage_ + 4; }  // deliberately not 8-byte aligned

    FftState state_{};
    float work_a_[kN]{};
    float work_b_[kN]{};
    alignas(16) unsigned char storage_[ezossl::Qel_rdft_size(kN) + 4]{};
};

std::vector<std::complex<double>> DirectDft(const float* x) {
    std::vector<std::complex<double>> bins(kN / 2 + 1);
    for (int k = 0; k <= kN / 2; ++k) {
        for (int t = 0; t < kN; ++t) bins[k] += static_cast<double>(x[t]) * std::polar(1.0, -2.0 * M_PI * k * t / kN);
    }
    return bins;
}

TEST_F(FftFixture, PlansLiveInsideTheRegion) {
    const auto* plans = static_cast<unsigned char*>(state_.configuration);
    EXPECT_GE(plans, region());
    EXPECT_LT(plans, region() + ezossl::Qel_rdft_size(kN));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(plans) % 8, 0u);
}

TEST_F(FftFixture, ForwardMatchesADirectDftInTheDocumentedPacking) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    float x[kN + 2];
    for (int t = 0; t < kN; ++t) x[t] = sample(rng);
    const auto expected = DirectDft(x);
    ezossl::Qel_rdft(&state_, kN, ezossl::kFftForward, x, work_a_, work_b_);
    // Float rounding over 8 radix stages of values summing up to ~16 in magnitude.
    constexpr double kTolerance = 1e-4;
    for (int k = 0; k <= kN / 2; ++k) {
        EXPECT_NEAR(x[2 * k], expected[k].real(), kTolerance) << k;
        EXPECT_NEAR(x[2 * k + 1], expected[k].imag(), kTolerance) << k;
    }
    EXPECT_EQ(x[1], 0.0f) << "DC is real";
    EXPECT_EQ(x[kN + 1], 0.0f) << "Nyquist is real";
}

TEST_F(FftFixture, InverseReturnsTheSignalTimesN) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    float original[kN];
    float x[kN + 2];
    for (int t = 0; t < kN; ++t) x[t] = original[t] = sample(rng);
    ezossl::Qel_rdft(&state_, kN, ezossl::kFftForward, x, work_a_, work_b_);
    ezossl::Qel_rdft(&state_, kN, ezossl::kFftInverse, x, work_a_, work_b_);
    for (int t = 0; t < kN; ++t) EXPECT_NEAR(x[t], kN * original[t], 1e-3) << t;
    EXPECT_EQ(x[kN], 0.0f) << "the two packing slots past the signal are cleared";
    EXPECT_EQ(x[kN + 1], 0.0f);
}

}  // namespace
}  // namespace ezossl_test
