// 256-point real FFT as a 128-point complex radix-4 transform plus the split into a real spectrum.
#include "real_fft.h"

namespace ezossl {
namespace {

constexpr uintptr_t kPlanAlignment = 16;
constexpr double kPi = 3.14159265358979323846;  // exact roots of unity, not an approximate angle
constexpr int kQuadrant = kRealFftSize / 4;     // steps of pi / 128 in a right angle

// cos and sin of pi * r / 128 for 0 <= r <= 32 (at most pi / 4) by their Taylor series in
// double: only additions and multiplications, so every architecture computes the same tables.
void TaylorCosSin(int r, double* c, double* s) {
    const double x = kPi * r / (kRealFftSize / 2);
    const double x2 = x * x;
    double cos_sum = 1.0, sin_sum = 1.0;
    for (int k = 24; k >= 2; k -= 2) {
        cos_sum = 1.0 - x2 / (k * (k - 1)) * cos_sum;
        sin_sum = 1.0 - x2 / ((k + 1) * k) * sin_sum;
    }
    *c = cos_sum;
    *s = x * sin_sum;
}

// exp(-2 pi i j / 256) narrowed to float, through the symmetries of the first octant.
void UnitRoot(int j, float* re, float* im) {
    const int quadrant = (j / kQuadrant) & 3;
    const int r = j % kQuadrant;
    double c, s;
    if (r <= kQuadrant / 2) {
        TaylorCosSin(r, &c, &s);
    } else {
        TaylorCosSin(kQuadrant - r, &s, &c);
    }
    const double cos_j[4] = {c, -s, -c, s};
    const double sin_j[4] = {s, c, -s, -c};
    *re = static_cast<float>(cos_j[quadrant]);
    *im = static_cast<float>(-sin_j[quadrant]);
}

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

// One radix-4 decimation-in-frequency pass over blocks of 4q points: output residue r of
// every block goes, times w^(r p), to the block's quarter r.
template <bool kInverse>
void Radix4Pass(FftLanes* data, int q, const float* twiddles) {
    for (int block = 0; block < kHalfFftSize; block += 4 * q) {
        FftLanes* x = data + block;
        for (int p = 0; p < q; ++p) {
            const float* w = twiddles + 6 * p;
            const FftLanes a0 = x[p], a1 = x[p + q], a2 = x[p + 2 * q], a3 = x[p + 3 * q];
            const FftLanes t0 = Add(a0, a2), t1 = Sub(a0, a2), t2 = Add(a1, a3), t3 = Sub(a1, a3);
            x[p] = Add(t0, t2);
            x[p + q] = Twiddle<kInverse>(AddRotated<kInverse>(t1, t3), w);
            x[p + 2 * q] = Twiddle<kInverse>(Sub(t0, t2), w + 2);
            x[p + 3 * q] = Twiddle<kInverse>(AddRotated<!kInverse>(t1, t3), w + 4);
        }
    }
}

// The 128-point complex transform in place; bin k ends at position[k].
template <bool kInverse>
void ComplexTransform(RealFftPlan* plan) {
    FftLanes* data = plan->data;
    Radix4Pass<kInverse>(data, 32, plan->stage_twiddles);
    Radix4Pass<kInverse>(data, 8, plan->stage_twiddles + 6 * 32);
    Radix4Pass<kInverse>(data, 2, plan->stage_twiddles + 6 * 40);
    for (int n = 0; n < kHalfFftSize; n += 2) {
        const FftLanes a0 = data[n], a1 = data[n + 1];
        data[n] = Add(a0, a1);
        data[n + 1] = Sub(a0, a1);
    }
}

FftLanes Conjugate(const FftLanes& a) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l];
        r.im[l] = -a.im[l];
    }
    return r;
}

FftLanes Scale(const FftLanes& a, float factor) {
    FftLanes r;
    for (int l = 0; l < kFftLanes; ++l) {
        r.re[l] = a.re[l] * factor;
        r.im[l] = a.im[l] * factor;
    }
    return r;
}

void Store(float* const out[kFftLanes], int k, const FftLanes& value) {
    for (int l = 0; l < kFftLanes; ++l) {
        if (!out[l]) continue;
        out[l][2 * k] = value.re[l];
        out[l][2 * k + 1] = value.im[l];
    }
}

}  // namespace

