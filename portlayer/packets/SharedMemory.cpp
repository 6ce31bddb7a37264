#include "portlayer/packets/SharedMemory.h"

namespace Kyr::PortLayer::Detail {

CMapping& CMapping::operator=(CMapping&& other) noexcept {
    Unmap();
    base_ = std::exchange(other.base_, nullptr);
    size_ = std::exchange(other.size_, 0);
    return *this;
}

void CMapping::Unmap() {
    if (base_ != nullptr) {
        UnmapMemory(base_, size_);
    }
    base_ = nullptr;
    size_ = 0;
}

}  // namespace Kyr::PortLayer::Detail
