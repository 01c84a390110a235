// Deterministic noise and far-field scenes rendered with exact fractional delays.
#include "signals.h"

#include <cmath>
#include <complex>

namespace ezossl_test {

double NoiseSource::Uniform() {
    // splitmix64
    uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) / 4503599627370496.0 - 1.0;  // 2^52
}

std::vector<double> NoiseSource::White(int length, double amplitude) {
    std::vector<double> out(length);
    for (double& v : out) v = amplitude * Uniform();
    return out;
}

std::vector<int16_t> InterleaveBlock(const Channels& channels, int block) {
    std::vector<int16_t> out(kBlockSamples * kChannels);
    for (int i = 0; i < kBlockSamples * kChannels; ++i) {
        const double v = std::round(channels[i % kChannels][block * kBlockSamples + i / kChannels]);
        out[i] = static_cast<int16_t>(std::fmax(-32768.0, std::fmin(32767.0, v)));
    }
    return out;
}

Channels ShiftedCopies(const std::vector<double>& signal, const int delays[kChannels]) {
    Channels out(kChannels, std::vector<double>(signal.size(), 0.0));
    for (int c = 0; c < kChannels; ++c) {
        for (size_t n = 0; n < signal.size(); ++n) {
            const long from = static_cast<long>(n) - delays[c];
            if (from >= 0 && from < static_cast<long>(signal.size())) out[c][n] = signal[from];
        }
    }
    return out;
}

namespace {

// In-place radix-2 transform of a power-of-two length in double precision, unscaled: sign -1
// forward, +1 inverse. Only additions, multiplications and one sin/cos pair per twiddle, so
// scenes come out the same on every architecture (to far below one 16-bit step).
void Transform(std::vector<std::complex<double>>& x, int sign) {
    const size_t n = x.size();
    for (size_t i = 1, j = 0; i < n; ++i) {
        size_t bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j |= bit;
        if (i < j) std::swap(x[i], x[j]);
    }
    std::vector<std::complex<double>> twiddle;
    for (size_t len = 2; len <= n; len <<= 1) {
        twiddle.resize(len / 2);
        for (size_t k = 0; k < len / 2; ++k) {
            twiddle[k] = std::polar(1.0, sign * 2.0 * M_PI * static_cast<double>(k) / static_cast<double>(len));
        }
        for (size_t start = 0; start < n; start += len) {
            std::complex<double>* a = &x[start];
            std::complex<double>* b = a + len / 2;
            for (size_t k = 0; k < len / 2; ++k) {
                // Written out: the library call std::complex's product makes for infinities is slow.
                const std::complex<double> odd(b[k].real() * twiddle[k].real() - b[k].imag() * twiddle[k].imag(),
                                               b[k].real() * twiddle[k].imag() + b[k].imag() * twiddle[k].real());
                b[k] = a[k] - odd;
                a[k] += odd;
            }
        }
    }
}

}  // namespace

Channels FarFieldScene(const MicPosition mics[kChannels], double angle_degrees, double sample_rate,
                       double speed_of_sound, int length, double amplitude, uint64_t seed) {
    const double angle = angle_degrees * M_PI / 180.0;
    const double ux = -std::sin(angle);
    const double uy = std::cos(angle);
    NoiseSource noise(seed);
    std::vector<std::complex<double>> spectrum(length);
    for (auto& v : spectrum) v = noise.Uniform();
    Transform(spectrum, -1);
    spectrum[length / 2] = 0.0;  // keep every channel real and band-limited

    Channels out(kChannels, std::vector<double>(length));
    std::vector<std::complex<double>> shifted(length);
    for (int c = 0; c < kChannels; ++c) {
        // A microphone at r hears the plane wave earlier by r.u / c: x(t) = s(t + advance).
        const double advance = (mics[c].x * ux + mics[c].y * uy) / speed_of_sound * sample_rate;
        for (int k = 0; k <= length / 2; ++k) {
            shifted[k] = spectrum[k] * std::polar(1.0, 2.0 * M_PI * static_cast<double>(k) * advance / length);
            if (k > 0 && k < length / 2) shifted[length - k] = std::conj(shifted[k]);
        }
        Transform(shifted, 1);
        for (int n = 0; n < length; ++n) out[c][n] = shifted[n].real();
    }
    // One scale for all channels, so the loudest sample reaches the requested amplitude.
    double peak = 0.0;
    for (const auto& channel : out) {
        for (double v : channel) peak = std::fmax(peak, std::fabs(v));
    }
    for (auto& channel : out) {
        for (double& v : channel) v *= amplitude / peak;
    }
    return out;
}

void LinearArray(double spacing, MicPosition out[kChannels]) {
    for (int i = 0; i < kChannels; ++i) out[i] = {(i - 1.5) * spacing, 0.0};
}

void CircularArray(double diameter, MicPosition out[kChannels]) {
    const double r = diameter / 2.0;
    out[0] = {-r, 0.0};
    out[1] = {0.0, r};
    out[2] = {r, 0.0};
    out[3] = {0.0, -r};
}

}  // namespace ezossl_test
