// Pair vectors, line detection and the steering table built once at Init.
#include "srp_geometry.h"

#include <ezossl_srp.h>

#include <cmath>

namespace ezossl::srp {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kMetresPerCm = 0.01;
// Four microphones count as one line when none lies farther from it than this share of its
// length: a smaller offset cannot tell a source from its mirror image in practice.
constexpr double kCollinearTolerance = 0.01;
// Correlation values per period of the highest analysed frequency, for cubic interpolation.
constexpr double kLagPointsPerCycle = 8.0;
// Correlation values kept beyond the largest delay on each side, for the interpolation.
constexpr int kLagMargin = 2;

double Radians(double degrees) { return degrees * kPi / 180.0; }

// Unit direction of grid position g: planar 0 toward +y, -90 toward +x; a line -90 toward
// its axis end. Returned as the delay factor of pair p, in metres of path.
double PathDifference(const SrpState& state, const ArrayLayout& layout, int p, int g) {
    if (state.collinear) {
        const double along = layout.pair[p][0] * layout.axis[0] + layout.pair[p][1] * layout.axis[1];
        return along * -std::sin(Radians(-90.0 + g));
    }
    const double d = Radians(-90.0 + g);
    return layout.pair[p][0] * -std::sin(d) + layout.pair[p][1] * std::cos(d);
}

double PairSpan(const ArrayLayout& layout, int p) {
    if (!layout.collinear) return std::hypot(layout.pair[p][0], layout.pair[p][1]);
    return std::fabs(layout.pair[p][0] * layout.axis[0] + layout.pair[p][1] * layout.axis[1]);
}

}  // namespace

uint32_t Layout_FromPositions(const float mic_pos_cm[8], ArrayLayout* layout) {
    double pos[kChannels][2];
    for (int i = 0; i < 2 * kChannels; ++i) {
        if (!std::isfinite(mic_pos_cm[i])) return EZOSSL_SRP_RET_INVALID_POSITIONS;
        pos[i / 2][i % 2] = static_cast<double>(mic_pos_cm[i]) * kMetresPerCm;
    }
    int widest = 0;
    for (int p = 0; p < kPairs; ++p) {
        const double* a = pos[kPairMics[p][0]];
        const double* b = pos[kPairMics[p][1]];
        if (a[0] == b[0] && a[1] == b[1]) return EZOSSL_SRP_RET_COINCIDENT_MICS;
        layout->pair[p][0] = b[0] - a[0];
        layout->pair[p][1] = b[1] - a[1];
        if (std::hypot(layout->pair[p][0], layout->pair[p][1]) >
            std::hypot(layout->pair[widest][0], layout->pair[widest][1])) {
            widest = p;
        }
    }
    const double length = std::hypot(layout->pair[widest][0], layout->pair[widest][1]);
    double ax = layout->pair[widest][0] / length;
    double ay = layout->pair[widest][1] / length;
    if (ax < 0.0 || (ax == 0.0 && ay < 0.0)) {  // the end with the larger x, or larger y
        ax = -ax;
        ay = -ay;
    }
    layout->axis[0] = ax;
    layout->axis[1] = ay;
    const double* origin = pos[kPairMics[widest][0]];
    layout->collinear = true;
    for (const auto& mic : pos) {
        const double off_line = std::fabs((mic[0] - origin[0]) * ay - (mic[1] - origin[1]) * ax);
        if (off_line > kCollinearTolerance * length) layout->collinear = false;
    }
    return EZOSSL_SRP_RET_OK;
}

uint32_t Steering_Build(SrpState* state, const ArrayLayout& layout, double speed_of_sound) {
    const double samples_per_metre = state->sample_rate / speed_of_sound;
    double widest = 0.0;
    for (int p = 0; p < kPairs; ++p) widest = std::fmax(widest, PairSpan(layout, p) * samples_per_metre);
    if (widest < 1.0) return EZOSSL_SRP_RET_ARRAY_TOO_SMALL;

    // Fine enough for the highest analysed frequency, coarser if the buffer demands it.
    const double highest_hz = (state->bin_low + state->bin_count - 1) * static_cast<double>(state->sample_rate) / kFrame;
    int upsampling = static_cast<int>(std::ceil(kLagPointsPerCycle * highest_hz / state->sample_rate));
    upsampling = upsampling < 1 ? 1 : upsampling > kMaxLagUpsampling ? kMaxLagUpsampling : upsampling;
    for (;; --upsampling) {
        int32_t total = 0;
        for (int p = 0; p < kPairs; ++p) {
            const double reach = PairSpan(layout, p) * samples_per_metre * upsampling;
            state->lag_centre[p] = static_cast<int32_t>(std::ceil(reach)) + kLagMargin;
            state->lag_count[p] = 2 * state->lag_centre[p] + 1;
            state->lag_first[p] = total;
            total += state->lag_count[p];
        }
        if (total <= kMaxLagPoints) break;
        if (upsampling == 1) return EZOSSL_SRP_RET_ARRAY_TOO_LARGE;
    }
    state->lag_upsampling = static_cast<uint32_t>(upsampling);

    const int table_size = kFrame * upsampling;
    for (int i = 0; i < table_size; ++i) state->phase_table[i] = static_cast<float>(std::cos(2.0 * kPi * i / table_size));

    const double hz_per_bin = static_cast<double>(state->sample_rate) / kFrame;
    for (int p = 0; p < kPairs; ++p) {
        const double metres = std::hypot(layout.pair[p][0], layout.pair[p][1]);
        for (uint32_t i = 0; i < state->bin_count; ++i) {
            const double x = 2.0 * kPi * (state->bin_low + i) * hz_per_bin * metres / speed_of_sound;
            state->diffuse_coherence[p][i] = static_cast<float>(x > 0.0 ? std::sin(x) / x : 1.0);
        }
    }
    // A line's wide pairs resolve its directions best, and its close pairs mostly hear the
    // diffuse field: each pair counts by its span squared (relative to the widest), which moved
    // a line's answers closer to the truth on the accuracy grid. A planar array's pairs count alike.
    double widest_span = 0.0;
    for (int p = 0; p < kPairs; ++p) widest_span = std::fmax(widest_span, PairSpan(layout, p));
    for (int p = 0; p < kPairs; ++p) {
        const double share = PairSpan(layout, p) / widest_span;
        state->pair_weight[p] = layout.collinear ? static_cast<float>(share * share) : 1.0f;
    }
    state->collinear = layout.collinear ? 1u : 0u;
    state->grid_points = layout.collinear ? kLineGrid : kPlanarGrid;
    for (uint32_t g = 0; g < state->grid_points; ++g) {
        for (int p = 0; p < kPairs; ++p) {
            const double lag = PathDifference(*state, layout, p, static_cast<int>(g)) * samples_per_metre * upsampling;
            state->steer[g][p] = static_cast<float>(state->lag_first[p] + state->lag_centre[p] + lag);
        }
    }
    return EZOSSL_SRP_RET_OK;
}

float Steering_GridToDegrees(const SrpState& state, double grid) {
    double degrees = -90.0 + grid;
    if (!state.collinear) {
        if (degrees < -90.0) degrees += 360.0;
        if (degrees >= 270.0) degrees -= 360.0;
    } else {
        degrees = std::fmax(-90.0, std::fmin(90.0, degrees));
    }
    return static_cast<float>(degrees);
}

}  // namespace ezossl::srp
