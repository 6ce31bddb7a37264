// A server's connection port: the name, the channels of all its clients, and the queue that they
// form. The system's queues are the queue; a thread that receives waits for any channel and reads
// one packet.
//
// Threads: any number may receive at once. Receiving threads hold the object; closing its handle
// wakes them.
// Hostile clients: a connection that sends anything malformed, or out of order, is dropped, and the
// server sees it as closed by the client.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ntapi/Types.h"
#include "portlayer/core/Handles.h"
#include "portlayer/packets/AlpcAttributes.h"
#include "portlayer/server/PendingMessages.h"
#include "portlayer/server/PortListener.h"
#include "portlayer/server/ServerConnection.h"

namespace Kyr::PortLayer::Detail {

struct PortLimits {
    std::size_t message = 0;         // header included
    std::size_t connectionInfo = 0;  // legacy ports
};

/// A message as the server receives it, without its view.
struct IncomingMessage {
    std::shared_ptr<CServerConnection> connection;
    std::uint16_t type = 0;
    MessageIds ids;
    ReceivedView view;
    const std::uint8_t* bytes = nullptr;  // in the receive buffer
    std::size_t length = 0;
};

/// Memory of one receiving thread. Large: neither on its stack nor made anew each time; the port
/// keeps it for the next.
struct ReceiveScratch {
    PacketBuffer buffer;
    IncomingPacket packet;
    IncomingMessage message;
};

class CServerPort final : public CObject, public std::enable_shared_from_this<CServerPort> {
  public:
    static NtApi::NtStatus Create(PortDialect dialect, const NtApi::ObjectAttributes* attributes,
                                  const PortLimits& limits, NtApi::Handle* port);
    void OnClose() override;

    PortDialect Dialect() const { return dialect_; }
    /// No other port of the process has it or had it.
    std::uint64_t Number() const { return number_; }
    const PortLimits& Limits() const { return limits_; }

    /// Hands the next message to `deliver`. kStatusTimeout; kStatusPortClosed after OnClose.
    template <typename Deliver>
    NtApi::NtStatus Receive(const CDeadline& deadline, Deliver deliver) {
        // Not thread_local: MinGW-w64 frees a thread's variables before it destroys them.
        std::unique_ptr<ReceiveScratch> scratch = TakeScratch();
        const NtApi::NtStatus status = Next(*scratch, deadline);
        if (status == NtApi::kStatusSuccess) {
            deliver(scratch->message);
        }
        GiveScratch(std::move(scratch));
        return status;
    }

    /// Ends the connection without a word to the server. Answers its state until now.
    CServerConnection::Stage Drop(CServerConnection& connection);
    NtApi::NtStatus ReleaseMessage(std::uint32_t messageId, bool unmapView);

  private:
    CServerPort(PortDialect dialect, const PortLimits& limits);

    std::unique_ptr<ReceiveScratch> TakeScratch();
    void GiveScratch(std::unique_ptr<ReceiveScratch> scratch);
    NtApi::NtStatus Next(ReceiveScratch& scratch, const CDeadline& deadline);
    void AddClient(std::unique_ptr<IPacketChannel> channel);
    std::shared_ptr<CServerConnection> FindConnection(std::uint64_t number);
    std::vector<std::shared_ptr<CServerConnection>> Connections();
    /// False: nothing for the server in it.
    bool TakePacket(const std::shared_ptr<CServerConnection>& connection, ReceiveScratch& scratch);
    bool TakeConnect(const std::shared_ptr<CServerConnection>& connection, ReceiveScratch& scratch);
    bool TakeMessage(const std::shared_ptr<CServerConnection>& connection, ReceiveScratch& scratch,
                     bool isRequest);
    bool TakeEnd(const std::shared_ptr<CServerConnection>& connection, ReceiveScratch& scratch);

    const CLiveCount live_{LiveCounter::kPorts};
    const std::uint64_t number_;
    const PortDialect dialect_;
    const PortLimits limits_;
    const std::unique_ptr<IPortListener> listener_;

    std::mutex mutex_;
    // Guarded by mutex_.
    std::unordered_map<std::uint64_t, std::shared_ptr<CServerConnection>> connections_;
    std::uint64_t lastNumber_ = 0;
    std::vector<std::unique_ptr<ReceiveScratch>> scratches_;  // that nobody uses

    std::atomic<bool> closed_{false};
};

/// The connection port behind an object, which is one or a connection of one; null when it is
/// neither, or of the other kind.
std::shared_ptr<CServerPort> ServerPortOf(const std::shared_ptr<CObject>& object,
                                          PortDialect dialect);

/// The server's side of NtAlpcSendWaitReceivePort.
NtApi::NtStatus ServerSendWaitReceive(CServerPort& port, const AlpcCall& call);

}  // namespace Kyr::PortLayer::Detail
