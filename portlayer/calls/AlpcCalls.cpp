// The calls on advanced ports that clients and servers share: they find out whose port it is.
#include "ntapi/Status.h"
#include "portlayer/ClientFunctions.h"
#include "portlayer/client/ClientConnection.h"
#include "portlayer/server/ServerPort.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;
using namespace NtApi;

/// The client's end of an advanced connection, or null.
CClientConnection* AsClient(const std::shared_ptr<CObject>& object) {
    auto* const client = As<CClientConnection>(object.get());
    return client != nullptr && client->Dialect() == PortDialect::kAlpc ? client : nullptr;
}

/// Calls `use` with the connection behind the handle, the client's end or the server's.
template <typename Use>
NtStatus WithConnection(Handle handle, Use use) {
    const auto object = FindObject(handle);
    if (auto* const client = AsClient(object)) {
        return use(*client);
    }
    auto* const server = As<CServerConnection>(object.get());
    return server != nullptr ? use(*server) : kStatusInvalidHandle;
}

}  // namespace

NtStatus KYR_NTAPI NtAlpcSendWaitReceivePort(Handle port, std::uint32_t flags, void* sendMessage,
                                             AlpcMessageAttributes* sendAttributes,
                                             void* receiveMessage, std::size_t* bufferLength,
                                             AlpcMessageAttributes* receiveAttributes,
                                             std::int64_t* timeout) {
    const AlpcCall call = {flags,          static_cast<std::uint8_t*>(sendMessage),
                           sendAttributes, static_cast<std::uint8_t*>(receiveMessage),
                           bufferLength,   receiveAttributes,
                           timeout};
    const auto object = FindObject(port);
    if (auto* const client = AsClient(object)) {
        return ClientSendWaitReceive(*client, call);
    }
    const auto server = ServerPortOf(object, PortDialect::kAlpc);
    return server ? ServerSendWaitReceive(*server, call) : kStatusInvalidHandle;
}

NtStatus KYR_NTAPI NtAlpcDisconnectPort(Handle port, std::uint32_t) {
    return WithConnection(port, [](auto& connection) {
        connection.Disconnect();
        return kStatusSuccess;
    });
}

NtStatus KYR_NTAPI NtAlpcCreatePortSection(Handle port, std::uint32_t flags, Handle section,
                                           std::size_t size, Handle* alpcSection,
                                           std::size_t* actualSize) {
    return WithConnection(port, [&](auto& connection) {
        const bool valid =
            flags == kAlpcPortSectionSecure && section == nullptr && alpcSection != nullptr;
        return valid ? connection.Memory().CreateSection(size, *alpcSection, actualSize)
                     : kStatusInvalidParameter;
    });
}

NtStatus KYR_NTAPI NtAlpcDeletePortSection(Handle port, std::uint32_t flags, Handle section) {
    return WithConnection(port, [&](auto& connection) {
        return flags != 0 ? kStatusInvalidParameter : connection.Memory().DeleteSection(section);
    });
}

NtStatus KYR_NTAPI NtAlpcCreateSectionView(Handle port, std::uint32_t flags,
                                           AlpcDataViewAttr* view) {
    return WithConnection(port, [&](auto& connection) {
        return flags != 0 || view == nullptr ? kStatusInvalidParameter
                                             : connection.Memory().CreateView(*view);
    });
}

NtStatus KYR_NTAPI NtAlpcDeleteSectionView(Handle port, std::uint32_t flags, void* viewBase) {
    return WithConnection(port, [&](auto& connection) {
        return flags != 0 ? kStatusInvalidParameter : connection.Memory().DeleteView(viewBase);
    });
}

}  // namespace Kyr::PortLayer
