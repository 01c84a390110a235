// GCC-PHAT for three pairs at once: cross spectra, phase transform, inverse FFT, extremes, sums.
#include "phat_lanes.h"

#include <cmath>
#include <cstring>
#include <initializer_list>

#include "gcc_phat_internal.h"

namespace ezossl {
namespace {

// Cross spectra of channel 0 with channels 1, 2 and 3 in lanes 1..3, each bin divided by its
// magnitude (the square root and the division in double, as the one-pair code did), for a bin
// and its mirror at once: six independent values that vectorise as a whole. Lane 0 stays 0.
void Weigh(const FftLanes bins[2], FftLanes out[2]) {
    constexpr int kValues = 2 * kPairNum;
    float re[kValues], im[kValues], magnitude[kValues];
    for (int v = 0; v < kValues; ++v) {
        const FftLanes& bin = bins[v / kPairNum];
        const int lane = PairLane(v % kPairNum);
        const float a = bin.re[0], b = bin.im[0], c = bin.re[lane], d = bin.im[lane];
        re[v] = a * c + b * d;
        im[v] = b * c - a * d;
        magnitude[v] = static_cast<float>(std::sqrt(static_cast<double>(re[v] * re[v] + im[v] * im[v])));
    }
    float weighted_re[kValues], weighted_im[kValues];
    for (int v = 0; v < kValues; ++v) {
        const double weight = static_cast<double>(magnitude[v]) + kPhatGuard;
        weighted_re[v] = static_cast<float>(static_cast<double>(re[v]) / weight);
        weighted_im[v] = static_cast<float>(static_cast<double>(im[v]) / weight);
    }
    for (int v = 0; v < kValues; ++v) {
        FftLanes& o = out[v / kPairNum];
        const int lane = PairLane(v % kPairNum);
        o.re[lane] = weighted_re[v];
        o.im[lane] = weighted_im[v];
    }
    out[0].re[0] = out[0].im[0] = out[1].re[0] = out[1].im[0] = 0.0f;
}

// Bin k of every channel, lane = channel.
FftLanes ChannelBins(const Frames& frames, int k) {
    FftLanes bins;
    for (uint32_t c = 0; c < kMicNum; ++c) {
        bins.re[c] = frames.spectrum[c][k].re;
        bins.im[c] = frames.spectrum[c][k].im;
    }
    return bins;
}

// The first maximum and minimum of each lane over the indices it sees in increasing order,
// for the two samples of a pair at once (entries 0..3 sample 2n, 4..7 sample 2n + 1). The
// selections are bit masks, so they vectorise without branches.
struct ExtremeChain {
    float max_value[2 * kFftLanes], min_value[2 * kFftLanes];
    int32_t max_index[2 * kFftLanes], min_index[2 * kFftLanes];

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
    void Start(const FftLanes& pair, int32_t j) {
        const float* v = pair.re;
        for (int l = 0; l < 2 * kFftLanes; ++l) {
            max_value[l] = min_value[l] = v[l];
            max_index[l] = min_index[l] = j + l / kFftLanes;
        }
    }
    void See(const FftLanes& pair, int32_t j) {
        const float* v = pair.re;
        for (int l = 0; l < 2 * kFftLanes; ++l) {
            const int32_t higher = -static_cast<int32_t>(v[l] > max_value[l]);
            const int32_t lower = -static_cast<int32_t>(v[l] < min_value[l]);
            max_value[l] = Select(higher, v[l], max_value[l]);
            max_index[l] = Select(higher, j + l / kFftLanes, max_index[l]);
            min_value[l] = Select(lower, v[l], min_value[l]);
            min_index[l] = Select(lower, j + l / kFftLanes, min_index[l]);
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
    FftLanes* data = plan->data;
    const uint8_t* position = plan->position;
    for (int k = 0; k <= kHalfFftSize / 2; ++k) {
        const FftLanes bins[2] = {ChannelBins(frames, k), ChannelBins(frames, kHalfFftSize - k)};
        FftLanes weighted[2];
        Weigh(bins, weighted);
        if (k == 0) {
            // DC and Nyquist share a slot: only their real parts count.
            for (int l = 0; l < kFftLanes; ++l) {
                data[position[0]].re[l] = weighted[0].re[l];
                data[position[0]].im[l] = weighted[1].re[l];
            }
            continue;
        }
        data[position[k]] = weighted[0];
        data[position[kHalfFftSize - k]] = weighted[1];
    }
    RealFft_InverseTransform(plan);
}

// Two chains, over even and odd sample pairs, each tracking both samples of a pair: four
// sequences with no dependency on one another. Merging them with the lower index winning
// ties gives the first extreme of the whole sequence. Index j = 2m + s is sample s of pair
// n = m + 64 (mod 128): lag j - 128.
PairExtremes Correlation_Extremes(const RealFftPlan* plan) {
    const FftLanes* data = plan->data;
    const auto pair = [&](int m) -> const FftLanes& { return data[(m + kHalfFftSize / 2) % kHalfFftSize]; };
    ExtremeChain even, odd;
    even.Start(pair(0), 0);
    odd.Start(pair(1), 2);
    for (int m = 2; m < kHalfFftSize; m += 2) {
        even.See(pair(m), 2 * m);
        odd.See(pair(m + 1), 2 * m + 2);
    }
    PairExtremes extremes;
    for (int l = 0; l < kFftLanes; ++l) {
        extremes.max_value[l] = extremes.min_value[l] = even.max_value[l];
        extremes.max_index[l] = extremes.min_index[l] = kRealFftSize;
        for (const ExtremeChain* chain : {&even, &odd}) {
            Fold(*chain, l, l, &extremes);
            Fold(*chain, l + kFftLanes, l, &extremes);
        }
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
