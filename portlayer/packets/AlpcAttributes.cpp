#include "portlayer/packets/AlpcAttributes.h"

#include "ntapi/Status.h"
#include "portlayer/ClientFunctions.h"

namespace Kyr::PortLayer {

namespace Detail {

namespace {

using namespace NtApi;

struct AttributeSize {
    std::uint32_t bit;
    std::size_t size;
};

// In the order of their bodies: highest bit first. The security attribute holds flags, a pointer
// and a handle; the handle attribute flags, a handle, a type and rights.
constexpr AttributeSize kAttributes[] = {
    {kAlpcMessageSecurityAttribute, sizeof(void*) == 4 ? 12 : 24},
    {kAlpcMessageViewAttribute, sizeof(AlpcDataViewAttr)},
    {kAlpcMessageContextAttribute, sizeof(AlpcContextAttr)},
    {kAlpcMessageHandleAttribute, sizeof(void*) == 4 ? 16 : 24},
};

constexpr std::uint32_t kKnown = kAlpcMessageSecurityAttribute | kAlpcMessageViewAttribute |
                                 kAlpcMessageContextAttribute | kAlpcMessageHandleAttribute;

std::size_t RequiredSize(std::uint32_t attributes) {
    std::size_t size = sizeof(AlpcMessageAttributes);
    for (const AttributeSize& attribute : kAttributes) {
        size += (attributes & attribute.bit) != 0 ? attribute.size : 0;
    }
    return size;
}

template <typename Body>
Body* AllocatedBody(AlpcMessageAttributes* attributes, std::uint32_t bit) {
    return static_cast<Body*>(AlpcGetMessageAttribute(attributes, bit));
}

}  // namespace

AlpcDataViewAttr* SentView(AlpcMessageAttributes* attributes) {
    const bool valid =
        attributes != nullptr && (attributes->ValidAttributes & kAlpcMessageViewAttribute) != 0;
    return valid ? AllocatedBody<AlpcDataViewAttr>(attributes, kAlpcMessageViewAttribute) : nullptr;
}

bool UnmapsView(AlpcMessageAttributes* attributes) {
    const AlpcDataViewAttr* const view = SentView(attributes);
    return view != nullptr && (view->Flags & kAlpcViewUnmapExisting) != 0;
}

bool StoreView(AlpcMessageAttributes* attributes, const ReceivedView& view) {
    auto* const body = AllocatedBody<AlpcDataViewAttr>(attributes, kAlpcMessageViewAttribute);
    if (body == nullptr) {
        return false;
    }
    body->Flags = view.flags;
    body->SectionHandle = nullptr;
    body->ViewBase = const_cast<std::uint8_t*>(view.base);
    body->ViewSize = view.size;
    attributes->ValidAttributes |= kAlpcMessageViewAttribute;
    return true;
}

void StoreContext(AlpcMessageAttributes* attributes, void* portContext, std::uint32_t messageId) {
    auto* const body = AllocatedBody<AlpcContextAttr>(attributes, kAlpcMessageContextAttribute);
    if (body != nullptr) {
        *body = {};
        body->PortContext = portContext;
        body->MessageId = messageId;
        attributes->ValidAttributes |= kAlpcMessageContextAttribute;
    }
}

void ClearValid(AlpcMessageAttributes* attributes) {
    if (attributes != nullptr) {
        attributes->ValidAttributes = 0;
    }
}

}  // namespace Detail

NtStatus KYR_NTAPI AlpcInitializeMessageAttribute(std::uint32_t attributes,
                                                  AlpcMessageAttributes* buffer,
                                                  std::size_t bufferSize,
                                                  std::size_t* requiredSize) {
    if ((attributes & ~Detail::kKnown) != 0 || requiredSize == nullptr) {
        return NtApi::kStatusInvalidParameter;
    }
    // Told in every case: callers ask with no buffer first.
    *requiredSize = Detail::RequiredSize(attributes);
    if (buffer == nullptr || bufferSize < *requiredSize) {
        return NtApi::kStatusBufferTooSmall;
    }
    // The bodies stay as they are, as with the system.
    buffer->AllocatedAttributes = attributes;
    buffer->ValidAttributes = 0;
    return NtApi::kStatusSuccess;
}

void* KYR_NTAPI AlpcGetMessageAttribute(AlpcMessageAttributes* buffer, std::uint32_t attribute) {
    if (buffer == nullptr || (buffer->AllocatedAttributes & attribute) == 0) {
        return nullptr;
    }
    std::size_t offset = sizeof(AlpcMessageAttributes);
    // Whether the attribute is valid is not asked: with the system, too, the caller has to look.
    for (const Detail::AttributeSize& item : Detail::kAttributes) {
        if (item.bit == attribute) {
            return reinterpret_cast<std::uint8_t*>(buffer) + offset;
        }
        offset += (buffer->AllocatedAttributes & item.bit) != 0 ? item.size : 0;
    }
    return nullptr;
}

}  // namespace Kyr::PortLayer
