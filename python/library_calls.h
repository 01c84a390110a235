// Running library work without the GIL, with the library's printing kept off file descriptor 1.
#pragma once

#include <pybind11/pybind11.h>

#include <exception>
#include <mutex>
#include <string>
#include <utility>

#include "io/console.h"

namespace ezossl_python {

// Every library line to the "ezossl" logger, at the level its tag names.
void LogLibraryMessages(const std::string& text);

// fd 1 is one per process: library calls from different threads take turns.
std::mutex& LibraryOutputMutex();

// Runs work (which calls the library) with the GIL released and the library's standard output
// moved to the capture file; what it printed goes to logging when verbose, else away. A
// refusal's exception already carries the library's last line.
template <typename Work>
auto CallLibrary(bool verbose, Work&& work) -> decltype(work()) {
    std::string messages;
    std::exception_ptr failure;
    decltype(work()) result{};
    {
        pybind11::gil_scoped_release release;
        std::lock_guard<std::mutex> lock(LibraryOutputMutex());
        try {
            ezossl_tool::LibraryOutputScope scope;
            result = work();
        } catch (...) {
            failure = std::current_exception();
        }
        messages = ezossl_tool::Console::TakeLibraryMessages();
    }
    if (verbose) LogLibraryMessages(messages);
    if (failure) std::rethrow_exception(failure);
    return result;
}

}  // namespace ezossl_python
