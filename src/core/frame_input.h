// Sliding analysis frames: each new interleaved block shifted into the frames in one pass.
#pragma once

#include <cstdint>

#include "ssl_handle.h"

namespace ezossl {

// Shifts each 256-sample frame by one block and appends the new block scaled to +-1; the raw
// samples per channel go to dump_block (dump_block[c][n] = input[4n + c]) in the same pass.
// Refreshes the newest-block views of the squared-difference search.
void InputBlock_Append(const int16_t* microphone_input, int16_t (&dump_block)[kMicNum][kPointNumber],
                       Frames& frames, AsdfState& asdf);

}  // namespace ezossl
