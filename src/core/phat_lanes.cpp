// GCC-PHAT for three pairs at once: cross spectra, phase transform, inverse FFT, extremes, sums.
#include "phat_lanes.h"

#include <cmath>
#include <cstring>

#include "gcc_phat_internal.h"

namespace ezossl {
namespace {

// Bins of one pair's spectrum, padded to a whole number of vectors.
constexpr int kPaddedBins = (kSpectrumBins + 3) / 4 * 4;
constexpr int kWeighedValues = kPairNum * kPaddedBins;

// Cross spectra of channel 0 with channels 1, 2 and 3, each bin divided by its magnitude (the
// square root and the division in double, as the one-pair code did). Pair by pair and bin by
// bin in plain arrays, so that every step is one long loop of independent values that
// vectorises as a whole; the padding bins are zero and never read.
struct WeighedSpectra {
    float re[kPairNum][kPaddedBins];
    float im[kPairNum][kPaddedBins];
};

void Weigh(const Frames& frames, WeighedSpectra* out) {
    const ComplexF* reference = frames.spectrum[0];
    for (int p = 0; p < kPairNum; ++p) {
        const ComplexF* other = frames.spectrum[p + 1];
        const auto cross = [&](int k) {
            const float a = reference[k].re, b = reference[k].im, c = other[k].re, d = other[k].im;
            out->re[p][k] = a * c + b * d;
            out->im[p][k] = b * c - a * d;
        };
        // The Nyquist bin on its own keeps the main loop a whole number of vectors long.
        for (int k = 0; k < kHalfFftSize; ++k) cross(k);
        cross(kHalfFftSize);
        for (int k = kSpectrumBins; k < kPaddedBins; ++k) out->re[p][k] = out->im[p][k] = 0.0f;
    }
    float* re = &out->re[0][0];
    float* im = &out->im[0][0];
    for (int v = 0; v < kWeighedValues; ++v) {
        const float magnitude = static_cast<float>(std::sqrt(static_cast<double>(re[v] * re[v] + im[v] * im[v])));
        const double weight = static_cast<double>(magnitude) + kPhatGuard;
        re[v] = static_cast<float>(static_cast<double>(re[v]) / weight);
        im[v] = static_cast<float>(static_cast<double>(im[v]) / weight);
    }
}

// The first maximum and minimum of each lane over the indices it sees in increasing order,
// for two neighbouring sample pairs at once: 16 entries, entry e is lane e % 4 of sample
// 2 (e / 8) + (e / 4) % 2 counted from the first sample of the two pairs. The selections are
// bit masks over one flat loop, so they vectorise without branches.
constexpr int kChainEntries = 4 * kFftLanes;

struct ExtremeChain {
    float max_value[kChainEntries], min_value[kChainEntries];
    int32_t max_index[kChainEntries], min_index[kChainEntries];
    int32_t offset[kChainEntries];

