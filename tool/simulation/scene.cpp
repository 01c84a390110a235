// Scene rendering: the source is convolved with one response per microphone and position;
// positions change at keyframes and are cross-faded, then level, noise and 16-bit rounding.
#include "simulation/scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "analysis/library_facts.h"
#include "cli/errors.h"
#include "report/number_format.h"
#include "simulation/fft_tools.h"
#include "simulation/fractional_delay.h"
#include "io/progress.h"

namespace ezossl_tool {
namespace {

// A moving source is rendered as a fixed one re-placed every 50 ms and cross-faded over that
// interval: fine enough for sweeps, coarse enough to keep room responses affordable.
constexpr double kKeyframeSeconds = 0.05;
constexpr double kArrayHeightShare = 0.4;   // array and source at 40 % of the room height
constexpr double kWallClearance = 0.1;      // m between the source and any wall
// The clean scene is held in single precision until it is scaled: ten minutes at 48 kHz take
// about 0.5 GB; the 16-bit output is streamed.
constexpr double kMaxSeconds = 600.0;
// Sources are convolved in pieces of this many samples, so temporaries stay small.
constexpr size_t kConvolutionPiece = size_t{1} << 15;
constexpr size_t kOutputChunkFrames = 4096;
// Room rendering places one impulse per image source, microphone and source position; this many
// take a minute or two. Beyond it the scene is refused, above the smaller count progress is shown.
constexpr double kMaxReflections = 3e8;
constexpr double kProgressReflections = 2e7;
constexpr uint64_t kNoiseSeedOffset = 0x9E3779B97F4A7C15ull;

using Responses = std::array<std::vector<double>, EZOSSL_MIC_NUM>;
using Channels = std::array<std::vector<float>, EZOSSL_MIC_NUM>;

struct Segment {
    size_t first_key = 0, last_key = 0;   // keyframes with this azimuth
    double azimuth_deg = 0.0;
};

std::vector<Segment> Segments(const SceneSetup& setup, size_t keyframes) {
    std::vector<Segment> segments;
    for (size_t k = 0; k < keyframes; ++k) {
        const double azimuth = setup.trajectory.AzimuthAt(k * kKeyframeSeconds, setup.duration_s);
        if (!segments.empty() && segments.back().azimuth_deg == azimuth) {
            segments.back().last_key = k;
        } else {
            segments.push_back({k, k, azimuth});
        }
    }
    return segments;
}

class Renderer {
  public:
    explicit Renderer(const SceneSetup& setup)
        : setup_(setup),
          mics_(MicrophonePositionsM(setup.array)),
          speed_(SpeedOfSound(setup.temperature_c)),
          samples_(SceneFrames(setup)),
          keyframe_samples_(kKeyframeSeconds * setup.sample_rate) {
        double farthest = 0.0;
        for (const Vec2& m : mics_) farthest = std::max(farthest, std::hypot(m.x, m.y));
        offset_ = kSincHalfWidth + std::ceil(farthest / speed_ * setup.sample_rate) + 1;
        if (setup.room) reflection_ = WallReflection(*setup.room);
    }

    size_t Samples() const { return samples_; }
    double Speed() const { return speed_; }
    size_t Keyframes() const { return static_cast<size_t>(std::ceil(samples_ / keyframe_samples_)) + 1; }

    // Adds the source, faded in and out around its segment, as heard from the segment's azimuth.
    void AddSegment(const std::vector<double>& source, const Segment& segment, size_t keyframes, Channels& out) const {
        const size_t begin = segment.first_key == 0 ? 0 : KeySample(segment.first_key - 0.5);
        const size_t end = segment.last_key + 1 >= keyframes ? samples_ : std::min(samples_, KeySample(segment.last_key + 1.5));
        if (begin >= end) return;
        const Responses responses = ResponsesFor(segment.azimuth_deg);
        // Convolution is linear: the pieces' results overlap and add up to the whole.
        for (size_t first = begin; first < end; first += kConvolutionPiece) {
            std::vector<double> piece(std::min(kConvolutionPiece, end - first));
            for (size_t i = 0; i < piece.size(); ++i) piece[i] = source[first + i] * Weight(first + i, segment, keyframes);
            for (int m = 0; m < EZOSSL_MIC_NUM; ++m) {
                const std::vector<double> heard = Convolve(piece, responses[m]);
                for (size_t k = 0; k < heard.size(); ++k) {
                    const long t = long(first + k) - long(offset_);
                    if (t >= 0 && size_t(t) < samples_) out[m][t] = static_cast<float>(out[m][t] + heard[k]);
                }
            }
        }
    }

  private:
    size_t KeySample(double key) const { return static_cast<size_t>(std::llround(key * keyframe_samples_)); }

