// Kaiser-windowed sinc interpolation kernel, cheap enough for thousands of image sources.
#include "simulation/fractional_delay.h"

#include <algorithm>
#include <cmath>

#include "analysis/angles.h"

namespace ezossl_tool {
namespace {

// Kaiser shape parameter: side lobes near -90 dB, below the 16-bit noise floor.
constexpr double kKaiserBeta = 8.6;
// The window is smooth, so a table with linear interpolation at 1/256 sample stays within
// about 1e-7 of the exact value, and saves two Bessel functions per tap.
constexpr int kWindowStepsPerSample = 256;

class KaiserTable {
  public:
    KaiserTable() : values_(kSincHalfWidth * kWindowStepsPerSample + 2) {
        const double norm = std::cyl_bessel_i(0.0, kKaiserBeta);
        for (size_t i = 0; i < values_.size(); ++i) {
            const double ratio = std::min(1.0, double(i) / (kSincHalfWidth * kWindowStepsPerSample));
            values_[i] = std::cyl_bessel_i(0.0, kKaiserBeta * std::sqrt(1.0 - ratio * ratio)) / norm;
        }
        values_.back() = 0.0;
    }

    double At(double offset) const {
        const double position = std::abs(offset) * kWindowStepsPerSample;
        const size_t index = static_cast<size_t>(position);
        if (index + 1 >= values_.size()) return 0.0;
        const double fraction = position - index;
        return values_[index] + fraction * (values_[index + 1] - values_[index]);
    }

  private:
    std::vector<double> values_;
};

}  // namespace

void AddFractionalImpulse(std::vector<double>& response, double delay, double gain) {
    static const KaiserTable window;
    const long centre = static_cast<long>(std::floor(delay));
    // sin(pi (n - delay)) alternates in sign from tap to tap: one sine serves the whole kernel.
    const double sine_at_centre = std::sin(kPi * (centre - delay));
    for (long n = centre - kSincHalfWidth + 1; n <= centre + kSincHalfWidth; ++n) {
        if (n < 0 || n >= static_cast<long>(response.size())) continue;
        const double offset = n - delay;
        const double sine = (n - centre) % 2 == 0 ? sine_at_centre : -sine_at_centre;
        const double sinc = std::abs(offset) < 1e-12 ? 1.0 : sine / (kPi * offset);
        response[n] += gain * sinc * window.At(offset);
    }
}

}  // namespace ezossl_tool
