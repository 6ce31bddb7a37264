// What the lab's host tells of tasks beside its log: that one was given, and the connector's
// events, which name it.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

#include "probe/explain/HostLog.h"
#include "probe/explain/TaskBook.h"

namespace Kyr::Probe {

/// The value of the first field that begins so: behind the number of a symbol stands its name.
std::string FieldOf(const HostLine& line, const std::string& beginning);

void TakeHostEvent(const HostLine& line, const Place& place, CTaskBook& tasks);

}  // namespace Kyr::Probe
