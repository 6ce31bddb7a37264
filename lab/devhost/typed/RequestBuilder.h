// Builds what the host asks of the module from the words of a command; tasks are TaskBuilder.h's.
//
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <boost/shared_ptr.hpp>

#include "lab/devhost/typed/CommandArguments.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Lab::DevHost {

/// From `kind=<number>`, of any kind, known or not.
boost::shared_ptr<Common::Message::Connectors::OvAgentConnector::COvAgentRequest> BuildTrigger(
    CCommandArguments& arguments);

}  // namespace Kyr::Lab::DevHost
