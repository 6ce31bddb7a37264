// A port as a listening socket in the run directory, and epoll over the sockets of its clients.
#include <cerrno>
#include <memory>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "portlayer/linux/NamedFile.h"
#include "portlayer/linux/Peer.h"
#include "portlayer/linux/SocketChannel.h"
#include "portlayer/server/PortListener.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// What epoll tells us: one of these, or the number of a channel moved behind them.
constexpr std::uint64_t kListener = 0;
constexpr std::uint64_t kWake = 1;
constexpr std::uint64_t kFirstChannel = 2;
// How long a port out of descriptors rests before it tries to take a client again. Our choice.
constexpr std::chrono::milliseconds kRest{10};

bool WatchDescriptor(int poll, int descriptor, std::uint64_t number) {
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.u64 = number;
    return ::epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

int SocketOf(IPacketChannel& channel) {
    return static_cast<CSocketChannel&>(channel).Socket();
}

// Epoll tells of a socket as long as it has something, to one waiting thread after another. So
// nothing is lost when a thread does not use what it was told, and several threads may be told the
// same: all but one find nothing then.
class CSocketListener final : public IPortListener {
  public:
    ~CSocketListener() override { CSocketListener::Close(); }
    NtStatus Open(const UnicodeString& name) override;

    ListenerEvent Wait(const CDeadline& deadline, std::uint64_t& number,
                       std::unique_ptr<IPacketChannel>& client) override;
    bool Watch(IPacketChannel& channel, std::uint64_t number) override {
        return WatchDescriptor(poll_.Get(), SocketOf(channel), kFirstChannel + number);
    }
    void Unwatch(IPacketChannel& channel) override {
        ::epoll_ctl(poll_.Get(), EPOLL_CTL_DEL, SocketOf(channel), nullptr);
    }
    void Close() override;
    void Wake() override {
        // The waiting threads see this one after another; it is never read.
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(wake_.Get(), &one, sizeof one);
    }

  private:
    NtStatus TakeName(const UnicodeString& name);
    std::unique_ptr<IPacketChannel> Accept();

    // Beside the socket stands a file that the port's owner holds: so a name left by a dead process
    // is told from one in use, and taken over.
    std::unique_ptr<CNamedFile> ownership_;
    CFileDescriptor directory_;
    std::string socketFile_;
    CFileDescriptor listener_;
    CFileDescriptor poll_;
    CFileDescriptor wake_;
};

NtStatus CSocketListener::TakeName(const UnicodeString& name) {
    NtStatus status = Locate(NameOf(name), "port", true, directory_, socketFile_);
    auto ownership = std::make_unique<CNamedFile>();
    if (status == kStatusSuccess) {
        status = ownership->OpenOrCreate(NameOf(name), "lock", 0, nullptr);
    }
    if (status != kStatusSuccess) {
        return status;
    }
    if (!ownership->WasCreated()) {
        return Failed(socketFile_, kStatusObjectNameCollision, "somebody serves there");
    }
    ownership_ = std::move(ownership);
    // What stands there now was left by a process that is gone.
    ::unlinkat(directory_.Get(), socketFile_.c_str(), 0);
    return ListenSocket(PathIn(directory_, socketFile_), listener_) ? kStatusSuccess
                                                                    : Failed(socketFile_);
}

void CSocketListener::Close() {
    if (ownership_) {
        // First: afterwards the name may be that of the next server.
        ::unlinkat(directory_.Get(), socketFile_.c_str(), 0);
        ownership_.reset();
    }
}

NtStatus CSocketListener::Open(const UnicodeString& name) {
    const NtStatus status = TakeName(name);
    if (status != kStatusSuccess) {
        return status;
    }
    poll_.Reset(::epoll_create1(EPOLL_CLOEXEC));
    wake_.Reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const bool watching = poll_.IsOpen() && wake_.IsOpen() &&
                          WatchDescriptor(poll_.Get(), listener_.Get(), kListener) &&
                          WatchDescriptor(poll_.Get(), wake_.Get(), kWake);
    return watching ? kStatusSuccess : Failed({});
}

IPortListener::ListenerEvent CSocketListener::Wait(const CDeadline& deadline, std::uint64_t& number,
                                                   std::unique_ptr<IPacketChannel>& client) {
    epoll_event event = {};
    // One event a call: the other ones are for other threads.
    if (::epoll_wait(poll_.Get(), &event, 1, deadline.PollMilliseconds()) <= 0) {
        return ListenerEvent::kNothing;
    }
    if (event.data.u64 == kListener) {
        client = Accept();
        return ListenerEvent::kClient;
    }
    if (event.data.u64 == kWake) {
        return ListenerEvent::kWoken;
    }
    number = event.data.u64 - kFirstChannel;
    return ListenerEvent::kReadable;
}

std::unique_ptr<IPacketChannel> CSocketListener::Accept() {
    // The listener does not block: the client may have gone, or be another thread's by now.
    CFileDescriptor socket(::accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!socket.IsOpen() &&
        (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)) {
        // Epoll would tell of the client again and again without end. Not after Wake.
        WaitFor(wake_.Get(), POLLIN, CDeadline::In(kRest));
    }
    if (!socket.IsOpen() || !IsSameUser(socket.Get())) {
        return nullptr;
    }
    return std::make_unique<CSocketChannel>(std::move(socket));
}

}  // namespace

std::unique_ptr<IPortListener> MakePortListener() {
    return std::make_unique<CSocketListener>();
}

}  // namespace Kyr::PortLayer::Detail
