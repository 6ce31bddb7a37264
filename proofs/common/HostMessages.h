// The messages that a host gives the module, one maker for each kind, ready to be delivered.
//
// A task has the same identifier three times; product and task event name it by that. Threads: any.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"

namespace Kyr::Proofs {

using HostMessage = boost::shared_ptr<Common::Kernel::IMessage>;

/// Of a process that no product of the lab may end: it refuses, and says so in the outcome.
HostMessage MakeKill(const std::string& identifier);
HostMessage MakeBlock(const std::string& identifier);
HostMessage MakeExport(const std::string& identifier);
/// A policy whose text is "ab".
HostMessage MakePolicy();
/// What the watch would ask for, by the number of the request.
HostMessage MakeTrigger(int kind);

}  // namespace Kyr::Proofs
