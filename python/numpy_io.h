// numpy in and out: (n, 4) sample arrays to interleaved 16 bits, rows to structured arrays.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <vector>

#include "stream_localizer.h"

namespace ezossl_python {

// samples: an (n, 4) array of int16, or of float32/float64 in -1 ... 1 (converted as the tool
// converts recordings: rounded, clipped beyond full scale and counted in clipped). Throws
// ValueError saying what was expected.
std::vector<int16_t> InterleavedInt16(const pybind11::handle& samples, int64_t& clipped);

// start_s, frames, status, direction_deg (NaN without a direction), and for SRP confidence
// and level_dbfs.
pybind11::array PeriodArray(const std::vector<PeriodRow>& rows, ezossl_tool::Method method);
// start_s, delay_01, delay_02, delay_03 (NaN when the library rejected the pair).
pybind11::array FrameArray(const std::vector<FrameRow>& rows);

}  // namespace ezossl_python
