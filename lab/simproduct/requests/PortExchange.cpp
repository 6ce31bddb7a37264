#include "lab/simproduct/requests/PortExchange.h"

namespace Kyr::Lab::SimProduct {

Bytes EncodeReply(const InnerReply& reply) {
    constexpr std::uint32_t kHeaderSize = 12;
    Bytes bytes;
    bytes.reserve(kHeaderSize + reply.payload.size());
    AppendU32(bytes, kHeaderSize);
    AppendU32(bytes, reply.status);
    AppendU32(bytes, static_cast<std::uint32_t>(reply.payload.size()));
    bytes.insert(bytes.end(), reply.payload.begin(), reply.payload.end());
    return bytes;
}

}  // namespace Kyr::Lab::SimProduct
