// The per-block pipeline in its fixed order; every step receives only the regions it uses.
#include "frame_pipeline.h"

#include "asdf.h"
#include "frame_activity.h"
#include "frame_fft.h"
#include "frame_input.h"
#include "gcc_phat.h"

namespace ezossl {

FrameOutcome Frame_Process(SslHandle* handle, const int16_t* microphone_input, int32_t* delay_sample) {
    InputBlock_Append(microphone_input, handle->dump_block, handle->frames, handle->asdf);
    // The zero-crossing rate of the newest block used to be computed here as an activity
    // measure; nothing ever read it, so it is not computed per frame any more. The frame energy
    // is, on its own or in the spectral front end's pass over the samples.
    if (handle->settings.bf_mode != 0) {
        FrameEnergy_Update(handle->frames, handle->activity);
        Asdf_EstimateDelays(handle->asdf, handle->max_delay, delay_sample);
        return FrameOutcome::kDone;
    }
    Spectrum_Compute(handle->frames, handle->fft, handle->activity);
    if (handle->ssl_mode == 1) return FrameOutcome::kModeNotIncluded;
    GccPhat_EstimateDelays(handle->frames, DelayLimits{handle->lag_table, handle->max_delay}, handle->fft,
                           handle->dither_rng, handle->voting, delay_sample);
    return FrameOutcome::kDone;
}

}  // namespace ezossl
