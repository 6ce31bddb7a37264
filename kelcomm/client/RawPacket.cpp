#include "kelcomm/client/RawPacket.h"

#include <algorithm>
#include <cstring>

namespace Kyr::Connectors::Common::Kelcomm {

CRawPacket::CAttachableBuffer::~CAttachableBuffer() {
    // The base class frees what it finds, by its own Free: the virtual one is out of reach there.
    if (attached_ != 0) {
        base_ = data_ = nullptr;
        capacity_ = size_ = 0;
    }
}

void CRawPacket::CAttachableBuffer::Attach(void* memory, std::uint32_t capacity,
                                           std::uint32_t size) {
    Free(base_);
    base_ = data_ = static_cast<std::uint8_t*>(memory);
    capacity_ = capacity;
    size_ = size;
    attached_ = 1;
}

void* CRawPacket::CAttachableBuffer::Reallocate(void* block, std::uint32_t size) {
    if (attached_ == 0) {
        return CBuffer::Reallocate(block, size);
    }
    // What grows past foreign memory moves out of it; the owner's bytes stay as they are.
    void* const own = Allocate(size);
    if (own != nullptr) {
        if (capacity_ != 0) {
            std::memcpy(own, block, std::min(size, capacity_));
        }
        attached_ = 0;
    }
    return own;
}

void CRawPacket::CAttachableBuffer::Free(void* block) {
    if (attached_ != 0) {
        attached_ = 0;  // the owner frees it
        return;
    }
    CBuffer::Free(block);
}

}  // namespace Kyr::Connectors::Common::Kelcomm
