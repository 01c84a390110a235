// Decibel-to-amplitude table for the level threshold (0 ... -80 dB full scale).
#include "level_table.h"

namespace ezossl {
namespace {

// Row i is -i dB: floor(32767 * 10^(-i/20)) down to -75 dB; the last five rows are set by hand,
// below that rule and are kept as they are.
constexpr uint16_t kVolTable[kVolTableRows] = {
    32767, 29203, 26027, 23197, 20674, 18426, 16422, 14636, 13044, 11626, 10361, 9234, 8230,
    7335, 6537, 5826, 5193, 4628, 4125, 3676, 3276, 2920, 2602, 2319, 2067, 1842, 1642, 1463,
    1304, 1162, 1036, 923, 823, 733, 653, 582, 519, 462, 412, 367, 327, 292, 260, 231, 206, 184,
    164, 146, 130, 116, 103, 92, 82, 73, 65, 58, 51, 46, 41, 36, 32, 29, 26, 23, 20, 18, 16, 14,
    13, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 1,
};

}  // namespace

uint16_t VolTable(int32_t level_db) {
    if (level_db > 0 || level_db <= -kVolTableRows) return 0;
    return kVolTable[-level_db];
}

}  // namespace ezossl
