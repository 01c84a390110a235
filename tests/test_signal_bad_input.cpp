// Hostile input on the signal path: extreme blocks and oversized geometries stay defined.
#include <cmath>

#include "common/numeric.h"
#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

TEST(Truncation, MatchesACastWhereOneIsDefinedAndSaturatesElsewhere) {
    const struct { double value; int32_t expected; } cases[] = {
        {45.9, 45}, {-89.7, -89}, {-0.4, 0}, {89.99, 89}, {2147483646.9, 2147483646},
        {3e9, INT32_MAX}, {-3e9, INT32_MIN}, {INFINITY, INT32_MAX}, {-INFINITY, INT32_MIN}, {NAN, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(ezossl::TruncateToInt32(c.value), c.expected) << c.value;
}

// Blocks a device can deliver that no natural sound produces: full-scale DC either way,
// alternation, square waves, one silent channel among square waves, silence.
using Sample = int16_t (*)(int n, int c);
const Sample kHostile[] = {
    [](int, int) -> int16_t { return 32767; }, [](int, int) -> int16_t { return -32768; },
    [](int n, int) -> int16_t { return n % 2 ? -32768 : 32767; },
    [](int n, int c) -> int16_t { return (n / 8 + c) % 2 ? -32768 : 32767; },
    [](int n, int c) -> int16_t { return c == 2 ? 0 : (n % 16 < 8 ? 32767 : -32768); },
    [](int, int) -> int16_t { return 0; },
};

void ExpectDefinedPeriod(SslHandle* handle, const char* what) {
    int32_t delays[3];
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (Sample sample : kHostile) {
            int16_t block[512];
            for (int i = 0; i < 512; ++i) block[i] = sample(i / 4, i % 4);
            uint32_t status = 0;
            CaptureOutput([&] { status = EzoSsl_Run(handle, block, delays); });
            ASSERT_EQ(status, SSL_RET_OK) << what;
            for (int32_t delay : delays) EXPECT_TRUE(delay == EZOSSL_DELAY_REJECTED || std::abs(delay) <= 128) << what << delay;
        }
    }
    if (handle->settings.bf_mode == 1) return;
    int32_t direction = 0;
    CaptureOutput([&] {
        EzoSsl_Get_Direction(handle, &direction);
        EzoSsl_Reset_Mapping(handle);
    });
    EXPECT_TRUE(direction == EZOSSL_NO_DIRECTION || (direction >= -90 && direction < 270)) << what << ": " << direction;
}

TEST(HostileSignals, ExtremeBlocksAndOversizedArraysGiveDefinedDelaysAndDirections) {
    // From 50 cm between neighbours at 48 kHz, bounds of hundreds of samples: peaks may sit on the
    // first or last lag and the delay tests reach past the 256 lags.
    const struct { uint32_t rate; float distance_cm; uint32_t geometry; } arrays[] = {
        {16000, 6.5f, 0}, {16000, 6.5f, 1}, {48000, 50.0f, 0}, {48000, 300.0f, 0}, {48000, 1e6f, 0}};
    for (const auto& a : arrays) {
        for (uint32_t bf_mode : {0u, 1u}) {
            WorkingBuffer buffer;
            SslHandle* handle = ReadyHandle(buffer, DefaultInit(a.rate, a.distance_cm, bf_mode), a.geometry, 16);
            ExpectDefinedPeriod(handle, std::to_string(a.distance_cm).c_str());
            // Noise shifted by whole frames' worth puts the peak anywhere, the edges included.
            const int shifts[4] = {0, 127, -128, 64};
            const Channels scene = ShiftedCopies(NoiseSource(5).White(16 * 128, 9000.0), shifts);
            int32_t delays[3];
            CaptureOutput([&] {
                for (int b = 0; b < 16; ++b) EzoSsl_Run(handle, InterleaveBlock(scene, b).data(), delays);
            });
        }
    }
}

}  // namespace
}  // namespace ezossl_test
