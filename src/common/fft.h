// Single-precision real FFT wrapper whose configuration lives in the caller's working buffer.
#pragma once

#include <cstdint>

namespace ezossl {

constexpr int32_t kFftForward = 1;
constexpr int32_t kFftInverse = -1;
constexpr int32_t kFftMaxSize = 256;

// Kept inside the handle, whose words are only 4-byte aligned.
#pragma pack(push, 4)
struct FftState {
    float scratch[kFftMaxSize + 2];  // n/2 + 1 complex values, interleaved re, im
    void* configuration;             // region start before set-up, the plans after it
    int32_t initialised;
    int32_t n;
};
#pragma pack(pop)

// Bytes to reserve for the configuration of an n-point transform.
constexpr uint32_t Qel_rdft_size(uint32_t n) { return 16 * n + 2 * n + (n / 32 + 1) * 96 + 556; }

// Builds the transform's tables for state->n inside the region state->configuration
// points to; only full success sets initialised.
void Qel_rdft_init(FftState* state);

// direction 1: n reals in data -> n/2 + 1 complex values (re, im interleaved) in data.
// direction -1: n/2 + 1 complex values in data -> n reals (unscaled: n times the signal).
// work_a and work_b must be non-null but are not used. Never transforms in place.
void Qel_rdft(FftState* state, int32_t n, int32_t direction, float* data, float* work_a,
              float* work_b);

// Marks the state uninitialised; the memory belongs to the caller's buffer.
void Qel_rdft_free(FftState* state);

}  // namespace ezossl
