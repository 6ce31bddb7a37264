#include "portlayer/windows/PipeQueue.h"

#include <utility>

namespace Kyr::PortLayer::Detail {

namespace {

// What the queue's entries are; operations are told by their address.
constexpr ULONG_PTR kEnded = 0;
constexpr ULONG_PTR kEndedAtOnce = 1;
constexpr ULONG_PTR kWake = 2;

}  // namespace

CPipeQueue::CPipeQueue()
    : port_(Own(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, kEnded, 0))) {}

CPipeQueue::~CPipeQueue() {
    bool woken = false;
    // The system still writes to operations that have not ended.
    while (begun_.load() != 0) {
        Take(INFINITE, woken);
    }
}

bool CPipeQueue::Add(HANDLE pipe) {
    return ::CreateIoCompletionPort(pipe, Native(port_), kEnded, 0) != nullptr;
}

void CPipeQueue::Begin(const std::shared_ptr<PipeOperation>& operation) {
    operation->overlapped = {};
    operation->error = ERROR_SUCCESS;
    operation->size = 0;
    // The system holds a bare address. This keeps what it points to alive until Take.
    operation->self_ = operation;
    ++begun_;
}

void CPipeQueue::EndAtOnce(PipeOperation& operation, DWORD error) {
    operation.error = error;
    ::PostQueuedCompletionStatus(Native(port_), 0, kEndedAtOnce, &operation.overlapped);
}

std::shared_ptr<PipeOperation> CPipeQueue::Next(const CDeadline& deadline, bool& woken) {
    // -1, without a deadline, is the system's endless wait.
    auto operation = Take(static_cast<DWORD>(deadline.PollMilliseconds()), woken);
    if (woken) {
        // For the next thread.
        Wake();
    }
    return operation;
}

std::shared_ptr<PipeOperation> CPipeQueue::Take(DWORD milliseconds, bool& woken) {
    DWORD size = 0;
    ULONG_PTR kind = kEnded;
    OVERLAPPED* overlapped = nullptr;
    const BOOL succeeded =
        ::GetQueuedCompletionStatus(Native(port_), &size, &kind, &overlapped, milliseconds);
    // What the answer means:
    //   succeeded  overlapped
    //   yes        yes         an operation ended well, or EndAtOnce put it here
    //   no         yes         an operation failed: the error is its own
    //   yes        no          Wake
    //   no         no          the time is up
    const DWORD error = succeeded != 0 ? ERROR_SUCCESS : ::GetLastError();
    woken = overlapped == nullptr && succeeded != 0 && kind == kWake;
    if (overlapped == nullptr) {
        return nullptr;
    }
    PipeOperation& ended = *CONTAINING_RECORD(overlapped, PipeOperation, overlapped);
    // EndAtOnce has set the error; what the queue says here is only that it took the entry.
    if (kind != kEndedAtOnce) {
        ended.error = error;
        ended.size = size;
    }
    --begun_;
    // From now on the operation is the caller's, and may begin anew.
    return std::move(ended.self_);
}

void CPipeQueue::Wake() {
    ::PostQueuedCompletionStatus(Native(port_), 0, kWake, nullptr);
}

}  // namespace Kyr::PortLayer::Detail
