// 256-point real FFT as a 128-point complex radix-4 transform plus the split into a real spectrum.
#include "real_fft.h"

#include "fft_lanes.h"

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

// Twiddles w^p, w^2p, w^3p of a butterfly, each in every lane.
struct ButterflyTwiddles {
    FftLanes w[3];
};

ButterflyTwiddles Splatted(const float* w) {
    ButterflyTwiddles out;
    for (int r = 0; r < 3; ++r) out.w[r] = {Splat(w[2 * r]), Splat(w[2 * r + 1])};
    return out;
}

// The butterflies are forced inline: as calls, their address arithmetic and the call itself
// cost as much as the butterfly.
// One radix-4 decimation-in-frequency butterfly on x[p + r q], r = 0..3: output residue r
// goes, times w^(r p), to quarter r.
[[gnu::always_inline]] inline void Radix4Dif(FftLanes* x, int p, int q, const FftLanes* w) {
    const FftLanes a0 = x[p], a1 = x[p + q], a2 = x[p + 2 * q], a3 = x[p + 3 * q];
    const FftLanes t0 = Add(a0, a2), t1 = Sub(a0, a2), t2 = Add(a1, a3), t3 = Sub(a1, a3);
    x[p] = Add(t0, t2);
    x[p + q] = Twiddle<false>(AddRotated<false>(t1, t3), w[0]);
    x[p + 2 * q] = Twiddle<false>(Sub(t0, t2), w[1]);
    x[p + 3 * q] = Twiddle<false>(AddRotated<true>(t1, t3), w[2]);
}

// Its inverse up to the factor 4, with the opposite sign: the twiddles come off first, then
// the butterfly puts the residues back in natural order.
[[gnu::always_inline]] inline void Radix4Dit(FftLanes* x, int p, int q, const FftLanes* w) {
    const FftLanes y0 = x[p], y1 = Twiddle<true>(x[p + q], w[0]), y2 = Twiddle<true>(x[p + 2 * q], w[1]),
                   y3 = Twiddle<true>(x[p + 3 * q], w[2]);
    const FftLanes s0 = Add(y0, y2), s1 = Sub(y0, y2), s2 = Add(y1, y3), s3 = Sub(y1, y3);
    x[p] = Add(s0, s2);
    x[p + q] = AddRotated<true>(s1, s3);
    x[p + 2 * q] = Sub(s0, s2);
    x[p + 3 * q] = AddRotated<false>(s1, s3);
}

// Either of them for p = 0, whose twiddles are all 1: without the multiplications, the two
// differ only in the direction of the quarter turns.
template <bool kInverse>
[[gnu::always_inline]] inline void Radix4Untwiddled(FftLanes* x, int q) {
    const FftLanes a0 = x[0], a1 = x[q], a2 = x[2 * q], a3 = x[3 * q];
    const FftLanes t0 = Add(a0, a2), t1 = Sub(a0, a2), t2 = Add(a1, a3), t3 = Sub(a1, a3);
    x[0] = Add(t0, t2);
    x[q] = AddRotated<kInverse>(t1, t3);
    x[2 * q] = Sub(t0, t2);
    x[3 * q] = AddRotated<!kInverse>(t1, t3);
}

inline void Radix2(FftLanes* x) {
    const FftLanes a0 = x[0], a1 = x[1];
    x[0] = Add(a0, a1);
    x[1] = Sub(a0, a1);
}

// Twiddles of the pass over blocks of 4q points.
const float* PassTwiddles(const RealFftPlan* plan, int q) {
    return plan->stage_twiddles + (q == 32 ? 0 : q == 8 ? 6 * 32 : 6 * 40);
}

// The butterflies of one radix-4 pass over blocks of 4q points, butterfly p of every block
// after another so that each twiddle is put in the lanes once. Butterflies of a pass touch
// disjoint points, so their order does not matter.
template <bool kInverse>
void Radix4Pass(FftLanes* data, const float* twiddles, int q) {
    for (int block = 0; block < kHalfFftSize; block += 4 * q) Radix4Untwiddled<kInverse>(data + block, q);
    for (int p = 1; p < q; ++p) {
        const ButterflyTwiddles w = Splatted(twiddles + 6 * p);
        for (int block = 0; block < kHalfFftSize; block += 4 * q) {
            if (kInverse) {
                Radix4Dit(data + block, p, q, w.w);
            } else {
                Radix4Dif(data + block, p, q, w.w);
            }
        }
    }
}

