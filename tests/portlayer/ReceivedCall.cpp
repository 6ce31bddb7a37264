#include "tests/portlayer/ReceivedCall.h"

#include <cstring>

#include "ntapi/Status.h"

namespace Kyr::Test {

using namespace NtApi;

AlpcMessageAttributes* AttributesOf(CAttributes* attributes) {
    return attributes != nullptr ? attributes->Get() : nullptr;
}

std::string NameOfKind(const testing::TestParamInfo<PortKind>& kind) {
    return kind.param == PortKind::kLegacy ? "Legacy" : "Advanced";
}

const PortTraits& TraitsOf(PortKind kind) {
    static const PortTraits legacy = {LpcLayout::kHeaderSize, LpcLayout::kMaxMessage,
                                      LpcLayout::kMaxMessage, kStatusLpcReplyLost,
                                      kStatusReplyMessageMismatch};
    static const PortTraits advanced = {AlpcLayout::kHeaderSize, kAlpcMaxMessage, 0xFFEF,
                                        kStatusPortDisconnected, kStatusInvalidMessage};
    return kind == PortKind::kLegacy ? legacy : advanced;
}

Bytes DataOf(PortKind kind, const Bytes& message) {
    return kind == PortKind::kLegacy ? LpcData(message.data()) : AlpcData(message.data());
}

CAttributes::CAttributes() {
    constexpr std::uint32_t kBoth = kAlpcMessageViewAttribute | kAlpcMessageContextAttribute;
    std::size_t size = 0;
    EXPECT_EQ(AlpcInitializeMessageAttribute(kBoth, nullptr, 0, &size), kStatusBufferTooSmall);
    buffer_.resize((size + 7) / 8);
    EXPECT_EQ(AlpcInitializeMessageAttribute(kBoth, Get(), size, &size), kStatusSuccess);
}

AlpcDataViewAttr& CAttributes::View() {
    return *static_cast<AlpcDataViewAttr*>(
        AlpcGetMessageAttribute(Get(), kAlpcMessageViewAttribute));
}

AlpcContextAttr& CAttributes::Context() {
    return *static_cast<AlpcContextAttr*>(
        AlpcGetMessageAttribute(Get(), kAlpcMessageContextAttribute));
}

Bytes CAttributes::ViewBytes() {
    const auto* const bytes = static_cast<const std::uint8_t*>(View().ViewBase);
    return Bytes(bytes, bytes + View().ViewSize);
}

void CAttributes::SetView(const AlpcDataViewAttr& view) {
    View() = view;
    Get()->ValidAttributes |= kAlpcMessageViewAttribute;
}

const AlpcDataViewAttr& CAttributes::AttachView(Handle port, const Bytes& bytes,
                                                std::uint32_t flags) {
    SetView(MakeView(port, bytes));
    View().Flags = kAlpcViewSecured | flags;
    return View();
}

AlpcDataViewAttr MakeView(Handle port, const Bytes& bytes) {
    AlpcDataViewAttr view = {};
    std::size_t actualSize = 0;
    EXPECT_EQ(NtAlpcCreatePortSection(port, kAlpcPortSectionSecure, nullptr, bytes.size(),
                                      &view.SectionHandle, &actualSize),
              kStatusSuccess);
    EXPECT_GE(actualSize, bytes.size());
    view.ViewSize = bytes.size();
    EXPECT_EQ(NtAlpcCreateSectionView(port, 0, &view), kStatusSuccess);
    std::memcpy(view.ViewBase, bytes.data(), bytes.size());
    return view;
}

NtStatus ReceivedCall::Reply(const Bytes& data) {
    if (kind == PortKind::kAdvanced) {
        return Reply(data, kAlpcReleaseMessage, nullptr);
    }
    Bytes reply = LpcMessage(data);
    // The ids tell which request is answered.
    std::memcpy(reply.data() + 8, message.data() + 8, LpcLayout::kHeaderSize - 8);
    return NtReplyPort(port, reply.data());
}

NtStatus ReceivedCall::Reply(const Bytes& data, std::uint32_t flags, CAttributes* sent) {
    Bytes reply = AlpcMessage(data);
    std::memcpy(reply.data() + 8, message.data() + 8, AlpcLayout::kHeaderSize - 8);
    return NtAlpcSendWaitReceivePort(port, flags, reply.data(), AttributesOf(sent), nullptr,
                                     nullptr, nullptr, nullptr);
}

NtStatus ReceivedCall::ReplyWithView(const Bytes& data, const Bytes& viewBytes) {
    CAttributes sent;
    const AlpcDataViewAttr& view = sent.AttachView(client, viewBytes, kAlpcViewAutoRelease);
    const NtStatus status = Reply(data, kAlpcReleaseMessage, &sent);
    if (status != kStatusSuccess) {
        NtAlpcDeleteSectionView(client, 0, view.ViewBase);
    }
    EXPECT_EQ(NtAlpcDeletePortSection(client, 0, view.SectionHandle), kStatusSuccess);
    return status;
}

}  // namespace Kyr::Test
