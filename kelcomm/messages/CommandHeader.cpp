#include "kelcomm/messages/CommandHeader.h"

#include "base/LittleEndian.h"
#include "kelcomm/client/PayloadHeader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

constexpr std::uint32_t kMarker = 0x01000600;  // the protocol's; the product checks it

}  // namespace

std::vector<unsigned char> MakeRequest(Command command, std::string_view body) {
    std::vector<unsigned char> request;
    request.reserve(kPayloadHeaderSize + body.size());
    request.resize(kPayloadHeaderSize);
    Base::StoreLittleEndian(request.data(), kPayloadHeaderSize);
    Base::StoreLittleEndian(request.data() + 4, kMarker);
    Base::StoreLittleEndian(request.data() + 8, static_cast<std::uint32_t>(command));
    request.insert(request.end(), body.begin(), body.end());
    return request;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
