// A channel over one end of a message-mode pipe.
//
// A client's end reads when it is asked to. A server's end always has one read under way, whose end
// the port's queue tells.
#pragma once

#include <array>
#include <memory>
#include <mutex>

#include "portlayer/packets/PacketChannel.h"
#include "portlayer/windows/PipeQueue.h"

namespace Kyr::PortLayer::Detail {

/// The process at the other end of a pipe.
struct PipePeer {
    std::uint32_t processId = 0;
    CSystemHandle process;  // kept open by servers: to reach the memory of requests
};

class CPipeChannel final : public IPacketChannel {
  public:
    /// A server's end when there is a queue.
    CPipeChannel(CSystemHandle pipe, PipePeer peer, std::shared_ptr<CPipeQueue> queue);
    ~CPipeChannel() override;

    ReceiveResult Receive(const CDeadline& deadline, PacketBuffer& buffer,
                          IncomingPacket& packet) override;
    SendResult Send(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                    const CDeadline& deadline) override;
    void Shutdown() override;
    std::uint32_t PeerProcessId() const override { return peer_.processId; }

    HANDLE PeerProcess() const { return Native(peer_.process); }
    /// Begins to read, a server's end: operations of this number come to the queue. Once.
    bool Watch(std::uint64_t number);

  private:
    class CUse;

    // How a server's end reads: ReadAhead begins a read; its end comes to the queue, which tells
    // one thread (PipeListener.cpp, Wait); that thread calls Receive, which takes the bytes and
    // begins the next read. So there is one read under way, or one thread inside TakeReadAhead, and
    // never both. A read that ended with an error is the last one.
    bool ReadAhead();
    ReceiveResult TakeReadAhead(PacketBuffer& buffer, std::size_t& size);
    ReceiveResult Read(const CDeadline& deadline, PacketBuffer& buffer, std::size_t& size);
    /// Waits for the end of an operation begun with `event`; one that is late is called back.
    DWORD Finish(OVERLAPPED& overlapped, HANDLE event, const CDeadline& deadline, DWORD& size);
    bool Enter();
    void Leave();

    const PipePeer peer_;
    const std::shared_ptr<CPipeQueue> queue_;
    const CSystemHandle closing_;  // an event
    std::shared_ptr<struct PipeRead> read_;

    std::mutex mutex_;
    // The number of a closed handle may be given to another object at once. So Shutdown only ends
    // what is under way, and the handle is closed by whoever leaves last, the channel itself (one
    // user from the beginning) or a thread inside a call.
    // Guarded by mutex_. The pipe is open as long as it has users; one of them is the channel.
    CSystemHandle pipe_;
    int users_ = 1;
    bool closed_ = false;
};

/// What the port's queue tells about a server's channel.
struct PipeRead : PipeOperation {
    PipeRead() : PipeOperation(false) {}
    std::uint64_t number = 0;
    PacketBuffer buffer;
};

}  // namespace Kyr::PortLayer::Detail
