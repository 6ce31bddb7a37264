#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"

#include "kelcomm/messages/ReplyReader.h"
#include "kelcomm/messages/XmlPayload.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

void CGetEncryptionRecoveryDataResponse::Deserialize(const std::vector<unsigned char>& reply) {
    const auto tree = ParseXml(std::string(CReplyReader(reply).ReadPayload()));
    for (const auto& [name, element] : tree.get_child("TULK.MESSAGE.RESPONSE")) {
        if (name == "RECOVERY_PASSWORD") {
            recoveryData_.passwords.push_back({ReadAttribute(element, "UID"),
                                               ReadAttribute(element, "DEVICEID"),
                                               ReadAttribute(element, "INDEX")});
        } else if (name == "RECOVERY_DATA") {
            recoveryData_.items.push_back({ReadAttribute(element, "UID"),
                                           ReadAttribute(element, "DEVICEID"), element.data()});
        }
    }
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
