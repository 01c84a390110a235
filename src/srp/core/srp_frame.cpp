// Frames of 256 samples, hop 128, sine-windowed; per frame the cross-spectrum of each pair with
// a partial phase transform, weighted by energy so that loud bins and frames outvote quiet ones.
#include "srp_frame.h"

#include <cmath>
#include <cstring>

#include "common/real_fft.h"
#include "common/simd4.h"
#include "common/window_tables.h"

namespace ezossl::srp {
namespace {

constexpr float kFullScale = 32768.0f;
constexpr float kSampleScale = 1.0f / kFullScale;  // a power of two: the same as dividing
// A line array hears reverberation as a false source at broadside. Its frames count by how far
// their band energy rises above the recent frames' (a decaying mean with this factor per frame),
// so that onsets, where the direct sound leads its reflections, outvote the reverberant tails.
// Measured on the accuracy grid: it helps lines in rooms and costs circles accuracy.
constexpr float kRecentEnergyDecay = 0.5f;

// Each bin is divided by its magnitude to the power 3/4 instead of 1: on the accuracy grid
// (see the README) keeping a quarter of the magnitude let the bins that carry the source
// outweigh those holding only noise, and cut the mean error by a sixth.
// The four channels' frames (the previous block, then this one) windowed straight into one
// four-lane transform: their spectra land in state->spectrum, one row per channel. An instant's
// four samples are already the transform's four lanes, so the history is kept instant by instant.
void ChannelSpectra(SrpState* state, const int16_t* block) {
    typedef int16_t Samples4 __attribute__((vector_size(8)));
    auto* plan = static_cast<RealFftPlan*>(state->fft.configuration);
    // The sine window's half table, read forwards up to the middle and backwards after it.
    const float* w = FftInWindow;
    for (int n = 0; n < kHop / 2; ++n) {
        plan->data[n] = {Load(state->history[2 * n]) * w[2 * n], Load(state->history[2 * n + 1]) * w[2 * n + 1]};
    }
    const auto instant = [&](int i) {
        Samples4 samples;
        std::memcpy(&samples, block + kChannels * i, sizeof(samples));
        const F4 scaled = __builtin_convertvector(__builtin_convertvector(samples, I4), F4) * kSampleScale;
        Store(scaled, state->history[i]);
        return scaled;
    };
    for (int n = 0; n < kHop / 2; ++n) {
        const int t = kHop + 2 * n;
        const F4 even = instant(2 * n), odd = instant(2 * n + 1);
        plan->data[kHop / 2 + n] = {even * w[kFrame - t], odd * w[kFrame - t - 1]};
    }
    float* out[kChannels];
    for (int c = 0; c < kChannels; ++c) out[c] = state->spectrum[c];
    RealFft_Forward(plan, out);
}

float SquareRoot(float v) { return std::sqrt(v); }
F4 SquareRoot(F4 v) { return Sqrt(v); }
float Reciprocal(float divisor) { return divisor > 0.0f ? 1.0f / divisor : 0.0f; }
F4 Reciprocal(F4 divisor) { return Select(divisor > 0.0f, 1.0f / divisor, F4{}); }

// re, im scaled by |X|^(-3/4), and the power |X|^2 replaced by |X|^(1/4): for one bin (float)
// or four (F4).
template <typename Value>
void Whiten(Value* re, Value* im, Value* power) {
    const Value root_half = SquareRoot(SquareRoot(*power));  // |X|^(1/2)
    const Value root_quarter = SquareRoot(root_half);        // |X|^(1/4)
    // One division per bin instead of two; a silent bin (divisor |X|^(3/4) = 0) stays 0.
    const Value scale = Reciprocal(root_half * root_quarter);
    *re *= scale;
    *im *= scale;
    *power = root_quarter;
}

// Fills state->whitened_*[c] with the whitened spectrum of channel c in the band (re, im scaled
// by |X|^(-3/4), and the |X|^(1/4) left) and adds its power to state->bin_weight; returns the
// channel's band energy. The loops are kept apart so that the whitening vectorises: the energy's
// sum, in bin order, would not.
float WhitenChannel(SrpState* state, int c) {
    const float* spectrum = state->spectrum[c] + 2 * state->bin_low;
    float* re = state->whitened_re[c];
    float* im = state->whitened_im[c];
    float* magnitude = state->whitened_magnitude[c];
    const uint32_t bins = state->bin_count;
    for (uint32_t i = 0; i < bins; ++i) {
        re[i] = spectrum[2 * i];
        im[i] = spectrum[2 * i + 1];
        magnitude[i] = re[i] * re[i] + im[i] * im[i];  // the power, for now
        state->bin_weight[i] += magnitude[i];
    }
    float energy = 0.0f;
    for (uint32_t i = 0; i < bins; ++i) energy += magnitude[i];
    // Four bins at a time, then the rest one by one: the same operations either way.
    uint32_t i = 0;
    for (; i + 4 <= bins; i += 4) {
        F4 x = Load(re + i), y = Load(im + i), power = Load(magnitude + i);
        Whiten(&x, &y, &power);
        Store(x, re + i), Store(y, im + i), Store(power, magnitude + i);
    }
    for (; i < bins; ++i) Whiten(&re[i], &im[i], &magnitude[i]);
    return energy;
}

// Mean square of the block at full scale 1.0; the squares are summed exactly as integers.
float BlockMeanSquare(const int16_t* block) {
    int64_t sum = 0;
    for (int i = 0; i < kHop * kChannels; ++i) sum += int32_t{block[i]} * block[i];
    return static_cast<float>(static_cast<double>(sum) / (double{kFullScale} * kFullScale * (kHop * kChannels)));
}

}  // namespace

// A planar array's bins each count by the power the four microphones hear in them, so that within
// a frame the bins that carry the source outvote those holding only noise (a speech-band source
// leaves most of the default band to the noise): on the accuracy grid this moved circular arrays
// closer to the truth, most of all in reverberant rooms. A line's bins all count by its frame's
// energy rise: weighting them by their own power moved its answers toward broadside.
void Frame_Accumulate(SrpState* state, const int16_t* block) {
    state->level_sum += BlockMeanSquare(block);
    ChannelSpectra(state, block);
    float* weight = state->bin_weight;
    std::memset(weight, 0, sizeof(state->bin_weight));
    float energy = 0.0f;
    for (int c = 0; c < kChannels; ++c) energy += WhitenChannel(state, c);
    const float rise = energy - state->recent_energy;
    state->recent_energy = kRecentEnergyDecay * state->recent_energy + (1.0f - kRecentEnergyDecay) * energy;
    if (state->collinear) {
        const float frame_weight = rise > 0.0f ? rise : 0.0f;
        for (uint32_t i = 0; i < state->bin_count; ++i) weight[i] = frame_weight;
    }
    for (int p = 0; p < kPairs; ++p) {
        const int first = kPairMics[p][0], second = kPairMics[p][1];
        const float* are = state->whitened_re[first];
        const float* aim = state->whitened_im[first];
        const float* bre = state->whitened_re[second];
        const float* bim = state->whitened_im[second];
        const float* am = state->whitened_magnitude[first];
        const float* bm = state->whitened_magnitude[second];
        float* magnitude = state->magnitude[p];
        float(*sum)[2] = state->cross[p];
        for (uint32_t i = 0; i < state->bin_count; ++i) {
            magnitude[i] += weight[i] * am[i] * bm[i];
            // a * conj(b): its phase is the delay of the second microphone behind the first.
            sum[i][0] += weight[i] * (are[i] * bre[i] + aim[i] * bim[i]);
            sum[i][1] += weight[i] * (aim[i] * bre[i] - are[i] * bim[i]);
        }
    }
    state->blocks += 1;
}

void Period_Clear(SrpState* state) {
    state->blocks = 0;
    state->level_sum = 0.0f;
    std::memset(state->cross, 0, sizeof(state->cross));
    std::memset(state->magnitude, 0, sizeof(state->magnitude));
}

}  // namespace ezossl::srp
