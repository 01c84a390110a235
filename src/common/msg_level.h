// Message level: the bit mask read from the shared audio-algorithm configuration file.
#pragma once

#include <cstdint>

namespace ezossl {

// Default configuration file; "DML_PATH" names another file instead.
constexpr const char* kMsgLevelFile = "/config/audioAlgo.json";

// Reads "debug_level" from the file; 15, 7, 3 or 1, anything else (or no file) gives 7.
uint32_t LoadMessageLevel();

}  // namespace ezossl
