// Delay search tables: Init's default bounds and candidate delays, and the planar solver matrix.
#include "delay_tables.h"

#include <cmath>

#include "../common/numeric.h"
#include "ssl_constants.h"

namespace ezossl {
namespace {

// Absurd geometries saturate the bound here, so the 3-sample margins added to it later
// stay representable.
constexpr int32_t kDelayBoundCeiling = INT32_MAX - 16;

// The pair vectors as a 2 x 3 matrix: row 0 the x components, row 1 the y components.
using PairMatrix = float[2][kPairNum];
using Square2 = float[2][2];

void TransposePairs(const Geometry& geometry, PairMatrix transpose) {
    for (int q = 0; q < kPairNum; ++q) {
        transpose[0][q] = geometry.relative_array_pos[q].x;
        transpose[1][q] = geometry.relative_array_pos[q].y;
    }
}

// M = T x R, where R is T transposed: the sums run over the pairs in order, from 0.
void MultiplyByTranspose(const PairMatrix transpose, Square2 product) {
    for (int a = 0; a < 2; ++a) {
        for (int b = 0; b < 2; ++b) {
            float sum = 0.0f;
            for (int q = 0; q < kPairNum; ++q) sum += transpose[a][q] * transpose[b][q];
            product[a][b] = sum;
        }
    }
}

// The guard is added to every determinant, not only to small ones: it keeps a degenerate
// array finite and shrinks the matrix of a small array very slightly.
void Invert2x2(const Square2 m, Square2 inverse) {
    const float determinant = m[0][0] * m[1][1] - m[1][0] * m[0][1];
    const auto guarded = static_cast<float>(static_cast<double>(determinant) + kDeterminantGuard);
    for (int a = 0; a < 2; ++a) {
        inverse[a][a] = m[1 - a][1 - a] / guarded;
        inverse[a][1 - a] = -m[a][1 - a] / guarded;
    }
}

}  // namespace

float SpeedOfSound(uint32_t temperature) {
    return static_cast<float>(static_cast<double>(temperature) * kSoundSpeedPerDegree +
                              kSoundSpeedAtZero);
}

int32_t DelayBound(float t) {
    const int32_t whole = TruncateToInt32(t);
    return (whole < kDelayBoundCeiling ? whole : kDelayBoundCeiling) + 1;
}

void MaxDelay_SetDefault(const Settings& settings, float speed_of_sound, int32_t* max_delay) {
    const auto fs = static_cast<float>(settings.sample_rate);
    for (int p = 1; p <= kPairNum; ++p) {
        const float t = static_cast<float>(p) * settings.mic_distance / speed_of_sound * fs;
        max_delay[p - 1] = DelayBound(t);
    }
}

float CandidateDelayAt(int32_t bound, float theta) {
    const auto widened = static_cast<double>(static_cast<float>(bound));
    return static_cast<float>(widened * std::cos(static_cast<double>(theta)));
}

void CandidateDelay_SetDefault(const int32_t* max_delay, VotingState& voting) {
    for (int q = 0; q < kPairNum; ++q) {
        for (int k = 0; k < kCandidateNum; ++k) {
            const float fraction = static_cast<float>(k) / 8.0f;
            const auto theta = static_cast<float>(static_cast<double>(fraction) * kSslPi);
            voting.candidate_delay[q][k] = CandidateDelayAt(max_delay[q], theta);
        }
    }
}

void Projection_Compute(Geometry& geometry) {
    if (geometry.array_geometry != 1) return;
    PairMatrix transpose;
    Square2 product;
    Square2 inverse;
    TransposePairs(geometry, transpose);
    MultiplyByTranspose(transpose, product);
    Invert2x2(product, inverse);
    for (int a = 0; a < 2; ++a) {
        for (int q = 0; q < kPairNum; ++q) {
            float sum = 0.0f;
            for (int b = 0; b < 2; ++b) sum += inverse[a][b] * transpose[b][q];
            geometry.plane_projection[a][q] = sum;
        }
    }
}

}  // namespace ezossl
