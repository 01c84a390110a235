// Numeric constants of the localisation algorithms, each named once.
#pragma once

namespace ezossl {

// The library's value of pi, truncated on purpose; results depend on it.
constexpr double kSslPi = 3.1415926;

// pi / 2 as the float the slope of a vertical pair is set to (bit pattern 0x3FC90FDA).
constexpr float kHalfPiFloat = 1.5707963f;

// Added to the planar solver's determinant (in double) so a degenerate array never divides by 0.
constexpr double kDeterminantGuard = 1e-9;

// Speed of sound in air: 331.0 + 0.6 * temperature (degrees Celsius), in m/s.
constexpr double kSoundSpeedAtZero = 331.0;
constexpr double kSoundSpeedPerDegree = 0.6;

// Defaults stored by Init and Reset.
constexpr unsigned kDefaultTemperature = 25;
constexpr int kDefaultLevelThresholdDb = -80;
constexpr int kDefaultDirectionFrameNum = 32;

// Level threshold range in dB.
constexpr int kLevelThresholdMinDb = -80;
constexpr int kLevelThresholdMaxDb = 0;

// Digital gain range in dB.
constexpr int kGainMinDb = -120;
constexpr int kGainMaxDb = 120;

}  // namespace ezossl