    static int32_t Select(int32_t mask, int32_t yes, int32_t no) { return (yes & mask) | (no & ~mask); }
    static float Select(int32_t mask, float yes, float no) {
        int32_t y, n;
        std::memcpy(&y, &yes, sizeof(y));
        std::memcpy(&n, &no, sizeof(n));
        const int32_t bits = Select(mask, y, n);
        float out;
        std::memcpy(&out, &bits, sizeof(out));
        return out;
    }
    // v: the two pairs' 16 floats as they lie in memory; j: the index of their first sample.
    void Start(const float* v, int32_t j) {
        for (int e = 0; e < kChainEntries; ++e) {
            offset[e] = 2 * (e / (2 * kFftLanes)) + e / kFftLanes % 2;
            max_value[e] = min_value[e] = v[e];
            max_index[e] = min_index[e] = j + offset[e];
        }
    }
    void See(const float* v, int32_t j) {
        for (int e = 0; e < kChainEntries; ++e) {
            const int32_t higher = -static_cast<int32_t>(v[e] > max_value[e]);
            const int32_t lower = -static_cast<int32_t>(v[e] < min_value[e]);
            const int32_t index = j + offset[e];
            max_value[e] = Select(higher, v[e], max_value[e]);
            max_index[e] = Select(higher, index, max_index[e]);
            min_value[e] = Select(lower, v[e], min_value[e]);
            min_index[e] = Select(lower, index, min_index[e]);
        }
    }
};

// Folds the extreme at entry `from` into the result of lane l: the better value wins, equal
// values the lower index.
void Fold(const ExtremeChain& chain, int from, int l, PairExtremes* out) {
    const float high = chain.max_value[from], low = chain.min_value[from];
    if (high > out->max_value[l] || (high == out->max_value[l] && chain.max_index[from] < out->max_index[l])) {
        out->max_value[l] = high;
        out->max_index[l] = chain.max_index[from];
    }
    if (low < out->min_value[l] || (low == out->min_value[l] && chain.min_index[from] < out->min_index[l])) {
        out->min_value[l] = low;
        out->min_index[l] = chain.min_index[from];
    }
}

}  // namespace

void PhatCorrelation_Compute(const Frames& frames, RealFftPlan* plan) {
    WeighedSpectra weighed;
    Weigh(frames, &weighed);
    FftLanes* data = plan->data;
    const uint8_t* position = plan->position;
    for (int k = 1; k < kHalfFftSize; ++k) {
        FftLanes& slot = data[position[k]];
        slot.re[0] = slot.im[0] = 0.0f;
        for (int p = 0; p < kPairNum; ++p) {
            slot.re[PairLane(p)] = weighed.re[p][k];
            slot.im[PairLane(p)] = weighed.im[p][k];
        }
    }
    // DC and Nyquist share a slot: only their real parts count.
    FftLanes& ends = data[position[0]];
    ends.re[0] = ends.im[0] = 0.0f;
    for (int p = 0; p < kPairNum; ++p) {
        ends.re[PairLane(p)] = weighed.re[p][0];
        ends.im[PairLane(p)] = weighed.re[p][kHalfFftSize];
    }
    RealFft_InverseTransform(plan);
}

// One chain over neighbouring sample pairs, each step tracking four samples of every lane:
// sixteen sequences with no dependency on one another. Merging them with the lower index
// winning ties gives the first extreme of the whole sequence. Index j = 2m + s is sample s of
// pair n = m + 64 (mod 128): lag j - 128; pairs m and m + 1 (m even) lie next to each other.
PairExtremes Correlation_Extremes(const RealFftPlan* plan) {
    const FftLanes* data = plan->data;
    const auto pairs = [&](int m) { return data[(m + kHalfFftSize / 2) % kHalfFftSize].re; };
    ExtremeChain chain;
    chain.Start(pairs(0), 0);
    for (int m = 2; m < kHalfFftSize; m += 2) chain.See(pairs(m), 2 * m);
    PairExtremes extremes;
    for (int l = 0; l < kFftLanes; ++l) {
        extremes.max_value[l] = extremes.min_value[l] = chain.max_value[l];
        extremes.max_index[l] = extremes.min_index[l] = kRealFftSize;
        for (int from = l; from < kChainEntries; from += kFftLanes) Fold(chain, from, l, &extremes);
    }
    return extremes;
}

void Correlation_ShiftedSums(const RealFftPlan* plan, const float floor[kFftLanes], float sum[kFftLanes]) {
    float total[kFftLanes] = {};
    for (int m = 0; m < kHalfFftSize; ++m) {
        const FftLanes& pair = plan->data[(m + kHalfFftSize / 2) % kHalfFftSize];
        for (int l = 0; l < kFftLanes; ++l) {
            total[l] += pair.re[l] - floor[l];
            total[l] += pair.im[l] - floor[l];
        }
    }
    for (int l = 0; l < kFftLanes; ++l) sum[l] = total[l];
}

}  // namespace ezossl
