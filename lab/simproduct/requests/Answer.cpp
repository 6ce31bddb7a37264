#include "lab/simproduct/requests/Answer.h"

namespace Kyr::Lab::SimProduct {

InnerReply ErrorReply(std::uint32_t status) {
    InnerReply reply;
    reply.status = status;
    return reply;
}

Bytes EncodeReply(const InnerReply& reply) {
    Bytes bytes;
    bytes.reserve(12 + reply.payload.size());
    AppendU32(bytes, reply.headerSize);
    AppendU32(bytes, reply.status);
    AppendU32(bytes, reply.value.value_or(static_cast<std::uint32_t>(reply.payload.size())));
    bytes.insert(bytes.end(), reply.payload.begin(), reply.payload.end());
    return bytes;
}

}  // namespace Kyr::Lab::SimProduct
