#include "portlayer/linux/ClientConnection.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>

#include "portlayer/linux/Peer.h"
#include "portlayer/linux/RunDirectory.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// How long a server may take in all to receive the bytes that it asked for. Our choice.
constexpr std::chrono::seconds kFetchPatience{5};

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
    std::string file;
    CFileDescriptor directory;
    NtStatus status = FileNameOf(name, "port", file);
    if (status == kStatusSuccess) {
        status = OpenRunDirectory(false, directory);
    }
    if (status != kStatusSuccess) {
        return status;
    }
    CFileDescriptor socket;
    status = ConnectSocket(PathIn(directory, file), deadline, socket);
    if (status != kStatusSuccess) {
        return status;
    }
    if (!IsSameUser(socket.Get())) {
        return kStatusAccessDenied;
    }
    connection.reset(new CClientConnection(std::move(socket)));
    return kStatusSuccess;
}

CClientConnection::CClientConnection(CFileDescriptor socket)
    : socket_(std::move(socket)),
      serverProcessId_(PeerProcessId(socket_.Get())),
      buffer_(new CPacketBuffer) {}

CClientConnection::~CClientConnection() = default;

NtStatus CClientConnection::Handshake(EDialect dialect, const void* message, std::size_t length,
                                      const CDeadline& deadline, std::vector<std::uint8_t>& answer,
                                      std::size_t& serverLimit) {
    COutgoingPacket request(EPacket::Connect);
    request.head.flags = static_cast<std::uint32_t>(dialect);
    request.head.threadId = CurrentThreadId();
    request.SetMessage(message, length);
    if (SendPacket(socket_.Get(), request, pool_, received_, deadline) != ESend::Sent) {
        return kStatusPortConnectionRefused;
    }
    EReceive result = EReceive::Nothing;
    while (result == EReceive::Nothing) {
        result = ReceivePacket(socket_.Get(), deadline, *buffer_, packet_);
        if (result == EReceive::Nothing && deadline.HasPassed()) {
            return kStatusTimeout;
        }
    }
    if (result != EReceive::Packet || packet_.head.kind != EPacket::Accepted) {
        return kStatusPortConnectionRefused;
    }
    packet_.DropDescriptors();
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
    const ESend sent = SendPacket(socket_.Get(), packet, pool_, received_, CDeadline::Now());
    if (sent != ESend::TimedOut || deadline.HasPassed()) {
        return sent;
    }
    {
        // The server may first have to get rid of replies: somebody who waits for one reads them.
        const std::lock_guard<std::mutex> lock(mutex_);
        PassLeadership(waiter);
    }
    return SendPacket(socket_.Get(), packet, pool_, received_, deadline);
}

EExchange CClientConnection::Post(COutgoingPacket& packet, const CDeadline& deadline) {
    packet.head.threadId = CurrentThreadId();
    if (IsLost()) {
        return EExchange::NotSent;
    }
    switch (SendPacket(socket_.Get(), packet, pool_, received_, deadline)) {
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
        const EReceive result = ReceivePacket(socket_.Get(), deadline, *buffer_, packet_);
        lock.lock();
        if (result == EReceive::Nothing) {
            return;
        }
        if (result != EReceive::Packet || !Dispatch(packet_)) {
            Lose();
        }
        packet_.DropDescriptors();
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
        return waiter == nullptr || ServeFetch(packet, *waiter);
    }
    return false;
}

bool CClientConnection::TakeReply(CIncomingPacket& packet, CWaiter* waiter) {
    std::size_t descriptor = 0;
    const auto announce = [&](std::uint32_t slot, std::uint64_t slotSize) {
        if (slotSize == 0) {
            return true;
        }
        CFileDescriptor& memory = packet.descriptors[descriptor++];
        const bool mapped = received_.Announce(slot, slotSize, memory);
        memory.Reset();
        return mapped;
    };
    CReceivedView view;
    if (packet.head.viewSlot != kNoSlot) {
        if (!announce(packet.head.viewSlot, packet.head.viewSlotSize)) {
            return false;
        }
        const std::uint8_t* const base = received_.Hold(packet.head.viewSlot, packet.head.viewSize);
        if (base == nullptr) {
            return false;
        }
        view = {packet.head.viewSlot, base, packet.head.viewSize, packet.head.viewFlags};
    }
    const CDataBlock* const entries = waiter != nullptr ? waiter->exchange.entries : nullptr;
    const std::uint8_t* inlineBytes = packet.inlineBytes;
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const CTransferRecord record = packet.Transfer(i);
        const std::uint8_t* bytes = inlineBytes;
        if (record.slot != kNoSlot) {
            if (!announce(record.slot, record.slotSize)) {
                return false;
            }
            bytes = received_.Hold(record.slot, record.size);
            if (bytes == nullptr) {
                return false;
            }
        } else {
            inlineBytes += record.size;
        }
        const bool fits = entries != nullptr && record.entry < entries->count &&
                          record.size <= entries->entries[record.entry].size;
        std::uint8_t* const target = fits ? entries->entries[record.entry].base : nullptr;
        if (target != nullptr && record.size != 0) {
            std::memcpy(target, bytes, record.size);
        }
        if (record.slot != kNoSlot) {
            received_.Free(record.slot);
        }
        if (!fits && waiter != nullptr) {
            return false;
        }
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

bool CClientConnection::ServeFetch(CIncomingPacket& packet, const CWaiter& waiter) {
    const CDataBlock* const entries = waiter.exchange.entries;
    if (entries == nullptr || packet.head.fetchEntry >= entries->count ||
        packet.head.fetchSize > entries->entries[packet.head.fetchEntry].size) {
        return false;
    }
    const int stream = packet.descriptors[0].Get();
    const CDeadline deadline = CDeadline::In(kFetchPatience);
    const std::uint8_t* bytes = entries->entries[packet.head.fetchEntry].base;
    std::size_t left = packet.head.fetchSize;
    while (left != 0) {
        const ssize_t sent = ::send(stream, bytes, left, MSG_NOSIGNAL | MSG_DONTWAIT);
        const bool again = sent < 0 && (errno == EINTR || errno == EAGAIN);
        if (again && WaitFor(stream, POLLOUT, deadline)) {
            continue;
        }
        if (sent <= 0) {
            // The server gave up on these bytes; its request is still open.
            return true;
        }
        bytes += sent;
        left -= static_cast<std::size_t>(sent);
    }
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
    ::shutdown(socket_.Get(), SHUT_RDWR);
}

void CClientConnection::Lose() {
    Disconnect();
    for (CWaiter* waiter = waiters_; waiter != nullptr; waiter = waiter->next) {
        waiter->Wake();
    }
}

}  // namespace Kyr::PortLayer::Detail
