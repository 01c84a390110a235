// A simulated recording with known truth: one source, the array, optional room and sensor noise.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "analysis/array_geometry.h"
#include "analysis/library_facts.h"
#include "analysis/truth_track.h"
#include "simulation/room_acoustics.h"
#include "simulation/source_signal.h"
#include "simulation/trajectory.h"

namespace ezossl_tool {

struct SceneSetup {
    ArrayDescription array;
    uint32_t sample_rate = 16000;
    double duration_s = 5.0;
    SourceSignal source;
    Trajectory trajectory = Trajectory::Fixed(0.0);
    std::optional<double> snr_db;        // none: no sensor noise
    std::optional<Room> room;            // none: anechoic far field (plane waves)
    double source_distance_m = 1.5;      // only in a room
    double level_dbfs = -26.0;           // RMS of the source at the microphones
    double temperature_c = kDefaultTemperatureC;   // sets the speed of sound
    uint64_t seed = 1;
};

struct RenderedScene {
    TruthTrack truth;                    // the azimuth rendered from each time on
    int64_t clipped_samples = 0;
};

// Receives the recording in order, a piece at a time: frames of four channels, interleaved.
using SampleSink = std::function<void(const int16_t* interleaved, size_t frames)>;

// Frames the scene will have.
size_t SceneFrames(const SceneSetup& setup);

// Refuses scenes that cannot exist or would take too long to render; throws UsageError.
void RequireRenderable(const SceneSetup& setup);

// Checks the scene and renders it into the sink; throws UsageError for scenes that cannot exist
// (source outside the room...) or that would take too long to render.
RenderedScene RenderScene(const SceneSetup& setup, const SampleSink& sink);

}  // namespace ezossl_tool
