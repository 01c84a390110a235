// GCC-PHAT per pair: cross spectrum, phase transform, inverse FFT, peak tests, vote, refinement.
#include "gcc_phat.h"

#include <cmath>
#include <cstring>

#include "../common/vector_ops.h"
#include "dither_rng.h"
#include "gcc_phat_internal.h"

namespace ezossl {
namespace {

constexpr float kPowerScale = 1073676288.0f;  // 32767 squared, as a float
constexpr float kNoCandidateYet = 1e9f;
constexpr double kRejectedRatio = -1.0;

// Channel 0 times the conjugate of channel pair + 1, bin by bin.
void CrossSpectrum(const Frames& frames, int pair, CorrelationWork& work) {
    const ComplexF* reference = frames.spectrum[0];
    const ComplexF* other = frames.spectrum[pair + 1];
    for (int k = 0; k < kSpectrumBins; ++k) {
        const float a = reference[k].re, b = reference[k].im;
        const float c = other[k].re, d = other[k].im;
        work.cross_spectrum[2 * k] = a * c + b * d;
        work.cross_spectrum[2 * k + 1] = b * c - a * d;
    }
}

// Every bin keeps only its phase; there is no band limit.
void PhaseTransform(CorrelationWork& work) {
    ComplexMagnitude(work.cross_spectrum, 2 * kSpectrumBins, work.magnitude);
    for (int k = 0; k < kSpectrumBins; ++k) {
        const double weight = static_cast<double>(work.magnitude[k]) + kPhatGuard;
        for (int part = 0; part < 2; ++part) {
            float& value = work.cross_spectrum[2 * k + part];
            value = static_cast<float>(static_cast<double>(value) / weight);
        }
    }
}

// Inverse transform of the weighted cross spectrum, reordered so index j is lag j - 128.
void CorrelationFromCrossSpectrum(CorrelationWork& work, FftState& fft) {
    std::memcpy(work.fft_buffer, work.cross_spectrum, sizeof(work.cross_spectrum));
    Qel_rdft(&fft, kFftMaxSize, kFftInverse, work.fft_buffer, work.fft_work[0], work.fft_work[1]);
    FftShift(work.fft_buffer, kFrameLength, work.correlation);
}

// A peak further out than the pair's bound plus the margin cannot be a direct path.
bool PeakInRange(int32_t bound, int32_t lag) { return lag >= -kDelayMargin - bound && lag <= bound + kDelayMargin; }

// A correlation whose deepest trough is at least as strong as its peak (a flat one included)
// has no dominant path.
bool PeakDominates(const float* correlation, int max_index, int min_index) {
    return std::fabs(static_cast<double>(correlation[max_index])) -
               std::fabs(static_cast<double>(correlation[min_index])) > 0.0;
}

// Lifts the correlation to a zero minimum (in place) and returns the peak over the mean.
double PeakToMean(float* correlation, int max_index, int min_index) {
    const float floor = correlation[min_index];
    for (int j = 0; j < kFrameLength; ++j) correlation[j] -= floor;
    return correlation[max_index] / Mean(correlation, kFrameLength);
}

// The peak lag refined by a parabola through the peak and its neighbours. The dithered gain
// stands where plain parabolic interpolation has 0.5; the correlation is circular, so the
// neighbours of the first and last lag wrap around.
void AddRefinedDelay(const float* y, int max_index, int32_t lag, float gain, float& sum) {
    const float y_minus = y[(max_index + kFrameLength - 1) % kFrameLength];
    const float y_zero = y[max_index];
    const float y_plus = y[(max_index + 1) % kFrameLength];
    sum += static_cast<float>(lag);
    sum += ((y_plus - y_minus) * gain) / (2.0f * y_zero - y_plus - y_minus);
}

void CountVote(int32_t* counter) {
    if (*counter < INT32_MAX) ++*counter;
}

}  // namespace

void GccPhat_EstimateDelays(const Frames& frames, DelayLimits limits, CorrelationWork& work, FftState& fft,
                            DitherRng& rng, VotingState& voting, int32_t* delay_sample) {
    [[maybe_unused]] const float left_power = FramePower(frames.frame_buffer[0], kFrameLength);
    [[maybe_unused]] const float right_power = FramePower(frames.frame_buffer[1], kFrameLength);

    for (int p = 0; p < kPairNum; ++p) {
        CrossSpectrum(frames, p, work);
        PhaseTransform(work);
        CorrelationFromCrossSpectrum(work, fft);
        const int max_index = ArgMax(work.correlation, kFrameLength);
        const int min_index = ArgMin(work.correlation, kFrameLength);

        int32_t lag = limits.lag_table[max_index];
        double ratio = kRejectedRatio;
        if (PeakInRange(limits.max_delay[p], lag) && PeakDominates(work.correlation, max_index, min_index)) {
            ratio = PeakToMean(work.correlation, max_index, min_index);
        } else {
            lag = 0;
        }
        // The nearest candidate is looked up for every frame, rejected ones included.
        const int candidate = NearestCandidate(voting.candidate_delay[p], lag);
        if (ratio < kMinPeakToMean) {
            CountVote(&voting.vote_count[p][kRejectBin]);
            delay_sample[p] = kDelayRejected;
            continue;
        }
        CountVote(&voting.vote_count[p][candidate]);
        AddRefinedDelay(work.correlation, max_index, lag, DitherRng_Gain(&rng), voting.delay_sum[p][candidate]);
        delay_sample[p] = lag;
    }
}

float FramePower(const float* x, int n) {
    float sum = 0.0f;
    for (int i = 0; i < n; ++i) sum += x[i] * kPowerScale * x[i];
    return static_cast<float>(std::sqrt(static_cast<double>(sum))) / static_cast<float>(n);
}

int NearestCandidate(const float* candidate_row, int32_t lag) {
    float best_distance = kNoCandidateYet;
    int best = 0;
    for (int k = 0; k < kCandidateNum; ++k) {
        const float distance = std::fabs(candidate_row[k] - static_cast<float>(lag));
        if (distance < best_distance) {
            best_distance = distance;
            best = k;
        }
    }
    return best;
}

}  // namespace ezossl
