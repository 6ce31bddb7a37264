#include "portlayer/core/ClientConnection.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <optional>

#include "portlayer/core/RequestData.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

}  // namespace

struct CClientConnection::CWaiter {
    explicit CWaiter(CExchange& theExchange) : exchange(theExchange) {}

    CExchange& exchange;
    std::uint32_t number = 0;
    bool replied = false;
    bool leads = false;
    bool waits = false;
    CWaiter* next = nullptr;
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

NtStatus CClientConnection::Open(const UnicodeString& name, const CDeadline& deadline,
                                 std::shared_ptr<CClientConnection>& connection) {
    std::unique_ptr<IChannel> channel;
    const NtStatus status = OpenChannel(name, deadline, channel);
    if (status == kStatusSuccess) {
        connection.reset(new CClientConnection(std::move(channel)));
    }
    return status;
}

CClientConnection::CClientConnection(std::unique_ptr<IChannel> channel)
    : channel_(std::move(channel)),
      serverProcessId_(channel_->PeerProcessId()),
      buffer_(new CPacketBuffer) {}

CClientConnection::~CClientConnection() = default;

NtStatus CClientConnection::Handshake(EDialect dialect, const void* message, std::size_t length,
                                      const CDeadline& deadline, std::vector<std::uint8_t>& answer,
                                      std::size_t& serverLimit) {
    COutgoingPacket request(EPacket::Connect);
    request.head.flags = static_cast<std::uint32_t>(dialect);
    request.head.threadId = CurrentThreadId();
    request.SetMessage(message, length);
    if (channel_->Send(request, pool_, received_, deadline) != ESend::Sent) {
        return kStatusPortConnectionRefused;
    }
    EReceive result = EReceive::Nothing;
    while (result == EReceive::Nothing) {
        result = channel_->Receive(deadline, *buffer_, packet_);
        if (result == EReceive::Nothing && deadline.HasPassed()) {
            return kStatusTimeout;
        }
    }
    if (result != EReceive::Packet || packet_.head.kind != EPacket::Accepted) {
        return kStatusPortConnectionRefused;
    }
    packet_.DropHandles();
    serverLimit = packet_.head.flags;
    answer.assign(packet_.message, packet_.message + packet_.head.messageLength);
    return kStatusSuccess;
}

EExchange CClientConnection::Exchange(COutgoingPacket& packet, CExchange& exchange,
                                      const CDeadline& deadline) {
    CWaiter waiter(exchange);
    std::unique_lock<std::mutex> lock(mutex_);
    waiter.number = ++lastExchange_;
    waiter.next = waiters_;
    waiters_ = &waiter;
    TryToLead(waiter);
    lock.unlock();

    packet.head.exchange = waiter.number;
    packet.head.threadId = CurrentThreadId();
    const ESend sent = SendRequest(packet, waiter, deadline);
    if (sent == ESend::Sent && waiter.leads) {
        Lead(lock, waiter, deadline);
    } else {
        lock.lock();
    }
    EExchange result = EExchange::Replied;
    if (sent != ESend::Sent) {
        result = sent == ESend::TimedOut ? EExchange::TimedOut : EExchange::NotSent;
    } else {
        while (!waiter.replied && !IsLost() && !deadline.HasPassed()) {
            if (TryToLead(waiter)) {
                lock.unlock();
                Lead(lock, waiter, deadline);
            } else {
                waiter.Wait(lock, deadline);
            }
        }
        if (!waiter.replied) {
            result = IsLost() ? EExchange::Lost : EExchange::TimedOut;
        }
    }
    CWaiter** link = &waiters_;
    while (*link != &waiter) {
        link = &(*link)->next;
    }
    *link = waiter.next;
    PassLeadership(waiter);
    return result;
}

ESend CClientConnection::SendRequest(COutgoingPacket& packet, CWaiter& waiter,
                                     const CDeadline& deadline) {
    if (IsLost()) {
        return ESend::Closed;
    }
    const ESend sent = channel_->Send(packet, pool_, received_, CDeadline::Now());
    if (sent != ESend::TimedOut || deadline.HasPassed()) {
        return sent;
    }
    {
        // The server may first have to get rid of replies: somebody who waits for one reads them.
        const std::lock_guard<std::mutex> lock(mutex_);
        PassLeadership(waiter);
    }
    return channel_->Send(packet, pool_, received_, deadline);
}

EExchange CClientConnection::Post(COutgoingPacket& packet, const CDeadline& deadline) {
    packet.head.threadId = CurrentThreadId();
    if (IsLost()) {
        return EExchange::NotSent;
    }
    switch (channel_->Send(packet, pool_, received_, deadline)) {
        case ESend::Sent:
            return EExchange::Replied;
        case ESend::TimedOut:
            return EExchange::TimedOut;
        default:
            Disconnect();
            return EExchange::NotSent;
    }
}

bool CClientConnection::TryToLead(CWaiter& waiter) {
    if (!hasLeader_) {
        hasLeader_ = true;
        waiter.leads = true;
    }
    return waiter.leads;
}

void CClientConnection::Lead(std::unique_lock<std::mutex>& lock, CWaiter& waiter,
                             const CDeadline& deadline) {
    for (;;) {
        const EReceive result = channel_->Receive(deadline, *buffer_, packet_);
        lock.lock();
        if (result == EReceive::Nothing) {
            return;
        }
        if (result != EReceive::Packet || !Dispatch(packet_)) {
            Lose();
        }
        packet_.DropHandles();
        // A server that never stops sending must not keep us past our time.
        if (waiter.replied || IsLost() || deadline.HasPassed()) {
            return;
        }
        lock.unlock();
    }
}

bool CClientConnection::Dispatch(CIncomingPacket& packet) {
    pool_.TakeBack(packet.head.freedSlots);
    CWaiter* const waiter = FindWaiter(packet.head.exchange);
    if (packet.head.kind == EPacket::Reply) {
        return TakeReply(packet, waiter);
    }
    if (packet.head.kind == EPacket::Fetch) {
        // A fetch for a request that is not waiting any more: the server sees its stream end.
        return waiter == nullptr || HandOverEntry(packet, waiter->exchange.entries);
    }
    return false;
}

bool CClientConnection::TakeReply(CIncomingPacket& packet, CWaiter* waiter) {
    std::size_t handle = 0;
    CReceivedView view;
    const bool isWaitedFor = waiter != nullptr;
    if (!TakeView(packet, received_, handle, view) ||
        !TakeWrites(packet, handle, isWaitedFor ? waiter->exchange.entries : nullptr, isWaitedFor,
                    received_)) {
        return false;
    }
    if (waiter == nullptr || waiter->replied) {
        if (view.slot != kNoSlot) {
            received_.Free(view.slot);
        }
        return true;
    }
    CExchange& exchange = waiter->exchange;
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

CClientConnection::CWaiter* CClientConnection::FindWaiter(std::uint32_t exchange) {
    CWaiter* waiter = waiters_;
    while (waiter != nullptr && waiter->number != exchange) {
        waiter = waiter->next;
    }
    return waiter;
}

void CClientConnection::PassLeadership(CWaiter& from) {
    if (from.leads) {
        from.leads = false;
        hasLeader_ = false;
    }
    // Not only a leader's task: one that was woken to lead may have come too late for its own
    // reply.
    if (hasLeader_) {
        return;
    }
    for (CWaiter* waiter = waiters_; waiter != nullptr; waiter = waiter->next) {
        // One that still sends looks for itself when it is done, which may be long from now.
        if (waiter->waits && !waiter->replied) {
            waiter->Wake();
            return;
        }
    }
}

void CClientConnection::Disconnect() {
    lost_.store(true);
    // Wakes the thread that reads, which wakes the others.
    channel_->Shutdown();
}

void CClientConnection::Lose() {
    Disconnect();
    for (CWaiter* waiter = waiters_; waiter != nullptr; waiter = waiter->next) {
        waiter->Wake();
    }
}

}  // namespace Kyr::PortLayer::Detail
