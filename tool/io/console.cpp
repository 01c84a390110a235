// Separation of the tool's standard output from the library's messages (see console.h).
#include "io/console.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

std::FILE* results = nullptr;
int capture_fd = -1;

// The tail of the capture that is read to find the library's last message.
constexpr size_t kCaptureTail = 4096;

std::string TrimEnd(std::string text) {
    while (!text.empty() && std::strchr(" \t\r\n", text.back())) text.pop_back();
    return text;
}

}  // namespace

void Console::SeparateLibraryOutput(bool show_library_messages) {
    if (results) return;
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    results = saved >= 0 ? fdopen(saved, "w") : nullptr;
    if (!results) throw RunError(std::string("cannot duplicate standard output: ") + std::strerror(errno));
    if (show_library_messages) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        return;
    }
    std::FILE* capture = std::tmpfile();
    if (!capture) throw RunError(std::string("cannot create a temporary file: ") + std::strerror(errno));
    capture_fd = fileno(capture);
    dup2(capture_fd, STDOUT_FILENO);
}

std::FILE* Console::Out() { return results ? results : stdout; }

std::string Console::LastLibraryMessage() {
    if (capture_fd < 0) return "";
    std::fflush(stdout);
    const off_t size = lseek(capture_fd, 0, SEEK_END);
    if (size <= 0) return "";
    const off_t start = size > static_cast<off_t>(kCaptureTail) ? size - kCaptureTail : 0;
    std::string tail(static_cast<size_t>(size - start), '\0');
    const ssize_t got = pread(capture_fd, tail.data(), tail.size(), start);
    tail.resize(got > 0 ? static_cast<size_t>(got) : 0);
    tail = TrimEnd(tail);
    const size_t line_start = tail.find_last_of('\n');
    return TrimEnd(line_start == std::string::npos ? tail : tail.substr(line_start + 1));
}

void Console::FinishOutput() {
    if (std::fflush(Out()) != 0 || std::ferror(Out())) {
        throw RunError(std::string("cannot write the results to standard output: ") + std::strerror(errno));
    }
}

void Console::Warn(const std::string& line) { std::fprintf(stderr, "ezossl: warning: %s\n", line.c_str()); }

}  // namespace ezossl_tool
