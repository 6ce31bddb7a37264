// Shared memory as sealed memory files, whose descriptors go along with packets.
#include "portlayer/packets/SharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "portlayer/linux/MapFile.h"

namespace Kyr::PortLayer::Detail {

void CloseSystemHandle(std::intptr_t handle) {
    ::close(static_cast<int>(handle));
}

void UnmapMemory(std::uint8_t* base, std::size_t size) {
    ::munmap(base, size);
}

bool MapFile(int file, std::size_t size, int protection, CMapping& mapping) {
    mapping.Unmap();
    void* const base = ::mmap(nullptr, size, protection, MAP_SHARED, file, 0);
    if (base == MAP_FAILED) {
        return false;
    }
    mapping = CMapping(static_cast<std::uint8_t*>(base), size);
    return true;
}

void RemapFile(int file, int protection, const CMapping& mapping) {
    // Made elsewhere, and moved in one step: whoever reads there meanwhile meets the one file or
    // the other, and the old one where there is no room for the new.
    void* const fresh = ::mmap(nullptr, mapping.Size(), protection, MAP_SHARED, file, 0);
    if (fresh != MAP_FAILED &&
        ::mremap(fresh, mapping.Size(), mapping.Size(), MREMAP_MAYMOVE | MREMAP_FIXED,
                 mapping.Base()) == MAP_FAILED) {
        ::munmap(fresh, mapping.Size());
    }
}

bool CreateSharedMemory(std::size_t size, SharedMemory& memory, CMapping& mapping) {
    CSystemHandle created(::memfd_create("portlayer", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const int file = static_cast<int>(created.Get());
    if (!created.IsOpen() || ::ftruncate(file, static_cast<off_t>(size)) != 0 ||
        !MapFile(file, size, PROT_READ | PROT_WRITE, mapping)) {
        return false;
    }
    // The receiver insists on the first seal; the others keep the memory ours to write.
    ::fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL);
    memory.handle = std::move(created);
    return true;
}

bool MapPeersMemory(const CSystemHandle& memory, std::size_t size, CMapping& mapping) {
    const int file = static_cast<int>(memory.Get());
    struct stat info = {};
    const int seals = ::fcntl(file, F_GET_SEALS);
    if (seals < 0 || (seals & F_SEAL_SHRINK) == 0 || ::fstat(file, &info) != 0 ||
        static_cast<std::uint64_t>(info.st_size) < size) {
        return false;
    }
    return MapFile(file, size, PROT_READ, mapping);
}

}  // namespace Kyr::PortLayer::Detail
