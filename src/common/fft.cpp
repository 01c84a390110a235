// Real FFT wrapper over the library's own transform, whose tables live in the caller's working buffer.
#include "fft.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "real_fft.h"

namespace ezossl {
namespace {

// The plan may be rebuilt from its already aligned start after a release, so it must fit in
// what is left of the region after the largest alignment step.
constexpr size_t kAlignmentSlack = 15;
static_assert(sizeof(RealFftPlan) + kAlignmentSlack <= Qel_rdft_size(kRealFftSize), "the plan fits the work area");

void ReportNullArguments(const FftState* state, const float* data, const float* work_a,
                         const float* work_b) {
    if (state->configuration && data && work_a && work_b) return;
    std::puts("[Audio] input Null in Ne10_workingBufPtr->fft_Ne10_cfg");
    std::printf("address = %p is NULL in %s\n", state->configuration, "Qel_rdft");
}

// The unused work buffers only draw the report above; a missing plan or data buffer would
// crash the transform, so that case stops here.
RealFftPlan* UsablePlan(const FftState* state, int32_t n, const float* data) {
    if (!state->initialised || !state->configuration || !data || n != state->n) return nullptr;
    return static_cast<RealFftPlan*>(state->configuration);
}

// One transform in the first lane; the other lanes carry zeros.
void ClearLanes(RealFftPlan* plan) { std::memset(plan->data, 0, sizeof(plan->data)); }

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
    RealFftPlan* plan = state->n == kRealFftSize
                            ? RealFft_Build(state->configuration, Qel_rdft_size(kRealFftSize) - kAlignmentSlack)
                            : nullptr;
    if (!plan) {
        std::puts("[Audio] memory malloc failed");
        return;
    }
    state->configuration = plan;
    state->initialised = 1;
}

void Qel_rdft(FftState* state, int32_t n, int32_t direction, float* data, float* work_a,
              float* work_b) {
    if (!state) {
        std::puts("[Audio] Ne10_workingBufPtr is Null in fft");
        return;
    }
    const size_t packed_bytes = static_cast<size_t>(n + 2) * sizeof(float);
    if (direction == kFftForward) {
        ReportNullArguments(state, data, work_a, work_b);
        RealFftPlan* plan = UsablePlan(state, n, data);
        if (!plan) return;
        ClearLanes(plan);
        for (int i = 0; i < kHalfFftSize; ++i) {
            plan->data[i].re[0] = data[2 * i];
            plan->data[i].im[0] = data[2 * i + 1];
        }
        float* const out[kFftLanes] = {state->scratch, nullptr, nullptr, nullptr};
        RealFft_Forward(plan, out);
        std::memcpy(data, state->scratch, packed_bytes);
    } else if (direction == kFftInverse) {
        const bool sized = n == state->n;
        if (data && sized) {
            std::memcpy(state->scratch, data, packed_bytes);
            std::memset(data, 0, packed_bytes);
        }
        ReportNullArguments(state, data, work_a, work_b);
        RealFftPlan* plan = UsablePlan(state, n, data);
        if (!plan) return;
        ClearLanes(plan);
        for (int k = 1; k < kHalfFftSize; ++k) {
            plan->data[plan->position[k]].re[0] = state->scratch[2 * k];
            plan->data[plan->position[k]].im[0] = state->scratch[2 * k + 1];
        }
        plan->data[plan->position[0]].re[0] = state->scratch[0];
        plan->data[plan->position[0]].im[0] = state->scratch[kRealFftSize];
        RealFft_InverseTransform(plan);
        for (int i = 0; i < kHalfFftSize; ++i) {
            data[2 * i] = plan->data[i].re[0];
            data[2 * i + 1] = plan->data[i].im[0];
        }
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
