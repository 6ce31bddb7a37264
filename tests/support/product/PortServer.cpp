#include "tests/support/product/PortServer.h"

#include <cstring>
#include <stdexcept>

#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "tests/support/product/PortMessages.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer;

/// The head and the longest reply inside a message of the product's advanced port.
constexpr std::size_t kLargestInline = 0xFFCF + 8;

void Require(NtStatus status, const char* call) {
    if (status != kStatusSuccess) {
        throw std::runtime_error(call);
    }
}

/// The counted name and the attributes that a port is created with.
struct PortName {
    explicit PortName(const std::u16string& text) {
        RtlInitUnicodeString(&name, text.c_str());
        attributes = {sizeof attributes, nullptr, &name, 0, nullptr, nullptr};
    }
    UnicodeString name;
    ObjectAttributes attributes;
};

/// Turns the request into its reply, with the bytes inside when `inside` is set.
void PutReply(std::uint8_t* message, std::size_t header, const PortReply& reply, bool inside) {
    const std::size_t size = reply.headSize + (inside ? reply.size : 0);
    Put(message, kDataLengthOffset, static_cast<std::uint16_t>(size));
    Put(message, kTotalLengthOffset, static_cast<std::uint16_t>(header + size));
    Put(message, kDataInfoOffset, std::uint16_t{0});
    std::memcpy(message + header, reply.head, reply.headSize);
    if (inside && reply.size != 0) {
        std::memcpy(message + header + reply.headSize, reply.bytes, reply.size);
    }
}

struct ViewAttribute {
    AlpcMessageAttributes head = {kAlpcMessageViewAttribute, 0};
    AlpcDataViewAttr view = {};
};

}  // namespace

void CPortServer::Serve(const PortAnswer& answer) {
    Run(answer);
    for (const Handle client : clients_) {
        NtClose(client);
    }
}

void CPortServer::Stop() {
    NtClose(port_);
}

CLpcPortServer::CLpcPortServer(const std::u16string& name) {
    PortName counted(name);
    Require(NtCreatePort(&port_, &counted.attributes, 260,
                         static_cast<std::uint32_t>(LpcLayout::kMaxMessage), 0),
            "NtCreatePort");
}

void CLpcPortServer::Run(const PortAnswer& answer) {
    Bytes buffer(LpcLayout::kMaxMessage);
    std::uint8_t* const message = buffer.data();
    void* toSend = nullptr;
    while (NtReplyWaitReceivePortEx(port_, nullptr, toSend, message, nullptr) == kStatusSuccess) {
        toSend = nullptr;
        if (Kind(message) == kLpcConnectionRequest) {
            Handle client = nullptr;
            Require(NtAcceptConnectPort(&client, nullptr, message, 1, nullptr, nullptr),
                    "NtAcceptConnectPort");
            Require(NtCompleteConnectPort(client), "NtCompleteConnectPort");
            clients_.push_back(client);
        } else if (Kind(message) == kLpcRequest) {
            const PortReply reply = answer({port_, message, nullptr});
            const bool inside =
                reply.headSize + reply.size <= LpcLayout::kMaxMessage - LpcLayout::kHeaderSize;
            if (!inside) {
                Require(
                    NtWriteRequestData(port_, message, 1, const_cast<std::uint8_t*>(reply.bytes),
                                       reply.size, nullptr),
                    "NtWriteRequestData");
            }
            PutReply(message, LpcLayout::kHeaderSize, reply, inside);
            toSend = message;
        }
    }
}

CAlpcPortServer::CAlpcPortServer(const std::u16string& name) {
    PortName counted(name);
    AlpcPortAttributes attributes = {};
    attributes.MaxMessageLength = kAlpcMaxMessage;
    Require(NtAlpcCreatePort(&port_, &counted.attributes, &attributes), "NtAlpcCreatePort");
}

void CAlpcPortServer::Run(const PortAnswer& answer) {
    Bytes buffer(kAlpcMaxMessage);
    std::uint8_t* const message = buffer.data();
    for (void* toSend = nullptr;;) {
        ViewAttribute received;
        std::size_t length = buffer.size();
        if (NtAlpcSendWaitReceivePort(port_, kAlpcReleaseMessage, toSend, nullptr, message, &length,
                                      &received.head, nullptr) != kStatusSuccess) {
            return;
        }
        toSend = nullptr;
        if (Kind(message) == kLpcConnectionRequest) {
            Handle client = nullptr;
            Require(NtAlpcAcceptConnectPort(&client, port_, 0, nullptr, nullptr, nullptr, message,
                                            nullptr, 1),
                    "NtAlpcAcceptConnectPort");
            clients_.push_back(client);
        } else if (Kind(message) == kLpcRequest) {
            const void* const view =
                received.head.ValidAttributes != 0 ? received.view.ViewBase : nullptr;
            const PortReply reply =
                answer({port_, message, static_cast<const std::uint8_t*>(view)});
            const bool inside = reply.headSize + reply.size <= kLargestInline;
            PutReply(message, AlpcLayout::kHeaderSize, reply, inside);
            if (inside) {
                toSend = message;
            } else {
                ReplyWithView(message, reply);
            }
            if (view != nullptr) {
                NtAlpcDeleteSectionView(clients_.back(), 0, received.view.ViewBase);
            }
        }
    }
}

void CAlpcPortServer::ReplyWithView(std::uint8_t* message, const PortReply& reply) {
    ViewAttribute sent;
    std::size_t actual = 0;
    Require(NtAlpcCreatePortSection(clients_.back(), kAlpcPortSectionSecure, nullptr, reply.size,
                                    &sent.view.SectionHandle, &actual),
            "NtAlpcCreatePortSection");
    sent.view.ViewSize = reply.size;
    Require(NtAlpcCreateSectionView(clients_.back(), 0, &sent.view), "NtAlpcCreateSectionView");
    std::memcpy(sent.view.ViewBase, reply.bytes, reply.size);
    sent.view.Flags = kAlpcViewSecured | kAlpcViewAutoRelease;
    sent.head.ValidAttributes = kAlpcMessageViewAttribute;
    Require(NtAlpcSendWaitReceivePort(port_, kAlpcReleaseMessage, message, &sent.head, nullptr,
                                      nullptr, nullptr, nullptr),
            "NtAlpcSendWaitReceivePort");
    NtAlpcDeletePortSection(clients_.back(), 0, sent.view.SectionHandle);
}

}  // namespace Kyr::Test
