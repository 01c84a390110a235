// Run-time configuration: temperature, level threshold and voting length with their derived values.
#pragma once

#include "ezossl.h"
#include "ssl_handle.h"

namespace ezossl {

// The settings a fresh handle starts with (25 degrees, -80 dB, 32 frames), no warning.
void Config_SetDefaults(SslHandle* handle);

// Stores a caller's settings: clamps the threshold, derives speed of sound, gates and
// amplitude. True when the voting length differs from the one stored before.
bool Config_Store(SslHandle* handle, const SslConfig& config);

// Clamp of the level threshold to -80 ... 0 dB.
int32_t ClampLevelThreshold(int32_t level_db);

}  // namespace ezossl
