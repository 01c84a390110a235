// Amplitude of a level threshold given in whole decibels.
#pragma once

#include <cstdint>

namespace ezossl {

constexpr int32_t kVolTableRows = 81;  // 0 dB down to -80 dB

// 16-bit amplitude of level_db (0 ... -80); 0 for a value outside the table.
uint16_t VolTable(int32_t level_db);

}  // namespace ezossl