    // 1 inside the segment; sin^2 / cos^2 ramps one keyframe interval long, centred on the
    // keyframes where the azimuth changes, so adjacent segments always add up to 1.
    double Weight(size_t t, const Segment& segment, size_t keyframes) const {
        const double key = t / keyframe_samples_;
        const double rise = key - (segment.first_key - 0.5);
        if (segment.first_key > 0 && rise < 1.0) return std::pow(std::sin(0.5 * kPi * rise), 2);
        const double fall = key - (segment.last_key + 0.5);
        if (segment.last_key + 1 < keyframes && fall > 0.0) return std::pow(std::cos(0.5 * kPi * fall), 2);
        return 1.0;
    }

    Responses ResponsesFor(double azimuth_deg) const {
        const Vec2 u = DirectionOf(azimuth_deg);
        Responses responses;
        if (!setup_.room) {
            // Far field: microphone m hears the plane wave earlier by (position . u) / c.
            for (int m = 0; m < EZOSSL_MIC_NUM; ++m) {
                responses[m].assign(static_cast<size_t>(2 * offset_) + kSincHalfWidth + 2, 0.0);
                AddFractionalImpulse(responses[m], offset_ - Dot(mics_[m], u) / speed_ * setup_.sample_rate, 1.0);
            }
            return responses;
        }
        const Room& room = *setup_.room;
        const Point3 centre{room.size.x / 2, room.size.y / 2, room.size.z * kArrayHeightShare};
        const Point3 source{centre.x + setup_.source_distance_m * u.x, centre.y + setup_.source_distance_m * u.y, centre.z};
        RequireInside(room, source, azimuth_deg);
        const ResponseTiming timing{speed_, double(setup_.sample_rate), setup_.source_distance_m, offset_};
        for (int m = 0; m < EZOSSL_MIC_NUM; ++m) {
            const Point3 mic{centre.x + mics_[m].x, centre.y + mics_[m].y, centre.z};
            responses[m] = RoomImpulseResponse(room, reflection_, source, mic, timing);
        }
        return responses;
    }

    void RequireInside(const Room& room, Point3 source, double azimuth_deg) const {
        const bool inside = source.x > kWallClearance && source.x < room.size.x - kWallClearance &&
                            source.y > kWallClearance && source.y < room.size.y - kWallClearance;
        if (!inside) {
            throw UsageError("--source-distance " + FormatNumber(setup_.source_distance_m) +
                             " m puts the source at azimuth " + FormatNumber(azimuth_deg) +
                             " deg outside the room; shorten it or enlarge --room");
        }
    }

