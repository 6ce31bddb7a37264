// Reads a reply: its header first, then the payload that the header announces.
//
// Every length from the product passes here and is compared with the bytes that are present. What
// does not fit throws std::runtime_error "KelcommChannelBuffer: Buffer is not full enough".
// Threads: a reader belongs to one thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kelcomm/KelcommChannelBuffer.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CReplyReader {
  public:
    /// Reads the header. Its size and status have been checked by the channel.
    explicit CReplyReader(const std::vector<unsigned char>& reply);

    /// The header's value: the number of payload bytes.
    std::uint32_t GetPayloadLength() const { return payloadLength_; }

    /// The whole payload. Bytes behind it are ignored.
    std::string ReadPayload();

    // For payloads with a fixed layout, which are bounded by the reply's end, not by the announced
    // length.

    std::uint32_t ReadU32() { return buffer_.ReadU32(); }
    /// Two bytes, little-endian.
    std::uint16_t ReadU16();
    bool HasRemaining(std::size_t length) const { return length <= buffer_.GetRemaining(); }
    /// `offset` counts from the payload's start; behind the reply's end nothing remains.
    void MoveTo(std::uint32_t offset);

  private:
    KelcommChannelBuffer buffer_;
    std::uint32_t payloadLength_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
