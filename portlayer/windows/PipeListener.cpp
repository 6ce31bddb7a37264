// A port as a named pipe, and a completion queue over the instances of its clients.
#include <algorithm>
#include <mutex>
#include <vector>

#include "portlayer/server/PortListener.h"
#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/Peer.h"
#include "portlayer/windows/PipeChannel.h"
#include "portlayer/windows/PipeQueue.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// Instances that wait for clients. Our choice; when all are taken clients wait for the next.
constexpr std::size_t kBacklog = 4;
// What the system keeps of unread messages in each direction: a few of the longest. Our choice.
constexpr DWORD kBufferSize = 256 * 1024;
// How long a port that can hold no more clients rests before it tries again. Our choice.
constexpr DWORD kRestMilliseconds = 10;

/// An instance that waits for a client.
struct PipeConnect : PipeOperation {
    PipeConnect() : PipeOperation(true) {}
    CSystemHandle pipe;
};

// An instance of the pipe goes through two hands:
//   listening_  waits for a client; the connect is an operation of the queue
//   a channel   Wait took the connect from the queue, and put a new instance into listening_
// Unlike a socket that listens, a connect is told once. An instance that cannot be accepted yet
// goes back into the queue, so that a later Wait tells of it again.
class CPipeListener final : public IPortListener {
  public:
    ~CPipeListener() override;
    NtStatus Open(const UnicodeString& name) override;

    ListenerEvent Wait(const CDeadline& deadline, std::uint64_t& number,
                       std::unique_ptr<IPacketChannel>& client) override;
    bool Watch(IPacketChannel& channel, std::uint64_t number) override {
        return static_cast<CPipeChannel&>(channel).Watch(number);
    }
    // A channel that is not watched any more is shut down, which ends its read.
    void Unwatch(IPacketChannel&) override {}
    void Close() override;
    void Wake() override {
        ::SetEvent(Native(wake_));
        queue_->Wake();
    }

  private:
    bool Listen();
    NtStatus Claim(const std::wstring& port);
    std::unique_ptr<IPacketChannel> Accept(const std::shared_ptr<PipeOperation>& operation);

    const std::shared_ptr<CPipeQueue> queue_ = std::make_shared<CPipeQueue>();
    const CSystemHandle wake_ = Own(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::wstring path_;

    std::mutex mutex_;
    // Guarded by mutex_.
    CSystemHandle claim_;
    std::vector<std::shared_ptr<PipeConnect>> listening_;
};

CPipeListener::~CPipeListener() {
    CPipeListener::Close();
}

/// Pipes have instances, so their names alone do not tell a second server from the first; the flag
/// for the first instance would, but not every system heeds it.
NtStatus CPipeListener::Claim(const std::wstring& port) {
    SECURITY_ATTRIBUTES* const ownUser = OwnUserOnly();
    if (ownUser == nullptr) {
        return kStatusAccessDenied;
    }
    // Held as long as the port has its name; it ends with the process, however that ends.
    const HANDLE claim = ::CreateEventW(ownUser, TRUE, FALSE, PipeClaimName(port).c_str());
    const DWORD error = ::GetLastError();
    claim_ = Own(claim);
    return claim_.IsOpen() && error != ERROR_ALREADY_EXISTS ? kStatusSuccess
                                                            : kStatusObjectNameCollision;
}

NtStatus CPipeListener::Open(const UnicodeString& name) {
    std::wstring port;
    NtStatus status = PortNameOf(name, port);
    if (status == kStatusSuccess) {
        status = Claim(port);
    }
    if (status != kStatusSuccess) {
        return status;
    }
    path_ = PipeName(port);
    if (!queue_->IsOpen() || !wake_.IsOpen()) {
        return kStatusNoMemory;
    }
    while (listening_.size() < kBacklog) {
        if (!Listen()) {
            // A pipe of that name that is not of this layer, or another user's.
            return kStatusObjectNameCollision;
        }
    }
    return kStatusSuccess;
}

/// One more instance waits. REQUIRES: mutex_ is held, or nobody else knows the listener.
bool CPipeListener::Listen() {
    const DWORD first = listening_.empty() ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
    auto connect = std::make_shared<PipeConnect>();
    connect->pipe = Own(::CreateNamedPipeW(
        path_.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | first,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
        PIPE_UNLIMITED_INSTANCES, kBufferSize, kBufferSize, 0, OwnUserOnly()));
    if (!connect->pipe.IsOpen() || !queue_->Add(Native(connect->pipe))) {
        return false;
    }
    // Before the system knows: its end may come at once, on a thread that searches the list.
    listening_.push_back(connect);
    queue_->Begin(connect);
    const BOOL ended = ::ConnectNamedPipe(Native(connect->pipe), &connect->overlapped);
    const DWORD error = ended != 0 ? ERROR_IO_PENDING : ::GetLastError();
    if (error != ERROR_IO_PENDING) {
        // A client that was here first is as good as one that comes.
        queue_->EndAtOnce(*connect, error == ERROR_PIPE_CONNECTED ? ERROR_SUCCESS : error);
    }
    return true;
}

IPortListener::ListenerEvent CPipeListener::Wait(const CDeadline& deadline, std::uint64_t& number,
                                                 std::unique_ptr<IPacketChannel>& client) {
    bool woken = false;
    const auto operation = queue_->Next(deadline, woken);
    if (woken) {
        return ListenerEvent::kWoken;
    }
    if (!operation) {
        return ListenerEvent::kNothing;
    }
    // Of a read or a connect; those that failed are told as well, and found out by Receive or by
    // Accept.
    if (!operation->isConnect) {
        number = static_cast<PipeRead&>(*operation).number;
        return ListenerEvent::kReadable;
    }
    client = Accept(operation);
    return ListenerEvent::kClient;
}

std::unique_ptr<IPacketChannel> CPipeListener::Accept(
    const std::shared_ptr<PipeOperation>& operation) {
    CSystemHandle pipe;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto item = std::find(listening_.begin(), listening_.end(), operation);
        if (item == listening_.end()) {
            return nullptr;  // closed meanwhile
        }
        const std::shared_ptr<PipeConnect> connect = *item;
        // The next one waits before this one is served: a name without instances does not exist.
        if (Listen()) {
            pipe = std::move(connect->pipe);
            listening_.erase(std::find(listening_.begin(), listening_.end(), connect));
        } else {
            // As if it had connected just now.
            queue_->Begin(connect);
            queue_->EndAtOnce(*connect, ERROR_SUCCESS);
        }
    }
    if (!pipe.IsOpen()) {
        ::WaitForSingleObject(Native(wake_), kRestMilliseconds);
        return nullptr;
    }
    ULONG processId = 0;
    if (::GetNamedPipeClientProcessId(Native(pipe), &processId) == 0 ||
        !IsProcessOfSameUser(processId)) {
        return nullptr;
    }
    PipePeer peer;
    peer.processId = processId;
    peer.process = Own(
        ::OpenProcess(PROCESS_VM_READ | PROCESS_VM_WRITE | PROCESS_VM_OPERATION, FALSE, processId));
    return std::make_unique<CPipeChannel>(std::move(pipe), std::move(peer), queue_);
}

void CPipeListener::Close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& connect : listening_) {
        // Its operation comes to the queue once more, and finds nobody.
        ::CancelIoEx(Native(connect->pipe), nullptr);
        connect->pipe.Reset();
    }
    listening_.clear();
    claim_.Reset();
}

}  // namespace

std::unique_ptr<IPortListener> MakePortListener() {
    return std::make_unique<CPipeListener>();
}

}  // namespace Kyr::PortLayer::Detail
