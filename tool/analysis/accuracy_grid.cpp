// Scenes of the accuracy grid: each clean scene is rendered once and heard at every SNR of the
// grid, because the room response costs far more than the noise.
#include "analysis/accuracy_grid.h"

#include <atomic>
#include <cmath>
#include <exception>
#include <mutex>
#include <random>
#include <thread>

#include "analysis/accuracy.h"
#include "analysis/localizer.h"
#include "report/number_format.h"
#include "simulation/scene.h"

namespace ezossl_tool {
namespace {

constexpr double kDefaultRt60s[] = {0.3, 0.6};
constexpr double kDefaultSnrsDb[] = {30.0, 10.0, 0.0};
constexpr int kDefaultAzimuths = 6;
constexpr int kQuickAzimuths = 2;
constexpr int kPeriodsPerScene = 4;
constexpr uint64_t kNoiseSeedStep = 0x9E3779B97F4A7C15ull;

GridGeometry Uniform(ArrayKind kind, double distance_cm) {
    ArrayDescription array;
    array.kind = kind;
    array.distance_cm = distance_cm;
    return {(kind == ArrayKind::kCircular ? "UCA " : "ULA ") + FormatNumber(distance_cm) + " cm", array};
}

// A clean scene: everything but the SNR fixed.
struct SceneJob {
    int axis[kGridAxes] = {};  // SNR left at 0
    double azimuth_deg = 0.0;
    uint64_t seed = 0;
};

std::vector<SceneJob> Jobs(const AccuracyGrid& grid) {
    std::vector<SceneJob> jobs;
    std::mt19937_64 generator(grid.seed);
    std::uniform_real_distribution<double> within(0.0, 1.0);
    const double sector = 360.0 / grid.azimuths;
    for (size_t g = 0; g < grid.geometries.size(); ++g) {
        for (size_t r = 0; r < grid.rates.size(); ++r) {
            for (size_t room = 0; room < grid.rooms.size(); ++room) {
                for (size_t s = 0; s < grid.sources.size(); ++s) {
                    for (int a = 0; a < grid.azimuths; ++a) {
                        SceneJob job;
                        job.axis[kAxisGeometry] = int(g);
                        job.axis[kAxisRate] = int(r);
                        job.axis[kAxisRoom] = int(room);
                        job.axis[kAxisSource] = int(s);
                        job.azimuth_deg = kPlanarLowest + sector * (a + within(generator));
                        job.seed = grid.seed + jobs.size() + 1;
                        jobs.push_back(job);
                    }
                }
            }
        }
    }
    return jobs;
}

// The rendered scene heard with independent white noise per microphone at this SNR.
std::vector<int16_t> WithNoise(const std::vector<int16_t>& clean, double snr_db, uint64_t seed) {
    double sum = 0.0;
    for (const int16_t v : clean) sum += double(v) * v;
    const double rms = clean.empty() ? 0.0 : std::sqrt(sum / clean.size());
    std::mt19937_64 generator(seed);
    std::normal_distribution<double> normal(0.0, rms > 0 ? rms / std::pow(10.0, snr_db / 20.0) : 1.0);
    std::vector<int16_t> noisy(clean.size());
    for (size_t i = 0; i < clean.size(); ++i) {
        const double v = std::nearbyint(clean[i] + (rms > 0 ? normal(generator) : 0.0));
        noisy[i] = static_cast<int16_t>(std::fmax(-kSampleFullScale, std::fmin(kSampleFullScale - 1, v)));
    }
    return noisy;
}

std::vector<GridPeriod> RunJob(const AccuracyGrid& grid, const SceneJob& job) {
    SceneSetup setup;
    setup.array = grid.geometries[job.axis[kAxisGeometry]].array;
    setup.sample_rate = grid.rates[job.axis[kAxisRate]];
    setup.duration_s = double(grid.periods) * kDefaultFramesPerVote * EZOSSL_POINT_NUMBER / setup.sample_rate;
    setup.source.kind = grid.sources[job.axis[kAxisSource]].kind;
    setup.trajectory = Trajectory::Fixed(job.azimuth_deg);
    if (const auto& rt60 = grid.rooms[job.axis[kAxisRoom]].rt60_s) {
        setup.room = Room{};
        setup.room->rt60_s = *rt60;
    }
    setup.seed = job.seed;
    std::vector<int16_t> clean;
    clean.reserve(SceneFrames(setup) * EZOSSL_MIC_NUM);
    const RenderedScene scene = RenderScene(setup, [&](const int16_t* interleaved, size_t frames) {
        clean.insert(clean.end(), interleaved, interleaved + frames * EZOSSL_MIC_NUM);
    });

    // An array given by positions is renumbered and turned for the library like locate does.
    const Orientation orientation(setup.array);
    LibrarySettings settings;
    settings.array = orientation.LibraryArray();
    settings.mic_order = orientation.Order();
    settings.sample_rate = setup.sample_rate;
    std::vector<GridPeriod> periods;
    for (size_t snr = 0; snr < grid.snrs_db.size(); ++snr) {
        MemorySource source(WithNoise(clean, grid.snrs_db[snr], job.seed * kNoiseSeedStep + snr),
                            setup.sample_rate);
        ResultSink no_rows;
        LocalizeOptions run;
        run.method = Method::kBoth;
        const Localization localization = Localize(source, settings, no_rows, run);
        for (const PeriodResult& period : localization.periods) {
            GridPeriod out;
            std::copy(std::begin(job.axis), std::end(job.axis), out.axis);
            out.axis[kAxisSnr] = int(snr);
            const PeriodTruth specified = CompareWithTruth(period, localization.sample_rate, scene.truth, orientation);
            if (specified.error_deg) out.specified_error_deg = std::abs(*specified.error_deg);
            const PeriodTruth srp = CompareWithTruth(period, localization.sample_rate, scene.truth, orientation, true);
            if (srp.error_deg) out.srp_error_deg = std::abs(*srp.error_deg);
            out.srp_confidence = period.srp->confidence;
            periods.push_back(out);
        }
    }
    return periods;
}

}  // namespace

AccuracyGrid MakeAccuracyGrid(bool quick, const std::optional<ArrayDescription>& array,
                              const std::optional<uint32_t>& rate) {
    AccuracyGrid grid;
    if (array) {
        grid.geometries = {{Describe(*array), *array}};
    } else if (quick) {
        grid.geometries = {Uniform(ArrayKind::kCircular, 6.5), Uniform(ArrayKind::kLinear, 4)};
    } else {
        grid.geometries = {Uniform(ArrayKind::kCircular, 4), Uniform(ArrayKind::kCircular, 6.5),
                           Uniform(ArrayKind::kCircular, 10), Uniform(ArrayKind::kLinear, 4),
                           Uniform(ArrayKind::kLinear, 6)};
    }
    grid.rates = rate ? std::vector<uint32_t>{*rate} : quick ? std::vector<uint32_t>{16000} : std::vector<uint32_t>{16000, 48000};
    grid.snrs_db.assign(std::begin(kDefaultSnrsDb), std::end(kDefaultSnrsDb));
    grid.rooms = {{"anechoic", std::nullopt}};
    for (const double rt60 : kDefaultRt60s) {
        if (!quick || rt60 == kDefaultRt60s[0]) grid.rooms.push_back({"RT60 " + FormatNumber(rt60) + " s", rt60});
    }
    grid.sources = {{"speech", SignalKind::kSpeech}, {"white", SignalKind::kWhite}};
    grid.azimuths = quick ? kQuickAzimuths : kDefaultAzimuths;
    grid.periods = kPeriodsPerScene;
    return grid;
}

std::vector<GridPeriod> RunAccuracyGrid(const AccuracyGrid& grid, int threads) {
    const std::vector<SceneJob> jobs = Jobs(grid);
    std::vector<std::vector<GridPeriod>> results(jobs.size());
    std::atomic<size_t> next{0};
    std::exception_ptr failure;
    std::mutex failure_mutex;
    auto worker = [&] {
        for (size_t i = next++; i < jobs.size(); i = next++) {
            try {
                results[i] = RunJob(grid, jobs[i]);
            } catch (...) {
                const std::lock_guard<std::mutex> lock(failure_mutex);
                if (!failure) failure = std::current_exception();
                next = jobs.size();
            }
        }
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < threads; ++t) pool.emplace_back(worker);
    worker();
    for (std::thread& thread : pool) thread.join();
    if (failure) std::rethrow_exception(failure);
    std::vector<GridPeriod> periods;
    for (const auto& scene : results) periods.insert(periods.end(), scene.begin(), scene.end());
    return periods;
}

}  // namespace ezossl_tool
