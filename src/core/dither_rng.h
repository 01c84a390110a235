// Per-handle random source for the peak-interpolation gain: deterministic and isolated.
#pragma once

#include <cstdint>

namespace ezossl {

#pragma pack(push, 4)
struct DitherRng {
    uint64_t state;
};
#pragma pack(pop)

// Number of distinct gains, 0.70, 0.71, ... 0.89.
constexpr uint32_t kDitherGainSteps = 20;

// Restarts the sequence; Init and Reset call it so equal input gives equal output.
void DitherRng_Seed(DitherRng* rng);

// Uniform whole number in 0 .. bound - 1 (no modulo bias).
uint32_t DitherRng_Below(DitherRng* rng, uint32_t bound);

// One gain 0.70 ... 0.89, each of the 20 values equally likely.
float DitherRng_Gain(DitherRng* rng);

}  // namespace ezossl
