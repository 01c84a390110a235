// Forwarding captured library messages to Python's logging.
#include "library_calls.h"

#include <cctype>
#include <sstream>

namespace py = pybind11;

namespace ezossl_python {
namespace {

// The library starts each message with its kind in brackets.
int LevelOf(const std::string& line, const py::module_& logging) {
    if (line.rfind("[ALGO_MSG_ERR]", 0) == 0) return logging.attr("ERROR").cast<int>();
    if (line.rfind("[ALGO_MSG_WRN]", 0) == 0) return logging.attr("WARNING").cast<int>();
    return logging.attr("INFO").cast<int>();
}

}  // namespace

void LogLibraryMessages(const std::string& text) {
    if (text.empty()) return;
    const py::module_ logging = py::module_::import("logging");
    const py::object logger = logging.attr("getLogger")("ezossl");
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
        if (!line.empty()) logger.attr("log")(LevelOf(line, logging), "%s", line);
    }
}

std::mutex& LibraryOutputMutex() {
    static std::mutex mutex;
    return mutex;
}

}  // namespace ezossl_python
