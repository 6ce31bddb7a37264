#include "kelcomm/client/Buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/LittleEndian.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

constexpr std::uint64_t kLargestSize = 0xFFFFFFFF;
constexpr std::uint64_t kGrowthUnit = 4096;                    // our own choice: a page
constexpr std::uint32_t kLargestGrowingCapacity = 0x7FFFFFFF;  // fixed by the clients' contract
constexpr std::uint32_t kRecordHeaderSize = 8;

// The capacity to grow to when `needed` bytes no longer fit. Counted in 64 bits: both steps can
// pass the end of 32.
std::uint32_t GrownCapacity(std::uint32_t capacity, std::uint32_t needed) {
    const std::uint64_t wanted =
        std::max<std::uint64_t>(std::uint64_t{capacity} + capacity / 2, needed);
    const std::uint64_t rounded = (wanted + kGrowthUnit - 1) / kGrowthUnit * kGrowthUnit;
    return rounded > kLargestSize ? needed : static_cast<std::uint32_t>(rounded);
}

}  // namespace

CBuffer::~CBuffer() {
    CBuffer::Free(base_);
}

void* CBuffer::Reallocate(void* block, std::uint32_t size) {
    return std::realloc(block, size);
}

void* CBuffer::Allocate(std::uint32_t size) {
    return std::malloc(size);
}

void CBuffer::Free(void* block) {
    std::free(block);
}

void CBuffer::Compact() {
    if (data_ != base_) {
        std::memmove(base_, data_, size_);
        data_ = base_;
    }
}

std::uint8_t* CBuffer::Reserve(std::uint32_t length) {
    if (length == 0) {
        return data_;
    }
    // First, since consumed room is room: a buffer that is filled and emptied in turn need not
    // grow.
    Compact();
    const std::uint64_t needed = std::uint64_t{size_} + length;
    if (needed > kLargestSize) {
        return nullptr;
    }
    if (needed > capacity_) {
        const std::uint32_t capacity = GrownCapacity(capacity_, static_cast<std::uint32_t>(needed));
        auto* block = static_cast<std::uint8_t*>(Reallocate(base_, capacity));
        if (block == nullptr) {
            return nullptr;
        }
        base_ = data_ = block;
        capacity_ = capacity;
    }
    return base_ + size_;
}

std::uint32_t CBuffer::Append(const void* bytes, std::uint32_t length) {
    if (length == 0) {
        return size_;
    }
    std::uint8_t* const target = Reserve(length);
    if (target == nullptr ||
        std::uint64_t{DataOffset()} + size_ + length > std::uint64_t{capacity_}) {
        return kNoOffset;
    }
    std::memcpy(target, bytes, length);
    const std::uint32_t offset = size_;
    size_ += length;
    return offset;
}

bool CBuffer::AppendRecord(std::uint32_t tag, const void* bytes, std::uint32_t length) {
    std::uint8_t header[kRecordHeaderSize];
    Base::StoreLittleEndian(header, tag);
    Base::StoreLittleEndian(header + 4, length);
    const std::uint32_t start = Append(header, kRecordHeaderSize);
    if (start == kNoOffset) {
        return false;
    }
    if (Append(bytes, length) == kNoOffset) {
        size_ = start;  // a reader must never meet a header without its value
        return false;
    }
    return true;
}

bool CBuffer::GrowByHalf() {
    if (capacity_ >= kLargestGrowingCapacity) {
        return false;
    }
    const std::uint64_t wanted = std::max<std::uint64_t>(std::uint64_t{capacity_} + capacity_ / 2,
                                                         std::uint64_t{capacity_} + 1);
    const auto capacity =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, kLargestGrowingCapacity));
    // A new block, not a moved one: what is consumed stays behind, and memory that is only attached
    // cannot be moved.
    auto* block = static_cast<std::uint8_t*>(Allocate(capacity));
    if (block == nullptr) {
        return false;
    }
    if (size_ != 0) {
        std::memcpy(block, data_, size_);
    }
    Free(base_);
    base_ = data_ = block;
    capacity_ = capacity;
    return true;
}

bool CBuffer::AppendGrowing(const void* bytes, std::uint32_t length) {
    const auto* source = static_cast<const std::uint8_t*>(bytes);
    const std::uint32_t before = size_;
    while (length != 0) {
        // Unlike Reserve it does not compact: consumed room comes back with the next growth.
        const std::uint32_t room = capacity_ - DataOffset() - size_;
        if (room == 0) {
            if (!GrowByHalf()) {
                size_ = before;
                return false;
            }
            continue;
        }
        const std::uint32_t part = std::min(room, length);
        std::memcpy(data_ + size_, source, part);
        size_ += part;
        source += part;
        length -= part;
    }
    return true;
}

void CBuffer::Consume(std::uint32_t length) {
    data_ += length;
    size_ -= length;
}

}  // namespace Kyr::Connectors::Common::Kelcomm
