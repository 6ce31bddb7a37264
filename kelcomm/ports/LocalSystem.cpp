#include "kelcomm/ports/LocalSystem.h"

#include <cstring>

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

// The operating system's constants.
constexpr std::uint32_t kTokenQuery = 8;
constexpr std::uint32_t kTokenUser = 1;
constexpr std::uint8_t kNtAuthority[6] = {0, 0, 0, 0, 0, 5};
constexpr std::uint32_t kLocalSystemRid = 18;
/// Holds the 32-bit form of the answer with the longest identifier there is.
constexpr std::uint32_t kTokenUserSize = 76;

bool IsLocalSystem(const Native::CNativeFunctions& native, void* user) {
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

bool RunsAsLocalSystem(const Native::CNativeFunctions& native) {
    NtApi::Handle token = nullptr;
    if (native.OpenProcessToken(native.GetCurrentProcess(), kTokenQuery, &token) == 0) {
        return false;
    }
    alignas(void*) std::uint8_t buffer[kTokenUserSize];
    std::uint32_t size = 0;
    bool result = false;
    if (native.GetTokenInformation(token, kTokenUser, buffer, kTokenUserSize, &size) != 0) {
        // The answer begins with a pointer to the identifier, which follows in the same buffer.
        void* user = nullptr;
        std::memcpy(&user, buffer, sizeof(user));
        result = IsLocalSystem(native, user);
    }
    native.CloseHandle(token);
    return result;
}

}  // namespace Kyr::Connectors::Common::Kelcomm
