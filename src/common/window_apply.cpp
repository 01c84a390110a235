// Applies the 256-point sine window from its 129-entry half table.
#include "window_tables.h"

namespace ezossl {

const float* const FftInWindow = FloatingFftInWindow256;
const float* const FftOutWindow = FloatingFftInWindow256;

void FftWindow_Apply(float* frame, int mode) {
    constexpr int kHalf = 128;
    const float* window = mode == kWindowIn ? FftInWindow : mode == kWindowOut ? FftOutWindow : nullptr;
    if (!window) return;
    for (int i = 0; i < kHalf; ++i) {
        frame[i] *= window[i];
        frame[kHalf + i] *= window[kHalf - i];
    }
}

}  // namespace ezossl
