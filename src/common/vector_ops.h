// Small vector helpers on float arrays, shared by the delay estimators.
#pragma once

namespace ezossl {

// Index of the first minimum (only a strictly smaller value replaces it).
int ArgMin(const float* x, int n);

}  // namespace ezossl
