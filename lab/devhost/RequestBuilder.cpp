#include "lab/devhost/RequestBuilder.h"

#include <limits>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::DevHost {

namespace {

/// The mandatory number of `name=<number>`.
std::int32_t TakeNumber(CCommandArguments& arguments, const std::string& name) {
    const auto text = arguments.TakeValue(name);
    if (!text) {
        throw std::invalid_argument(name + " is missing");
    }
    const std::uint64_t number = ParseNumber(*text);
    if (number > std::numeric_limits<std::int32_t>::max()) {
        throw std::invalid_argument(name + " is too large");
    }
    return static_cast<std::int32_t>(number);
}

}  // namespace

boost::shared_ptr<Common::Message::Connectors::OvAgentConnector::COvAgentRequest> BuildTrigger(
    CCommandArguments& arguments) {
    const std::int32_t kind = TakeNumber(arguments, "kind");
    arguments.Finish();
    const auto trigger =
        boost::make_shared<Common::Message::Connectors::OvAgentConnector::COvAgentRequest>();
    trigger->SetRequestType(kind);
    trigger->SetReadOnly();
    return trigger;
}

}  // namespace Kyr::Lab::DevHost
