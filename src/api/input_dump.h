// Raw-input dump for field diagnosis: four PCM files, switched by environment variables.
#pragma once

#include <cstdint>

#include "../core/ssl_handle.h"

namespace ezossl {

// The messages of the call that opens the files ("[Init]", "[Reset]" or "[Run]").
struct DumpTexts {
    const char* missing_directory;  // with the directory text
    const char* open_failed;        // with the microphone index
};

// Init/Reset: reads "AUDIO_SSL_DUMP" and, if non-zero, opens the four files.
// False when the directory is missing or a file cannot be created.
bool InputDump_Setup(SslHandle* handle, uint32_t level, const DumpTexts& texts);

// Run: follows a change of "AUDIO_SSL_DUMP" since the last call. False when switching on
// failed to open a file (Run then refuses the frame).
bool InputDump_FollowSwitch(SslHandle* handle, uint32_t level);

// Run: appends this block's samples (dump_block) to the open files.
void InputDump_Write(SslHandle* handle);

// Free: closes the files if "AUDIO_SSL_DUMP" reads 1 now.
void InputDump_CloseOnFree(SslHandle* handle);

}  // namespace ezossl
