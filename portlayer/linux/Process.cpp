// Handles, the calling process, and the window messages that there are not.
#include <chrono>

#include "ntapi/Status.h"
#include "portlayer/ClassicFunctions.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/core/Handles.h"
#include "portlayer/packets/MessageHeader.h"

namespace Kyr::PortLayer {

// Every handle here is one of the layer's.
Bool KYR_NTAPI CloseHandle(Handle handle) {
    return Detail::RemoveHandle(handle) ? 1 : 0;
}

NtStatus KYR_NTAPI NtClose(Handle handle) {
    return Detail::RemoveHandle(handle) ? NtApi::kStatusSuccess : NtApi::kStatusInvalidHandle;
}

Handle KYR_NTAPI GetCurrentProcess() {
    // The system's pseudo handle.
    return reinterpret_cast<Handle>(~std::uintptr_t{0});
}

// The addresses of a 64-bit process do not fit the 32-bit structures.
bool Detail::LegacyPortsAreWide() {
    return sizeof(void*) == 8;
}

Bool KYR_NTAPI IsWow64Process(Handle process, Bool* isWow64) {
    if (process != GetCurrentProcess() || isWow64 == nullptr) {
        return 0;
    }
    *isWow64 = Detail::LegacyPortsAreWide() ? 1 : 0;
    return 1;
}

std::uint32_t KYR_NTAPI GetTickCount() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
}

Bool KYR_NTAPI PeekMessageW(WindowMessage*, Handle, std::uint32_t, std::uint32_t, std::uint32_t) {
    return 0;
}

Bool KYR_NTAPI TranslateMessage(const WindowMessage*) {
    return 0;
}

std::intptr_t KYR_NTAPI DispatchMessageW(const WindowMessage*) {
    return 0;
}

}  // namespace Kyr::PortLayer
