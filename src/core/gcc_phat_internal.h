// Inner kernels of the phase-transform correlation, exposed for known-answer tests.
#pragma once

#include <cstdint>

namespace ezossl {

// A frame is rejected below this peak-to-mean ratio of the shifted correlation.
constexpr double kMinPeakToMean = 1.4;
// Lags this far beyond a pair's delay bound are still accepted.
constexpr int32_t kDelayMargin = 3;
// Keeps the phase-transform weight finite for empty bins.
constexpr double kPhatGuard = 1e-9;

// out[k] = |(in[2k], in[2k+1])| for k < n/2, the root taken in double.
void ComplexMagnitude(const float* in, int n, float* out);

// Swaps the halves of a 256-value correlation so that index j holds lag j - 128.
void FftShift(const float* in, int n, float* out);

// Index of the first maximum / minimum (only a strictly greater / smaller value replaces it).
int ArgMax(const float* x, int n);
int ArgMin(const float* x, int n);

float Mean(const float* x, int n);

// sqrt(sum x^2 * 32767^2) / n: a frame's level in 16-bit units (root before the division).
float FramePower(const float* x, int n);

// Column k of the candidate row nearest the lag; the lowest k wins ties.
int NearestCandidate(const float* candidate_row, int32_t lag);

}  // namespace ezossl
