// Filling a freshly zeroed working buffer: settings, FFT plans, tables and call-order flags.
#pragma once

#include <cstdint>

#include "ezossl.h"
#include "ssl_handle.h"

namespace ezossl {

// Magic, instance settings from ssl_init, configuration defaults, gain and message level.
void Handle_StoreInit(SslHandle* handle, const SslInit& ssl_init, uint32_t level);

// Builds the FFT plans in the work area and the lag table; false if the plans do not fit.
bool Handle_SetUpFft(FftState& fft, int32_t* lag_table);

// Default delay bounds and candidate delays for a linear array of the Init spacing.
void Handle_SetUpDelayTables(SslHandle* handle);

// Initialised, nothing configured, never run, no voting period open.
void Handle_SetInitialFlags(CallOrder& flags);

}  // namespace ezossl
