// Convolution and spectral shaping of real signals, for the simulator.
#pragma once

#include <functional>
#include <vector>

namespace ezossl_tool {

// Full linear convolution (length a + b - 1): direct for short kernels, by FFT otherwise.
std::vector<double> Convolve(const std::vector<double>& signal, const std::vector<double>& kernel);

// Multiplies the spectrum of x (zero-padded to a fast FFT length) by gain(frequency in Hz) and
// keeps x's length; meant for shaping noise, where the circular wrap at the ends does no harm.
void ShapeSpectrum(std::vector<double>& x, double sample_rate, const std::function<double(double)>& gain);

}  // namespace ezossl_tool
