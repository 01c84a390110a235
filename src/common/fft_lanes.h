// Complex arithmetic on four lanes at once: the building blocks of the real FFT.
#pragma once

#include "simd4.h"

namespace ezossl {

constexpr int kFftLanes = 4;  // transforms computed together

// One complex value of each of the four transforms. The lanes are the vector width: every
// operation below is one vector operation per part on SSE2 and NEON (four scalar ones
// elsewhere), and each lane goes through exactly the operations a transform of its own would,
// so the lanes never affect each other's rounding.
struct FftLanes {
    F4 re;
    F4 im;
};

inline FftLanes Add(const FftLanes& a, const FftLanes& b) { return {a.re + b.re, a.im + b.im}; }
inline FftLanes Sub(const FftLanes& a, const FftLanes& b) { return {a.re - b.re, a.im - b.im}; }

// a + i b (inverse) or a - i b (forward).
template <bool kInverse>
inline FftLanes AddRotated(const FftLanes& a, const FftLanes& b) {
    if (kInverse) return {a.re - b.im, a.im + b.re};
    return {a.re + b.im, a.im - b.re};
}

// a times w (forward) or times conj(w) (inverse).
template <bool kInverse>
inline FftLanes Twiddle(const FftLanes& a, const float* w) {
    const F4 c = Splat(w[0]), s = Splat(kInverse ? -w[1] : w[1]);
    return {a.re * c - a.im * s, a.re * s + a.im * c};
}

// The same with the twiddle already in every lane (re: its cosine, im: its sine part): the
// products and sums are the ones above, in the same order.
template <bool kInverse>
inline FftLanes Twiddle(const FftLanes& a, const FftLanes& w) {
    if (kInverse) return {a.re * w.re + a.im * w.im, a.im * w.re - a.re * w.im};
    return {a.re * w.re - a.im * w.im, a.re * w.im + a.im * w.re};
}

inline FftLanes Conjugate(const FftLanes& a) { return {a.re, -a.im}; }
inline FftLanes Scale(const FftLanes& a, float factor) { return {a.re * factor, a.im * factor}; }

}  // namespace ezossl
