// Synthetic test signals: deterministic noise, interleaved blocks and far-field array scenes.
#pragma once

#include <cstdint>
#include <vector>

namespace ezossl_test {

constexpr int kBlockSamples = 128;
constexpr int kChannels = 4;

// A small portable generator (same numbers on every platform and standard library).
class NoiseSource {
  public:
    explicit NoiseSource(uint64_t seed) : state_(seed) {}
    double Uniform();  // [-1, 1)
    std::vector<double> White(int length, double amplitude);

  private:
    uint64_t state_;
};

// Four channels of equal length, one vector each.
using Channels = std::vector<std::vector<double>>;

// Interleaves sample instants [128 * block, 128 * block + 128) of four channels into int16
// (index 4n + c), rounding and saturating.
std::vector<int16_t> InterleaveBlock(const Channels& channels, int block);

// Channel c = signal delayed by delays[c] whole samples (zeros shifted in at the start).
Channels ShiftedCopies(const std::vector<double>& signal, const int delays[kChannels]);

struct MicPosition {
    double x;
    double y;
};

// A far-field source in the library's angle convention (direction (-sin a, cos a)), rendered
// as periodic band-limited noise with exact fractional delays by phase shifts in the frequency
// domain; length is a power of two.
Channels FarFieldScene(const MicPosition mics[kChannels], double angle_degrees, double sample_rate,
                       double speed_of_sound, int length, double amplitude, uint64_t seed);

// Microphone positions (metres) of the library's uniform arrays.
void LinearArray(double spacing, MicPosition out[kChannels]);
void CircularArray(double diameter, MicPosition out[kChannels]);

}  // namespace ezossl_test
