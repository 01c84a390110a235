// The window table and the real FFT wrapper: transforms against a direct DFT, and their packing.
#include <cmath>
#include <complex>
#include <functional>
#include <random>

#include "common/fft.h"
#include "common/real_fft.h"
#include "common/window_tables.h"
#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

using ezossl::FftState;
constexpr int kN = 256;

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

std::vector<double> DirectInverse(const std::vector<std::complex<double>>& bins) {
    std::vector<double> x(kN);
    for (int t = 0; t < kN; ++t) {
        for (int k = 0; k < kN; ++k) {
            const auto bin = k <= kN / 2 ? bins[k] : std::conj(bins[kN - k]);
            x[t] += (bin * std::polar(1.0, 2.0 * M_PI * k * t / kN)).real();
        }
    }
    return x;
}

// Four transforms side by side, each against the double-precision sums. Float rounding grows
// with the 8 passes and the signal's energy: the error of any bin (or inverse sample, per unit
// of the spectrum's energy) stays below log2(256) * 2^-24 * ||x||_2 times a small constant for
// the twiddles' own rounding, here 4: 4 * 8 * 6e-8 * 16 = 3e-5 for full-scale noise.
TEST(RealFft, MatchesDirectSumsForwardAndInverse) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    const std::vector<std::function<float(int)>> signals = {
        [&](int) { return sample(rng); },
        [](int t) { return t == 3 ? 1.0f : 0.0f; },
        [](int) { return -0.5f; },
        [](int t) { return t % 2 ? -1.0f : 1.0f; },
        [](int t) { return static_cast<float>(std::cos(2.0 * M_PI * 17.0 * t / kN + 0.3)); },
        [&](int t) { return t < 128 ? sample(rng) * 1e-4f : 0.0f; },
        [](int t) { return t == 255 ? 1.0f : 0.0f; },
        [&](int) { return sample(rng); },
    };
    alignas(16) unsigned char region[ezossl::Qel_rdft_size(kN)];
    ezossl::RealFftPlan* plan = ezossl::RealFft_Build(region + 4, sizeof(region) - 4);
    ASSERT_NE(plan, nullptr);
    for (size_t first = 0; first < signals.size(); first += ezossl::kFftLanes) {
        float x[ezossl::kFftLanes][kN];
        float out[ezossl::kFftLanes][kN + 2];
        float* const outs[ezossl::kFftLanes] = {out[0], out[1], out[2], out[3]};
        for (int l = 0; l < ezossl::kFftLanes; ++l) {
            for (int t = 0; t < kN; ++t) x[l][t] = signals[first + l](t);
            for (int n = 0; n < kN / 2; ++n) {
                plan->data[n].re[l] = x[l][2 * n];
                plan->data[n].im[l] = x[l][2 * n + 1];
            }
        }
        ezossl::RealFft_Forward(plan, outs);
        double bound[ezossl::kFftLanes];
        ezossl::FftLanes bins[kN / 2 + 1];
        std::vector<double> inverse[ezossl::kFftLanes];
        for (int l = 0; l < ezossl::kFftLanes; ++l) {
            double energy = 0.0;
            for (float v : x[l]) energy += static_cast<double>(v) * v;
            bound[l] = 4 * 8 * std::ldexp(1.0, -24) * std::sqrt(energy) + 1e-30;
            const auto expected = DirectDft(x[l]);
            for (int k = 0; k <= kN / 2; ++k) {
                EXPECT_LE(std::abs(std::complex<double>(out[l][2 * k], out[l][2 * k + 1]) - expected[k]), bound[l])
                    << "signal " << first + l << " bin " << k;
                bins[k].re[l] = static_cast<float>(expected[k].real());
                bins[k].im[l] = static_cast<float>(expected[k].imag());
            }
            EXPECT_EQ(out[l][1], 0.0f);
            EXPECT_EQ(out[l][kN + 1], 0.0f);
            inverse[l] = DirectInverse(expected);
        }
        // The inverse works on the spectrum, whose energy is 256 times the signal's: sqrt(256) times the bound.
        for (int k = 1; k < kN / 2; ++k) plan->data[plan->position[k]] = bins[k];
        for (int l = 0; l < ezossl::kFftLanes; ++l) {
            plan->data[plan->position[0]].re[l] = bins[0].re[l];
            plan->data[plan->position[0]].im[l] = bins[kN / 2].re[l];
        }
        ezossl::RealFft_InverseTransform(plan);
        for (int l = 0; l < ezossl::kFftLanes; ++l) {
            for (int n = 0; n < kN / 2; ++n) {
                const ezossl::FftLanes& pair = plan->data[n];
                EXPECT_LE(std::abs(pair.re[l] - inverse[l][2 * n]), 16 * bound[l]) << "signal " << first + l << " sample " << 2 * n;
                EXPECT_LE(std::abs(pair.im[l] - inverse[l][2 * n + 1]), 16 * bound[l]) << "signal " << first + l;
            }
        }
    }
}

// The wrapper moves one transform through the first lane, in the packing the library uses.
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
