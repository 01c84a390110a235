// Complex arithmetic on four lanes at once: the building blocks of the real FFT.
#pragma once

namespace ezossl {

constexpr int kFftLanes = 4;  // transforms computed together

// One complex value of each of the four transforms. The lanes are the vector width: every
// operation below is one vector operation on SSE2 and NEON (four scalar ones elsewhere), and
// each lane goes through exactly the operations a transform of its own would, so the lanes
// never affect each other's rounding.
struct FftLanes {
    float re[kFftLanes];
    float im[kFftLanes];
};

inline FftLanes Add(const FftLanes& a, const FftLanes& b) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l] + b.re[l];
        r.im[l] = a.im[l] + b.im[l];
    }
    return r;
}

inline FftLanes Sub(const FftLanes& a, const FftLanes& b) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l] - b.re[l];
        r.im[l] = a.im[l] - b.im[l];
    }
    return r;
}

// a + i b (inverse) or a - i b (forward).
template <bool kInverse>
inline FftLanes AddRotated(const FftLanes& a, const FftLanes& b) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = kInverse ? a.re[l] - b.im[l] : a.re[l] + b.im[l];
        r.im[l] = kInverse ? a.im[l] + b.re[l] : a.im[l] - b.re[l];
    }
    return r;
}

// a times w (forward) or times conj(w) (inverse).
template <bool kInverse>
inline FftLanes Twiddle(const FftLanes& a, const float* w) {
    const float c = w[0], s = kInverse ? -w[1] : w[1];
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l] * c - a.im[l] * s;
        r.im[l] = a.re[l] * s + a.im[l] * c;
    }
    return r;
}

inline FftLanes Conjugate(const FftLanes& a) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l];
        r.im[l] = -a.im[l];
    }
    return r;
}

inline FftLanes Scale(const FftLanes& a, float factor) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l] * factor;
        r.im[l] = a.im[l] * factor;
    }
    return r;
}

}  // namespace ezossl
