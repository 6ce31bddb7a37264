#include "lab/devhost/typed/RequestBuilder.h"

#include <stdexcept>

#include <boost/make_shared.hpp>

namespace Kyr::Lab::DevHost {

boost::shared_ptr<Common::Message::Connectors::OvAgentConnector::COvAgentRequest> BuildTrigger(
    CCommandArguments& arguments) {
    const auto kind = arguments.TakeInt32("kind");
    if (!kind) {
        throw std::invalid_argument("kind is missing");
    }
    arguments.Finish();
    auto trigger =
        boost::make_shared<Common::Message::Connectors::OvAgentConnector::COvAgentRequest>();
    trigger->SetRequestType(*kind);
    trigger->SetReadOnly();
    return trigger;
}

}  // namespace Kyr::Lab::DevHost
