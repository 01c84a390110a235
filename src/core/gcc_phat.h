// Delay estimation by phase-transform-weighted cross-correlation, with per-pair voting.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// The tables the peak search reads: lag of each correlation index, delay bound per pair.
struct DelayLimits {
    const int32_t* lag_table;  // kFrameLength entries
    const int32_t* max_delay;  // kPairNum entries
};

// For each pair p (channel 0 with p + 1) of this frame's spectra: the lag of the correlation
// peak in delay_sample[p], or kDelayRejected; accepted frames vote for the nearest candidate
// and add the refined delay to its sum, rejected ones count in the rejection bin.
void GccPhat_EstimateDelays(const Frames& frames, DelayLimits limits, FftState& fft, DitherRng& rng,
                            VotingState& voting, int32_t* delay_sample);

}  // namespace ezossl
