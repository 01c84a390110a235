// Small vector helpers on float arrays: magnitudes, half swap, extremes and mean.
#include "vector_ops.h"

#include <cmath>
#include <cstring>

#include "fft.h"

namespace ezossl {

void ComplexMagnitude(const float* in, int n, float* out) {
    for (int k = 0; k < n / 2; ++k) {
        const float re = in[2 * k], im = in[2 * k + 1];
        out[k] = static_cast<float>(std::sqrt(static_cast<double>(re * re + im * im)));
    }
}

// The upper half is always taken from the end of a full-size transform output.
void FftShift(const float* in, int n, float* out) {
    const int half = n / 2;
    std::memcpy(out, in + kFftMaxSize - half, half * sizeof(float));
    std::memcpy(out + half, in, half * sizeof(float));
}

int ArgMax(const float* x, int n) {
    int best = 0;
    for (int i = 1; i < n; ++i) {
        if (x[i] > x[best]) best = i;
    }
    return best;
}

int ArgMin(const float* x, int n) {
    int best = 0;
    for (int i = 1; i < n; ++i) {
        if (x[i] < x[best]) best = i;
    }
    return best;
}

float Mean(const float* x, int n) {
    float sum = 0.0f;
    for (int i = 0; i < n; ++i) sum += x[i];
    return sum / static_cast<float>(n);
}

}  // namespace ezossl
