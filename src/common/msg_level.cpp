// Loads the message level from the configuration file shared by the device's audio algorithms.
#include "msg_level.h"

#include <cjson/cJSON.h>

#include <cstdlib>
#include <cstring>

#include "message.h"
#include "tov_os.h"

namespace ezossl {
namespace {

constexpr uint32_t kOpenFlags = 0x10001;
constexpr uint32_t kOpenMode = 0644;
constexpr int32_t kSeekStart = 0;
constexpr int32_t kSeekEnd = 2;
constexpr size_t kPathCapacity = 128;
// A level file holds one small JSON object; anything larger is not one and is not read at all.
constexpr int32_t kMaxLevelFileBytes = 64 * 1024;

bool IsAcceptedLevel(int value) { return value == 15 || value == 7 || value == 3 || value == 1; }

// A path that does not fit is refused rather than cut: a shortened path could name another file.
bool ChooseLevelFile(char (&path)[kPathCapacity]) {
    const char* from_env = std::getenv("DML_PATH");
    const char* chosen = from_env ? from_env : kMsgLevelFile;
    const size_t length = std::strlen(chosen);
    if (length >= kPathCapacity) return false;
    std::memcpy(path, chosen, length + 1);
    return true;
}

uint32_t LevelFromJson(const char* text, size_t length) {
    uint32_t level = kDefaultMsgLevel;
    cJSON* document = cJSON_ParseWithLength(text, length);
    if (!document) return level;
    const cJSON* item = cJSON_GetObjectItem(document, "debug_level");
    if (item && cJSON_IsNumber(item)) {
        level = IsAcceptedLevel(item->valueint) ? static_cast<uint32_t>(item->valueint)
                                                : kDefaultMsgLevel;
    }
    cJSON_Delete(document);
    return level;
}

}  // namespace

uint32_t LoadMessageLevel() {
    uint32_t level = kDefaultMsgLevel;
    char tmp_path[kPathCapacity];
    if (!ChooseLevelFile(tmp_path)) return level;

    TovFsHandle file = 0;
    if (TovFsOpen(&file, tmp_path, kOpenFlags, kOpenMode) != 0) return level;

    const int32_t size = TovFsSeek(file, 0, kSeekEnd);
    TovFsSeek(file, 0, kSeekStart);
    if (size > 0 && size <= kMaxLevelFileBytes) {
        // The buffer holds exactly the file's bytes, no terminating zero: parse by length.
        auto* text = static_cast<char*>(TovOsMemAlloc(static_cast<uint32_t>(size)));
        if (text) {
            const int32_t got = TovFsRead(file, text, static_cast<uint32_t>(size));
            if (got > 0) level = LevelFromJson(text, static_cast<size_t>(got));
            TovOsMemRelease(text);
        }
    }
    TovFsClose(file);
    return level;
}

}  // namespace ezossl
