// What the lab's host tells of tasks beside its log: that one was given, and the connector's
// events, which name it.
//
// Threads: any. Errors: none.
#pragma once

#include "probe/explain/HostLog.h"
#include "probe/explain/TaskBook.h"

namespace Kyr::Probe {

void TakeHostEvent(const HostLine& line, const Place& place, CTaskBook& tasks);

}  // namespace Kyr::Probe
