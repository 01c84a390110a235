// Prologue checks shared by the exported functions: null refusals, call-order flags, handle check.
#pragma once

#include <cstdint>

#include "../core/ssl_handle.h"

namespace ezossl {

// How a function names itself in its refusal messages.
struct ApiSite {
    const char* head;           // text between the empty prefix and " Fail!", e.g. "[SSL] [SetShape]"
    const char* check_label;    // label given to SslHandleCheck, e.g. "Set_Shape"
    const char* frozen_subject; // what kNeedNotRunning protects, e.g. "array shape"
};

// Steps a call needs before it; tested in this order, the first missing one refuses.
enum Need : uint32_t {
    kNeedInit = 1u << 0,
    kNeedConfig = 1u << 1,
    kNeedShape = 1u << 2,
    kNeedParams = 1u << 3,
    kNeedNotRunning = 1u << 4,  // Run not entered since Init/Reset (geometry still open)
    kNeedRunDone = 1u << 5,     // the last Run succeeded
};
constexpr uint32_t kNeedCalibrated = kNeedInit | kNeedConfig | kNeedShape | kNeedParams;

// Prints a null-pointer refusal whatever the message level and returns its status.
uint32_t RefuseNull(const char* format, uint32_t status);

// Tests the call-order flags named in needs; 0 when all are met.
uint32_t CheckCallOrder(const SslHandle& handle, const ApiSite& site, uint32_t needs);

// True when Init or Reset has written the magic word (the buffer may still be corrupted).
bool CarriesHandleMagic(const SslHandle& handle);

// The common handle test: point number, microphone number, magic word.
uint32_t SslHandleCheck(const SslHandle* handle, uint32_t level, const char* label);

// CheckCallOrder, then SslHandleCheck: the usual prologue after the null tests.
uint32_t CheckPrologue(const SslHandle& handle, const ApiSite& site, uint32_t needs);

}  // namespace ezossl
