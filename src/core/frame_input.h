// Sliding analysis frames: de-interleaving each new block and shifting it into the frames.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// dump_block[c][n] = input[4n + c]: the raw block per channel, before any processing.
void InputBlock_Deinterleave(SslHandle* handle, const int16_t* microphone_input);

// Shifts each 256-sample frame by one block, appends the new block scaled to +-1 and
// refreshes the newest-block views used by the squared-difference search.
void InputBlock_Append(SslHandle* handle, const int16_t* microphone_input);

}  // namespace ezossl