// The 128-point forward transform in place, natural order in, bin k out at position[k]:
// radix-4 passes over blocks of 128, 32 and 8 points, then radix 2. The last two passes run
// block by block of 8 points, which stay in registers between them.
void ForwardTransform(RealFftPlan* plan) {
    FftLanes* data = plan->data;
    for (int q = 32; q >= 8; q /= 4) Radix4Pass<false>(data, PassTwiddles(plan, q), q);
    const FftLanes* w = plan->last_pass_twiddles;
    for (int block = 0; block < kHalfFftSize; block += 8) {
        FftLanes x[8];
        for (int i = 0; i < 8; ++i) x[i] = data[block + i];
        Radix4Untwiddled<false>(x, 2);
        Radix4Dif(x, 1, 2, w);
        for (int i = 0; i < 8; i += 2) Radix2(x + i);
        for (int i = 0; i < 8; ++i) data[block + i] = x[i];
    }
}

// The forward transform's passes undone in reverse order: bin k taken from position[k],
// the inverse transform (unscaled, opposite sign) left in natural order.
void InverseTransform(RealFftPlan* plan) {
    FftLanes* data = plan->data;
    const FftLanes* w = plan->last_pass_twiddles;
    for (int block = 0; block < kHalfFftSize; block += 8) {
        FftLanes x[8];
        for (int i = 0; i < 8; ++i) x[i] = data[block + i];
        for (int i = 0; i < 8; i += 2) Radix2(x + i);
        Radix4Untwiddled<true>(x, 2);
        Radix4Dit(x, 1, 2, w);
        for (int i = 0; i < 8; ++i) data[block + i] = x[i];
    }
    for (int q = 8; q <= 32; q *= 4) Radix4Pass<true>(data, PassTwiddles(plan, q), q);
}

// Bin k of every lane to its output, re and im side by side: two floats at a time when all
// four outputs are wanted.
void Store(float* const out[kFftLanes], bool all_lanes, int k, const FftLanes& value) {
    if (all_lanes) {
        const F4 low = __builtin_shufflevector(value.re, value.im, 0, 4, 1, 5);
        const F4 high = __builtin_shufflevector(value.re, value.im, 2, 6, 3, 7);
        StoreLow(low, out[0] + 2 * k);
        StoreHigh(low, out[1] + 2 * k);
        StoreLow(high, out[2] + 2 * k);
        StoreHigh(high, out[3] + 2 * k);
        return;
    }
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
    const ButterflyTwiddles last_pass = Splatted(PassTwiddles(plan, 2) + 6);
    for (int r = 0; r < 3; ++r) plan->last_pass_twiddles[r] = last_pass.w[r];
    for (int k = 0; k <= kHalfFftSize / 2; ++k) UnitRoot(k, &plan->split_twiddles[k][0], &plan->split_twiddles[k][1]);
    // Residues of the passes, first to last, are the digits of the position, most significant first.
    for (int k = 0; k < kHalfFftSize; ++k) {
        plan->position[k] = static_cast<uint8_t>((k % 4) * 32 + (k / 4 % 4) * 8 + (k / 16 % 4) * 2 + k / 64);
    }
    return plan;
}

void RealFft_ForwardTransform(RealFftPlan* plan) { ForwardTransform(plan); }

void RealFft_Forward(RealFftPlan* plan, float* const out[kFftLanes]) {
    ForwardTransform(plan);
    const bool all_lanes = out[0] && out[1] && out[2] && out[3];
    for (int k = 0; k <= kHalfFftSize / 2; ++k) {
        FftLanes bin, mirror;
        RealFft_SplitPair(plan, k, &bin, &mirror);
        Store(out, all_lanes, k, bin);
        if (k < kHalfFftSize / 2) Store(out, all_lanes, kHalfFftSize - k, mirror);
    }
}

void RealFft_InverseTransform(RealFftPlan* plan) {
    FftLanes* data = plan->data;
    const uint8_t* position = plan->position;
    FftLanes& ends = data[position[0]];
    ends = {ends.re + ends.im, ends.re - ends.im};  // DC and Nyquist in, their sum and difference out
    for (int k = 1; k <= kHalfFftSize / 2; ++k) {
        FftLanes& bin = data[position[k]];
        FftLanes& mirror = data[position[kHalfFftSize - k]];
        const FftLanes b = Conjugate(mirror);
        const FftLanes sum = Add(bin, b);
        const FftLanes rotated = Twiddle<true>(Sub(bin, b), plan->split_twiddles[k]);
        const FftLanes z = AddRotated<true>(sum, rotated);
        if (k < kHalfFftSize / 2) mirror = Conjugate(AddRotated<false>(sum, rotated));
        bin = z;
    }
    InverseTransform(plan);
}

}  // namespace ezossl
