#include "kelcomm/ports/KelcommWaitPool.h"

#include <algorithm>
#include <deque>
#include <new>
#include <utility>
#include <vector>

#include <boost/thread/thread.hpp>

#include "base/Mutex.h"
#include "kelcomm/native/Handle.h"
#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

// Fixed by the product family's clients.
constexpr std::uint32_t kIdleTimeoutMs = 60000;
constexpr std::uint32_t kCloseTimeoutMs = 1000;
constexpr std::uint32_t kWakeMask = 0x1CFF;  // every kind of input that may need dispatching
constexpr int kMessagesPerWake = 100;
// The operating system waits for no more handles at once.
constexpr std::size_t kHandlesPerWait = 64;
constexpr std::uint32_t kRemoveMessage = 1;  // PM_REMOVE

}  // namespace

// Who waits for whom, and who ends whom:
//
// A caller waits for its job. Either the thread that took the job finishes it, with the status of
// the exchange, or Close does, with STATUS_UNSUCCESSFUL; whoever comes second finds it finished.
//
// A thread ends itself after a minute without work: it takes itself off the list and closes its own
// handle. Once `stopping` is set, list and handles are Close's: a thread then only returns, and
// Close, which waits for the handle, closes it. Without that rule both would close it.
//
// A thread that is still in its exchange when Close's second is over is ended by force. If even
// that fails, it goes on with what it holds: its job, and `Shared`, which lives as long as any
// thread does.

// One exchange. It lives until both its caller and its thread have let go of it; `mutex` of Shared
// guards what changes.
struct CKelcommWaitPool::Job {
    const NtApi::Handle port;
    void* const request;
    void* const reply;
    const NtApi::Handle finishedEvent;  // the caller's; not touched once the job is finished

    Base::CCondition changed;
    bool finished = false;
    NtApi::NtStatus status = NtApi::kStatusUnsuccessful;

    Job(NtApi::Handle portToUse, void* requestToSend, void* replyToFill, NtApi::Handle event)
        : port(portToUse), request(requestToSend), reply(replyToFill), finishedEvent(event) {}
};

struct CKelcommWaitPool::Shared {
    struct Worker {
        Native::CHandle handle;    // nothing until its creator has stored it
        std::shared_ptr<Job> job;  // what it is busy with
    };

    /// What a new thread is given.
    using Parameter = std::pair<std::shared_ptr<Shared>, std::shared_ptr<Worker>>;

    explicit Shared(const Native::NativeFunctions& functions) : native(functions) {}

    /// False when the thread cannot be started.
    static bool StartWorker(const std::shared_ptr<Shared>& shared) KYR_REQUIRES(shared->mutex);
    static std::uint32_t KYR_NTAPI WorkerMain(void* parameter);
    void Work(const std::shared_ptr<Worker>& self);
    /// The next job, or null when `self` is to end.
    std::shared_ptr<Job> Take(const std::shared_ptr<Worker>& self);
    /// Hands the status to the job's caller, unless it has one.
    void Finish(Job& job, NtApi::NtStatus status) const KYR_REQUIRES(mutex);
    /// Returns when the job is finished.
    NtApi::NtStatus Await(Job& job);

    const Native::NativeFunctions& native;

    Base::CMutex mutex;  // guards also jobs and workers
    /// Set while there is something to do for idle threads.
    Native::CHandle idleEvent KYR_GUARDED_BY(mutex);
    std::deque<std::shared_ptr<Job>> waiting KYR_GUARDED_BY(mutex);
    std::vector<std::shared_ptr<Worker>> workers KYR_GUARDED_BY(mutex);
    std::size_t idleWorkers KYR_GUARDED_BY(mutex) = 0;
    bool stopping KYR_GUARDED_BY(mutex) = false;
};

namespace {

/// Dispatches at most kMessagesPerWake queued messages of the calling thread.
void DispatchMessages(const Native::NativeFunctions& native) {
    NtApi::WindowMessage message{};
    // Limited, so that a flood of messages does not keep the caller from the reply that has come.
    for (int i = 0; i < kMessagesPerWake; ++i) {
        if (native.PeekMessageW(&message, nullptr, 0, 0, kRemoveMessage) == 0) {
            return;
        }
        native.TranslateMessage(&message);
        native.DispatchMessageW(&message);
    }
}

/// Returns when the event is set, or when waiting for messages is not possible.
void PumpUntil(const Native::NativeFunctions& native, NtApi::Handle event) {
    for (;;) {
        const std::uint32_t woken =
            native.MsgWaitForMultipleObjects(1, &event, 0, NtApi::kInfinite, kWakeMask);
        // One past the handles means messages; anything else is the event, or a system that cannot
        // wait for both.
        if (woken != NtApi::kWaitObject0 + 1) {
            return;
        }
        DispatchMessages(native);
    }
}

}  // namespace

