// Test helpers for handles with a geometry: quiet shape and calibration calls, geometry snapshots.
#pragma once

#include <cstring>

#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {

// Worked values are printed to four decimals: half a unit in the last printed place.
constexpr float kFourDecimals = 5e-5f;

// A call's status together with everything it printed.
struct Printed {
    uint32_t status;
    std::string output;
};

inline Printed Call(const std::function<uint32_t()>& fn) {
    Printed result{0, ""};
    result.output = CaptureOutput([&] { result.status = fn(); });
    return result;
}

// Every field the shape and calibration calls write, copied for a later comparison.
struct GeometrySnapshot {
    ezossl::Geometry geometry;
    int32_t max_delay[3];
    float candidate_delay[3][9];

    explicit GeometrySnapshot(const SslHandle* h) : geometry(h->geometry) {
        std::memcpy(max_delay, h->max_delay, sizeof(max_delay));
        std::memcpy(candidate_delay, h->voting.candidate_delay, sizeof(candidate_delay));
    }
    // Bitwise, so that NaN entries compare equal to themselves.
    bool operator==(const GeometrySnapshot& other) const { return std::memcmp(this, &other, sizeof(*this)) == 0; }
};

}  // namespace ezossl_test
