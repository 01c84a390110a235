// The two kinds of failure the tool reports: each carries the single line shown to the user.
#pragma once

#include <stdexcept>
#include <string>

namespace ezossl_tool {

enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

// A mistake on the command line: an option value or combination that cannot work.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A problem with the files the command reads or writes, or a refusal by the library.
class RunError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A refusal by the library, with its parts kept apart for hosts that report them separately.
class LibraryRefusal : public RunError {
  public:
    LibraryRefusal(const std::string& function, const std::string& status, const std::string& message)
        : RunError("the library refused " + function + " (" + status + ")" + (message.empty() ? "" : ": " + message)),
          function_(function), status_(status), message_(message) {}
    const std::string& Function() const { return function_; }
    const std::string& Status() const { return status_; }        // "INVALID_CONFIG", ...
    const std::string& Message() const { return message_; }      // the library's last line, or ""

  private:
    std::string function_, status_, message_;
};

}  // namespace ezossl_tool
