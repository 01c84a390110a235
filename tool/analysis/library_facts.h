// What the tool must know about the library beyond its header: laws, limits, codes and names.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "analysis/angles.h"
#include "ezossl.h"

namespace ezossl_tool {

// Microphone positions, index = microphone = channel of the recording.
using MicPositions = std::array<Vec2, EZOSSL_MIC_NUM>;

// The library takes 16-bit samples: full scale is 32768, the largest value one step below.
constexpr double kSampleFullScale = 32768.0;

// 331 + 0.6 T m/s, the law the library turns its temperature into delays with.
double SpeedOfSound(double temperature_c);

// The library searches correlation peaks up to 3 samples beyond a pair's largest delay inside
// a 256-lag window centred on 0, so no pair may span 124 samples or more.
constexpr double kMaxPairDelaySamples = 124.0;

// Settings the library accepts as given; beyond them it clamps or (the unsigned temperature)
// wraps around silently.
constexpr int kMinTemperature = 0, kMaxTemperature = 60;
constexpr int kMinThreshold = -80, kMaxThreshold = 0;
constexpr int kMaxGainDb = 120;

// The tool's defaults for the library's settings; its threshold is stricter than the library's
// own -80 dB, so that silence between words does not vote.
constexpr int kDefaultTemperatureC = 25;
constexpr int kDefaultThresholdDb = -60;
constexpr int kDefaultFramesPerVote = 32;

// EzoSsl_Set_Shape's codes for the uniform arrays.
constexpr uint32_t kUniformLinearShape = 0;
constexpr uint32_t kUniformCircularShape = 1;

// Where the library places the microphones of a uniform array, in the unit of the distance,
// centred on the array: a line along x at this spacing from -x to +x, or a circle of this
// diameter with microphones 0 to 3 on -x, +y, +x and -y.
MicPositions UniformLinearPositions(double spacing);
MicPositions UniformCircularPositions(double diameter);

// True when Get_Direction closed a voting period with this status (with or without a direction).
bool ClosesVotingPeriod(uint32_t status);

// "OK", "SIGNAL_TOO_WEAK", ... (the status constant without its SSL_RET_ prefix).
std::string StatusName(uint32_t status);

// The sample rates the library accepts.
constexpr std::array<uint32_t, 4> kSupportedRates = {8000, 16000, 32000, 48000};
// The name a table gives a status, or its value as "0x%08X" when the table does not know it.
std::string NamedStatus(const std::map<uint32_t, const char*>& names, uint32_t status);

bool IsSupportedRate(uint32_t rate);
// "8000, 16000, 32000 or 48000 Hz"
std::string SupportedRatesText();
// The supported rate closest to this one, to suggest as a resampling target.
uint32_t NearestSupportedRate(uint32_t rate);

}  // namespace ezossl_tool
