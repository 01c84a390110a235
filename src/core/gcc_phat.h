// Delay estimation by phase-transform-weighted cross-correlation, with per-pair voting.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// For each pair p (channel 0 with p + 1): the lag of the correlation peak in delay_sample[p],
// or kDelayRejected; accepted frames vote for the nearest candidate and add the refined
// delay to its sum. Needs this frame's spectrum.
void GccPhat_EstimateDelays(SslHandle* handle, int32_t* delay_sample);

}  // namespace ezossl
