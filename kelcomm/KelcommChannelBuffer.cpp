#include "kelcomm/KelcommChannelBuffer.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/LittleEndian.h"

namespace Kyr::Connectors::Common::Kelcomm {

KelcommChannelBuffer::KelcommChannelBuffer() {
    bytes_.reserve(kUsualSize);
}

void KelcommChannelBuffer::Append(const void* bytes, std::size_t length) {
    const auto* first = static_cast<const unsigned char*>(bytes);
    bytes_.insert(bytes_.end(), first, first + length);
}

void KelcommChannelBuffer::Resize(std::size_t length) {
    bytes_.resize(length);
}

void KelcommChannelBuffer::Renew(std::size_t length) {
    bytes_.clear();
    if (length > bytes_.capacity()) {
        std::vector<unsigned char>().swap(bytes_);
    }
    bytes_.resize(length);
}

void KelcommChannelBuffer::Read(void* destination, std::size_t length) {
    if (length > GetRemaining()) {
        throw std::runtime_error("KelcommChannelBuffer: Buffer is not full enough");
    }
    std::copy_n(bytes_.begin() + readPosition_, length, static_cast<unsigned char*>(destination));
    readPosition_ += static_cast<std::uint32_t>(length);
}

std::uint32_t KelcommChannelBuffer::ReadU32() {
    unsigned char bytes[4];
    Read(bytes, sizeof bytes);
    return Base::LoadLittleEndian<std::uint32_t>(bytes);
}

std::vector<unsigned char> KelcommChannelBuffer::TakeBytes() {
    readPosition_ = 0;
    return std::exchange(bytes_, {});
}

}  // namespace Kyr::Connectors::Common::Kelcomm
