// ezossl: entry point; turns every failure into one line on standard error and an exit code.
#include <cstdio>
#include <exception>
#include <new>

#include "cli/cli.h"
#include "cli/errors.h"
#include "io/console.h"

int main(int argc, char** argv) {
    using namespace ezossl_tool;
    CommandLine command_line;
    const int parsed = command_line.Parse(argc, argv);
    if (parsed >= 0) return parsed;
    try {
        Console::SeparateLibraryOutput(command_line.ShowLibraryMessages());
        return command_line.Run();
    } catch (const UsageError& error) {
        std::fprintf(stderr, "ezossl: error: %s\n", error.what());
        return kExitUsage;
    } catch (const RunError& error) {
        std::fprintf(stderr, "ezossl: error: %s\n", error.what());
        return kExitFailure;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "ezossl: error: out of memory; try a shorter recording or scene\n");
        return kExitFailure;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ezossl: error: unexpected failure: %s\n", error.what());
        return kExitFailure;
    }
}
