// Sine analysis windows, stored as half tables and read forwards then backwards.
#pragma once

namespace ezossl {

extern const float FloatingFftInWindow256[129];

// The windows in use: both the 256-point table.
extern const float* const FftInWindow;
extern const float* const FftOutWindow;

constexpr int kWindowIn = 0;
constexpr int kWindowOut = 1;

// Multiplies a 256-sample frame by the input (mode 0) or output (mode 1) window;
// any other mode leaves the frame alone.
void FftWindow_Apply(float* frame, int mode);

}  // namespace ezossl
