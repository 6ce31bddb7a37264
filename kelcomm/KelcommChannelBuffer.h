// A growing run of bytes with a read position: what the channel sends a request from and receives
// its reply in.
//
// Threads: a buffer belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kyr::Connectors::Common::Kelcomm {

class KelcommChannelBuffer {
  public:
    /// Room for an ordinary reply, by our own choice: what a buffer reserves, and the capacity that
    /// the channel offers first.
    static constexpr std::uint32_t kUsualSize = 0x10000;

    /// An empty buffer with kUsualSize bytes reserved.
    KelcommChannelBuffer();

    /// Behind what is held; the read position stays.
    void Append(const void* bytes, std::size_t length);
    /// New bytes are zero. The read position stays, even behind the new end: nothing remains then.
    void Resize(std::size_t length);
    /// Holds `length` zeros in place of what it held. When they need more room the old one is gone
    /// before: the buffer never takes more than one of the two sizes.
    void Renew(std::size_t length);
    /// Copies the next `length` bytes and moves the read position past them. Throws
    /// std::runtime_error "KelcommChannelBuffer: Buffer is not full enough" when fewer remain;
    /// nothing is moved then.
    void Read(void* destination, std::size_t length);
    /// Reads four bytes as a little-endian number; throws like Read.
    std::uint32_t ReadU32();

    /// A position behind the end is kept; nothing remains to be read then.
    void SetReadPosition(std::uint32_t position) { readPosition_ = position; }
    std::uint32_t GetReadPosition() const { return readPosition_; }
    std::size_t GetRemaining() const {
        return readPosition_ < bytes_.size() ? bytes_.size() - readPosition_ : 0;
    }
    std::size_t GetSize() const { return bytes_.size(); }
    bool IsEmpty() const { return bytes_.empty(); }
    unsigned char* GetData() { return bytes_.data(); }
    const unsigned char* GetData() const { return bytes_.data(); }
    const std::vector<unsigned char>& GetBytes() const { return bytes_; }
    /// Gives the bytes away; the buffer is empty afterwards.
    std::vector<unsigned char> TakeBytes();

  private:
    std::vector<unsigned char> bytes_;
    std::uint32_t readPosition_ = 0;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
