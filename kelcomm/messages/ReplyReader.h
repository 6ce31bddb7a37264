// Reads a reply: its header first, then the payload that the header announces. Copies nothing: a
// reply may be as large as the channel lets it be.
//
// Every length from the product passes here and is compared with the bytes that are present. What
// does not fit throws std::runtime_error "KelcommChannelBuffer: Buffer is not full enough".
// Threads: a reader belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CReplyReader {
  public:
    /// Reads the header. Its size and status have been checked by the channel.
    /// `reply` must outlive the reader and the payload that it returns.
    explicit CReplyReader(const std::vector<unsigned char>& reply);
    explicit CReplyReader(std::vector<unsigned char>&&) = delete;

    /// The header's value: the number of payload bytes.
    std::uint32_t GetPayloadLength() const { return payloadLength_; }

    /// The whole payload. Bytes behind it are ignored.
    std::string_view ReadPayload();

    // For payloads with a fixed layout, which are bounded by the reply's end, not by the announced
    // length.

    std::uint32_t ReadU32();
    /// Two bytes, little-endian.
    std::uint16_t ReadU16();
    bool HasRemaining(std::size_t length) const { return length <= reply_.size() - position_; }
    /// `offset` counts from the payload's start; behind the reply's end nothing remains.
    void MoveTo(std::uint32_t offset);

  private:
    /// The next `length` bytes; moves behind them.
    const unsigned char* Take(std::size_t length);

    const std::vector<unsigned char>& reply_;
    std::size_t position_ = 0;  // at most the reply's size
    const std::uint32_t payloadLength_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
