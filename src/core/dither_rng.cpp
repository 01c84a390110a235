// PCG32 generator (O'Neill): small state, good statistics, fixed seed per handle.
#include "dither_rng.h"

namespace ezossl {
namespace {

constexpr uint64_t kSeed = 0x853c49e6748fea9bULL;
constexpr uint64_t kMultiplier = 6364136223846793005ULL;
constexpr uint64_t kIncrement = 1442695040888963407ULL;

uint32_t Next(DitherRng* rng) {
    const uint64_t old = rng->state;
    rng->state = old * kMultiplier + kIncrement;
    const auto xorshifted = static_cast<uint32_t>(((old >> 18u) ^ old) >> 27u);
    const auto rotation = static_cast<uint32_t>(old >> 59u);
    return (xorshifted >> rotation) | (xorshifted << ((32u - rotation) & 31u));
}

}  // namespace

void DitherRng_Seed(DitherRng* rng) { rng->state = kSeed; }

uint32_t DitherRng_Below(DitherRng* rng, uint32_t bound) {
    // Draws in the incomplete top slice of the 32-bit range are redrawn.
    const uint32_t threshold = (0u - bound) % bound;
    for (;;) {
        const uint32_t draw = Next(rng);
        if (draw >= threshold) return draw % bound;
    }
}

float DitherRng_Gain(DitherRng* rng) {
    const uint32_t step = DitherRng_Below(rng, kDitherGainSteps);
    return static_cast<float>(static_cast<double>(step) / 100.0 + 0.7);
}

}  // namespace ezossl
