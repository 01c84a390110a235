// Float-to-integer conversion that truncates toward zero and is defined for every input.
#pragma once

#include <cmath>
#include <cstdint>

namespace ezossl {

// Same result as a C cast for every value that fits in int32; beyond that it saturates and
// NaN gives 0, as the conversion instruction of the ARM devices this library runs on does.
inline int32_t TruncateToInt32(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return INT32_MAX;
    if (value <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(value);
}

}  // namespace ezossl
