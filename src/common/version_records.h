// Interface and library version numbers and the constant records that identify the build.
#pragma once

#include <cstdint>

namespace ezossl {

// API version as two digit characters, major then minor.
constexpr const char* API_STRING = "14";

// Library version printed at Init and Reset: ver.2024.0315.0000.
constexpr uint32_t kLibraryVersion[3] = {0x2024, 0x0315, 0x0000};

// Constant records kept in the library's data for the device's tools; nothing reads them.
extern const char kSslSettingsRecord[];
extern const char kVersionRecord[];
extern const char kVersionComRecord[];

}  // namespace ezossl
