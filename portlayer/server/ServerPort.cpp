#include "portlayer/server/ServerPort.h"

#include <algorithm>
#include <cstring>

#include "portlayer/packets/RequestData.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// Connections of a port, accepted or not. Our choice, below the usual limit of a process's
// descriptors (1024) and, with all their slots mapped, of its mappings (65530). Further clients are
// turned away.
constexpr std::size_t kMaxConnections = 256;
// How often a receive whose time is up looks on when what it found was not for the server: a
// receive that may not wait still gets past the connecting of clients, and none gets lost among
// clients that flood. Our choice.
constexpr int kLateLooks = 4;
std::atomic<std::uint64_t> lastPort{0};

/// The last step of taking a message. Drop closes a connection first and ends its records
/// afterwards. A record that is made in between would be missed and stay for ever, so that its
/// maker has to look once more.
bool IsStillOpen(const CServerConnection& connection,
                 const std::shared_ptr<PendingMessage>& record) {
    const bool open = connection.State() != CServerConnection::Stage::kClosed;
    if (!open) {
        EndPendingMessage(record);
    }
    return open;
}

}  // namespace

NtStatus CServerPort::Create(PortDialect dialect, const ObjectAttributes* attributes,
                             const PortLimits& limits, Handle* port) {
    if (port == nullptr || attributes == nullptr || attributes->ObjectName == nullptr) {
        return kStatusInvalidParameter;
    }
    const std::shared_ptr<CServerPort> created(new CServerPort(dialect, limits));
    const NtStatus status = created->listener_->Open(*attributes->ObjectName);
    if (status != kStatusSuccess) {
        return status;
    }
    *port = AddHandle(created);
    return *port != nullptr ? kStatusSuccess : kStatusNoMemory;
}

CServerPort::CServerPort(PortDialect dialect, const PortLimits& limits)
    : number_(lastPort.fetch_add(1, std::memory_order_relaxed)),
      dialect_(dialect),
      limits_(limits),
      listener_(MakePortListener()) {}

void CServerPort::OnClose() {
    // The name first: no client comes any more, and the next server may have it. Whoever accepted a
    // client just now finds `closed_` under the lock and lets it go. Threads that wait are woken
    // last, when all that they look at says that the port is closed.
    listener_->Close();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }
    for (const auto& connection : Connections()) {
        Drop(*connection);
    }
    listener_->Wake();
}

std::unique_ptr<ReceiveScratch> CServerPort::TakeScratch() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (scratches_.empty()) {
        // Unset, not cleared, as make_unique would: a packet's buffer is large and only written to.
        // NOLINTNEXTLINE(modernize-make-unique)
        return std::unique_ptr<ReceiveScratch>(new ReceiveScratch);
    }
    std::unique_ptr<ReceiveScratch> scratch = std::move(scratches_.back());
    scratches_.pop_back();
    return scratch;
}

void CServerPort::GiveScratch(std::unique_ptr<ReceiveScratch> scratch) {
    // What waits here for the next receive must not keep a dropped connection alive.
    scratch->message.connection.reset();
    scratch->message.view = {};
    const std::lock_guard<std::mutex> lock(mutex_);
    scratches_.push_back(std::move(scratch));
}

NtStatus CServerPort::Next(ReceiveScratch& scratch, const CDeadline& deadline) {
    // Most of what the listener tells is no message: a client that connects, a packet that another
    // thread has read meanwhile, a connection that ended before it was accepted. So this goes round
    // until there is a message or the time is up.
    for (int late = 0; late < kLateLooks; late += deadline.HasPassed() ? 1 : 0) {
        if (closed_.load()) {
            return kStatusPortClosed;
        }
        std::uint64_t number = 0;
        std::unique_ptr<IPacketChannel> client;
        const auto event = listener_->Wait(deadline, number, client);
        if (event == IPortListener::ListenerEvent::kReadable) {
            // Dropped since the listener saw it: no longer found.
            const auto connection = FindConnection(number);
            if (connection && TakePacket(connection, scratch)) {
                return kStatusSuccess;
            }
        } else if (event == IPortListener::ListenerEvent::kClient) {
            AddClient(std::move(client));
        } else if (event == IPortListener::ListenerEvent::kNothing && deadline.HasPassed()) {
            // Waits end early, too: by a signal, or because they cannot be told so long a time.
            return kStatusTimeout;
        }
    }
    return kStatusTimeout;
}

void CServerPort::AddClient(std::unique_ptr<IPacketChannel> channel) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!channel || closed_ || connections_.size() >= kMaxConnections) {
        // The channel is destroyed, and so the client sees its connection request fail.
        return;
    }
    const std::uint64_t number = ++lastNumber_;
    const auto connection =
        std::make_shared<CServerConnection>(shared_from_this(), number, std::move(channel));
    connections_[number] = connection;
    if (!listener_->Watch(connection->Channel(), number)) {
        connections_.erase(number);
    }
}

