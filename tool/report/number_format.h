// Number-to-text conversions shared by messages, tables and plots.
#pragma once

#include <string>

namespace ezossl_tool {

// Shortest natural form: 6.5, 4, -0.25 (up to 6 significant digits).
std::string FormatNumber(double value);
// Fixed number of decimals: FormatFixed(0.256, 3) is "0.256".
std::string FormatFixed(double value, int decimals);

}  // namespace ezossl_tool
