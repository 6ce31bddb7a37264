// What those tasks share by which the server has the Ov agent do something: each sends one XML
// request.
//
// Threads: the task thread.
#pragma once

#include <string>

#include "connector/ILogger.h"
#include "connector/channel/IChannel.h"
#include "connector/tasks/CountedRetry.h"
#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/XmlRequest.h"

namespace Kyr::Connectors::OvAgentConnector {

/// The nodes of those hashes that `payload` has; an empty hash counts as one.
template <typename Payload>
void AddHashNodes(Common::Kelcomm::Messages::CXmlRequest& request, const Payload& payload) {
    if (payload.has_executable_hash_sha1()) {
        request.StringNode("HASH_SHA1", payload.executable_hash_sha1());
    }
    if (payload.has_executable_hash_sha2_256()) {
        request.StringNode("HASH_SHA2_256", payload.executable_hash_sha2_256());
    }
}

/// Carries out `message` as `TaskMessage`: logs `announcement`, builds the text of the request with
/// `build`, logs it and sends it. No receiver is installed: nobody reads the reply. A message of
/// another class is ignored; any other failure throws a counted CRetryException.
template <typename TaskMessage, typename Build>
void SendActionRequest(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message,
                       const char* announcement, Common::IChannel& channel, Common::ILogger& logger,
                       Build&& build) {
    Common::WithCountedRetry([&] {
        const auto task = boost::dynamic_pointer_cast<TaskMessage>(message);
        if (!task) {
            return;
        }
        logger.GetLog(2) << announcement;
        const std::string text = build(*task);
        logger.GetLog(2) << "XML request: " << text;
        channel.Send(
            Common::Kelcomm::Messages::MakeRequest(Common::Kelcomm::Messages::Command::Xml, text));
    });
}

}  // namespace Kyr::Connectors::OvAgentConnector