    const SceneSetup& setup_;
    MicPositions mics_;
    double speed_;
    size_t samples_;
    double keyframe_samples_;
    double offset_ = 0.0;
    double reflection_ = 0.0;
};

double Rms(const Channels& channels) {
    double sum = 0.0;
    size_t count = 0;
    for (const auto& channel : channels) {
        for (const double v : channel) sum += v * v;
        count += channel.size();
    }
    return count ? std::sqrt(sum / count) : 0.0;
}

// Scales to the requested level, adds independent noise per microphone, rounds to 16 bits and
// hands the result on in chunks.
RenderedScene Quantise(const SceneSetup& setup, const Channels& clean, const SampleSink& sink) {
    const double rms = Rms(clean);
    const double scale = rms > 0 ? kSampleFullScale * std::pow(10.0, setup.level_dbfs / 20.0) / rms : 0.0;
    const double noise_rms = setup.snr_db ? rms * scale / std::pow(10.0, *setup.snr_db / 20.0) : 0.0;
    std::mt19937_64 generator(setup.seed ^ kNoiseSeedOffset);
    std::normal_distribution<double> normal(0.0, noise_rms > 0 ? noise_rms : 1.0);
    RenderedScene scene;
    const size_t samples = clean[0].size();
    std::vector<int16_t> chunk(kOutputChunkFrames * EZOSSL_MIC_NUM);
    for (size_t first = 0; first < samples; first += kOutputChunkFrames) {
        const size_t frames = std::min(kOutputChunkFrames, samples - first);
        for (size_t n = 0; n < frames; ++n) {
            for (int m = 0; m < EZOSSL_MIC_NUM; ++m) {
                const double value =
                    std::nearbyint(clean[m][first + n] * scale + (noise_rms > 0 ? normal(generator) : 0.0));
                const double limited = std::clamp(value, -kSampleFullScale, kSampleFullScale - 1);
                scene.clipped_samples += limited != value;
                chunk[n * EZOSSL_MIC_NUM + m] = static_cast<int16_t>(limited);
            }
        }
        sink(chunk.data(), frames);
    }
    return scene;
}

// Image sources within reach of one response: one per room-sized cell of a sphere.
double ReflectionsPerResponse(const SceneSetup& setup, double speed) {
    const Point3& size = setup.room->size;
    const double reach = setup.source_distance_m + speed * setup.room->rt60_s;
    return 4.0 / 3.0 * kPi * reach * reach * reach / (size.x * size.y * size.z);
}

// Refuses rooms whose rendering would not end in reasonable time; returns the work to expect.
double RequireAffordableRoom(const SceneSetup& setup, double speed, size_t positions) {
    if (!setup.room) return 0.0;
    const double responses = double(positions) * EZOSSL_MIC_NUM;
    const double total = responses * ReflectionsPerResponse(setup, speed);
    if (total <= kMaxReflections) return total;
    const Point3& size = setup.room->size;
    const double reach = std::cbrt(kMaxReflections / responses * 3.0 * size.x * size.y * size.z / (4.0 * kPi));
    const double longest_rt60 = std::max(0.0, (reach - setup.source_distance_m) / speed);
    throw UsageError("--rt60 " + FormatNumber(setup.room->rt60_s) + " s in a " + FormatNumber(size.x) + "x" +
                     FormatNumber(size.y) + "x" + FormatNumber(size.z) + " m room with " + std::to_string(positions) +
                     " source position(s) means about " + FormatNumber(std::round(total / 1e6)) +
                     " million reflections to render, more than " + FormatNumber(kMaxReflections / 1e6) +
                     " million; use --rt60 " + FormatFixed(longest_rt60, 2) +
                     " or less, a larger --room, or a steadier source");
}

void RequirePlausible(const SceneSetup& setup) {
    if (!(setup.duration_s > 0.0) || setup.duration_s > kMaxSeconds) {
        throw UsageError("--duration must be more than 0 and at most 600 s, got " + FormatNumber(setup.duration_s));
    }
    const double block_s = double(EZOSSL_POINT_NUMBER) / setup.sample_rate;
    if (SceneFrames(setup) < size_t(EZOSSL_POINT_NUMBER)) {
        throw UsageError("--duration " + FormatNumber(setup.duration_s) + " s is shorter than one block of " +
                         std::to_string(EZOSSL_POINT_NUMBER) + " samples (" + FormatNumber(block_s) + " s at " +
                         std::to_string(setup.sample_rate) + " Hz); give at least " + FormatNumber(block_s));
    }
    if (!(setup.level_dbfs <= 0.0) || !std::isfinite(setup.level_dbfs)) {
        throw UsageError("--level must be a finite number of dBFS, 0 or lower, got " + FormatNumber(setup.level_dbfs));
    }
    if (setup.snr_db && !std::isfinite(*setup.snr_db)) {
        throw UsageError("--snr must be a finite number of dB, got " + FormatNumber(*setup.snr_db));
    }
    if (setup.room && !(setup.source_distance_m > 0.0)) {
        throw UsageError("--source-distance must be greater than 0 m, got " + FormatNumber(setup.source_distance_m));
    }
}

}  // namespace

size_t SceneFrames(const SceneSetup& setup) {
    return static_cast<size_t>(std::llround(setup.duration_s * setup.sample_rate));
}

void RequireRenderable(const SceneSetup& setup) {
    RequirePlausible(setup);
    const Renderer renderer(setup);
    RequireAffordableRoom(setup, renderer.Speed(), Segments(setup, renderer.Keyframes()).size());
}

RenderedScene RenderScene(const SceneSetup& setup, const SampleSink& sink) {
    RequirePlausible(setup);
    const Renderer renderer(setup);
    const size_t keyframes = renderer.Keyframes();
    const std::vector<Segment> segments = Segments(setup, keyframes);
    const double work = RequireAffordableRoom(setup, renderer.Speed(), segments.size());
    const std::vector<double> source = MakeSourceSignal(setup.source, setup.sample_rate, renderer.Samples(), setup.seed);
    Channels clean;
    for (auto& channel : clean) channel.assign(renderer.Samples(), 0.0f);
    Progress progress("rendering the room", static_cast<int64_t>(segments.size()), work > kProgressReflections);
    for (size_t s = 0; s < segments.size(); ++s) {
        renderer.AddSegment(source, segments[s], keyframes, clean);
        progress.Update(static_cast<int64_t>(s + 1));
    }

    RenderedScene scene = Quantise(setup, clean, sink);
    for (const Segment& segment : segments) {
        // A change of position is heard half-way through its cross-fade, at its keyframe.
        const double start = segment.first_key * kKeyframeSeconds;
        if (start < setup.duration_s) scene.truth.points.push_back({start, WrapAzimuth(segment.azimuth_deg)});
    }
    return scene;
}

}  // namespace ezossl_tool
