#include "portlayer/windows/PipeChannel.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/Peer.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

CSystemHandle NewEvent() {
    return Own(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

/// An operation that only its starter waits for: the lowest bit of the event keeps it out of the
/// queue that the pipe may belong to.
OVERLAPPED Overlapped(const CSystemHandle& event) {
    OVERLAPPED overlapped = {};
    overlapped.hEvent = reinterpret_cast<HANDLE>(event.Get() | 1);
    return overlapped;
}

/// The packet in one piece.
std::vector<std::uint8_t> Gather(const OutgoingPacket& packet) {
    std::vector<std::uint8_t> bytes(sizeof packet.head + packet.head.messageLength);
    std::memcpy(bytes.data(), &packet.head, sizeof packet.head);
    if (packet.head.messageLength != 0) {
        std::memcpy(bytes.data() + sizeof packet.head, packet.message, packet.head.messageLength);
    }
    return bytes;
}

/// Opens the memory that the packet brings. Its name is the peer's word, and as good as a handle
/// of the peer's: only sections of our own user open.
void OpenMemory(const PacketBuffer& buffer, std::size_t size, IncomingPacket& packet) {
    // What the packet before brought.
    packet.DropHandles();
    PacketHead head;
    if (size < sizeof head) {
        return;
    }
    std::memcpy(&head, buffer.bytes.data(), sizeof head);
    if (head.viewSlot == kNoSlot || head.viewSlotSize == 0) {
        return;
    }
    CSystemHandle section =
        Own(::OpenFileMappingW(FILE_MAP_READ, FALSE, SectionName(head.viewMemory).c_str()));
    if (section.IsOpen()) {
        packet.handles[packet.handleCount++] = std::move(section);
    }
}

ReceiveResult ResultOf(DWORD error) {
    // More than the longest packet: not a peer of this layer.
    return error == ERROR_MORE_DATA ? ReceiveResult::kMalformed : ReceiveResult::kClosed;
}

}  // namespace

/// Keeps the pipe open during one call.
class CPipeChannel::CUse {
  public:
    explicit CUse(CPipeChannel& channel) : channel_(channel), entered_(channel.Enter()) {}
    CUse(const CUse&) = delete;
    CUse& operator=(const CUse&) = delete;
    ~CUse() {
        if (entered_) {
            channel_.Leave();
        }
    }
    explicit operator bool() const { return entered_; }

  private:
    CPipeChannel& channel_;
    const bool entered_;
};

CPipeChannel::CPipeChannel(CSystemHandle pipe, PipePeer peer, std::shared_ptr<CPipeQueue> queue)
    : peer_(std::move(peer)),
      queue_(std::move(queue)),
      closing_(NewEvent()),
      pipe_(std::move(pipe)) {}

CPipeChannel::~CPipeChannel() {
    Shutdown();
}

bool CPipeChannel::Enter() {
    const std::lock_guard<std::mutex> lock(mutex_);
    // Nobody enters any more once it is closed, so that the users only become fewer.
    users_ += closed_ ? 0 : 1;
    return !closed_;
}

void CPipeChannel::Leave() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (--users_ == 0) {
        pipe_.Reset();
    }
}

void CPipeChannel::Shutdown() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (closed_) {
            return;
        }
        closed_ = true;
        // The event is for threads that are about to wait, the call for what the system has in
        // hand.
        ::SetEvent(Native(closing_));
        ::CancelIoEx(Native(pipe_), nullptr);
    }
    // The channel's own use ends.
    Leave();
}

bool CPipeChannel::Watch(std::uint64_t number) {
    read_ = std::make_shared<PipeRead>();
    read_->number = number;
    const CUse use(*this);
    return use && ReadAhead();
}

bool CPipeChannel::ReadAhead() {
    // First: the read may end, and another thread be told of it, before ReadFile has returned.
    queue_->Begin(read_);
    const BOOL ended =
        ::ReadFile(Native(pipe_), read_->buffer.bytes.data(),
                   static_cast<DWORD>(read_->buffer.bytes.size()), nullptr, &read_->overlapped);
    const DWORD error = ended != 0 ? ERROR_SUCCESS : ::GetLastError();
    // What ended well or half so comes to the queue by itself.
    if (ended == 0 && error != ERROR_IO_PENDING && error != ERROR_MORE_DATA) {
        queue_->EndAtOnce(*read_, error);
        return true;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) {
        // Too late for Shutdown to call it back.
        ::CancelIoEx(Native(pipe_), &read_->overlapped);
    }
    return true;
}

ReceiveResult CPipeChannel::Receive(const CDeadline& deadline, PacketBuffer& buffer,
                                    IncomingPacket& packet) {
    const CUse use(*this);
    if (!use) {
        return ReceiveResult::kClosed;
    }
    std::size_t size = 0;
    const ReceiveResult result =
        queue_ ? TakeReadAhead(buffer, size) : Read(deadline, buffer, size);
    if (result != ReceiveResult::kPacket) {
        return result;
    }
    // Handles do not travel here. Opened before the checks, which count them.
    OpenMemory(buffer, size, packet);
    // Data of requests is read in the memory of the client, never sent (RequestData.cpp).
    if (!ParsePacket(buffer, size, packet) || packet.head.transferCount != 0) {
        packet.DropHandles();
        return ReceiveResult::kMalformed;
    }
    return ReceiveResult::kPacket;
}

