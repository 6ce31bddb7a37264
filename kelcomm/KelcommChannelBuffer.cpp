#include "kelcomm/KelcommChannelBuffer.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

// The size of an ordinary reply; also the capacity that the channel offers first.
constexpr std::size_t kReservedBytes = 65536;

}  // namespace

KelcommChannelBuffer::KelcommChannelBuffer() {
    bytes_.reserve(kReservedBytes);
}

void KelcommChannelBuffer::Append(const void* bytes, std::size_t length) {
    const auto* first = static_cast<const unsigned char*>(bytes);
    bytes_.insert(bytes_.end(), first, first + length);
}

void KelcommChannelBuffer::AppendU32(std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes_.push_back(static_cast<unsigned char>(value >> shift));
    }
}

void KelcommChannelBuffer::Resize(std::size_t length) {
    bytes_.resize(length);
}

void KelcommChannelBuffer::Read(void* destination, std::size_t length) {
    Require(length);
    std::copy_n(bytes_.begin() + readPosition_, length, static_cast<unsigned char*>(destination));
    readPosition_ += static_cast<std::uint32_t>(length);
}

std::uint32_t KelcommChannelBuffer::ReadU32() {
    unsigned char bytes[4];
    Read(bytes, sizeof bytes);
    return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

std::string KelcommChannelBuffer::ReadText(std::size_t length) {
    Require(length);  // before anything of that length is allocated
    std::string text(length, '\0');
    Read(text.data(), length);
    return text;
}

std::vector<unsigned char> KelcommChannelBuffer::TakeBytes() {
    readPosition_ = 0;
    return std::exchange(bytes_, {});
}

void KelcommChannelBuffer::Require(std::size_t length) const {
    if (length > GetRemaining()) {
        throw std::runtime_error("KelcommChannelBuffer: Buffer is not full enough");
    }
}

}  // namespace Kyr::Connectors::Common::Kelcomm
