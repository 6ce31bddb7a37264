#include "kelcomm/messages/CommandHeader.h"

#include "base/LittleEndian.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

constexpr std::uint32_t kHeaderSize = 12;
constexpr std::uint32_t kMarker = 0x01000600;  // the protocol's; the product checks it

}  // namespace

std::vector<unsigned char> MakeRequest(Command command, std::string_view body) {
    std::vector<unsigned char> request;
    request.reserve(kHeaderSize + body.size());
    request.resize(kHeaderSize);
    Base::StoreLittleEndian(request.data(), kHeaderSize);
    Base::StoreLittleEndian(request.data() + 4, kMarker);
    Base::StoreLittleEndian(request.data() + 8, static_cast<std::uint32_t>(command));
    request.insert(request.end(), body.begin(), body.end());
    return request;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
