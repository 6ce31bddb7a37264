// Builds from the words of a command what the server, the module itself or another module of the
// host would send. All of it is read-only when it is returned; policies are PolicyBuilder.h's.
//
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/message/Task.h"
#include "lab/common/CommandWords.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Lab::DevHost {

using TaskPointer = boost::shared_ptr<Common::Message::CTask>;

/// From `pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]`.
TaskPointer BuildKillTask(CCommandWords& words);

/// From `[sha256=<text>] [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]`.
TaskPointer BuildBlockTask(CCommandWords& words);

/// A request for the product's configuration, which is no task but reports its outcome as one. From
/// `[type=<number>] [ids=<a>,<b>,<c>]`; without a type it is for no product at all.
TaskPointer BuildConfigurationRequest(CCommandWords& words);

/// The identifiers of a task, as `ids` takes them.
std::string IdentifiersOf(const Common::Message::CTask& task);

/// From `kind=<number>`, of any kind, known or not.
boost::shared_ptr<Common::Message::Connectors::OvAgentConnector::COvAgentRequest> BuildTrigger(
    CCommandWords& words);

/// A reply of the host's request/response scheme, from `[type=688|1] [request=<number>] [alien]`:
/// by default one of type 688 to request 0; with `alien` a message of that type that is no reply.
boost::shared_ptr<Common::Kernel::IMessage> BuildReply(CCommandWords& words);

}  // namespace Kyr::Lab::DevHost
