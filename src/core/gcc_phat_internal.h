// Inner kernels of the phase-transform correlation, exposed for known-answer tests.
#pragma once

#include <cstdint>

namespace ezossl {

// A frame is rejected below this peak-to-mean ratio of the shifted correlation.
constexpr double kMinPeakToMean = 1.4;
// Keeps the phase-transform weight finite for empty bins.
constexpr double kPhatGuard = 1e-9;

// Column k of the candidate row nearest the lag; the lowest k wins ties.
int NearestCandidate(const float* candidate_row, int32_t lag);

}  // namespace ezossl
