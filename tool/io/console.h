// Keeps the tool's own standard output apart from the messages the library prints there.
#pragma once

#include <cstdio>
#include <string>

namespace ezossl_tool {

// The library prints its messages on standard output, which would corrupt CSV and JSON results.
// Before the library is first used, the tool moves file descriptor 1 away (to a private
// capture file, or to standard error when the user wants to see the messages) and keeps a
// duplicate of the real standard output for its own results.
class Console {
  public:
    static void SeparateLibraryOutput(bool show_library_messages);
    // Where the tool writes its results.
    static std::FILE* Out();
    // The last line the library printed, for error reports ("" if none was captured).
    static std::string LastLibraryMessage();
    // Flushes the results; a failed write is reported as an error, never lost silently.
    static void FinishOutput();
    // One "ezossl: warning: ..." line on standard error.
    static void Warn(const std::string& line);
    // Everything the library printed into the capture file so far, which is then emptied.
    static std::string TakeLibraryMessages();
};

// For hosts that keep their own standard output, such as the Python module: while one of these
// lives, file descriptor 1 points at the capture file (created on first use) and the library's
// messages land there; the real standard output comes back when it goes. Process-wide, so the
// caller holds at most one at a time.
class LibraryOutputScope {
  public:
    LibraryOutputScope();
    ~LibraryOutputScope();
    LibraryOutputScope(const LibraryOutputScope&) = delete;
    LibraryOutputScope& operator=(const LibraryOutputScope&) = delete;

  private:
    int saved_fd_;
};

}  // namespace ezossl_tool
