#include "tests/lab/simproduct/PortClient.h"

#include <algorithm>
#include <cstring>

#include "portlayer/ClientFunctions.h"

namespace Kyr::Lab::SimProduct {

namespace {

using ByteVector = std::vector<std::uint8_t>;

void Put(ByteVector& bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

std::uint32_t Get(const ByteVector& bytes, std::size_t offset, std::size_t width = 4) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        value |= static_cast<std::uint32_t>(bytes.at(offset + i)) << (8 * i);
    }
    return value;
}

void PutLengths(ByteVector& message, std::size_t header) {
    Put(message, 0, message.size() - header, 2);
    Put(message, 2, message.size(), 2);
}

NtApi::UnicodeString Name(const char16_t* text) {
    NtApi::UnicodeString name;
    PortLayer::RtlInitUnicodeString(&name, text);
    return name;
}

/// Places in a legacy message.
struct Layout {
    std::size_t pointer;        // bytes of an address
    std::size_t header;         // the command stands behind it
    std::size_t longest;        // message
    std::size_t entries;        // the first, in the block of data entries
    std::size_t entry;          // bytes of one
    std::size_t inlinePayload;  // the longest of a small message
    std::size_t inlineLarge;    // and of a large one
    std::size_t inlineReply;
};
constexpr Layout kNarrow{4, 24, 328, 4, 8, 292, 272, 296};
constexpr Layout kWide{8, 40, 648, 8, 16, 596, 556, 600};

/// Legacy ports are the system's own, whatever the process is.
const Layout& SystemLayout() {
    static const Layout& layout = [&]() -> const Layout& {
        NtApi::Bool isWow64 = 0;
        PortLayer::IsWow64Process(PortLayer::GetCurrentProcess(), &isWow64);
        return isWow64 != 0 ? kWide : kNarrow;
    }();
    return layout;
}

void PutEntry(ByteVector& message, std::size_t index, const void* base, std::size_t size) {
    const Layout& layout = SystemLayout();
    const std::size_t at = layout.header + 12 + layout.entries + index * layout.entry;
    Put(message, at, reinterpret_cast<std::uintptr_t>(base), layout.pointer);
    Put(message, at + layout.pointer, size, 4);
}

ByteVector LpcMessage(std::uint32_t command, std::uint32_t flags, const ByteVector& payload,
                      std::uint32_t capacity, ByteVector& reply) {
    const Layout& layout = SystemLayout();
    const std::size_t header = layout.header;
    const bool isLarge = payload.size() > layout.inlinePayload || capacity > layout.inlineReply;
    const bool isInline = !isLarge || payload.size() <= layout.inlineLarge;
    ByteVector message(header + 12 + (isLarge ? layout.entries + 2 * layout.entry : 0));
    Put(message, header, command, 4);
    Put(message, header + 4, flags, 4);
    Put(message, header + 8, capacity, 4);
    if (isLarge) {
        Put(message, 6, header + 12, 2);
        Put(message, header + 12, 2, 4);
        PutEntry(message, 0, isInline ? nullptr : payload.data(), isInline ? 0 : payload.size());
        PutEntry(message, 1, reply.data(), capacity);
    }
    if (isInline) {
        message.insert(message.end(), payload.begin(), payload.end());
    }
    PutLengths(message, header);
    return message;
}

}  // namespace

CPortHandle::~CPortHandle() {
    if (handle != nullptr) {
        PortLayer::CloseHandle(handle);
    }
}

