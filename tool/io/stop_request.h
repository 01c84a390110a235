// Ctrl-C and kill as a request to finish the current row and stop, not as an abrupt end.
#pragma once

namespace ezossl_tool {

// Catches SIGINT and SIGTERM from now on; blocking reads then return early with EINTR.
void CatchStopSignals();
// True once SIGINT or SIGTERM has arrived.
bool StopRequested();

}  // namespace ezossl_tool