RealFftPlan* RealFft_Build(void* region, size_t bytes) {
    const uintptr_t start = reinterpret_cast<uintptr_t>(region);
    const uintptr_t aligned = (start + kPlanAlignment - 1) & ~(kPlanAlignment - 1);
    if (!region || aligned - start + sizeof(RealFftPlan) > bytes) return nullptr;
    auto* plan = reinterpret_cast<RealFftPlan*>(aligned);

    float* w = plan->stage_twiddles;
    for (int q = 32; q >= 2; q /= 4) {
        const int step = kHalfFftSize / (4 * q) * 2;  // exp(-2 pi i / 4q) = exp(-2 pi i step / 256)
        for (int p = 0; p < q; ++p) {
            for (int r = 1; r <= 3; ++r, w += 2) UnitRoot(r * p * step, &w[0], &w[1]);
        }
    }
    for (int k = 0; k <= kHalfFftSize / 2; ++k) UnitRoot(k, &plan->split_twiddles[k][0], &plan->split_twiddles[k][1]);
    // Residues of the passes, first to last, are the digits of the position, most significant first.
    for (int k = 0; k < kHalfFftSize; ++k) {
        plan->position[k] = static_cast<uint8_t>((k % 4) * 32 + (k / 4 % 4) * 8 + (k / 16 % 4) * 2 + k / 64);
    }
    return plan;
}

// With z = even + i odd samples and Z its transform, for k and 128 - k at once:
// E = (Z[k] + conj Z[128-k]) / 2, O = -i (Z[k] - conj Z[128-k]) / 2, P = w^k O;
// X[k] = E + P and X[128-k] = conj(E - P).
void RealFft_Forward(RealFftPlan* plan, float* const out[kFftLanes]) {
    ComplexTransform<false>(plan);
    const FftLanes* data = plan->data;
    const FftLanes z0 = data[plan->position[0]];
    FftLanes dc, nyquist;
    for (int l = 0; l < kFftLanes; ++l) {
        dc.re[l] = z0.re[l] + z0.im[l];
        nyquist.re[l] = z0.re[l] - z0.im[l];
        dc.im[l] = nyquist.im[l] = 0.0f;
    }
    Store(out, 0, dc);
    Store(out, kHalfFftSize, nyquist);
    for (int k = 1; k <= kHalfFftSize / 2; ++k) {
        const FftLanes a = data[plan->position[k]];
        const FftLanes b = Conjugate(data[plan->position[kHalfFftSize - k]]);
        const FftLanes even = Scale(Add(a, b), 0.5f);
        const FftLanes odd = Scale(AddRotated<false>(FftLanes{}, Sub(a, b)), 0.5f);
        const FftLanes rotated = Twiddle<false>(odd, plan->split_twiddles[k]);
        Store(out, k, Add(even, rotated));
        if (k < kHalfFftSize / 2) Store(out, kHalfFftSize - k, Conjugate(Sub(even, rotated)));
    }
}

// The split run backwards, without the halves: F = X[k] + conj X[128-k],
// G = w^-k (X[k] - conj X[128-k]); Z[k] = F + i G and Z[128-k] = conj(F - i G). The inverse
// complex transform of Z is then 256 times the signal's even + i odd samples.
void RealFft_Inverse(RealFftPlan* plan) {
    FftLanes* data = plan->data;
    FftLanes z0;
    for (int l = 0; l < kFftLanes; ++l) {
        z0.re[l] = data[0].re[l] + data[kHalfFftSize].re[l];
        z0.im[l] = data[0].re[l] - data[kHalfFftSize].re[l];
    }
    data[0] = z0;
    for (int k = 1; k <= kHalfFftSize / 2; ++k) {
        const FftLanes a = data[k];
        const FftLanes b = Conjugate(data[kHalfFftSize - k]);
        const FftLanes sum = Add(a, b);
        const FftLanes rotated = Twiddle<true>(Sub(a, b), plan->split_twiddles[k]);
        data[k] = AddRotated<true>(sum, rotated);
        if (k < kHalfFftSize / 2) data[kHalfFftSize - k] = Conjugate(AddRotated<false>(sum, rotated));
    }
    ComplexTransform<true>(plan);
}

}  // namespace ezossl
