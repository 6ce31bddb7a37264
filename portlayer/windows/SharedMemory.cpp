// Shared memory as named sections: the packet tells the name, which only our own user may open.
#include "portlayer/packets/SharedMemory.h"

#include <atomic>

#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/Peer.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer::Detail {

namespace {

std::atomic<std::uint32_t> lastSection{0};

/// A section that nobody had under its name before us.
CSystemHandle CreateSection(std::size_t size, std::uint64_t& name) {
    SECURITY_ATTRIBUTES* const ownUser = OwnUserOnly();
    // Process ids are used again, and names are not taken back from a process that died while its
    // peer still holds a section. A name that is there already is left alone, as somebody maps it.
    while (ownUser != nullptr) {
        name = std::uint64_t{::GetCurrentProcessId()} << 32 | ++lastSection;
        CSystemHandle section =
            Own(::CreateFileMappingW(INVALID_HANDLE_VALUE, ownUser, PAGE_READWRITE, 0,
                                     static_cast<DWORD>(size), SectionName(name).c_str()));
        if (!section.IsOpen() || ::GetLastError() != ERROR_ALREADY_EXISTS) {
            return section;
        }
    }
    return {};
}

bool Map(const CSystemHandle& section, DWORD access, std::size_t size, CMapping& mapping) {
    mapping.Unmap();
    void* const base = ::MapViewOfFile(Native(section), access, 0, 0, size);
    if (base != nullptr) {
        mapping = CMapping(static_cast<std::uint8_t*>(base), size);
    }
    return base != nullptr;
}

}  // namespace

void CloseSystemHandle(std::intptr_t handle) {
    ::CloseHandle(reinterpret_cast<HANDLE>(handle));
}

void UnmapMemory(std::uint8_t* base, std::size_t) {
    ::UnmapViewOfFile(base);
}

bool CreateSharedMemory(std::size_t size, SharedMemory& memory, CMapping& mapping) {
    CSystemHandle section = CreateSection(size, memory.name);
    if (!section.IsOpen() || !Map(section, FILE_MAP_WRITE, size, mapping)) {
        return false;
    }
    memory.handle = std::move(section);
    return true;
}

// A section cannot shrink, and the system maps no more than there is.
bool MapPeersMemory(const CSystemHandle& memory, std::size_t size, CMapping& mapping) {
    return Map(memory, FILE_MAP_READ, size, mapping);
}

}  // namespace Kyr::PortLayer::Detail
