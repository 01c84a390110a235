// Real FFT wrapper over kissfft, with both plans built inside the caller's working buffer.
#include "fft.h"

#include <kiss_fftr.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace ezossl {
namespace {

// The region follows a 21908-byte state area, so it is not 8-byte aligned: align inside it.
constexpr uintptr_t kPlanAlignment = 16;

struct RealFftPlans {
    kiss_fftr_cfg forward;
    kiss_fftr_cfg inverse;
};

uintptr_t AlignUp(uintptr_t address) { return (address + kPlanAlignment - 1) & ~(kPlanAlignment - 1); }

// Places one kissfft plan at *cursor if it fits before end; advances the cursor past it.
kiss_fftr_cfg PlacePlan(int32_t n, int inverse, uintptr_t* cursor, uintptr_t end) {
    size_t needed = 0;
    kiss_fftr_alloc(n, inverse, nullptr, &needed);  // size query only, allocates nothing
    const uintptr_t start = AlignUp(*cursor);
    if (needed == 0 || start > end || end - start < needed) return nullptr;
    size_t length = end - start;
    kiss_fftr_cfg plan = kiss_fftr_alloc(n, inverse, reinterpret_cast<void*>(start), &length);
    *cursor = start + needed;
    return plan;
}

// The plans may be rebuilt from an already aligned start (after a release), so the usable
// length leaves room for the largest alignment step from the region start.
RealFftPlans* BuildPlans(void* region, int32_t n) {
    if (n <= 0 || n > kFftMaxSize || (n & 1)) return nullptr;
    const uintptr_t region_start = reinterpret_cast<uintptr_t>(region);
    const uintptr_t end = region_start + Qel_rdft_size(static_cast<uint32_t>(n)) - (kPlanAlignment - 1);
    const uintptr_t plans_at = AlignUp(region_start);
    uintptr_t cursor = plans_at + sizeof(RealFftPlans);
    auto* plans = reinterpret_cast<RealFftPlans*>(plans_at);
    const kiss_fftr_cfg forward = PlacePlan(n, 0, &cursor, end);
    const kiss_fftr_cfg inverse = forward ? PlacePlan(n, 1, &cursor, end) : nullptr;
    if (!inverse) return nullptr;
    plans->forward = forward;
    plans->inverse = inverse;
    return plans;
}

void ReportNullArguments(const FftState* state, const float* data, const float* work_a,
                         const float* work_b) {
    if (state->configuration && data && work_a && work_b) return;
    std::puts("[Audio] input Null in Ne10_workingBufPtr->fft_Ne10_cfg");
    std::printf("address = %p is NULL in %s\n", state->configuration, "Qel_rdft");
}

// The unused work buffers only draw the report above; a missing plan or data buffer would
// crash the transform, so that case stops here.
const RealFftPlans* UsablePlans(const FftState* state, int32_t n, const float* data) {
    if (!state->initialised || !state->configuration || !data || n != state->n) return nullptr;
    return static_cast<const RealFftPlans*>(state->configuration);
}

}  // namespace

void Qel_rdft_init(FftState* state) {
    if (!state) {
        std::puts("[FFT]The handle is NULL");
        return;
    }
    if (state->initialised == 1) {
        std::puts("[FFT]Ne10 has init already");
        return;
    }
    if (!state->configuration) {
        std::puts("[FFT] Please assigned the begining address about FFT workingbuffer in Init.");
        return;
    }
    RealFftPlans* plans = BuildPlans(state->configuration, state->n);
    if (!plans) {
        std::puts("[Audio] memory malloc failed");
        return;
    }
    state->configuration = plans;
    state->initialised = 1;
}

void Qel_rdft(FftState* state, int32_t n, int32_t direction, float* data, float* work_a,
              float* work_b) {
    if (!state) {
        std::puts("[Audio] Ne10_workingBufPtr is Null in fft");
        return;
    }
    const size_t packed_bytes = static_cast<size_t>(n + 2) * sizeof(float);
    auto* spectrum = reinterpret_cast<kiss_fft_cpx*>(state->scratch);
    if (direction == kFftForward) {
        ReportNullArguments(state, data, work_a, work_b);
        const RealFftPlans* plans = UsablePlans(state, n, data);
        if (!plans) return;
        kiss_fftr(plans->forward, data, spectrum);
        std::memcpy(data, state->scratch, packed_bytes);
    } else if (direction == kFftInverse) {
        const bool sized = n == state->n;
        if (data && sized) {
            std::memcpy(state->scratch, data, packed_bytes);
            std::memset(data, 0, packed_bytes);
        }
        ReportNullArguments(state, data, work_a, work_b);
        const RealFftPlans* plans = UsablePlans(state, n, data);
        if (!plans) return;
        kiss_fftri(plans->inverse, spectrum, data);
    }
}

void Qel_rdft_free(FftState* state) {
    if (!state) {
        std::puts("handle is NULL in FFT_Free!\t");
        return;
    }
    state->initialised = 0;
}

}  // namespace ezossl
