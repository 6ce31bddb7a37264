#include "kelcomm/ports/LocalSystem.h"

#include <cstring>

#include "kelcomm/native/Handle.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

// The operating system's constants.
constexpr std::uint32_t kTokenQuery = 8;
constexpr std::uint32_t kTokenUser = 1;
constexpr std::uint8_t kNtAuthority[6] = {0, 0, 0, 0, 0, 5};
constexpr std::uint32_t kLocalSystemRid = 18;
/// Holds the 32-bit form of the answer with the longest identifier there is.
constexpr std::uint32_t kTokenUserSize = 76;

bool IsLocalSystem(const Native::NativeFunctions& native, void* user) {
    void* localSystem = nullptr;
    if (native.AllocateAndInitializeSid(kNtAuthority, 1, kLocalSystemRid, 0, 0, 0, 0, 0, 0, 0,
                                        &localSystem) == 0) {
        return false;
    }
    const bool equal = native.EqualSid(user, localSystem) != 0;
    native.FreeSid(localSystem);
    return equal;
}

}  // namespace

bool RunsAsLocalSystem(const Native::NativeFunctions& native) {
    NtApi::Handle opened = nullptr;
    if (native.OpenProcessToken(native.GetCurrentProcess(), kTokenQuery, &opened) == 0) {
        return false;
    }
    const Native::CHandle token(native, opened);
    alignas(void*) std::uint8_t buffer[kTokenUserSize];
    std::uint32_t size = 0;
    if (native.GetTokenInformation(token.Get(), kTokenUser, buffer, kTokenUserSize, &size) == 0) {
        return false;
    }
    // The answer begins with a pointer to the identifier, which follows in the same buffer.
    void* user = nullptr;
    std::memcpy(&user, buffer, sizeof(user));
    return IsLocalSystem(native, user);
}

}  // namespace Kyr::Connectors::Common::Kelcomm
