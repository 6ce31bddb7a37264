#include "portlayer/client/ClientConnection.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <optional>

#include "portlayer/LayerSettings.h"
#include "portlayer/packets/RequestData.h"

namespace Kyr::PortLayer::Detail {

using namespace NtApi;

namespace {

NtStatus StatusOfSend(SendResult sent) {
    if (sent == SendResult::kSent) {
        return kStatusSuccess;
    }
    return sent == SendResult::kTimedOut ? kStatusTimeout : kStatusPortDisconnected;
}

}  // namespace

/// A thread inside an exchange. It stands on that thread's stack, and in the list from before its
/// request is sent until it leaves. What it is doing:
///   leads  waits
///   yes    no     sends its request, or reads the channel; nobody else may read
///   no     no     sends its request, or is on its way to one of the other two
///   no     yes    sleeps, until its reply has come or somebody has to read
struct CClientConnection::Waiter {
    explicit Waiter(PendingExchange& theExchange) : exchange(theExchange) {}

    PendingExchange& exchange;
    // Guarded by mutex_; its own thread may read what it alone writes, `number` and `leads`,
    // without.
    std::uint32_t number = 0;
    bool replied = false;
    bool leads = false;
    bool waits = false;
    Waiter* next = nullptr;
    // Made when the thread has to wait for another one to read. Guarded by mutex_.
    std::optional<std::condition_variable> wake;

