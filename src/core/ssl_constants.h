// Sizes and numeric constants of the localisation algorithms, each named once.
#pragma once

#include <cstdint>

namespace ezossl {

constexpr uint32_t kPointNumber = 128;  // sample instants per block
constexpr uint32_t kMicNum = 4;
constexpr int kBlockLength = static_cast<int>(kPointNumber);
constexpr int kPairNum = 3;             // microphone 0 with 1, 2, 3
constexpr int kCandidateNum = 9;        // candidate directions, 22.5 degrees apart
constexpr int kRejectBin = 9;           // vote_count bin of rejected frames
constexpr int kVoteBins = 10;
constexpr int kFrameLength = 256;       // analysis frame: previous block + new block
constexpr int kSpectrumBins = kFrameLength / 2 + 1;
constexpr int kAsdfScoreNum = 30;
constexpr int32_t kDelayRejected = -32768;
constexpr int32_t kNoDirection = -10000;

// Lags this many samples beyond a pair's delay bound still count: the correlation search
// accepts them and the direction solver uses them unclipped.
constexpr int32_t kDelayMargin = 3;

// Full scale of a 16-bit sample: input is divided by it to reach +-1.
constexpr float kSampleFullScale = 32768.0f;

// The caller gives distances and positions in centimetres; the handle keeps metres. The two
// conversions round differently and results depend on each, so both are kept.
constexpr double kMetresPerCentimetre = 0.01;   // Init multiplies the spacing in double
constexpr float kCentimetresPerMetre = 100.0f;  // arbitrary positions divide in float

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
