// Golden regression: one fixed synthetic recording, its per-frame delays and per-period directions.
#include <cstdlib>

#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

constexpr int kFramesPerPeriod = 16;
constexpr int kPeriods = 3;
constexpr double kAngles[kPeriods] = {30.0, 150.0, 250.0};

// A source that jumps between three azimuths around a 6.5 cm circular array at 16 kHz,
// one period each.
Channels MovingSource() {
    MicPosition mics[kChannels];
    CircularArray(0.065, mics);
    Channels recording(kChannels);
    for (int period = 0; period < kPeriods; ++period) {
        const Channels part = FarFieldScene(mics, kAngles[period], 16000, 346.0, kFramesPerPeriod * kBlockSamples,
                                            9000.0, 77 + period);
        for (int c = 0; c < kChannels; ++c) recording[c].insert(recording[c].end(), part[c].begin(), part[c].end());
    }
    return recording;
}

// Recorded once from this recording; set EZOSSL_PRINT_GOLDEN=1 to print new values after an
// intended change of the numerics.
constexpr int32_t kGoldenDelays[kPeriods * kFramesPerPeriod][3] = {
#include "golden/delays.inc"
};
constexpr uint32_t kGoldenStatus[kPeriods] = {SSL_RET_OK, SSL_RET_OK, SSL_RET_OK};
constexpr int32_t kGoldenDirections[kPeriods] = {
#include "golden/directions.inc"
};
// The mean winning delays in metres, bit for bit: any change of the numerics shows here first.
constexpr float kGoldenPathDifferences[kPeriods][3] = {
#include "golden/path_differences.inc"
};

TEST(Golden, DelaysAndDirectionsAreUnchanged) {
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(16000, 6.5f), 1, kFramesPerPeriod);
    const Channels recording = MovingSource();
    const bool print = std::getenv("EZOSSL_PRINT_GOLDEN") != nullptr;
    std::string delays_text, directions_text, paths_text;
    for (int period = 0; period < kPeriods; ++period) {
        for (int f = 0; f < kFramesPerPeriod; ++f) {
            const int frame = period * kFramesPerPeriod + f;
            int32_t delays[3];
            const auto block = InterleaveBlock(recording, frame);
            CaptureOutput([&] { ASSERT_EQ(EzoSsl_Run(handle, block.data(), delays), SSL_RET_OK); });
            delays_text += "{" + std::to_string(delays[0]) + ", " + std::to_string(delays[1]) + ", " +
                           std::to_string(delays[2]) + "},\n";
            for (int p = 0; p < 3; ++p) EXPECT_EQ(delays[p], kGoldenDelays[frame][p]) << "frame " << frame << " pair " << p;
        }
        int32_t direction = 0;
        uint32_t status = 0;
        CaptureOutput([&] { status = EzoSsl_Get_Direction(handle, &direction); });
        directions_text += std::to_string(direction) + ",\n";
        char path[96];
        std::snprintf(path, sizeof(path), "{%a, %a, %a},\n", handle->solver.path_difference[0], handle->solver.path_difference[1],
                      handle->solver.path_difference[2]);
        paths_text += path;
        for (int p = 0; p < 3; ++p) {
            EXPECT_EQ(handle->solver.path_difference[p], kGoldenPathDifferences[period][p]) << "period " << period << " pair " << p;
        }
        CaptureOutput([&] { EzoSsl_Reset_Mapping(handle); });
        EXPECT_EQ(status, kGoldenStatus[period]) << "period " << period;
        EXPECT_EQ(direction, kGoldenDirections[period]) << "period " << period << " (source at " << kAngles[period] << ")";
    }
    if (print) {
        std::printf("delays:\n%sdirections:\n%spath differences:\n%s", delays_text.c_str(), directions_text.c_str(),
                    paths_text.c_str());
    }
}

}  // namespace
}  // namespace ezossl_test
