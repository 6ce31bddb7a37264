// The client's end of a connection to a port, which is what the client's handle names.
//
// Exchanges follow leader and followers: of the threads that wait for replies one reads the
// channel; it hands replies over to the others, and when its own has come, the reading too. A
// thread that is alone makes one send and one receive. The layer has no thread of its own. A reply
// whose request timed out is dropped, and its view given back. Threads: any. Errors: statuses;
// after a malformed packet or a lost peer every call fails.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "portlayer/core/Handles.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/packets/AlpcAttributes.h"
#include "portlayer/packets/AlpcMemory.h"
#include "portlayer/packets/MessageHeader.h"
#include "portlayer/packets/Packet.h"
#include "portlayer/packets/PacketChannel.h"

namespace Kyr::PortLayer::Detail {

/// One request in flight: where its reply goes.
struct PendingExchange {
    std::uint8_t* reply = nullptr;       // receives the whole reply message
    std::size_t capacity = 0;            // a longer reply is cut; replyLength tells its length
    const DataBlock* entries = nullptr;  // what the server may read and write; may be null
    std::size_t replyLength = 0;
    std::uint32_t replyFlags = 0;  // of the packet
    std::uint32_t serverThread = 0;
    ReceivedView view;
};

class CClientConnection final : public CObject {
  public:
    /// Finds the named port, sends it the connection request and waits for the answer.
    /// kStatusObjectNameNotFound when nobody serves the port, kStatusAccessDenied when another user
    /// does; kStatusTimeout, kStatusPortConnectionRefused. `limit`: of the client's messages.
    static NtApi::NtStatus Connect(const NtApi::UnicodeString& name, PortDialect dialect,
                                   std::size_t limit, const void* request,
                                   const CDeadline& deadline,
                                   std::shared_ptr<CClientConnection>& connection,
                                   std::vector<std::uint8_t>& answer);
    ~CClientConnection() override;
    void OnClose() override;

    /// kStatusTimeout; kStatusPortDisconnected when the server was gone before. One that goes with
    /// the request in its hands is told apart, in the way of the kind of port.
    NtApi::NtStatus Exchange(OutgoingPacket& packet, PendingExchange& exchange,
                             const CDeadline& deadline);
    NtApi::NtStatus Post(OutgoingPacket& packet, const CDeadline& deadline);
    /// The server broke the rules in its reply: ends the connection. The status of the request.
    NtApi::NtStatus GiveUp();
    /// Ends the connection; threads inside an exchange leave.
    void Disconnect();

    PortDialect Dialect() const { return dialect_; }
    /// The longest message that both ends take.
    std::size_t Limit() const { return limit_; }
    CSendPool& SendPool() { return pool_; }
    CReceivePool& ReceivePool() { return received_; }
    CAlpcMemory& Memory() { return memory_; }
    std::uint32_t ServerProcessId() const { return channel_->PeerProcessId(); }

  private:
    struct Waiter;
    CClientConnection(std::unique_ptr<IPacketChannel> channel, PortDialect dialect,
                      std::size_t limit);
    NtApi::NtStatus Handshake(const void* message, const CDeadline& deadline,
                              std::vector<std::uint8_t>& answer);
    bool IsLost() const { return lost_.load(std::memory_order_relaxed); }
    /// How a request ends that waits when the server goes.
    NtApi::NtStatus GoneStatus() const;
    SendResult SendRequest(OutgoingPacket& packet, Waiter& waiter, const CDeadline& deadline);
    /// Reads one packet, if one comes in time, and hands it over. Takes the lock, which the leader,
    /// who calls, does not hold.
    void ReadPacket(std::unique_lock<std::mutex>& lock, const CDeadline& deadline);
    bool Dispatch(IncomingPacket& packet);
    bool TakeReply(IncomingPacket& packet, Waiter* waiter);
    Waiter* FindWaiter(std::uint32_t exchange);
    // REQUIRE: mutex_ is held.
    bool TryToLead(Waiter& waiter);
    void PassLeadership(Waiter& from);
    void Lose();

    const CLiveCount live_{LiveCounter::kConnections};
    const std::unique_ptr<IPacketChannel> channel_;
    const PortDialect dialect_;
    std::size_t limit_;  // constant after the handshake
    CSendPool pool_;
    CReceivePool received_;
    CAlpcMemory memory_;
    std::atomic<bool> lost_{false};

    std::mutex mutex_;
    // Guarded by mutex_.
    Waiter* waiters_ = nullptr;
    bool hasLeader_ = false;
    std::uint32_t lastExchange_ = 0;

    // Belongs to the leader.
    const std::unique_ptr<PacketBuffer> buffer_;
    IncomingPacket packet_;
};

/// The client's side of NtAlpcSendWaitReceivePort.
NtApi::NtStatus ClientSendWaitReceive(CClientConnection& connection, const AlpcCall& call);

}  // namespace Kyr::PortLayer::Detail
