// kissfft-based fast convolution and spectral shaping.
#include "simulation/fft_tools.h"

#include <kiss_fftr.h>

#include <algorithm>
#include <memory>
#include <new>

namespace ezossl_tool {
namespace {

// Below this kernel length a direct sum is cheaper and exact in double precision.
constexpr size_t kDirectKernelLimit = 256;

struct PlanDeleter {
    void operator()(kiss_fftr_state* plan) const { kiss_fftr_free(plan); }
};
using Plan = std::unique_ptr<kiss_fftr_state, PlanDeleter>;

Plan MakePlan(int size, bool inverse) {
    Plan plan(kiss_fftr_alloc(size, inverse ? 1 : 0, nullptr, nullptr));
    if (!plan) throw std::bad_alloc();
    return plan;
}

// Real signal <-> one-sided spectrum of a fixed even length, zero-padded on the way in.
class RealFft {
  public:
    explicit RealFft(size_t minimum_size)
        : size_(kiss_fftr_next_fast_size_real(static_cast<int>(std::max<size_t>(minimum_size, 2)))),
          forward_(MakePlan(size_, false)),
          inverse_(MakePlan(size_, true)) {}

    int Size() const { return size_; }

    std::vector<kiss_fft_cpx> Forward(const std::vector<double>& x) const {
        std::vector<kiss_fft_scalar> padded(size_, 0.0f);
        std::copy_n(x.begin(), std::min<size_t>(x.size(), size_), padded.begin());
        std::vector<kiss_fft_cpx> spectrum(size_ / 2 + 1);
        kiss_fftr(forward_.get(), padded.data(), spectrum.data());
        return spectrum;
    }

    // Inverse transform, scaled so that Inverse(Forward(x)) == x; returns the first `length` samples.
    std::vector<double> Inverse(const std::vector<kiss_fft_cpx>& spectrum, size_t length) const {
        std::vector<kiss_fft_scalar> samples(size_);
        kiss_fftri(inverse_.get(), spectrum.data(), samples.data());
        std::vector<double> result(length);
        for (size_t i = 0; i < length; ++i) result[i] = double(samples[i]) / size_;
        return result;
    }

  private:
    int size_;
    Plan forward_;
    Plan inverse_;
};

std::vector<double> DirectConvolution(const std::vector<double>& signal, const std::vector<double>& kernel) {
    std::vector<double> out(signal.size() + kernel.size() - 1, 0.0);
    for (size_t k = 0; k < kernel.size(); ++k) {
        if (kernel[k] == 0.0) continue;
        for (size_t n = 0; n < signal.size(); ++n) out[n + k] += kernel[k] * signal[n];
    }
    return out;
}

}  // namespace

std::vector<double> Convolve(const std::vector<double>& signal, const std::vector<double>& kernel) {
    if (signal.empty() || kernel.empty()) return {};
    if (kernel.size() <= kDirectKernelLimit) return DirectConvolution(signal, kernel);
    const size_t length = signal.size() + kernel.size() - 1;
    const RealFft fft(length);
    std::vector<kiss_fft_cpx> a = fft.Forward(signal);
    const std::vector<kiss_fft_cpx> b = fft.Forward(kernel);
    for (size_t k = 0; k < a.size(); ++k) {
        const kiss_fft_cpx p = a[k], q = b[k];
        a[k] = {p.r * q.r - p.i * q.i, p.r * q.i + p.i * q.r};
    }
    return fft.Inverse(a, length);
}

void ShapeSpectrum(std::vector<double>& x, double sample_rate, const std::function<double(double)>& gain) {
    if (x.empty()) return;
    const RealFft fft(x.size());
    std::vector<kiss_fft_cpx> spectrum = fft.Forward(x);
    for (size_t k = 0; k < spectrum.size(); ++k) {
        const auto g = static_cast<kiss_fft_scalar>(gain(k * sample_rate / fft.Size()));
        spectrum[k].r *= g;
        spectrum[k].i *= g;
    }
    x = fft.Inverse(spectrum, x.size());
}

}  // namespace ezossl_tool
