#include "kelcomm/messages/ReplyReader.h"

#include <algorithm>
#include <stdexcept>

#include "base/LittleEndian.h"
#include "kelcomm/client/PayloadHeader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

constexpr std::size_t kValue = 8;  // in the header, behind its size and the status

}  // namespace

// Take needs the position, which the order of the members sets before the length.
CReplyReader::CReplyReader(const std::vector<unsigned char>& reply)
    : reply_(reply),
      payloadLength_(Base::LoadLittleEndian<std::uint32_t>(Take(kPayloadHeaderSize) + kValue)) {}

std::string_view CReplyReader::ReadPayload() {
    // The announced length is the product's word; Take compares it with what came.
    return {reinterpret_cast<const char*>(Take(payloadLength_)), payloadLength_};
}

std::uint32_t CReplyReader::ReadU32() {
    return Base::LoadLittleEndian<std::uint32_t>(Take(sizeof(std::uint32_t)));
}

std::uint16_t CReplyReader::ReadU16() {
    return Base::LoadLittleEndian<std::uint16_t>(Take(sizeof(std::uint16_t)));
}

void CReplyReader::MoveTo(std::uint32_t offset) {
    // In 64 bits: an offset near 2^32 must not come round to the header.
    const std::uint64_t position = std::uint64_t{kPayloadHeaderSize} + offset;
    position_ = static_cast<std::size_t>(std::min<std::uint64_t>(position, reply_.size()));
}

const unsigned char* CReplyReader::Take(std::size_t length) {
    if (!HasRemaining(length)) {
        // The text of the buffer that replies come in: to a reader of the log it is one failure.
        throw std::runtime_error("KelcommChannelBuffer: Buffer is not full enough");
    }
    const unsigned char* const taken = reply_.data() + position_;
    position_ += length;
    return taken;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
