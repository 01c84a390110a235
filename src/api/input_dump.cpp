// Opens, writes and closes the per-microphone dump files; closed streams are cleared, never reused.
#include "input_dump.h"

#include <dirent.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "../common/message.h"

namespace ezossl {
namespace {

constexpr const char* kDumpSwitchVar = "AUDIO_SSL_DUMP";
constexpr const char* kDumpPathVar = "AUDIO_DUMP_PATH";
constexpr int32_t kDumpOff = 0;
constexpr int32_t kDumpOn = 1;
constexpr size_t kPathCapacity = 4096;

constexpr const char* kRunOpenFailed = "[%s] %s[SSL] [Run] Fail! The dump input file %d could not be open\n";

// atoi's reading of the variable, without atoi's undefined overflow.
bool ReadSwitch(int32_t* value) {
    const char* text = std::getenv(kDumpSwitchVar);
    if (!text) return false;
    const long parsed = std::strtol(text, nullptr, 10);
    *value = parsed > INT32_MAX ? INT32_MAX : parsed < INT32_MIN ? INT32_MIN : static_cast<int32_t>(parsed);
    return true;
}

bool FormatPath(char (&out)[kPathCapacity], const char* directory, int microphone) {
    const int written = directory
                            ? std::snprintf(out, sizeof(out), "%s/Audio_SSL_input_data%d.pcm", directory, microphone)
                            : std::snprintf(out, sizeof(out), "./Audio_SSL_input_data%d.pcm", microphone);
    return written > 0 && static_cast<size_t>(written) < sizeof(out);
}

void CloseFile(SslHandle* handle, uint32_t m) {
    if (handle->dump_file[m]) std::fclose(handle->dump_file[m]);
    handle->dump_file[m] = nullptr;
}

void CloseFiles(SslHandle* handle) {
    for (uint32_t m = 0; m < kMicNum; ++m) CloseFile(handle, m);
}

// Opens the four files in order; at the first failure reports its index. Files already
// opened stay open (and stay closable).
bool OpenFiles(SslHandle* handle, uint32_t level, const char* open_failed) {
    const char* directory = std::getenv(kDumpPathVar);
    for (uint32_t m = 0; m < kMicNum; ++m) {
        char tmp_path[kPathCapacity];
        CloseFile(handle, m);
        const int index = static_cast<int>(m);
        handle->dump_file[m] = FormatPath(tmp_path, directory, index) ? std::fopen(tmp_path, "wb") : nullptr;
        if (!handle->dump_file[m]) {
            SslError(level, open_failed, index);
            return false;
        }
    }
    return true;
}

bool DirectoryExists(uint32_t level, const DumpTexts& texts) {
    const char* directory = std::getenv(kDumpPathVar);
    char tmp_str[kPathCapacity];
    const int written = std::snprintf(tmp_str, sizeof(tmp_str), "%s/", directory ? directory : ".");
    DIR* probe = (written > 0 && static_cast<size_t>(written) < sizeof(tmp_str)) ? opendir(tmp_str) : nullptr;
    if (!probe) {
        SslError(level, texts.missing_directory, tmp_str);
        return false;
    }
    closedir(probe);
    return true;
}

}  // namespace

bool InputDump_Setup(SslHandle* handle, uint32_t level, const DumpTexts& texts) {
    int32_t value = kDumpOff;
    handle->flags.dump_mode = ReadSwitch(&value) ? value : kDumpOff;
    if (handle->flags.dump_mode == kDumpOff) return true;
    return DirectoryExists(level, texts) && OpenFiles(handle, level, texts.open_failed);
}

bool InputDump_FollowSwitch(SslHandle* handle, uint32_t level) {
    int32_t value = kDumpOff;
    if (!ReadSwitch(&value)) {
        // The variable was removed: stop writing, but remember the mode as it was.
        if (handle->flags.dump_mode == kDumpOn) CloseFiles(handle);
        return true;
    }
    if (value == handle->flags.dump_mode) return true;
    handle->flags.dump_mode = value;
    if (value == kDumpOn) return OpenFiles(handle, level, kRunOpenFailed);
    if (value == kDumpOff) {
        CloseFiles(handle);
    } else {
        SslError(level, "[%s] %s[SSL] [Run] Fail! [%s] Dump export error\t\n", "EzoSsl_Run");
    }
    return true;
}

void InputDump_Write(SslHandle* handle) {
    if (handle->flags.dump_mode == kDumpOff) return;
    for (uint32_t m = 0; m < kMicNum; ++m) {
        if (handle->dump_file[m]) {
            std::fwrite(handle->dump_block[m], sizeof(int16_t), kPointNumber, handle->dump_file[m]);
        }
    }
}

void InputDump_CloseOnFree(SslHandle* handle) {
    int32_t value = kDumpOff;
    if (ReadSwitch(&value) && value == kDumpOn) CloseFiles(handle);
}

}  // namespace ezossl