ReceiveResult CPipeChannel::TakeReadAhead(PacketBuffer& buffer, std::size_t& size) {
    if (read_->error != ERROR_SUCCESS) {
        return ResultOf(read_->error);
    }
    size = read_->size;
    std::copy_n(read_->buffer.bytes.begin(), size, buffer.bytes.begin());
    // The bytes are out: from here on another thread may be told of the next packet.
    ReadAhead();
    return ReceiveResult::kPacket;
}

ReceiveResult CPipeChannel::Read(const CDeadline& deadline, PacketBuffer& buffer,
                                 std::size_t& size) {
    const CSystemHandle event = NewEvent();
    OVERLAPPED overlapped = Overlapped(event);
    DWORD got = 0;
    const BOOL ended = ::ReadFile(Native(pipe_), buffer.bytes.data(),
                                  static_cast<DWORD>(buffer.bytes.size()), nullptr, &overlapped);
    // One that ended at once tells its size in the same way as one that is waited for.
    const DWORD error = ended != 0 ? ERROR_IO_PENDING : ::GetLastError();
    if (error != ERROR_IO_PENDING) {
        return ResultOf(error);
    }
    const DWORD result = Finish(overlapped, Native(event), deadline, got);
    size = got;
    if (result == ERROR_OPERATION_ABORTED) {
        // Called back by us, for one of two reasons: the channel was shut down, or the time was up.
        const bool closed = ::WaitForSingleObject(Native(closing_), 0) == WAIT_OBJECT_0;
        return closed ? ReceiveResult::kClosed : ReceiveResult::kNothing;
    }
    return result == ERROR_SUCCESS ? ReceiveResult::kPacket : ResultOf(result);
}

DWORD CPipeChannel::Finish(OVERLAPPED& overlapped, HANDLE event, const CDeadline& deadline,
                           DWORD& size) {
    const HANDLE both[] = {event, Native(closing_)};
    const auto patience = static_cast<DWORD>(deadline.PollMilliseconds());
    if (::WaitForMultipleObjects(2, both, FALSE, patience) != WAIT_OBJECT_0) {
        ::CancelIoEx(Native(pipe_), &overlapped);
    }
    // What was called back may have ended well meanwhile: then it is data. Waited for in any case:
    // until it has ended the system writes to the caller's buffer and to the caller's stack.
    const BOOL ended = ::GetOverlappedResult(Native(pipe_), &overlapped, &size, TRUE);
    return ended != 0 ? ERROR_SUCCESS : ::GetLastError();
}

SendResult CPipeChannel::Send(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                              const CDeadline& deadline) {
    CPacketLoan loan(packet, pool, freed);
    const CUse use(*this);
    if (!use) {
        loan.NotSent();
        return SendResult::kClosed;
    }
    // A write is a message of the pipe: the packet must be one piece.
    const std::vector<std::uint8_t> bytes = Gather(packet);
    const CSystemHandle event = NewEvent();
    OVERLAPPED overlapped = Overlapped(event);
    DWORD sent = 0;
    const BOOL ended = ::WriteFile(Native(pipe_), bytes.data(), static_cast<DWORD>(bytes.size()),
                                   nullptr, &overlapped);
    DWORD error = ended != 0 ? ERROR_IO_PENDING : ::GetLastError();
    if (error == ERROR_IO_PENDING) {
        error = Finish(overlapped, Native(event), deadline, sent);
    }
    if (error == ERROR_SUCCESS) {
        loan.Sent();
        return SendResult::kSent;
    }
    loan.NotSent();
    const bool closed = ::WaitForSingleObject(Native(closing_), 0) == WAIT_OBJECT_0;
    return error == ERROR_OPERATION_ABORTED && !closed ? SendResult::kTimedOut
                                                       : SendResult::kClosed;
}

NtStatus OpenChannel(const UnicodeString& name, const CDeadline& deadline,
                     std::unique_ptr<IPacketChannel>& channel) {
    std::wstring port;
    const NtStatus status = PortNameOf(name, port);
    if (status != kStatusSuccess) {
        return status;
    }
    const std::wstring path = PipeName(port);
    // The server learns who we are and cannot act as us.
    constexpr DWORD kFlags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    CSystemHandle pipe;
    while (!pipe.IsOpen()) {
        pipe = Own(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                 OPEN_EXISTING, kFlags, nullptr));
        if (pipe.IsOpen()) {
            break;
        }
        // Busy: there is a server, and all its instances are taken. Any other error: there is none
        // for us.
        const DWORD error = ::GetLastError();
        if (error != ERROR_PIPE_BUSY) {
            return error == ERROR_ACCESS_DENIED ? kStatusAccessDenied : kStatusObjectNameNotFound;
        }
        if (deadline.HasPassed()) {
            return kStatusTimeout;
        }
        // Zero would be a default of the server's; -1 waits for ever.
        ::WaitNamedPipeW(path.c_str(),
                         std::max(DWORD{1}, static_cast<DWORD>(deadline.PollMilliseconds())));
    }
    // A client's end reads bytes unless it asks for messages.
    DWORD mode = PIPE_READMODE_MESSAGE;
    ULONG processId = 0;
    if (::SetNamedPipeHandleState(Native(pipe), &mode, nullptr, nullptr) == 0 ||
        ::GetNamedPipeServerProcessId(Native(pipe), &processId) == 0 ||
        !IsProcessOfSameUser(processId)) {
        return kStatusAccessDenied;
    }
    PipePeer peer;
    peer.processId = processId;
    channel = std::make_unique<CPipeChannel>(std::move(pipe), std::move(peer), nullptr);
    return kStatusSuccess;
}

}  // namespace Kyr::PortLayer::Detail
