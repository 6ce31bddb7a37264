#include "kelcomm/messages/CommandHeader.h"

#include "kelcomm/KelcommChannelBuffer.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

constexpr std::uint32_t kHeaderSize = 12;
constexpr std::uint32_t kMarker = 0x01000600;  // the protocol's; the product checks it

}  // namespace

std::vector<unsigned char> MakeRequest(Command command, const std::string& body) {
    KelcommChannelBuffer request;
    request.AppendU32(kHeaderSize);
    request.AppendU32(kMarker);
    request.AppendU32(static_cast<std::uint32_t>(command));
    request.Append(body.data(), body.size());
    return request.TakeBytes();
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
