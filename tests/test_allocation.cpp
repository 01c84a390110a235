// The library allocates nothing for an instance: Init, Reset and the transforms stay off the heap.
#include <ezossl_srp.h>

#include <vector>

#include "core/ssl_handle.h"
#include "counting_malloc.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

// Counts the heap calls made by fn; standard output is warmed up first so that its own
// buffer is not counted.
HeapCounts HeapCallsOf(const std::function<void()>& fn) {
    std::printf("%s", "");
    std::fflush(stdout);
    ResetHeapCounts();
    fn();
    return CurrentHeapCounts();
}

TEST(Allocation, InitResetAndFreeUseOnlyTheCallersBuffer) {
    WorkingBuffer buffer;
    const SslInit init = DefaultInit();
    const HeapCounts counts = HeapCallsOf([&] {
        SslHandle* handle = EzoSsl_Init(buffer.data(), &init);
        EzoSsl_Reset(buffer.data(), &init);
        EzoSsl_Free(handle);
    });
    EXPECT_EQ(counts.allocations, 0u);
    EXPECT_EQ(counts.frees, 0u);
}

// Every per-frame path, the transforms included.
TEST(Allocation, VotingPeriodsAllocateNothing) {
    WorkingBuffer buffer;
    SslHandle* handle = ReadyHandle(buffer, DefaultInit(), 1, 8);
    std::vector<int16_t> block(512);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<int16_t>((i * 7919) % 20000 - 10000);
    int32_t delays[3];
    int32_t direction = 0;
    const HeapCounts counts = HeapCallsOf([&] {
        for (int period = 0; period < 3; ++period) {
            for (int f = 0; f < 8; ++f) {
                EzoSsl_ApplyDigitalGain(handle, block.data(), period);
                EzoSsl_Run(handle, block.data(), delays);
            }
            EzoSsl_Get_Direction(handle, &direction);
            EzoSsl_Reset_Mapping(handle);
        }
    });
    EXPECT_EQ(counts.allocations, 0u);
}

TEST(Allocation, SrpInitPeriodsAndResetAllocateNothing) {
    std::vector<uint32_t> words(EzoSslSrp_GetBufferSize() / 4 + 1);
    const EzoSslSrpSetup setup = {16000, {-3.25f, 0, 0, 3.25f, 3.25f, 0, 0, -3.25f}, 25.0f, 8, 0, 0, -80.0f};
    std::vector<int16_t> block(512);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<int16_t>((i * 7919) % 20000 - 10000);
    const HeapCounts counts = HeapCallsOf([&] {
        uint32_t status = 0;
        EzoSslSrp* srp = EzoSslSrp_Init(words.data(), &setup, &status);
        EzoSslSrpResult result;
        for (int period = 0; period < 3; ++period) {
            for (int b = 0; b < 8; ++b) EzoSslSrp_Process(srp, block.data());
            EzoSslSrp_GetDirection(srp, &result);
        }
        EzoSslSrp_Reset(srp);
    });
    EXPECT_EQ(counts.allocations, 0u);
    EXPECT_EQ(counts.frees, 0u);
}

TEST(Allocation, ReadingALevelFileReleasesEverythingItAllocates) {
    TempDir dir;
    ScopedEnv path("DML_PATH", dir.Write("audioAlgo.json", R"({"debug_level": 1})"));
    WorkingBuffer buffer;
    const SslInit init = DefaultInit();
    const HeapCounts counts = HeapCallsOf([&] { EzoSsl_Init(buffer.data(), &init); });
    EXPECT_GT(counts.allocations, 0u) << "the file buffer and the JSON document";
    EXPECT_EQ(counts.allocations, counts.frees);
}

}  // namespace
}  // namespace ezossl_test
