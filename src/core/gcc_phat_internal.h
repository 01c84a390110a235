// Inner kernels of the phase-transform correlation, exposed for known-answer tests.
#pragma once

#include <cstdint>

namespace ezossl {

// A frame is rejected below this peak-to-mean ratio of the shifted correlation.
constexpr double kMinPeakToMean = 1.4;
// Keeps the phase-transform weight finite for empty bins.
constexpr double kPhatGuard = 1e-9;

// sqrt(sum x^2 * 32767^2) / n: a frame's level in 16-bit units (root before the division).
float FramePower(const float* x, int n);

// Column k of the candidate row nearest the lag; the lowest k wins ties.
int NearestCandidate(const float* candidate_row, int32_t lag);

}  // namespace ezossl
