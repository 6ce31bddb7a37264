#include "kelcomm/messages/ImportConfigurationRequest.h"

#include <utility>

#include "kelcomm/messages/CommandHeader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

CImportConfigurationRequest::CImportConfigurationRequest(std::string configuration)
    : configuration_(std::move(configuration)) {}

std::vector<unsigned char> CImportConfigurationRequest::Serialize() const {
    return MakeRequest(Command::ImportConfiguration, configuration_);
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
