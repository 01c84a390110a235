// Deterministic noise and far-field scenes rendered with exact fractional delays.
#include "signals.h"

#include <kiss_fftr.h>

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

Channels FarFieldScene(const MicPosition mics[kChannels], double angle_degrees, double sample_rate,
                       double speed_of_sound, int length, double amplitude, uint64_t seed) {
    const double angle = angle_degrees * M_PI / 180.0;
    const double ux = -std::sin(angle);
    const double uy = std::cos(angle);
    NoiseSource noise(seed);
    std::vector<kiss_fft_scalar> time(length);
    for (auto& v : time) v = static_cast<kiss_fft_scalar>(noise.Uniform());
    std::vector<kiss_fft_cpx> spectrum(length / 2 + 1);
    kiss_fftr_cfg forward = kiss_fftr_alloc(length, 0, nullptr, nullptr);
    kiss_fftr_cfg inverse = kiss_fftr_alloc(length, 1, nullptr, nullptr);
    kiss_fftr(forward, time.data(), spectrum.data());
    spectrum[length / 2].r = spectrum[length / 2].i = 0.0f;  // keep every channel real and band-limited

    Channels out(kChannels, std::vector<double>(length));
    std::vector<kiss_fft_cpx> shifted(spectrum.size());
    for (int c = 0; c < kChannels; ++c) {
        // A microphone at r hears the plane wave earlier by r.u / c: x(t) = s(t + advance).
        const double advance = (mics[c].x * ux + mics[c].y * uy) / speed_of_sound * sample_rate;
        for (size_t k = 0; k < spectrum.size(); ++k) {
            const std::complex<double> bin(spectrum[k].r, spectrum[k].i);
            const auto moved = bin * std::polar(1.0, 2.0 * M_PI * static_cast<double>(k) * advance / length);
            shifted[k] = {static_cast<float>(moved.real()), static_cast<float>(moved.imag())};
        }
        kiss_fftri(inverse, shifted.data(), time.data());
        for (int n = 0; n < length; ++n) out[c][n] = time[n];
    }
    // One scale for all channels, so the loudest sample reaches the requested amplitude.
    double peak = 0.0;
    for (const auto& channel : out) {
        for (double v : channel) peak = std::fmax(peak, std::fabs(v));
    }
    for (auto& channel : out) {
        for (double& v : channel) v *= amplitude / peak;
    }
    kiss_fftr_free(forward);
    kiss_fftr_free(inverse);
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
