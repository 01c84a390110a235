// The command line: subcommands and options of ezossl, parsed with CLI11.
#pragma once

#include <memory>

namespace ezossl_tool {

class CommandLine {
  public:
    CommandLine();
    ~CommandLine();
    // Parses argv; returns an exit code when the run ends here (help, version, a parse error
    // already reported), or -1 when a subcommand is to run.
    int Parse(int argc, char** argv);
    bool ShowLibraryMessages() const;
    // Runs the chosen subcommand; throws UsageError or RunError.
    int Run();

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace ezossl_tool