    void Wait(std::unique_lock<std::mutex>& lock, const CDeadline& deadline) {
        if (!wake) {
            wake.emplace();
        }
        waits = true;
        if (deadline.IsNever()) {
            wake->wait(lock);
        } else {
            // It may wake for nothing or too early: the caller looks at everything anew.
            wake->wait_until(lock, deadline.At());
        }
        waits = false;
    }
    void Wake() {
        if (wake) {
            wake->notify_one();
        }
    }
};

NtStatus CClientConnection::Connect(const UnicodeString& name, PortDialect dialect,
                                    std::size_t limit, const void* request,
                                    const CDeadline& deadline,
                                    std::shared_ptr<CClientConnection>& connection,
                                    std::vector<std::uint8_t>& answer) {
    std::unique_ptr<IPacketChannel> channel;
    const NtStatus status = OpenChannel(name, deadline, channel);
    if (status != kStatusSuccess) {
        return status;
    }
    connection.reset(new CClientConnection(std::move(channel), dialect, limit));
    return connection->Handshake(request, deadline, answer);
}

CClientConnection::CClientConnection(std::unique_ptr<IPacketChannel> channel, PortDialect dialect,
                                     std::size_t limit)
    : channel_(std::move(channel)),
      dialect_(dialect),
      limit_(limit),
      memory_(pool_, received_),
      buffer_(new PacketBuffer) {}

CClientConnection::~CClientConnection() = default;

void CClientConnection::OnClose() {
    // First, so that threads inside an exchange leave. What one of them still adds is cleared at
    // the end of the object.
    Disconnect();
    memory_.Clear();
}

NtStatus CClientConnection::Handshake(const void* message, const CDeadline& deadline,
                                      std::vector<std::uint8_t>& answer) {
    OutgoingPacket request(PacketKind::kConnect);
    request.head.flags = static_cast<std::uint32_t>(dialect_);
    request.head.threadId = CurrentThreadId();
    request.SetMessage(message, TotalLength(message));
    if (channel_->Send(request, pool_, received_, deadline) != SendResult::kSent) {
        return kStatusPortConnectionRefused;
    }
    // Nobody else knows the connection yet: no leader, no number, and the first packet is the
    // answer.
    ReceiveResult result = ReceiveResult::kNothing;
    while (result == ReceiveResult::kNothing) {
        result = channel_->Receive(deadline, *buffer_, packet_);
        if (result == ReceiveResult::kNothing && deadline.HasPassed()) {
            return kStatusTimeout;
        }
    }
    if (result != ReceiveResult::kPacket || packet_.head.kind != PacketKind::kAccepted) {
        return kStatusPortConnectionRefused;
    }
    // An answer brings no memory. Whatever came along is closed.
    packet_.DropHandles();
    // Each end has a limit of its own. The shorter one holds, so that a message too long fails here
    // and not on the way.
    limit_ = std::min<std::size_t>(limit_, packet_.head.flags);
    answer.assign(packet_.message, packet_.message + packet_.head.messageLength);
    return kStatusSuccess;
}

NtStatus CClientConnection::Exchange(OutgoingPacket& packet, PendingExchange& exchange,
                                     const CDeadline& deadline) {
    // 1. Into the list before the request is sent: whoever reads the channel may read the reply
    //    before the send has returned.
    // 2. The right to read is taken along at once when it is free, which spares a thread that is
    //    alone a second turn at the lock. Nobody reads while it sends.
    // 3. With the request sent, the leader reads; the others sleep until their reply has come or it
    //    is their turn to read.
    // 4. Out of the list, and the right to read to somebody who still waits.
    Waiter waiter(exchange);
    std::unique_lock<std::mutex> lock(mutex_);
    waiter.number = ++lastExchange_;
    waiter.next = waiters_;
    waiters_ = &waiter;
    TryToLead(waiter);
    lock.unlock();

    packet.head.exchange = waiter.number;
    packet.head.threadId = CurrentThreadId();
    const SendResult sent = SendRequest(packet, waiter, deadline);
    // Either way the lock is held afterwards.
    if (sent == SendResult::kSent && waiter.leads) {
        ReadPacket(lock, deadline);
    } else {
        lock.lock();
    }
    NtStatus status = StatusOfSend(sent);
    if (sent == SendResult::kSent) {
        // A reply that came at the last moment counts, also when the connection has been lost
        // since. A server that never stops sending must not keep us past our time.
        while (!waiter.replied && !IsLost() && !deadline.HasPassed()) {
            // Before sleeping, every time: nobody wakes a thread that was still sending when the
            // leader left.
            if (TryToLead(waiter)) {
                lock.unlock();
                ReadPacket(lock, deadline);
            } else {
                waiter.Wait(lock, deadline);
            }
        }
        if (!waiter.replied) {
            status = IsLost() ? GoneStatus() : kStatusTimeout;
        }
    }
    Waiter** link = &waiters_;
    while (*link != &waiter) {
        link = &(*link)->next;
    }
    *link = waiter.next;
    PassLeadership(waiter);
    return status;
}

SendResult CClientConnection::SendRequest(OutgoingPacket& packet, Waiter& waiter,
                                          const CDeadline& deadline) {
    if (IsLost()) {
        return SendResult::kClosed;
    }
    // Without waiting: as long as this thread leads, nobody reads.
    const SendResult sent = channel_->Send(packet, pool_, received_, CDeadline::Now());
    if (sent != SendResult::kTimedOut || deadline.HasPassed()) {
        return sent;
    }
    {
        // The server may first have to get rid of replies before it reads on, and it drops a client
        // that leaves its replies unread. So somebody who waits for one reads now.
        const std::lock_guard<std::mutex> lock(mutex_);
        PassLeadership(waiter);
    }
    return channel_->Send(packet, pool_, received_, deadline);
}

NtStatus CClientConnection::Post(OutgoingPacket& packet, const CDeadline& deadline) {
    packet.head.threadId = CurrentThreadId();
    if (IsLost()) {
        return kStatusPortDisconnected;
    }
    const SendResult sent = channel_->Send(packet, pool_, received_, deadline);
    if (sent == SendResult::kClosed) {
        // Nobody may be reading who would notice.
        Disconnect();
    }
    return StatusOfSend(sent);
}

NtStatus CClientConnection::GiveUp() {
    Disconnect();
    return GoneStatus();
}

NtStatus CClientConnection::GoneStatus() const {
    return dialect_ == PortDialect::kLpc ? kStatusLpcReplyLost : AlpcServerGoneStatus();
}

bool CClientConnection::TryToLead(Waiter& waiter) {
    if (!hasLeader_) {
        hasLeader_ = true;
        waiter.leads = true;
    }
    return waiter.leads;
}

void CClientConnection::ReadPacket(std::unique_lock<std::mutex>& lock, const CDeadline& deadline) {
    // The lock is free while this thread waits, and held while it hands over: waiters stand on the
    // stacks of their threads, which need it to leave.
    const ReceiveResult result = channel_->Receive(deadline, *buffer_, packet_);
    lock.lock();
    if (result == ReceiveResult::kNothing) {
        return;
    }
    if (result != ReceiveResult::kPacket || !Dispatch(packet_)) {
        // The reading thread leaves at once, and so do all others.
        Lose();
    }
    packet_.DropHandles();
}

bool CClientConnection::Dispatch(IncomingPacket& packet) {
    // Also from packets that are nobody's.
    pool_.TakeBack(packet.head.freedSlots);
    // All other kinds come before a connection is complete, or from clients.
    return packet.head.kind == PacketKind::kReply &&
           TakeReply(packet, FindWaiter(packet.head.exchange));
}

bool CClientConnection::TakeReply(IncomingPacket& packet, Waiter* waiter) {
    // Memory is taken out of late replies, too, and given back below and in TakeWrites: the server
    // would run out of slots otherwise. The bytes of a late reply go nowhere, as the memory that
    // they are for may be gone.
    std::size_t handle = 0;
    ReceivedView view;
    const bool isWaitedFor = waiter != nullptr;
    if (!TakeView(packet, received_, handle, view) ||
        !TakeWrites(packet, handle, isWaitedFor ? waiter->exchange.entries : nullptr, isWaitedFor,
                    received_)) {
        return false;
    }
    // Timed out, or answered already: a server has one reply for each request.
    if (waiter == nullptr || waiter->replied) {
        if (view.slot != kNoSlot) {
            received_.Free(view.slot);
        }
        return true;
    }
    PendingExchange& exchange = waiter->exchange;
    exchange.view = view;
    exchange.replyFlags = packet.head.flags;
    exchange.serverThread = packet.head.threadId;
    exchange.replyLength = packet.head.messageLength;
    std::memcpy(exchange.reply, packet.message,
                std::min<std::size_t>(exchange.capacity, packet.head.messageLength));
    waiter->replied = true;
    waiter->Wake();
    return true;
}

CClientConnection::Waiter* CClientConnection::FindWaiter(std::uint32_t exchange) {
    Waiter* waiter = waiters_;
    while (waiter != nullptr && waiter->number != exchange) {
        waiter = waiter->next;
    }
    return waiter;
}

void CClientConnection::PassLeadership(Waiter& from) {
    if (from.leads) {
        from.leads = false;
        hasLeader_ = false;
    }
    // Not only a leader's task. A thread that was woken to lead may find its own reply there, or
    // its time up, and leave; the one that woke it relies on it.
    if (hasLeader_) {
        return;
    }
    for (Waiter* waiter = waiters_; waiter != nullptr; waiter = waiter->next) {
        // One that still sends looks for itself when it is done, which may be long from now.
        if (waiter->waits && !waiter->replied) {
            waiter->Wake();
            return;
        }
    }
}

void CClientConnection::Disconnect() {
    // First, so that whoever is woken by the end of the channel knows why.
    lost_.store(true);
    // Wakes the thread that reads, which wakes the others.
    channel_->Shutdown();
}

void CClientConnection::Lose() {
    Disconnect();
    for (Waiter* waiter = waiters_; waiter != nullptr; waiter = waiter->next) {
        waiter->Wake();
    }
}

}  // namespace Kyr::PortLayer::Detail
