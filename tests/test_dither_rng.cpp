// The per-handle dither source: 20 equally likely gains, reproducible, isolated from rand().
#include <cstdlib>
#include <map>

#include "core/dither_rng.h"
#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

using ezossl::DitherRng;

TEST(DitherRng, GivesTheTwentyGainsWithEqualProbability) {
    DitherRng rng{};
    ezossl::DitherRng_Seed(&rng);
    constexpr int kDraws = 200000;
    std::map<float, int> counts;
    for (int i = 0; i < kDraws; ++i) counts[ezossl::DitherRng_Gain(&rng)]++;

    ASSERT_EQ(counts.size(), 20u);
    double chi_square = 0.0;
    const double expected = kDraws / 20.0;
    int step = 0;
    for (const auto& [gain, count] : counts) {
        EXPECT_EQ(gain, static_cast<float>(step / 100.0 + 0.7)) << step;
        chi_square += (count - expected) * (count - expected) / expected;
        ++step;
    }
    // 19 degrees of freedom: 43.8 is the 0.1 % critical value.
    EXPECT_LT(chi_square, 43.8);
}

TEST(DitherRng, HandlesAreSeededAlikeAndUnaffectedByRand) {
    WorkingBuffer first_buffer;
    WorkingBuffer second_buffer;
    SslHandle* first = InitQuietly(first_buffer, DefaultInit());
    std::srand(12345);
    (void)std::rand();
    SslHandle* second = InitQuietly(second_buffer, DefaultInit(48000, 3.0f));
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(ezossl::DitherRng_Gain(&first->dither_rng), ezossl::DitherRng_Gain(&second->dither_rng)) << i;
    }
    // Reset restarts the sequence: the first draw again.
    const float after_init = ezossl::DitherRng_Gain(&InitQuietly(second_buffer, DefaultInit())->dither_rng);
    const SslInit init = DefaultInit();
    CaptureOutput([&] { EzoSsl_Reset(first_buffer.data(), &init); });
    EXPECT_EQ(ezossl::DitherRng_Gain(&first->dither_rng), after_init);
}

}  // namespace
}  // namespace ezossl_test
