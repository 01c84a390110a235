// The two kinds of failure the tool reports: each carries the single line shown to the user.
#pragma once

#include <stdexcept>

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

}  // namespace ezossl_tool
