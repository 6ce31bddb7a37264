// Builds the server's tasks from the words of a command.
//
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/message/Task.h"
#include "lab/devhost/typed/CommandArguments.h"

namespace Kyr::Lab::DevHost {

using TaskPointer = boost::shared_ptr<Common::Message::CTask>;

/// From `pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]`.
TaskPointer BuildKillTask(CCommandArguments& arguments);

/// From `[sha256=<text>] [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]`.
TaskPointer BuildBlockTask(CCommandArguments& arguments);

/// A request for the product's configuration, which is no task but reports its outcome as one. From
/// `[type=<number>] [ids=<a>,<b>,<c>]`; without a type it is for no product at all.
TaskPointer BuildConfigurationRequest(CCommandArguments& arguments);

/// The identifiers of a task, as `ids` takes them.
std::string IdentifiersOf(const Common::Message::CTask& task);

}  // namespace Kyr::Lab::DevHost
