// The calling process, counted strings, and the window messages that there are not.
#include <chrono>
#include <string>

#include "portlayer/ClientFunctions.h"

namespace Kyr::PortLayer {

void KYR_NTAPI RtlInitUnicodeString(UnicodeString* target, const char16_t* source) {
    // The longest counted string, in bytes, that leaves room for a terminator.
    constexpr std::size_t kLongest = 0xFFFC;
    std::size_t bytes = 0;
    if (source != nullptr) {
        bytes = std::char_traits<char16_t>::length(source) * sizeof(char16_t);
        bytes = bytes > kLongest ? kLongest : bytes;
    }
    target->Buffer = const_cast<char16_t*>(source);
    target->Length = static_cast<std::uint16_t>(bytes);
    target->MaximumLength =
        static_cast<std::uint16_t>(source != nullptr ? bytes + sizeof(char16_t) : 0);
}

Handle KYR_NTAPI GetCurrentProcess() {
    // The system's pseudo handle.
    return reinterpret_cast<Handle>(~std::uintptr_t{0});
}

Bool KYR_NTAPI IsWow64Process(Handle process, Bool* isWow64) {
    if (process != GetCurrentProcess() || isWow64 == nullptr) {
        return 0;
    }
    *isWow64 = sizeof(void*) == 8 ? 1 : 0;
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
