// Builds from the words of a command what the server, the module itself or another module of the
// host would send. All of it is read-only when it is returned; policies are PolicyBuilder.h's.
//
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"
#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

using MessagePointer = boost::shared_ptr<Common::Kernel::IMessage>;

/// A task from `pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]`.
MessagePointer BuildKillTask(CCommandWords& words);

/// A task from `[sha256=<text>] [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]`.
MessagePointer BuildBlockTask(CCommandWords& words);

/// A request for the product's configuration, which reports its outcome as a task does. From
/// `[type=<number>] [ids=<a>,<b>,<c>]`; without a type it is for no product at all.
MessagePointer BuildConfigurationRequest(CCommandWords& words);

/// From `kind=<number>`, of any kind, known or not.
MessagePointer BuildTrigger(CCommandWords& words);

/// A reply of the host's request/response scheme, from `[type=688|1] [request=<number>] [alien]`:
/// by default one of type 688 to request 0; with `alien` a message of that type that is no reply.
MessagePointer BuildReply(CCommandWords& words);

}  // namespace Kyr::Lab::DevHost
