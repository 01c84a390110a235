// Time per call of EzoSslSrp_Process and EzoSslSrp_GetDirection, run beside BM_Run so that the
// ratios come from one run: Process should cost no more than EzoSsl_Run, GetDirection no more
// than 20 blocks of Process.
#include <benchmark/benchmark.h>
#include <ezossl_srp.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// A circular array of the given diameter, ready to run, in a buffer it owns.
class SrpInstance {
  public:
    SrpInstance(uint32_t sample_rate, float diameter_cm) : buffer_(EzoSslSrp_GetBufferSize() / 8 + 1) {
        const float r = diameter_cm / 2.0f;
        const EzoSslSrpSetup setup = {sample_rate, {-r, 0, 0, r, r, 0, 0, -r}, 25.0f, 32, 0, 0, -80.0f};
        uint32_t status = 0;
        handle_ = EzoSslSrp_Init(buffer_.data(), &setup, &status);
        if (!handle_) {
            std::fprintf(stderr, "SRP benchmark set-up failed: 0x%x\n", status);
            std::exit(1);
        }
    }
    EzoSslSrp* handle() const { return handle_; }
    unsigned char* bytes() { return reinterpret_cast<unsigned char*>(buffer_.data()); }

  private:
    std::vector<uint64_t> buffer_;
    EzoSslSrp* handle_ = nullptr;
};

// Noise that reaches the four channels two samples apart: a source off broadside.
std::vector<int16_t> SourceBlock(unsigned seed) {
    std::srand(seed);
    std::vector<int16_t> source(EZOSSL_SRP_BLOCK_INSTANTS + 8);
    for (auto& v : source) v = static_cast<int16_t>(std::rand() % 16000 - 8000);
    std::vector<int16_t> block(EZOSSL_SRP_BLOCK_INSTANTS * 4);
    for (int n = 0; n < EZOSSL_SRP_BLOCK_INSTANTS; ++n) {
        for (int c = 0; c < 4; ++c) block[4 * n + c] = source[n + 2 * c];
    }
    return block;
}

void BM_SrpProcess(benchmark::State& state) {
    SrpInstance instance(static_cast<uint32_t>(state.range(0)), static_cast<float>(state.range(1)) / 10.0f);
    const std::vector<int16_t> block = SourceBlock(1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(EzoSslSrp_Process(instance.handle(), block.data()));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SrpProcess)->ArgNames({"rate", "mm"})->Args({16000, 65})->Args({48000, 65})->Args({16000, 100});

void BM_SrpGetDirection(benchmark::State& state) {
    SrpInstance instance(static_cast<uint32_t>(state.range(0)), static_cast<float>(state.range(1)) / 10.0f);
    const std::vector<int16_t> block = SourceBlock(2);
    for (int i = 0; i < 32; ++i) EzoSslSrp_Process(instance.handle(), block.data());
    // Each call closes the period, so every iteration starts from a copy of the open period.
    const std::vector<unsigned char> open_period(instance.bytes(), instance.bytes() + EzoSslSrp_GetBufferSize());
    EzoSslSrpResult result;
    for (auto _ : state) {
        std::memcpy(instance.bytes(), open_period.data(), open_period.size());
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(EzoSslSrp_GetDirection(instance.handle(), &result));
        const auto stop = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
    }
}
BENCHMARK(BM_SrpGetDirection)->ArgNames({"rate", "mm"})->Args({16000, 65})->Args({48000, 65})->Args({16000, 100})->UseManualTime();

}  // namespace
