// Structures and flags that a caller hands to the functions of advanced ports. They hold pointers
// and follow the pointer width of the process.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ntapi/Types.h"

namespace Kyr::NtApi {

/// What a connection is opened with: how far the server may act for the client, and the limits of
/// messages and sections.
struct AlpcPortAttributes {
    std::uint32_t Flags;
    SecurityQualityOfService SecurityQos;
    std::size_t MaxMessageLength;
    std::size_t MemoryBandwidth;
    std::size_t MaxPoolUsage;
    std::size_t MaxSectionSize;
    std::size_t MaxViewSize;
    std::size_t MaxTotalSectionSize;
    std::uint32_t DupObjectTypes;
#if SIZE_MAX > 0xFFFFFFFF
    std::uint32_t Reserved;
#endif
};
static_assert(sizeof(AlpcPortAttributes) == (sizeof(void*) == 4 ? 44 : 72), "fixed by the system");

/// Head of an attribute buffer. The bodies of the allocated attributes follow, highest bit first.
struct AlpcMessageAttributes {
    std::uint32_t AllocatedAttributes;
    std::uint32_t ValidAttributes;
};
static_assert(sizeof(AlpcMessageAttributes) == 8, "fixed by the system");

/// Body of the view attribute.
struct AlpcDataViewAttr {
    std::uint32_t Flags;
    Handle SectionHandle;
    void* ViewBase;
    std::size_t ViewSize;
};
static_assert(sizeof(AlpcDataViewAttr) == (sizeof(void*) == 4 ? 16 : 32), "fixed by the system");

/// Body of the context attribute, which tells a server whose message it received.
struct AlpcContextAttr {
    void* PortContext;  // as given when the connection was accepted
    void* MessageContext;
    std::uint32_t Sequence;
    std::uint32_t MessageId;
    std::uint32_t CallbackId;
#if SIZE_MAX > 0xFFFFFFFF
    std::uint32_t Reserved;
#endif
};
static_assert(sizeof(AlpcContextAttr) == (sizeof(void*) == 4 ? 20 : 32), "fixed by the system");

// Attribute bits. The bodies of security and handle attributes are not declared here.
constexpr std::uint32_t kAlpcMessageSecurityAttribute = 0x80000000;
constexpr std::uint32_t kAlpcMessageViewAttribute = 0x40000000;
constexpr std::uint32_t kAlpcMessageContextAttribute = 0x20000000;
constexpr std::uint32_t kAlpcMessageHandleAttribute = 0x10000000;

// Flags of a port.
constexpr std::uint32_t kAlpcPortAllowImpersonation = 0x10000;

// Flags of sends and receives, and of NtAlpcConnectPort (synchronous only).
constexpr std::uint32_t kAlpcReleaseMessage = 0x10000;
constexpr std::uint32_t kAlpcSynchronous = 0x20000;

// Flags of a view in a message.
constexpr std::uint32_t kAlpcViewUnmapExisting =
    0x10000;  // unmap (release) the view with the message
constexpr std::uint32_t kAlpcViewAutoRelease = 0x20000;  // the view is released once sent
constexpr std::uint32_t kAlpcViewSecured = 0x40000;      // belongs to a secure section

/// The one creation flag that port sections take.
constexpr std::uint32_t kAlpcPortSectionSecure = 0x40000;

}  // namespace Kyr::NtApi
