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

/// Calls `use` with the shared memory of the connection behind the handle.
template <typename Use>
NtStatus WithMemory(Handle handle, Use use) {
    const auto object = FindObject(handle);
    if (auto* const client = AsClient(object)) {
        return use(client->Memory());
    }
    auto* const server = As<CServerConnection>(object.get());
    return server != nullptr ? use(server->Memory()) : kStatusInvalidHandle;
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
    const auto object = FindObject(port);
    if (auto* const client = AsClient(object)) {
        client->Disconnect();
        return kStatusSuccess;
    }
    if (auto* const connection = As<CServerConnection>(object.get())) {
        if (const auto server = connection->Port()) {
            server->Drop(*connection);
        }
        return kStatusSuccess;
    }
    return kStatusInvalidHandle;
}

NtStatus KYR_NTAPI NtAlpcCreatePortSection(Handle port, std::uint32_t flags, Handle section,
                                           std::size_t size, Handle* alpcSection,
                                           std::size_t* actualSize) {
    return WithMemory(port, [&](CAlpcMemory& memory) {
        const bool valid =
            flags == kAlpcPortSectionSecure && section == nullptr && alpcSection != nullptr;
        return valid ? memory.CreateSection(size, *alpcSection, actualSize)
                     : kStatusInvalidParameter;
    });
}

NtStatus KYR_NTAPI NtAlpcDeletePortSection(Handle port, std::uint32_t flags, Handle section) {
    return WithMemory(port, [&](CAlpcMemory& memory) {
        return flags != 0 ? kStatusInvalidParameter : memory.DeleteSection(section);
    });
}

NtStatus KYR_NTAPI NtAlpcCreateSectionView(Handle port, std::uint32_t flags,
                                           AlpcDataViewAttr* view) {
    return WithMemory(port, [&](CAlpcMemory& memory) {
        return flags != 0 || view == nullptr ? kStatusInvalidParameter : memory.CreateView(*view);
    });
}

NtStatus KYR_NTAPI NtAlpcDeleteSectionView(Handle port, std::uint32_t flags, void* viewBase) {
    return WithMemory(port, [&](CAlpcMemory& memory) {
        return flags != 0 ? kStatusInvalidParameter : memory.DeleteView(viewBase);
    });
}

}  // namespace Kyr::PortLayer
