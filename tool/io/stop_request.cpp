// The signal handler only raises a flag; the capture loop looks at it between reads.
#include "io/stop_request.h"

#include <csignal>

namespace ezossl_tool {
namespace {

volatile std::sig_atomic_t stop_requested = 0;

extern "C" void RequestStop(int) { stop_requested = 1; }

}  // namespace

void CatchStopSignals() {
    struct sigaction action {};
    action.sa_handler = RequestStop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;   // no SA_RESTART: a read waiting for the device must return
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested() { return stop_requested != 0; }

}  // namespace ezossl_tool