NtApi::NtStatus CLpcPortClient::Connect(const char* magic) {
    NtApi::UnicodeString name = Name(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort");
    NtApi::SecurityQualityOfService qos{12, 2, 1, 0, {}};
    ByteVector info(magic, magic + 8);
    info.insert(info.end(), {2, 0, 0, 0});
    std::uint32_t size = 12;
    return PortLayer::NtConnectPort(&port_.handle, &name, &qos, nullptr, nullptr, nullptr,
                                    info.data(), &size);
}

PortReply CLpcPortClient::Exchange(std::uint32_t command, const ByteVector& payload,
                                   std::uint32_t capacity) {
    ByteVector buffer(capacity);
    ByteVector message = LpcMessage(command, 0, payload, capacity, buffer);
    const Layout& layout = SystemLayout();
    ByteVector reply(layout.longest);
    PutLengths(reply, layout.header);
    PortReply result;
    result.status = PortLayer::NtRequestWaitReplyPort(port_.handle, message.data(), reply.data());
    if (NtApi::IsError(result.status)) {
        return result;
    }
    result.code = Get(reply, layout.header);
    result.length = Get(reply, layout.header + 4);
    const std::size_t inlineLength = Get(reply, 0, 2) - 8;
    if (inlineLength > 0 || result.length == 0) {
        const auto begin = reply.begin() + static_cast<std::ptrdiff_t>(layout.header + 8);
        result.bytes.assign(begin, begin + static_cast<std::ptrdiff_t>(inlineLength));
    } else {
        buffer.resize(std::min<std::size_t>(result.length, capacity));
        result.bytes = buffer;
    }
    return result;
}

NtApi::NtStatus CLpcPortClient::SendOneWay(const ByteVector& payload) {
    ByteVector none;
    ByteVector message = LpcMessage(3, 1, payload, 0, none);
    return PortLayer::NtRequestPort(port_.handle, message.data());
}

NtApi::NtStatus CAlpcPortClient::Connect(const char* magic) {
    NtApi::UnicodeString name = Name(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc");
    NtApi::AlpcPortAttributes attributes{};
    attributes.Flags = 0x10000;
    attributes.SecurityQos = {12, 2, 1, 0, {}};
    attributes.MaxMessageLength = 0xFFEF;
    attributes.MaxPoolUsage = attributes.MaxSectionSize = attributes.MaxViewSize =
        attributes.MaxTotalSectionSize = 0xFFFFFFFF;
    ByteVector message(40);
    std::memcpy(message.data() + 24, magic, 8);
    Put(message, 32, 2, 4);
    Put(message, 36, 0xFFCF, 4);
    PutLengths(message, 24);
    std::size_t size = message.size();
    return PortLayer::NtAlpcConnectPort(&port_.handle, &name, nullptr, &attributes, 0x20000,
                                        nullptr, message.data(), &size, nullptr, nullptr, nullptr);
}

namespace {

/// Attribute buffer with room for a view.
struct ViewBuffer {
    ViewBuffer() {
        std::size_t size = sizeof *this;
        PortLayer::AlpcInitializeMessageAttribute(NtApi::kAlpcMessageViewAttribute, &head,
                                                  sizeof *this, &size);
    }
    NtApi::AlpcMessageAttributes head{};
    NtApi::AlpcDataViewAttr view{};
};

ByteVector AlpcMessage(std::uint32_t command, const ByteVector& payload, std::uint32_t capacity) {
    ByteVector message(40);
    Put(message, 24, command, 4);
    Put(message, 32, payload.size(), 4);
    Put(message, 36, capacity, 4);
    if (payload.size() <= 65479) {
        message.insert(message.end(), payload.begin(), payload.end());
    }
    PutLengths(message, 24);
    return message;
}

}  // namespace

PortReply CAlpcPortClient::Exchange(std::uint32_t command, const ByteVector& payload,
                                    std::uint32_t capacity) {
    ByteVector message = AlpcMessage(command, payload, capacity);
    ViewBuffer sent;
    if (payload.size() > 65479) {
        NtApi::Handle section = nullptr;
        PortLayer::NtAlpcCreatePortSection(port_.handle, 0x40000, nullptr, payload.size(), &section,
                                           nullptr);
        sent.view = {0, section, nullptr, payload.size()};
        PortLayer::NtAlpcCreateSectionView(port_.handle, 0, &sent.view);
        std::memcpy(sent.view.ViewBase, payload.data(), payload.size());
        sent.view.Flags = 0x60000;
        sent.head.ValidAttributes = NtApi::kAlpcMessageViewAttribute;
    }
    ViewBuffer received;
    ByteVector reply(0xFFEF);
    std::size_t size = reply.size();
    PortReply result;
    result.status =
        PortLayer::NtAlpcSendWaitReceivePort(port_.handle, 0x20000, message.data(), &sent.head,
                                             reply.data(), &size, &received.head, nullptr);
    if (sent.view.SectionHandle != nullptr) {
        PortLayer::NtAlpcDeletePortSection(port_.handle, 0, sent.view.SectionHandle);
    }
    if (NtApi::IsError(result.status)) {
        return result;
    }
    result.code = Get(reply, 24);
    result.length = Get(reply, 28);
    result.bytes.assign(reply.begin() + 32,
                        reply.begin() + 24 + static_cast<std::ptrdiff_t>(Get(reply, 0, 2)));
    cameWithView_ = received.head.ValidAttributes != 0;
    if (cameWithView_) {
        const auto* const bytes = static_cast<const std::uint8_t*>(received.view.ViewBase);
        result.bytes.assign(bytes, bytes + received.view.ViewSize);
        received.view.Flags |= 0x10000;
    }
    if ((Get(reply, 4, 2) & 0x2000) != 0) {
        PortLayer::NtAlpcSendWaitReceivePort(port_.handle, 0x10000, reply.data(), &received.head,
                                             nullptr, nullptr, nullptr, nullptr);
    }
    return result;
}

NtApi::NtStatus CAlpcPortClient::SendOneWay(const ByteVector& payload) {
    ByteVector message = AlpcMessage(3, payload, 0);
    return PortLayer::NtAlpcSendWaitReceivePort(port_.handle, 0x10000, message.data(), nullptr,
                                                nullptr, nullptr, nullptr, nullptr);
}

}  // namespace Kyr::Lab::SimProduct
