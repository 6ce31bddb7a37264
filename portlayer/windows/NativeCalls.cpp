// What Windows itself has: processes, handles, named mutexes and sections. Only names are the
// layer's.
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/core/Handles.h"
#include "portlayer/core/NamedFunctions.h"
#include "portlayer/packets/MessageHeader.h"
#include "portlayer/packets/PacketChannel.h"
#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer {

using namespace Detail;

// 32-bit processes of a 64-bit system build the 64-bit structures: legacy ports are not translated.
bool Detail::LegacyPortsAreWide() {
    BOOL isWow64 = FALSE;
    return sizeof(void*) == 8 ||
           (::IsWow64Process(::GetCurrentProcess(), &isWow64) != 0 && isWow64);
}

// Windows has them all: whoever looks one up finds it there.
GenericFunction Detail::FindClassicFunction(const char*) {
    return nullptr;
}

std::uint32_t Detail::CurrentThreadId() {
    return ::GetCurrentThreadId();
}

// Handles of ports are the layer's, all others the system's.
Bool KYR_NTAPI CloseHandle(Handle handle) {
    return RemoveHandle(handle) || ::CloseHandle(handle) != 0 ? 1 : 0;
}

NtStatus KYR_NTAPI NtClose(Handle handle) {
    return CloseHandle(handle) != 0 ? NtApi::kStatusSuccess : NtApi::kStatusInvalidHandle;
}

Handle KYR_NTAPI GetCurrentProcess() {
    return ::GetCurrentProcess();
}

Bool KYR_NTAPI IsWow64Process(Handle process, Bool* isWow64) {
    if (process != GetCurrentProcess() || isWow64 == nullptr) {
        return 0;
    }
    *isWow64 = LegacyPortsAreWide() ? 1 : 0;
    return 1;
}

std::uint32_t KYR_NTAPI WaitForSingleObject(Handle handle, std::uint32_t milliseconds) {
    return ::WaitForSingleObject(handle, milliseconds);
}

Handle KYR_NTAPI CreateMutexW(void* security, Bool initialOwner, const char16_t* name) {
    return ::CreateMutexW(static_cast<SECURITY_ATTRIBUTES*>(security), initialOwner,
                          ObjectNameOf(name).c_str());
}

Handle KYR_NTAPI OpenMutexW(std::uint32_t access, Bool inherit, const char16_t* name) {
    return ::OpenMutexW(access, inherit, ObjectNameOf(name).c_str());
}

Bool KYR_NTAPI ReleaseMutex(Handle mutex) {
    return ::ReleaseMutex(mutex);
}

Handle KYR_NTAPI CreateFileMappingW(Handle file, void* security, std::uint32_t protection,
                                    std::uint32_t sizeHigh, std::uint32_t sizeLow,
                                    const char16_t* name) {
    return ::CreateFileMappingW(file, static_cast<SECURITY_ATTRIBUTES*>(security), protection,
                                sizeHigh, sizeLow, ObjectNameOf(name).c_str());
}

Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, Bool inherit, const char16_t* name) {
    return ::OpenFileMappingW(access, inherit, ObjectNameOf(name).c_str());
}

void* KYR_NTAPI MapViewOfFile(Handle section, std::uint32_t access, std::uint32_t offsetHigh,
                              std::uint32_t offsetLow, std::size_t size) {
    return ::MapViewOfFile(section, access, offsetHigh, offsetLow, size);
}

Bool KYR_NTAPI UnmapViewOfFile(const void* view) {
    return ::UnmapViewOfFile(view);
}

}  // namespace Kyr::PortLayer