std::shared_ptr<CServerConnection> CServerPort::FindConnection(std::uint64_t number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = connections_.find(number);
    return found != connections_.end() ? found->second : nullptr;
}

std::vector<std::shared_ptr<CServerConnection>> CServerPort::Connections() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::shared_ptr<CServerConnection>> all;
    for (const auto& item : connections_) {
        all.push_back(item.second);
    }
    return all;
}

CServerConnection::Stage CServerPort::Drop(CServerConnection& connection) {
    // The order matters. Closed first, so that whoever takes a packet at this moment sees it
    // (IsStillOpen). Out of the table next, so that one thread alone ends the watching. The channel
    // is shut down outside the lock: that wakes threads inside it, and the client. The records
    // last: one that comes even later is ended by the thread that made it.
    const CServerConnection::Stage state = connection.Close();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (connections_.erase(connection.Number()) != 0) {
            listener_->Unwatch(connection.Channel());
        }
    }
    connection.Channel().Shutdown();
    EndPendingMessagesOf(&connection);
    return state;
}

NtStatus CServerPort::ReleaseMessage(std::uint32_t messageId, bool unmapView) {
    // The message id says it all: ids are unique in the process.
    for (const auto& connection : Connections()) {
        if (connection->Memory().ReleaseMessage(messageId, unmapView) == kStatusSuccess) {
            return kStatusSuccess;
        }
    }
    return kStatusInvalidMessage;
}

bool CServerPort::TakePacket(const std::shared_ptr<CServerConnection>& connection,
                             ReceiveScratch& scratch) {
    // Without waiting: several threads may be told of one packet, and all but one find nothing.
    const ReceiveResult result =
        connection->Channel().Receive(CDeadline::Now(), scratch.buffer, scratch.packet);
    if (result == ReceiveResult::kNothing) {
        return false;
    }
    if (result != ReceiveResult::kPacket) {
        return TakeEnd(connection, scratch);
    }
    // Packets of every kind bring back what the client has read.
    connection->SendPool().TakeBack(scratch.packet.head.freedSlots);
    IncomingMessage& message = scratch.message;
    message.connection = connection;
    message.bytes = scratch.packet.message;
    message.length = scratch.packet.head.messageLength;
    message.view = {};
    // Of the header that the client wrote only lengths and data count; what names a message is
    // filled in here, as the system does. The process is the one that the operating system names.
    message.ids = {connection->ClientProcessId(), scratch.packet.head.threadId, 0};
    bool valid = false;
    const PacketKind kind = scratch.packet.head.kind;
    // All other kinds are for servers to send.
    if (kind == PacketKind::kConnect) {
        valid = TakeConnect(connection, scratch);
    } else if (kind == PacketKind::kRequest || kind == PacketKind::kDatagram) {
        valid = TakeMessage(connection, scratch, kind == PacketKind::kRequest);
    }
    // What was mapped does not need its handle any more; the rest was sent for nothing.
    scratch.packet.DropHandles();
    return valid || TakeEnd(connection, scratch);
}

bool CServerPort::TakeEnd(const std::shared_ptr<CServerConnection>& connection,
                          ReceiveScratch& scratch) {
    // Drop tells the state before to one caller. So the server hears of each end once, and not at
    // all when it ended the connection itself or never accepted it.
    const CServerConnection::Stage state = Drop(*connection);
    if (state != CServerConnection::Stage::kConnected &&
        state != CServerConnection::Stage::kAccepted) {
        return false;
    }
    IncomingMessage& message = scratch.message;
    // The system's message of a vanished client: a header and no data, of the kind "port closed".
    message.connection = connection;
    message.view = {};
    message.type = kLpcPortClosed;
    message.length = HeaderSize(dialect_);
    message.ids = {connection->ClientProcessId(), 0, 0};
    scratch.buffer.bytes.fill(0);
    StoreField(scratch.buffer.bytes.data(), kTotalLengthOffset,
               static_cast<std::uint16_t>(message.length));
    message.bytes = scratch.buffer.bytes.data();
    return true;
}

