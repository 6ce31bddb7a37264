#include "kelcomm/messages/ExportConfiguration.h"

#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/ReplyReader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

std::vector<unsigned char> CExportConfigurationRequest::Serialize() const {
    return MakeRequest(Command::ExportConfiguration);
}

void CExportConfigurationResponse::Deserialize(const std::vector<unsigned char>& reply) {
    configuration_ = CReplyReader(reply).ReadPayload();
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
