// Number-to-text conversions with the C locale's decimal point.
#include "report/number_format.h"

#include <cstdio>

namespace ezossl_tool {

std::string FormatNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string FormatFixed(double value, int decimals) {
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    const std::string result = text;
    // Keep "-0" and "-0.0" out of tables: a value that rounds to zero is zero.
    return result.find_first_not_of("-0.") == std::string::npos && result[0] == '-' ? result.substr(1) : result;
}

}  // namespace ezossl_tool
