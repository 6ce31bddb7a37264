#include "portlayer/linux/SharedPool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace Kyr::PortLayer::Detail {

namespace {

std::uint64_t Bit(std::uint32_t slot) {
    return std::uint64_t{1} << slot;
}

std::size_t SlotSizeFor(std::size_t size) {
    std::size_t slotSize = kSmallestSlot;
    while (slotSize < size) {
        slotSize *= 2;
    }
    return slotSize;
}

}  // namespace

CMapping& CMapping::operator=(CMapping&& other) noexcept {
    Unmap();
    base_ = std::exchange(other.base_, nullptr);
    size_ = std::exchange(other.size_, 0);
    return *this;
}

bool CMapping::Map(int descriptor, std::size_t size, int protection) {
    Unmap();
    void* const base = ::mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
    if (base == MAP_FAILED) {
        return false;
    }
    base_ = static_cast<std::uint8_t*>(base);
    size_ = size;
    return true;
}

void CMapping::Unmap() {
    if (base_ != nullptr) {
        ::munmap(base_, size_);
    }
    base_ = nullptr;
    size_ = 0;
}

bool CSendPool::Acquire(std::size_t size, CSendArea& area) {
    if (size > kLargestSlot) {
        return false;
    }
    if (size > kLargestSlot) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    // The first free slot that is large enough, else the first free one at all, made anew. Always
    // taking the first keeps a connection with one request at a time on one slot.
    Slot* chosen = nullptr;
    for (Slot& slot : slots_) {
        if (slot.heldHere || slot.heldByPeer) {
            continue;
        }
        if (slot.mapping.Size() >= size && slot.mapping.Base() != nullptr) {
            chosen = &slot;
            break;
        }
        if (chosen == nullptr) {
            chosen = &slot;
        }
    }
    if (chosen == nullptr) {
        return false;
    }
    if ((chosen->mapping.Base() == nullptr || chosen->mapping.Size() < size) &&
        !Renew(*chosen, SlotSizeFor(size))) {
        return false;
    }
    chosen->heldHere = true;
    area = {static_cast<std::uint32_t>(chosen - slots_.data()), chosen->mapping.Base(),
            chosen->mapping.Size()};
    return true;
}

bool CSendPool::IsLent(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return slots_[index].heldByPeer;
}

bool CSendPool::Renew(Slot& slot, std::size_t size) {
    slot.mapping.Unmap();
    slot.memory.Reset(::memfd_create("portlayer", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!slot.memory.IsOpen() || ::ftruncate(slot.memory.Get(), static_cast<off_t>(size)) != 0 ||
        !slot.mapping.Map(slot.memory.Get(), size, PROT_READ | PROT_WRITE)) {
        slot.memory.Reset();
        return false;
    }
    // The receiver insists on the first seal; the others keep the memory ours to write.
    ::fcntl(slot.memory.Get(), F_ADD_SEALS,
            F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL);
    return true;
}

CSlotReference CSendPool::Lend(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    slot.heldByPeer = true;
    CSlotReference reference;
    reference.slot = index;
    if (slot.memory.IsOpen()) {
        reference.slotSize = slot.mapping.Size();
        reference.descriptor = slot.memory.Get();
    }
    return reference;
}

void CSendPool::Sent(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // A slot that the peer does not keep goes along again when its holder sends it again.
    if (slots_[index].mapping.Size() <= kLargestKeptSlot) {
        slots_[index].memory.Reset();
    }
}

void CSendPool::NotSent(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    slots_[index].heldByPeer = false;
}

void CSendPool::Release(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    slots_[index].heldHere = false;
    DropIfLarge(slots_[index]);
}

void CSendPool::TakeBack(std::uint64_t slots) {
    if (slots == 0) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    for (std::uint32_t i = 0; i < kMaxSlots; ++i) {
        if ((slots & Bit(i)) != 0 && slots_[i].heldByPeer) {
            slots_[i].heldByPeer = false;
            DropIfLarge(slots_[i]);
        }
    }
}

void CSendPool::DropIfLarge(Slot& slot) {
    if (!slot.heldHere && !slot.heldByPeer && slot.mapping.Size() > kLargestKeptSlot) {
        slot.mapping.Unmap();
        slot.memory.Reset();
    }
}

bool CReceivePool::Announce(std::uint32_t index, std::uint64_t size,
                            const CFileDescriptor& memory) {
    if (index >= kMaxSlots || size == 0 || size > kLargestSlot) {
        return false;
    }
    struct stat info = {};
    const int seals = ::fcntl(memory.Get(), F_GET_SEALS);
    if (seals < 0 || (seals & F_SEAL_SHRINK) == 0 || ::fstat(memory.Get(), &info) != 0 ||
        static_cast<std::uint64_t>(info.st_size) < size) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    return !slot.held && slot.mapping.Map(memory.Get(), size, PROT_READ);
}

const std::uint8_t* CReceivePool::Hold(std::uint32_t index, std::uint64_t size) {
    if (index >= kMaxSlots) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    if (slot.held || slot.mapping.Base() == nullptr || size > slot.mapping.Size()) {
        return nullptr;
    }
    slot.held = true;
    return slot.mapping.Base();
}

void CReceivePool::Free(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    slot.held = false;
    freed_ |= Bit(index);
    if (slot.mapping.Size() > kLargestKeptSlot) {
        slot.mapping.Unmap();
    }
}

std::uint64_t CReceivePool::TakeFreed() {
    return freed_.load(std::memory_order_relaxed) == 0 ? 0 : freed_.exchange(0);
}

void CReceivePool::PutBack(std::uint64_t slots) {
    freed_ |= slots;
}

}  // namespace Kyr::PortLayer::Detail
