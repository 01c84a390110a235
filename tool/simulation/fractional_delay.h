// Band-limited placement of an impulse at a fractional delay (Kaiser-windowed sinc).
#pragma once

#include <vector>

namespace ezossl_tool {

// Taps on each side of the impulse centre; a 64-tap kernel keeps the delay error far below the
// one-sample resolution the library works with.
constexpr int kSincHalfWidth = 32;

// Adds gain times a band-limited unit impulse centred at delay (samples, fractional) to response.
// The response must reach delay + kSincHalfWidth; taps before index 0 are dropped.
void AddFractionalImpulse(std::vector<double>& response, double delay, double gain);

}  // namespace ezossl_tool