bool CServerPort::TakeConnect(const std::shared_ptr<CServerConnection>& connection,
                              ReceiveScratch& scratch) {
    // Legacy ports limit connection data by a number of its own; but never more than the server's
    // receive buffer holds.
    const std::size_t limit =
        dialect_ == PortDialect::kLpc
            ? std::min(HeaderSize(dialect_) + limits_.connectionInfo, limits_.message)
            : limits_.message;
    // A connection request breaks the rules when it is for a port of the other kind, when it brings
    // memory of any sort, when its lengths do not fit, or when it is not the first. The change of
    // state comes last: it is the only one that leaves a mark.
    if (scratch.packet.head.flags != static_cast<std::uint32_t>(dialect_) ||
        scratch.packet.handleCount != 0 || scratch.packet.head.transferCount != 0 ||
        scratch.packet.head.viewSlot != kNoSlot ||
        !LengthsFit(dialect_, scratch.message.bytes, scratch.message.length, limit) ||
        !connection->ChangeState(CServerConnection::Stage::kAnonymous,
                                 CServerConnection::Stage::kRequested)) {
        return false;
    }
    std::unique_lock<std::mutex> lock;
    const auto record = NewPendingMessage(lock);
    if (!record) {
        return false;
    }
    // Not counted among the requests of the client: there is one at most.
    record->open = true;
    record->isConnectionRequest = true;
    record->connection = connection;
    scratch.message.ids.messageId = record->ids.messageId;
    record->ids = scratch.message.ids;
    lock.unlock();
    scratch.message.type = kLpcConnectionRequest;
    return IsStillOpen(*connection, record);
}

bool CServerPort::TakeMessage(const std::shared_ptr<CServerConnection>& connection,
                              ReceiveScratch& scratch, bool isRequest) {
    IncomingPacket& packet = scratch.packet;
    IncomingMessage& message = scratch.message;
    // A message ends its connection, unless all of this holds:
    // - the connection is complete: until then a client can only wait;
    // - its lengths fit each other and the port's limit;
    // - on a legacy port, its data block lies inside the message;
    // - it brings memory in the way of its kind of port: views belong to advanced ports, data
    //   entries to legacy ones;
    // - a request is not one too many of this client;
    // - a datagram has no data entries: its sender does not wait, and so its memory need not stay
    //   as it is.
    // But for the number of requests, a client that uses this layer's calls is told its mistakes
    // before anything is sent: what fails here came from somebody else.
    DataBlock block;
    block.count = 0;
    if (connection->State() != CServerConnection::Stage::kConnected ||
        !LengthsFit(dialect_, packet.message, message.length, limits_.message) ||
        (dialect_ == PortDialect::kLpc &&
         ReadDataBlock(packet.message, message.length, block) != kStatusSuccess) ||
        (dialect_ == PortDialect::kLpc ? packet.head.viewSlot != kNoSlot
                                       : packet.head.transferCount != 0) ||
        (isRequest ? !connection->MayAsk() : block.count != 0 || packet.head.transferCount != 0)) {
        return false;
    }
    // The record's lock is held until the record is complete: whoever guesses its id, or ends all
    // messages of the connection, waits for that.
    std::unique_lock<std::mutex> lock;
    const auto record = NewPendingMessage(lock);
    if (!record) {
        return false;
    }
    message.ids.messageId = record->ids.messageId;
    record->ids = message.ids;
    record->connection = connection;
    // The client's own number of the request, by which it finds the waiting thread for the reply.
    record->exchange = packet.head.exchange;
    record->entries.count = block.count;
    std::copy_n(block.entries.begin(), block.count, record->entries.entries.begin());
    // The handles of a packet come in this order: the view's, then the entries'.
    std::size_t handle = 0;
    const bool valid = TakeView(packet, connection->ReceivePool(), handle, message.view) &&
                       TakeEntries(packet, handle, *record);
    // Only open records are counted on the connection, since only those count down when they end
    // (PendingMessage::Clear).
    record->open = valid && isRequest;
    if (record->open) {
        record->live = CLiveCount(LiveCounter::kPendingRequests);
        connection->CountRequest(1);
    }
    // EndPendingMessage takes the lock itself.
    lock.unlock();
    if (!valid || !isRequest) {
        // A datagram needs an id, by which its view is released, but no record: nobody answers it.
        EndPendingMessage(record);
    }
    message.type = isRequest ? kLpcRequest : kLpcDatagram;
    // On advanced ports the flag says that the sender has not released the message. A request it
    // never has, as it waits for the reply; a datagram it has, unless the receiver must still give
    // back the view that came along.
    const bool continuation =
        dialect_ == PortDialect::kAlpc && (isRequest || message.view.slot != kNoSlot);
    message.type |= continuation ? kLpcContinuationRequired : 0;
    return valid && IsStillOpen(*connection, record);
}

std::shared_ptr<CServerPort> ServerPortOf(const std::shared_ptr<CObject>& object,
                                          PortDialect dialect) {
    std::shared_ptr<CServerPort> port;
    if (As<CServerPort>(object.get()) != nullptr) {
        port = std::static_pointer_cast<CServerPort>(object);
    } else if (const auto* const connection = As<CServerConnection>(object.get())) {
        port = connection->Port();
    }
    return port && port->Dialect() == dialect ? port : nullptr;
}

}  // namespace Kyr::PortLayer::Detail
