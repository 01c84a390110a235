// Steered response power once per period: each pair's correlation is evaluated on a fine lag
// grid straight from its cross-spectrum, then every direction reads it back by interpolation,
// which costs far less than steering the spectra of all pairs to 360 directions.
#include "srp_steer.h"

#include <cmath>

#include "srp_geometry.h"

namespace ezossl::srp {
namespace {

// A diffuse field (reverberation, room noise) adds sin(x) / x of the pair's spacing to the real
// part of its cross-spectrum: a false source at lag 0 of every pair, which pulls a line array's
// answers toward broadside. This share of it is taken out before steering: chosen on the
// accuracy grid (a larger share helps lines in reverberant rooms but bends anechoic answers
// near the ends of the line).
constexpr float kDiffuseShare = 0.3f;

// Each bin of a pair counts by its coherence over the period: the length of its summed
// cross-spectrum over the sum of its terms' lengths, near 1 where the source kept one phase
// and small where noise or reverberation turned it from frame to frame. Scales the pair's
// period sums in place (they are cleared once the period is steered), so that the confidence
// compares the peak with the same weighted sums. On the accuracy grid it brought every geometry
// closer to the truth, lines in rooms most.
void WeightByCoherence(SrpState* state, int p) {
    float(*cross)[2] = state->cross[p];
    float* magnitude = state->magnitude[p];
    for (uint32_t i = 0; i < state->bin_count; ++i) {
        if (!(magnitude[i] > 0.0f)) continue;
        const float coherence = std::sqrt(cross[i][0] * cross[i][0] + cross[i][1] * cross[i][1]) / magnitude[i];
        cross[i][0] *= coherence;
        cross[i][1] *= coherence;
        magnitude[i] *= coherence;
    }
}

// sum over the band of re(cross[k] * exp(i 2 pi k m / table_size)), for m around lag 0, after
// the expected diffuse part is taken out.
void PairCorrelation(SrpState* state, int p) {
    const int table_size = kFrame * static_cast<int>(state->lag_upsampling);
    const int quarter = table_size / 4;
    const float* table = state->phase_table;
    const float(*cross)[2] = state->cross[p];
    float* out = state->correlation + state->lag_first[p];
    float real[kBins];
    for (uint32_t i = 0; i < state->bin_count; ++i) {
        real[i] = cross[i][0] - kDiffuseShare * state->diffuse_coherence[p][i] * state->magnitude[p][i];
    }
    for (int j = 0; j < state->lag_count[p]; ++j) {
        const int m = j - state->lag_centre[p];
        const int step = ((m % table_size) + table_size) % table_size;
        int index = static_cast<int>((static_cast<int64_t>(state->bin_low) * step) % table_size);
        float sum = 0.0f;
        for (uint32_t i = 0; i < state->bin_count; ++i) {
            const int sine_index = index >= quarter ? index - quarter : index - quarter + table_size;
            sum += real[i] * table[index] - cross[i][1] * table[sine_index];
            index += step;
            if (index >= table_size) index -= table_size;
        }
        out[j] = sum;
    }
}

// Catmull-Rom cubic through the correlation values around a fractional index.
float Interpolate(const float* values, float position) {
    const int i = static_cast<int>(position);  // positions are positive: truncation is floor
    const float t = position - static_cast<float>(i);
    const float p0 = values[i - 1], p1 = values[i], p2 = values[i + 1], p3 = values[i + 2];
    return p1 + 0.5f * t * (p2 - p0 + t * (2.0f * p0 - 5.0f * p1 + 4.0f * p2 - p3 + t * (3.0f * (p1 - p2) + p3 - p0)));
}

// Vertex offset of the parabola through three neighbours, within half a grid step.
double ParabolaOffset(float left, float centre, float right) {
    const double curvature = static_cast<double>(left) - 2.0 * centre + right;
    if (curvature >= 0.0) return 0.0;
    const double offset = 0.5 * (static_cast<double>(left) - right) / curvature;
    return offset < -0.5 ? -0.5 : offset > 0.5 ? 0.5 : offset;
}

}  // namespace

SteeredPeak Steer_FindPeak(SrpState* state) {
    for (int p = 0; p < kPairs; ++p) {
        WeightByCoherence(state, p);
        PairCorrelation(state, p);
    }
    const int points = static_cast<int>(state->grid_points);
    int best = 0;
    for (int g = 0; g < points; ++g) {
        float power = 0.0f;
        for (int p = 0; p < kPairs; ++p) power += state->pair_weight[p] * Interpolate(state->correlation, state->steer[g][p]);
        state->power[g] = power;
        if (power > state->power[best]) best = g;
    }
    // The circle wraps around; a line's ends mirror their inner neighbour.
    const int left = best > 0 ? best - 1 : state->collinear ? 1 : points - 1;
    const int right = best < points - 1 ? best + 1 : state->collinear ? points - 2 : 0;
    const double offset = ParabolaOffset(state->power[left], state->power[best], state->power[right]);

    float full_scale = 0.0f;
    for (int p = 0; p < kPairs; ++p) {
        for (uint32_t i = 0; i < state->bin_count; ++i) full_scale += state->pair_weight[p] * state->magnitude[p][i];
    }
    float confidence = full_scale > 0.0f ? state->power[best] / full_scale : 0.0f;
    confidence = confidence < 0.0f ? 0.0f : confidence > 1.0f ? 1.0f : confidence;
    return {Steering_GridToDegrees(*state, best + offset), confidence};
}

}  // namespace ezossl::srp
