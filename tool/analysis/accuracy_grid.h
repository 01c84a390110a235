// The accuracy benchmark's grid of simulated scenes, both methods run on every one of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/array_geometry.h"
#include "simulation/source_signal.h"

namespace ezossl_tool {

// One axis value: its label in the tables and what it sets.
struct GridGeometry {
    std::string label;
    ArrayDescription array;
};
struct GridRoom {
    std::string label;
    std::optional<double> rt60_s;  // none: anechoic
};
struct GridSource {
    std::string label;
    SignalKind kind;
};

struct AccuracyGrid {
    std::vector<GridGeometry> geometries;
    std::vector<uint32_t> rates;
    std::vector<double> snrs_db;
    std::vector<GridRoom> rooms;
    std::vector<GridSource> sources;
    int azimuths = 0;  // per cell, one in each equal sector of the circle, seeded within it
    int periods = 0;   // voting periods per scene
    uint64_t seed = 1;
};

// The default grid (or --quick's smaller one); a given array or rate replaces its axis.
AccuracyGrid MakeAccuracyGrid(bool quick, const std::optional<ArrayDescription>& array,
                              const std::optional<uint32_t>& rate);

// The axes a period is grouped by, in the order of AccuracyGrid's axes.
enum GridAxis { kAxisGeometry, kAxisRate, kAxisSnr, kAxisRoom, kAxisSource, kGridAxes };

struct GridPeriod {
    int axis[kGridAxes] = {};
    std::optional<double> specified_error_deg;  // |estimate - truth|, only with a direction
    std::optional<double> srp_error_deg;
    double srp_confidence = 0.0;
};

// Renders every scene (one per cell, SNR aside, and azimuth) and runs both methods on each
// period, on `threads` threads; the result does not depend on their number.
std::vector<GridPeriod> RunAccuracyGrid(const AccuracyGrid& grid, int threads);

}  // namespace ezossl_tool
