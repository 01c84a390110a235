// Digital gain: the decibel-to-factor conversion and the in-place scaling of one block.
#pragma once

#include <cstdint>

namespace ezossl {

// Linear factor of a gain in dB: the division in float, the power in double.
float Gain_Factor(int32_t gain_db);

// Scales the 128 x 4 interleaved samples in place; results beyond 16 bits wrap around.
void Gain_ApplyBlock(float gain_linear, int16_t* samples);

}  // namespace ezossl
