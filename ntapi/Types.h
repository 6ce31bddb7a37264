// The types of the native port API, in fixed widths, for code that must also build where the
// system's own headers do not exist.
//
// Structures that a caller hands to a native function hold pointers and follow the pointer width of
// the process, as the system's own declarations do. Structures that cross a port as bytes stand in
// PortMessage.h.
#pragma once

#include <cstddef>
#include <cstdint>

// The calling convention of native functions.
#if defined(_WIN32) && !defined(_WIN64)
#define KYR_NTAPI __stdcall
#else
#define KYR_NTAPI
#endif

namespace Kyr::NtApi {

/// A native status: negative values are errors and warnings, the others successes.
using NtStatus = std::int32_t;

/// A handle of a kernel object; null means none for ports and sections.
using Handle = void*;

/// A truth value of the classic API: 0 is false.
using Bool = std::int32_t;

/// A counted wide string; lengths in bytes, without a terminator.
struct UnicodeString {
    std::uint16_t Length;
    std::uint16_t MaximumLength;
    char16_t* Buffer;
};

/// Name and attributes of an object to create or open.
struct ObjectAttributes {
    std::uint32_t Length;
    Handle RootDirectory;
    UnicodeString* ObjectName;
    std::uint32_t Attributes;
    void* SecurityDescriptor;
    void* SecurityQualityOfService;
};

/// How much of its identity a client lends to the server.
struct SecurityQualityOfService {
    std::uint32_t Length;
    std::uint32_t ImpersonationLevel;
    std::uint8_t ContextTrackingMode;
    std::uint8_t EffectiveOnly;
    std::uint8_t Padding[2];
};
static_assert(sizeof(SecurityQualityOfService) == 12, "fixed by the operating system");

constexpr std::uint32_t kSecurityIdentification = 1;
constexpr std::uint32_t kSecurityImpersonation = 2;
constexpr std::uint8_t kSecurityDynamicTracking = 1;

}  // namespace Kyr::NtApi
