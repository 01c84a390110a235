// Small vector helpers on float arrays, shared by the delay estimators.
#pragma once

namespace ezossl {

// out[k] = |(in[2k], in[2k+1])| for k < n/2, the root taken in double.
void ComplexMagnitude(const float* in, int n, float* out);

// Swaps the halves of a 256-value correlation so that index j holds lag j - 128.
void FftShift(const float* in, int n, float* out);

// Index of the first maximum / minimum (only a strictly greater / smaller value replaces it).
int ArgMax(const float* x, int n);
int ArgMin(const float* x, int n);

// Sum, then one division by n.
float Mean(const float* x, int n);

}  // namespace ezossl
