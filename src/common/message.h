// Level-gated message printing: every library message goes through here.
#pragma once

#include <cstdint>
#include <cstdio>

namespace ezossl {

// Bits of the message level; a message prints only when its bit is set.
enum class MsgKind : uint32_t { kError = 1, kWarning = 2, kNote = 4 };

// Level used where no handle is available yet: everything prints.
constexpr uint32_t kDefaultMsgLevel = 7;

inline const char* MsgTag(MsgKind kind) {
    switch (kind) {
        case MsgKind::kError: return "ALGO_MSG_ERR";
        case MsgKind::kWarning: return "ALGO_MSG_WRN";
        default: return "ALGO_MSG_MSG";
    }
}

// Every format starts with "[%s] %s": the tag, then the (always empty) prefix.
template <typename... Args>
inline void SslMessage(uint32_t level, MsgKind kind, const char* format, Args... args) {
    if (level & static_cast<uint32_t>(kind)) {
        std::printf(format, MsgTag(kind), "", args...);
    }
}

template <typename... Args>
inline void SslError(uint32_t level, const char* format, Args... args) {
    SslMessage(level, MsgKind::kError, format, args...);
}

template <typename... Args>
inline void SslWarning(uint32_t level, const char* format, Args... args) {
    SslMessage(level, MsgKind::kWarning, format, args...);
}

template <typename... Args>
inline void SslNote(uint32_t level, const char* format, Args... args) {
    SslMessage(level, MsgKind::kNote, format, args...);
}

}  // namespace ezossl
