#include "kelcomm/messages/ReplyReader.h"

#include <algorithm>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

constexpr std::uint32_t kHeaderSize = 12;

}  // namespace

CReplyReader::CReplyReader(const std::vector<unsigned char>& reply) {
    buffer_.Append(reply.data(), reply.size());
    buffer_.ReadU32();  // the header's size
    buffer_.ReadU32();  // the status
    payloadLength_ = buffer_.ReadU32();
}

std::string CReplyReader::ReadPayload() {
    return buffer_.ReadText(payloadLength_);
}

std::uint16_t CReplyReader::ReadU16() {
    unsigned char bytes[2];
    buffer_.Read(bytes, sizeof bytes);
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

void CReplyReader::MoveTo(std::uint32_t offset) {
    // In 64 bits: an offset near 2^32 must not come round to the header.
    const std::uint64_t position = std::uint64_t{kHeaderSize} + offset;
    buffer_.SetReadPosition(
        static_cast<std::uint32_t>(std::min<std::uint64_t>(position, buffer_.GetSize())));
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
