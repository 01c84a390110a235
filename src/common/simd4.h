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

// Rows a, b, c, d in, columns out: out[i] = {a[i], b[i], c[i], d[i]}.
inline void Transpose(F4 a, F4 b, F4 c, F4 d, F4 out[4]) {
    const F4 ab_low = __builtin_shufflevector(a, b, 0, 4, 1, 5), ab_high = __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const F4 cd_low = __builtin_shufflevector(c, d, 0, 4, 1, 5), cd_high = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    out[0] = __builtin_shufflevector(ab_low, cd_low, 0, 1, 4, 5);
    out[1] = __builtin_shufflevector(ab_low, cd_low, 2, 3, 6, 7);
    out[2] = __builtin_shufflevector(ab_high, cd_high, 0, 1, 4, 5);
    out[3] = __builtin_shufflevector(ab_high, cd_high, 2, 3, 6, 7);
}

// Lanes 0, 1 (low) or 2, 3 (high) stored to two consecutive floats.
inline void StoreLow(F4 v, float* p) {
#if defined(__SSE2__)
    _mm_storel_pi(reinterpret_cast<__m64*>(p), v);
#elif defined(__aarch64__) && defined(__ARM_NEON)
    vst1_f32(p, vget_low_f32(v));
#else
    p[0] = v[0], p[1] = v[1];
#endif
}
inline void StoreHigh(F4 v, float* p) {
#if defined(__SSE2__)
    _mm_storeh_pi(reinterpret_cast<__m64*>(p), v);
#elif defined(__aarch64__) && defined(__ARM_NEON)
    vst1_f32(p, vget_high_f32(v));
#else
    p[0] = v[2], p[1] = v[3];
#endif
}

inline F4 Load(const float* p) {
    F4 v;
    __builtin_memcpy(&v, p, sizeof(v));
    return v;
}
inline void Store(F4 v, float* p) { __builtin_memcpy(p, &v, sizeof(v)); }

// Correctly rounded square root of every lane: sqrtps, NEON's fsqrt, or the library's sqrtf.
inline F4 Sqrt(F4 v) {
#if defined(__SSE2__)
    return _mm_sqrt_ps(v);
#elif defined(__aarch64__) && defined(__ARM_NEON)
    return vsqrtq_f32(v);
#else
    return F4{__builtin_sqrtf(v[0]), __builtin_sqrtf(v[1]), __builtin_sqrtf(v[2]), __builtin_sqrtf(v[3])};
#endif
}

// Lanes 0, 1 and lanes 2, 3 widened to double; two double vectors narrowed back to four floats.
// Generic vectors would take these apart lane by lane, so each target gets its instructions.
inline D2 WidenLow(F4 v) {
#if defined(__SSE2__)
    return _mm_cvtps_pd(v);
#elif defined(__aarch64__) && defined(__ARM_NEON)
    return vcvt_f64_f32(vget_low_f32(v));
#else
    return D2{v[0], v[1]};
#endif
}
inline D2 WidenHigh(F4 v) {
#if defined(__SSE2__)
    return _mm_cvtps_pd(_mm_movehl_ps(v, v));
#elif defined(__aarch64__) && defined(__ARM_NEON)
    return vcvt_high_f64_f32(v);
#else
    return D2{v[2], v[3]};
#endif
}
inline F4 Narrow(D2 low, D2 high) {
#if defined(__SSE2__)
    return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
#elif defined(__aarch64__) && defined(__ARM_NEON)
    return vcvt_high_f32_f64(vcvt_f32_f64(low), high);
#else
    return F4{static_cast<float>(low[0]), static_cast<float>(low[1]), static_cast<float>(high[0]),
              static_cast<float>(high[1])};
#endif
}

}  // namespace ezossl
