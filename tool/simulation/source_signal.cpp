// Source signals: Gaussian noise shaped in frequency, a sine tone, or a mono mix of a file.
#include "simulation/source_signal.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

#include "analysis/angles.h"
#include "cli/errors.h"
#include "report/number_format.h"
#include "simulation/fft_tools.h"

namespace ezossl_tool {
namespace {

// Speech band with raised-cosine edges; pink noise falls 3 dB per octave above its corner.
constexpr double kSpeechLowHz = 300.0, kSpeechHighHz = 3400.0, kSpeechEdgeHz = 100.0;
constexpr double kPinkCornerHz = 20.0;

std::vector<double> GaussianNoise(size_t n, uint64_t seed) {
    std::mt19937_64 generator(seed);
    std::normal_distribution<double> normal(0.0, 1.0);
    std::vector<double> noise(n);
    for (double& sample : noise) sample = normal(generator);
    return noise;
}

double RaisedCosineEdge(double distance_into_band_hz) {
    if (distance_into_band_hz <= 0.0) return 0.0;
    if (distance_into_band_hz >= kSpeechEdgeHz) return 1.0;
    return 0.5 - 0.5 * std::cos(kPi * distance_into_band_hz / kSpeechEdgeHz);
}

double SpeechBandGain(double hz) {
    return RaisedCosineEdge(hz - kSpeechLowHz + kSpeechEdgeHz / 2) *
           RaisedCosineEdge(kSpeechHighHz + kSpeechEdgeHz / 2 - hz);
}

double PinkGain(double hz) { return hz <= 0.0 ? 0.0 : 1.0 / std::sqrt(std::max(hz, kPinkCornerHz)); }

void NormaliseRms(std::vector<double>& x, const std::string& what) {
    double sum = 0.0;
    for (const double v : x) sum += v * v;
    if (x.empty() || sum == 0.0) throw RunError(what + " is silent; choose a source with sound in it");
    const double scale = 1.0 / std::sqrt(sum / x.size());
    for (double& v : x) v *= scale;
}

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

std::unique_ptr<SNDFILE, SndfileCloser> OpenSourceFile(const std::string& path, SF_INFO& info) {
    std::unique_ptr<SNDFILE, SndfileCloser> file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        throw RunError("cannot read the source file \"" + path + "\" (" + sf_strerror(nullptr) +
                       "); give a recording libsndfile reads, e.g. WAV or FLAC");
    }
    return file;
}

std::vector<double> ReadSourceFile(const std::string& path, uint32_t sample_rate, size_t n) {
    SF_INFO info{};
    auto file = OpenSourceFile(path, info);
    if (static_cast<uint32_t>(info.samplerate) != sample_rate) {
        throw RunError("the source file \"" + path + "\" is sampled at " + std::to_string(info.samplerate) +
                       " Hz, the scene at " + std::to_string(sample_rate) + " Hz; resample it (e.g. sox " + path +
                       " -r " + std::to_string(sample_rate) + " source.wav) or pass --rate " +
                       std::to_string(info.samplerate) + " if the library supports it");
    }
    if (static_cast<size_t>(info.frames) < n) {
        throw UsageError("the source file \"" + path + "\" lasts " + FormatFixed(double(info.frames) / sample_rate, 2) +
                         " s, shorter than --duration; shorten --duration");
    }
    std::vector<double> frames(n * info.channels);
    sf_readf_double(file.get(), frames.data(), static_cast<sf_count_t>(n));
    const size_t not_finite = static_cast<size_t>(
        std::count_if(frames.begin(), frames.end(), [](double v) { return !std::isfinite(v); }));
    if (not_finite > 0) {
        throw RunError("the source file \"" + path + "\" holds " + std::to_string(not_finite) +
                       " samples that are not finite numbers (NaN or infinity); repair it or choose another");
    }
    std::vector<double> mono(n, 0.0);
    for (size_t i = 0; i < n; ++i) {
        for (int c = 0; c < info.channels; ++c) mono[i] += frames[i * info.channels + c] / info.channels;
    }
    return mono;
}

std::vector<double> Tone(double hz, uint32_t sample_rate, size_t n) {
    if (!(hz > 0.0) || hz >= sample_rate / 2.0) {
        throw UsageError("--tone " + FormatNumber(hz) + " Hz must lie between 0 and half the sample rate (" +
                         std::to_string(sample_rate / 2) + " Hz)");
    }
    std::vector<double> x(n);
    for (size_t i = 0; i < n; ++i) x[i] = std::sin(2.0 * kPi * hz * i / sample_rate);
    return x;
}

}  // namespace

SignalKind ParseSignalKind(const std::string& text) {
    if (text == "white") return SignalKind::kWhite;
    if (text == "pink") return SignalKind::kPink;
    if (text == "speech") return SignalKind::kSpeech;
    if (text == "tone") return SignalKind::kTone;
    throw UsageError("--signal " + text + " is not known; choose white, pink, speech or tone (or --signal-file FILE)");
}

std::vector<double> MakeSourceSignal(const SourceSignal& source, uint32_t sample_rate, size_t n, uint64_t seed) {
    std::vector<double> x;
    if (source.file) {
        x = ReadSourceFile(*source.file, sample_rate, n);
    } else if (source.kind == SignalKind::kTone) {
        x = Tone(source.tone_hz, sample_rate, n);
    } else {
        x = GaussianNoise(n, seed);
        if (source.kind == SignalKind::kPink) ShapeSpectrum(x, sample_rate, PinkGain);
        if (source.kind == SignalKind::kSpeech) ShapeSpectrum(x, sample_rate, SpeechBandGain);
    }
    NormaliseRms(x, source.file ? "the source file \"" + *source.file + "\"" : "the source signal");
    return x;
}

double SourceFileSeconds(const std::string& path) {
    SF_INFO info{};
    auto file = OpenSourceFile(path, info);
    return double(info.frames) / info.samplerate;
}

}  // namespace ezossl_tool
