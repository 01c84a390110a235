// Bit-for-bit reproducibility: one fixed scene folded into a digest that every architecture must match.
#include <cstddef>
#include <cstdio>

#include "common/fft.h"
#include "core/ssl_handle.h"
#include "signals.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

// FNV-1a, 64 bits.
class Digest {
  public:
    void Add(const void* data, size_t bytes) {
        const auto* p = static_cast<const unsigned char*>(data);
        for (size_t i = 0; i < bytes; ++i) value_ = (value_ ^ p[i]) * 0x100000001b3ull;
    }
    template <class T>
    void Add(const T& value) {
        Add(&value, sizeof(value));
    }
    uint64_t value() const { return value_; }

  private:
    uint64_t value_ = 0xcbf29ce484222325ull;
};

// Every byte of the state area except the pointers (FFT configuration, dump streams), whose
// values depend on where the buffer lies and on the word size, and the unused words at the
// end, whose number does too.
void AddHandle(Digest& digest, const SslHandle* handle) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(handle);
    const size_t configuration = offsetof(SslHandle, fft) + offsetof(ezossl::FftState, configuration);
    const size_t streams = offsetof(SslHandle, dump_file);
    const size_t after_streams = streams + sizeof(handle->dump_file);
    digest.Add(bytes, configuration);
    digest.Add(bytes + configuration + sizeof(void*), streams - configuration - sizeof(void*));
    digest.Add(bytes + after_streams, offsetof(SslHandle, reserved) - after_streams);
}

enum class Shape { kLinear, kCircular, kPlanar, kCollinear };

struct Case {
    Shape shape;
    uint32_t bf_mode;
    uint32_t sample_rate;
};

// Noise reaching the microphones whole samples apart (no transcendental functions, so the scene
// itself is the same everywhere): a loud period, a silent one, then a clipped and gained one.
std::vector<int16_t> SceneBlock(int frame, int period) {
    static const Channels scene = [] {
        const int delays[kChannels] = {0, 2, 3, 1};
        return ShiftedCopies(NoiseSource(99).White(kBlockSamples * 40, 6000.0), delays);
    }();
    std::vector<int16_t> block = InterleaveBlock(scene, frame);
    for (int16_t& v : block) {
        if (period == 1) v = 0;
        if (period == 2) v = v > 3000 ? 32767 : v < -3000 ? -32768 : static_cast<int16_t>(v * 8);
    }
    return block;
}

// Recorded once; equal on x86-64, aarch64 and armhf (scripts/cross-check.sh runs this test).
constexpr uint64_t kExpectedDigest = 0x3fb1786f293ff477ull;

TEST(Determinism, OneSceneGivesTheSameDigestOnEveryArchitecture) {
    const Case cases[] = {
        {Shape::kLinear, 0, 16000},   {Shape::kCircular, 0, 16000}, {Shape::kPlanar, 0, 48000},
        {Shape::kCollinear, 0, 8000}, {Shape::kCircular, 1, 16000}, {Shape::kCollinear, 1, 32000},
    };
    const float planar_cm[8] = {0.0f, 0.0f, 4.5f, 0.5f, 3.0f, 5.0f, -1.0f, 3.5f};
    const float collinear_cm[8] = {0.0f, 0.0f, 2.0f, 0.0f, 5.5f, 0.0f, 7.0f, 0.0f};
    constexpr int kPeriods = 3;
    constexpr int kFramesPerPeriod = 6;
    Digest digest;
    for (const Case& c : cases) {
        WorkingBuffer buffer;
        const SslInit init = DefaultInit(c.sample_rate, 6.5f, c.bf_mode);
        SslHandle* handle = c.shape == Shape::kPlanar    ? ReadyHandle(buffer, init, 0, kFramesPerPeriod, -80, planar_cm)
                            : c.shape == Shape::kCollinear ? ReadyHandle(buffer, init, 0, kFramesPerPeriod, -80, collinear_cm)
                                                           : ReadyHandle(buffer, init, c.shape == Shape::kCircular, kFramesPerPeriod);
        ASSERT_NE(handle, nullptr);
        CaptureOutput([&] {
            for (int period = 0; period < kPeriods; ++period) {
                for (int f = 0; f < kFramesPerPeriod; ++f) {
                    std::vector<int16_t> block = SceneBlock(period * kFramesPerPeriod + f, period);
                    if (period == 2) digest.Add(EzoSsl_ApplyDigitalGain(handle, block.data(), f % 3 ? -f : 2 * f));
                    int32_t delays[3] = {};
                    digest.Add(EzoSsl_Run(handle, block.data(), delays));
                    digest.Add(delays);
                }
                int32_t direction = 0;
                digest.Add(EzoSsl_Get_Direction(handle, &direction));
                digest.Add(direction);
                AddHandle(digest, handle);
                digest.Add(EzoSsl_Reset_Mapping(handle));
            }
        });
    }
    char printed[32];
    std::snprintf(printed, sizeof(printed), "0x%016llx", static_cast<unsigned long long>(digest.value()));
    EXPECT_EQ(digest.value(), kExpectedDigest) << "digest " << printed;
}

}  // namespace
}  // namespace ezossl_test
