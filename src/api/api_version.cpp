// Exported interface-version query.
#include "../common/message.h"
#include "../common/msg_level.h"
#include "../common/version_records.h"
#include "ezossl.h"

using namespace ezossl;

extern "C" uint32_t EzoSsl_GetAPIVersion(uint16_t* major, uint16_t* minor) {
    const uint32_t level = LoadMessageLevel();
    const auto api_major = static_cast<uint16_t>(API_STRING[0] - '0');
    const auto api_minor = static_cast<uint16_t>(API_STRING[1] - '0');
    // Null outputs are skipped rather than written through: the call still succeeds.
    if (major) *major = api_major;
    if (minor) *minor = api_minor;
    SslNote(level, "[%s] %sSSL_API_VERSION: %d.%d\n", static_cast<int>(api_major), static_cast<int>(api_minor));
    return SSL_RET_OK;
}
