// The host program between its start and its end: carries out the commands of its input until the
// module has been stopped and destroyed on the way to the end.
//
// It goes on reading while the module stops, so that a module that hangs can still be stopped by
// force. The end of the input and the first request to terminate ask for the orderly stop.
//
// Threads: the one that owns the host; the input is woken by the host's stop thread.
// Errors: none; a command that fails is an event of the host.
#pragma once

#include <functional>

#include "lab/common/CommandInput.h"
#include "lab/devhost/Host.h"

namespace Kyr::Lab::DevHost {

/// REQUIRES: the host has started. Calls `endAtOnce` for every request to terminate but the first.
void ObeyCommands(CCommandInput& input, CHost& host, const std::function<void()>& endAtOnce);

}  // namespace Kyr::Lab::DevHost
