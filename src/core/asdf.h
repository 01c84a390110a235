// Delay estimation by average squared difference of the newest blocks (delays only, no votes).
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// Largest delay bound the 30-score search can hold (2 * 14 + 1 scores searched).
constexpr int32_t kAsdfMaxBound = (kAsdfScoreNum - 1) / 2;

// delay_sample[p] = index of the smallest score - bound, for p = 0..2, from the newest blocks.
void Asdf_EstimateDelays(AsdfState& asdf, const int32_t* max_delay, int32_t* delay_sample);

}  // namespace ezossl