bool CKelcommWaitPool::Shared::StartWorker(const std::shared_ptr<Shared>& shared) try {
    // All that can run out of memory comes before the thread: afterwards there is no way back.
    const auto worker = std::make_shared<Worker>();
    auto parameter = std::make_unique<Parameter>(shared, worker);
    shared->workers.push_back(worker);
    // The new thread first takes the mutex, which is held until its handle is stored.
    worker->handle = Native::CHandle(
        shared->native,
        shared->native.CreateThread(nullptr, 0, &WorkerMain, parameter.get(), 0, nullptr));
    if (!worker->handle) {
        shared->workers.pop_back();
        return false;
    }
    static_cast<void>(parameter.release());  // owned by the thread from here on
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

std::uint32_t KYR_NTAPI CKelcommWaitPool::Shared::WorkerMain(void* parameter) {
    const std::unique_ptr<Parameter> own(static_cast<Parameter*>(parameter));
    own->first->Work(own->second);
    return 0;
}

void CKelcommWaitPool::Shared::Work(const std::shared_ptr<Worker>& self) {
    while (const std::shared_ptr<Job> job = Take(self)) {
        const NtApi::NtStatus status =
            native.NtRequestWaitReplyPort(job->port, job->request, job->reply);
        const Base::CLock lock(mutex);
        // Idle in Close's eyes from here on: a thread that it ends now has no caller to let down.
        self->job.reset();
        Finish(*job, status);
    }
}

void CKelcommWaitPool::Shared::Finish(Job& job, NtApi::NtStatus status) const {
    if (!job.finished) {
        job.finished = true;
        job.status = status;
        job.changed.NotifyAll();
        // The event is the caller's, who closes it once Await has returned. Await needs the mutex
        // that is held here, so the event is still open.
        native.SetEvent(job.finishedEvent);
    }
}

NtApi::NtStatus CKelcommWaitPool::Shared::Await(Job& job) {
    // An exchange is no interruption point, whoever makes it.
    const boost::this_thread::disable_interruption toTheEnd;
    Base::CLock lock(mutex);
    while (!job.finished) {
        job.changed.Wait(lock);
    }
    return job.status;
}

std::shared_ptr<CKelcommWaitPool::Job> CKelcommWaitPool::Shared::Take(
    const std::shared_ptr<Worker>& self) {
    Base::CLock lock(mutex);
    std::uint32_t woken = NtApi::kWaitObject0;
    // The queue is looked at once more after a wait that timed out: a job may have come before the
    // mutex was had again, and Submit has started no thread for it, since this one was still idle.
    for (;;) {
        if (stopping) {
            return nullptr;  // Close waits for this thread and closes its handle
        }
        if (!waiting.empty()) {
            self->job = waiting.front();
            waiting.pop_front();
            // The event stays set for the other idle threads while there are jobs. Set and reset
            // under the mutex, it is never reset behind the back of a job that has just come.
            if (waiting.empty()) {
                native.ResetEvent(idleEvent.Get());
            }
            return self->job;
        }
        if (woken != NtApi::kWaitObject0) {
            break;  // a minute without work, or waiting is not possible here
        }
        ++idleWorkers;
        const NtApi::Handle event = idleEvent.Get();
        lock.Unlock();
        woken = native.WaitForSingleObject(event, kIdleTimeoutMs);
        lock.Lock();
        --idleWorkers;
    }
    // Still under the mutex: Close finds this thread either in the list or gone altogether.
    workers.erase(std::find(workers.begin(), workers.end(), self));
    self->handle.Reset();
    return nullptr;
}

CKelcommWaitPool::CKelcommWaitPool(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

CKelcommWaitPool::~CKelcommWaitPool() {
    Close();
}

std::unique_ptr<CKelcommWaitPool> CKelcommWaitPool::Create(
    const Native::NativeFunctions& native) try {
    auto shared = std::make_shared<Shared>(native);
    const Base::CLock lock(shared->mutex);
    shared->idleEvent = Native::CHandle(native, native.CreateEventW(nullptr, 1, 0, nullptr));
    if (!shared->idleEvent) {
        return nullptr;
    }
    return std::unique_ptr<CKelcommWaitPool>(new CKelcommWaitPool(std::move(shared)));
} catch (const std::bad_alloc&) {
    return nullptr;
}

NtApi::NtStatus CKelcommWaitPool::Exchange(NtApi::Handle port, void* request, void* reply) {
    const Native::NativeFunctions& native = shared_->native;
    const Native::CHandle finishedEvent(native, native.CreateEventW(nullptr, 0, 0, nullptr));
    if (!finishedEvent) {
        return NtApi::kStatusUnsuccessful;
    }
    const std::shared_ptr<Job> job = Submit(port, request, reply, finishedEvent.Get());
    if (job == nullptr) {
        return NtApi::kStatusUnsuccessful;
    }
    // The event only ends the pumping. The job says whether the exchange is over: where there is
    // nothing to pump, the second wait is the real one, and the messages are ours again afterwards.
    PumpUntil(native, finishedEvent.Get());
    return shared_->Await(*job);
}

std::shared_ptr<CKelcommWaitPool::Job> CKelcommWaitPool::Submit(NtApi::Handle port, void* request,
                                                                void* reply,
                                                                NtApi::Handle finishedEvent) try {
    auto job = std::make_shared<Job>(port, request, reply, finishedEvent);
    const Base::CLock lock(shared_->mutex);
    if (shared_->stopping) {
        return nullptr;
    }
    shared_->waiting.push_back(job);
    // An idle thread for each waiting job, else a new one. Threads that have been woken for an
    // earlier job, but have not taken it yet, count as idle, and so does their job as waiting.
    if (shared_->waiting.size() > shared_->idleWorkers && !Shared::StartWorker(shared_)) {
        // Nobody else can have taken it: the mutex has been held since it was put in.
        shared_->waiting.pop_back();
        return nullptr;
    }
    shared_->native.SetEvent(shared_->idleEvent.Get());
    return job;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void CKelcommWaitPool::Close() {
    const Native::NativeFunctions& native = shared_->native;
    std::vector<std::shared_ptr<Shared::Worker>> workers;
    std::deque<std::shared_ptr<Job>> abandoned;
    {
        const Base::CLock lock(shared_->mutex);
        // Never reset: the event stays set, since nobody takes jobs any more.
        shared_->stopping = true;
        workers.swap(shared_->workers);
        abandoned.swap(shared_->waiting);
        native.SetEvent(shared_->idleEvent.Get());
        // No thread has seen these; their callers need not wait for the threads to end.
        for (const auto& job : abandoned) {
            shared_->Finish(*job, NtApi::kStatusUnsuccessful);
        }
    }

    // One second for all groups together. Who is late is told below by each thread alone, so that
    // neither a group's result nor a wait that is not possible here matters.
    const std::uint32_t start = native.GetTickCount();
    for (std::size_t first = 0; first < workers.size(); first += kHandlesPerWait) {
        NtApi::Handle handles[kHandlesPerWait];
        const std::size_t count = std::min(kHandlesPerWait, workers.size() - first);
        for (std::size_t i = 0; i < count; ++i) {
            handles[i] = workers[first + i]->handle.Get();
        }
        const std::uint32_t elapsed = std::min(native.GetTickCount() - start, kCloseTimeoutMs);
        native.WaitForMultipleObjects(static_cast<std::uint32_t>(count), handles, 1,
                                      kCloseTimeoutMs - elapsed);
    }
    for (const auto& worker : workers) {
        if (native.WaitForSingleObject(worker->handle.Get(), 0) != NtApi::kWaitObject0) {
            // Under the mutex, so that no thread dies while it holds it.
            const Base::CLock lock(shared_->mutex);
            if (native.TerminateThread(worker->handle.Get(), 1) != 0 && worker->job != nullptr) {
                // Its caller's messages are out of the dead thread's reach. While a thread lives
                // its caller must go on waiting, or the reply would be written where nobody owns
                // the memory any more.
                shared_->Finish(*worker->job, NtApi::kStatusUnsuccessful);
            }
        }
        worker->handle.Reset();
    }
    const Base::CLock lock(shared_->mutex);
    shared_->idleEvent.Reset();
}

}  // namespace Kyr::Connectors::Common::Kelcomm
