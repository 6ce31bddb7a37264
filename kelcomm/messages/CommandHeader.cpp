#include "kelcomm/messages/CommandHeader.h"

#include "base/LittleEndian.h"
#include "kelcomm/client/PayloadHeader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

std::vector<unsigned char> MakeRequest(Command command, std::string_view body) {
    std::vector<unsigned char> request;
    request.reserve(kPayloadHeaderSize + body.size());
    request.resize(kPayloadHeaderSize);
    Base::StoreLittleEndian(request.data(), kPayloadHeaderSize);
    Base::StoreLittleEndian(request.data() + 4, kRequestMarker);
    Base::StoreLittleEndian(request.data() + 8, static_cast<std::uint32_t>(command));
    request.insert(request.end(), body.begin(), body.end());
    return request;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
