// The server's end of one connection: its channel, its shared memory and what the server attached
// to it. Made by CServerPort when a client comes; once it is accepted the server has a handle of
// it.
//
// Threads: any.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "portlayer/core/Handles.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/packets/AlpcMemory.h"
#include "portlayer/packets/Packet.h"
#include "portlayer/packets/PacketChannel.h"

namespace Kyr::PortLayer::Detail {

class CServerPort;

class CServerConnection final : public CObject {
  public:
    /// How far a connection has come, and what the client may send meanwhile:
    ///   Anonymous  a channel without a name: its connection request, and nothing else
    ///   Requested  nothing: the server has not answered the connection request
    ///   Accepted   nothing: legacy servers complete a connection by a second call
    ///   Connected  requests and datagrams
    ///   Closed     nothing; whoever closes first learns the state before
    /// States only go down this list, and one caller alone makes each step. The server is told of
    /// the end of a connection that was Accepted or Connected; it never answered for the others.
    enum class Stage { kAnonymous, kRequested, kAccepted, kConnected, kClosed };

    CServerConnection(const std::shared_ptr<CServerPort>& port, std::uint64_t number,
                      std::unique_ptr<IPacketChannel> channel);
    void OnClose() override;
    /// Ends the connection without a word to the server.
    void Disconnect();

    IPacketChannel& Channel() const { return *channel_; }
    std::uint64_t Number() const { return number_; }
    std::uint32_t ClientProcessId() const { return channel_->PeerProcessId(); }
    std::shared_ptr<CServerPort> Port() const { return port_.lock(); }
    /// Tells ports apart even when one is gone, without holding it.
    std::uint64_t PortNumber() const { return portNumber_; }
    CSendPool& SendPool() { return pool_; }
    CReceivePool& ReceivePool() { return received_; }
    CAlpcMemory& Memory() { return memory_; }

    Stage State() const { return state_.load(); }
    /// Closed from now on. Answers what it was before: one caller alone learns that.
    Stage Close() { return state_.exchange(Stage::kClosed); }
    bool ChangeState(Stage from, Stage to) { return state_.compare_exchange_strong(from, to); }
    void* Context() const { return context_.load(); }
    void SetContext(void* context) { context_.store(context); }

    /// False when the client has let too many requests pile up.
    bool MayAsk() const { return openRequests_.load() < kMaxOpenRequests; }
    void CountRequest(int change) { openRequests_.fetch_add(change); }

    /// What the client gets when its connection is completed. One thread at a time: the one that
    /// answers the connection request.
    void SetConnectionAnswer(std::vector<std::uint8_t> answer) { answer_ = std::move(answer); }
    std::vector<std::uint8_t> TakeConnectionAnswer() { return std::move(answer_); }

    /// Waits a moment for a client that does not read, then gives the connection up.
    NtApi::NtStatus Send(OutgoingPacket& packet);

  private:
    // Our choice, far above what a client has threads: so that one cannot use up everybody's.
    static constexpr int kMaxOpenRequests = 256;

    const CLiveCount live_{LiveCounter::kConnections};
    const std::weak_ptr<CServerPort> port_;
    const std::uint64_t portNumber_;
    const std::uint64_t number_;
    const std::unique_ptr<IPacketChannel> channel_;
    CSendPool pool_;
    CReceivePool received_;
    CAlpcMemory memory_;
    std::vector<std::uint8_t> answer_;
    std::atomic<Stage> state_{Stage::kAnonymous};
    std::atomic<void*> context_{nullptr};
    std::atomic<int> openRequests_{0};
};

}  // namespace Kyr::PortLayer::Detail
