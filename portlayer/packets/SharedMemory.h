// Memory that both ends of a connection map: made by one end, mapped read-only by the other.
//
// What the memory is and how the other end gets hold of it is the back end's: a handle that goes
// along with a packet, or a name that the packet tells.
// Threads: any; an object is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "portlayer/core/SystemHandle.h"

namespace Kyr::PortLayer::Detail {

/// Defined by the back end.
void UnmapMemory(std::uint8_t* base, std::size_t size);

/// One mapping of shared memory.
class CMapping {
  public:
    CMapping() = default;
    CMapping(std::uint8_t* base, std::size_t size) : base_(base, {size}) {}

    void Unmap() { *this = {}; }
    /// Lets it stand for the rest of the process's life.
    void Leave() { static_cast<void>(base_.release()); }
    std::uint8_t* Base() const { return base_.get(); }
    std::size_t Size() const { return base_.get_deleter().size; }

  private:
    struct Unmapping {
        std::size_t size;
        void operator()(std::uint8_t* base) const { UnmapMemory(base, size); }
    };
    std::unique_ptr<std::uint8_t, Unmapping> base_;
};

/// Memory of this end that the peer does not have yet.
struct SharedMemory {
    CSystemHandle handle;    // keeps the memory within the peer's reach
    std::uint64_t name = 0;  // by which the peer finds it, where handles do not travel
};

/// New memory, mapped for writing. False when there is none left.
bool CreateSharedMemory(std::size_t size, SharedMemory& memory, CMapping& mapping);
/// Maps the peer's memory for reading. False when it is something else, is smaller, or could shrink
/// below `size` while it is read.
bool MapPeersMemory(const CSystemHandle& memory, std::size_t size, CMapping& mapping);

}  // namespace Kyr::PortLayer::Detail
