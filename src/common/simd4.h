// Four-lane float and integer vectors, two-lane double, through the compiler's generic vectors.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__) && defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace ezossl {

// GCC and clang lower every operation on these types to one SSE2 or NEON instruction where the
// target has them and to the same operations lane by lane where it does not (armhf without
// NEON): each lane gets exactly the IEEE operation written, so results never depend on which.
typedef float F4 __attribute__((vector_size(16)));
typedef int32_t I4 __attribute__((vector_size(16)));
typedef double D2 __attribute__((vector_size(16)));
typedef int64_t L2 __attribute__((vector_size(16)));
typedef float F2 __attribute__((vector_size(8)));

inline F4 Splat(float v) { return F4{v, v, v, v}; }

// Lane by lane: yes where the mask (all ones or all zeros per lane) is set, otherwise no.
inline F4 Select(I4 mask, F4 yes, F4 no) { return reinterpret_cast<F4>((reinterpret_cast<I4>(yes) & mask) | (reinterpret_cast<I4>(no) & ~mask)); }
inline I4 Select(I4 mask, I4 yes, I4 no) { return (yes & mask) | (no & ~mask); }

// Without NaNs (the callers never have them) these are the exact maximum and minimum; written
// as a choice, so that SSE2 makes one maxps or minps of them.
inline F4 Max(F4 a, F4 b) { return a > b ? a : b; }
inline F4 Min(F4 a, F4 b) { return a < b ? a : b; }

// True when any lane of a comparison result is set.
inline bool AnyLane(I4 mask) {
#if defined(__SSE2__)
    return _mm_movemask_ps(_mm_castsi128_ps(reinterpret_cast<__m128i>(mask))) != 0;
#elif defined(__aarch64__) && defined(__ARM_NEON)
    return vmaxvq_u32(vreinterpretq_u32_s32(mask)) != 0;
#else
    return (mask[0] | mask[1] | mask[2] | mask[3]) != 0;
#endif
}

// Lanes 0, 1 and lanes 2, 3 widened to double; two double vectors narrowed back to four floats.
inline D2 WidenLow(F4 v) { return __builtin_convertvector(__builtin_shufflevector(v, v, 0, 1), D2); }
inline D2 WidenHigh(F4 v) { return __builtin_convertvector(__builtin_shufflevector(v, v, 2, 3), D2); }
inline F4 Narrow(D2 low, D2 high) {
    return __builtin_shufflevector(__builtin_convertvector(low, F2), __builtin_convertvector(high, F2), 0, 1, 2, 3);
}

}  // namespace ezossl
