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

// The private file the library's standard output is moved to, created on first use.
int CaptureFd() {
    if (capture_fd >= 0) return capture_fd;
    std::FILE* capture = std::tmpfile();
    if (!capture) throw RunError(std::string("cannot create a temporary file: ") + std::strerror(errno));
    capture_fd = fileno(capture);
    return capture_fd;
}

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
    dup2(CaptureFd(), STDOUT_FILENO);
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

std::string Console::TakeLibraryMessages() {
    if (capture_fd < 0) return "";
    std::fflush(stdout);
    std::string text;
    char chunk[kCaptureTail];
    for (ssize_t got; (got = pread(capture_fd, chunk, sizeof chunk, static_cast<off_t>(text.size()))) > 0;) {
        text.append(chunk, static_cast<size_t>(got));
    }
    // The offset is shared with descriptor 1 while it points here: rewind it too, or the next
    // message would be written after a hole.
    if (ftruncate(capture_fd, 0) == 0) lseek(capture_fd, 0, SEEK_SET);
    return text;
}

LibraryOutputScope::LibraryOutputScope() {
    const int capture = CaptureFd();
    std::fflush(stdout);
    saved_fd_ = dup(STDOUT_FILENO);   // -1 when the host runs without a standard output
    if (dup2(capture, STDOUT_FILENO) < 0) {
        const int error = errno;
        if (saved_fd_ >= 0) close(saved_fd_);
        throw RunError(std::string("cannot redirect standard output: ") + std::strerror(error));
    }
}

LibraryOutputScope::~LibraryOutputScope() {
    std::fflush(stdout);
    if (saved_fd_ < 0) {
        close(STDOUT_FILENO);
        return;
    }
    dup2(saved_fd_, STDOUT_FILENO);
    close(saved_fd_);
}

}  // namespace ezossl_tool
