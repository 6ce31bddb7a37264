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
// that fails, it goes on with what it holds: its job, and `CShared`, which lives as long as any
// thread does.

// One exchange. It lives until both its caller and its thread have let go of it. The mutex of
// CShared guards what changes: a struct cannot say that of a mutex that is not its own.
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

// What callers, threads and Close have in common: the jobs that wait, and the threads.
class CKelcommWaitPool::CShared : public std::enable_shared_from_this<CShared> {
  public:
    explicit CShared(const Native::NativeFunctions& native) : native_(native) {}

    /// Once, before anything else. False when it cannot be made.
    bool MakeIdleEvent();
    /// Null when no thread can take the exchange.
    std::shared_ptr<Job> Submit(NtApi::Handle port, void* request, void* reply,
                                NtApi::Handle finishedEvent);
    /// Returns when the job is finished.
    NtApi::NtStatus Await(Job& job);
    void Close();

    const Native::NativeFunctions& GetNative() const { return native_; }

  private:
    struct Worker {
        Native::CHandle handle;    // nothing until its creator has stored it
        std::shared_ptr<Job> job;  // what it is busy with
    };
    using Workers = std::vector<std::shared_ptr<Worker>>;

    /// What a new thread is given.
    using Parameter = std::pair<std::shared_ptr<CShared>, std::shared_ptr<Worker>>;

    // On the thread that submits.
    /// False when the thread cannot be started.
    bool StartWorker() KYR_REQUIRES(mutex_);

    // On the threads of the pool.
    static std::uint32_t KYR_NTAPI WorkerMain(void* parameter);
    void Work(const std::shared_ptr<Worker>& self);
    /// The next job, or null when `self` is to end.
    std::shared_ptr<Job> Take(const std::shared_ptr<Worker>& self);

    // On the thread that closes.
    /// Takes the threads, which are Close's from here on, and finishes the jobs that none has
    /// taken.
    Workers StopWork();
    /// Returns when they have all ended, or their second is over.
    void AwaitEnd(const Workers& workers) const;
    void EndByForce(const Worker& worker);

    /// Hands the status to the job's caller, unless it has one.
    void Finish(Job& job, NtApi::NtStatus status) const KYR_REQUIRES(mutex_);

    const Native::NativeFunctions& native_;

    Base::CMutex mutex_;  // guards also jobs and workers
    /// Set while there is something to do for idle threads.
    Native::CHandle idleEvent_ KYR_GUARDED_BY(mutex_);
    std::deque<std::shared_ptr<Job>> waiting_ KYR_GUARDED_BY(mutex_);
    Workers workers_ KYR_GUARDED_BY(mutex_);
    std::size_t idleWorkers_ KYR_GUARDED_BY(mutex_) = 0;
    bool stopping_ KYR_GUARDED_BY(mutex_) = false;
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

bool CKelcommWaitPool::CShared::MakeIdleEvent() {
    const Base::CLock lock(mutex_);
    idleEvent_ = Native::CHandle(native_, native_.CreateEventW(nullptr, 1, 0, nullptr));
    return static_cast<bool>(idleEvent_);
}

std::shared_ptr<CKelcommWaitPool::Job> CKelcommWaitPool::CShared::Submit(
    NtApi::Handle port, void* request, void* reply, NtApi::Handle finishedEvent) try {
    auto job = std::make_shared<Job>(port, request, reply, finishedEvent);
    const Base::CLock lock(mutex_);
    if (stopping_) {
        return nullptr;
    }
    waiting_.push_back(job);
    // An idle thread for each waiting job, else a new one. Threads that have been woken for an
    // earlier job, but have not taken it yet, count as idle, and so does their job as waiting.
    if (waiting_.size() > idleWorkers_ && !StartWorker()) {
        // Nobody else can have taken it: the mutex has been held since it was put in.
        waiting_.pop_back();
        return nullptr;
    }
    native_.SetEvent(idleEvent_.Get());
    return job;
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool CKelcommWaitPool::CShared::StartWorker() try {
    // All that can run out of memory comes before the thread: afterwards there is no way back.
    const auto worker = std::make_shared<Worker>();
    auto parameter = std::make_unique<Parameter>(shared_from_this(), worker);
    workers_.push_back(worker);
    // The new thread first takes the mutex, which is held until its handle is stored.
    worker->handle = Native::CHandle(
        native_, native_.CreateThread(nullptr, 0, &WorkerMain, parameter.get(), 0, nullptr));
    if (!worker->handle) {
        workers_.pop_back();
        return false;
    }
    static_cast<void>(parameter.release());  // owned by the thread from here on
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

std::uint32_t KYR_NTAPI CKelcommWaitPool::CShared::WorkerMain(void* parameter) {
    const std::unique_ptr<Parameter> own(static_cast<Parameter*>(parameter));
    own->first->Work(own->second);
    return 0;
}

void CKelcommWaitPool::CShared::Work(const std::shared_ptr<Worker>& self) {
    while (const std::shared_ptr<Job> job = Take(self)) {
        const NtApi::NtStatus status =
            native_.NtRequestWaitReplyPort(job->port, job->request, job->reply);
        const Base::CLock lock(mutex_);
        // Idle in Close's eyes from here on: a thread that it ends now has no caller to let down.
        self->job.reset();
        Finish(*job, status);
    }
}

std::shared_ptr<CKelcommWaitPool::Job> CKelcommWaitPool::CShared::Take(
    const std::shared_ptr<Worker>& self) {
    Base::CLock lock(mutex_);
    std::uint32_t woken = NtApi::kWaitObject0;
    // The queue is looked at once more after a wait that timed out: a job may have come before the
    // mutex was had again, and Submit has started no thread for it, since this one was still idle.
    for (;;) {
        if (stopping_) {
            return nullptr;  // Close waits for this thread and closes its handle
        }
        if (!waiting_.empty()) {
            self->job = waiting_.front();
            waiting_.pop_front();
            // The event stays set for the other idle threads while there are jobs. Set and reset
            // under the mutex, it is never reset behind the back of a job that has just come.
            if (waiting_.empty()) {
                native_.ResetEvent(idleEvent_.Get());
            }
            return self->job;
        }
        if (woken != NtApi::kWaitObject0) {
            break;  // a minute without work, or waiting is not possible here
        }
        ++idleWorkers_;
        const NtApi::Handle event = idleEvent_.Get();
        lock.Unlock();
        woken = native_.WaitForSingleObject(event, kIdleTimeoutMs);
        lock.Lock();
        --idleWorkers_;
    }
    // Still under the mutex: Close finds this thread either in the list or gone altogether.
    workers_.erase(std::find(workers_.begin(), workers_.end(), self));
    self->handle.Reset();
    return nullptr;
}

void CKelcommWaitPool::CShared::Finish(Job& job, NtApi::NtStatus status) const {
    if (!job.finished) {
        job.finished = true;
        job.status = status;
        job.changed.NotifyAll();
        // The event is the caller's, who closes it once Await has returned. Await needs the mutex
        // that is held here, so the event is still open.
        native_.SetEvent(job.finishedEvent);
    }
}

NtApi::NtStatus CKelcommWaitPool::CShared::Await(Job& job) {
    // An exchange is no interruption point, whoever makes it.
    const boost::this_thread::disable_interruption toTheEnd;
    Base::CLock lock(mutex_);
    while (!job.finished) {
        job.changed.Wait(lock);
    }
    return job.status;
}

void CKelcommWaitPool::CShared::Close() {
    const Workers workers = StopWork();
    AwaitEnd(workers);
    for (const auto& worker : workers) {
        // Who is late is told by each thread alone, so that neither a group's result nor a wait
        // that is not possible here matters.
        if (native_.WaitForSingleObject(worker->handle.Get(), 0) != NtApi::kWaitObject0) {
            EndByForce(*worker);
        }
        worker->handle.Reset();
    }
    const Base::CLock lock(mutex_);
    idleEvent_.Reset();
}

CKelcommWaitPool::CShared::Workers CKelcommWaitPool::CShared::StopWork() {
    Workers workers;
    std::deque<std::shared_ptr<Job>> abandoned;
    const Base::CLock lock(mutex_);
    // Never reset: the event stays set, since nobody takes jobs any more.
    stopping_ = true;
    workers.swap(workers_);
    abandoned.swap(waiting_);
    native_.SetEvent(idleEvent_.Get());
    // No thread has seen these; their callers need not wait for the threads to end.
    for (const auto& job : abandoned) {
        Finish(*job, NtApi::kStatusUnsuccessful);
    }
    return workers;
}

void CKelcommWaitPool::CShared::AwaitEnd(const Workers& workers) const {
    // One second for all groups together.
    const std::uint32_t start = native_.GetTickCount();
    for (std::size_t first = 0; first < workers.size(); first += kHandlesPerWait) {
        NtApi::Handle handles[kHandlesPerWait];
        const std::size_t count = std::min(kHandlesPerWait, workers.size() - first);
        for (std::size_t i = 0; i < count; ++i) {
            handles[i] = workers[first + i]->handle.Get();
        }
        const std::uint32_t elapsed = std::min(native_.GetTickCount() - start, kCloseTimeoutMs);
        native_.WaitForMultipleObjects(static_cast<std::uint32_t>(count), handles, 1,
                                       kCloseTimeoutMs - elapsed);
    }
}

void CKelcommWaitPool::CShared::EndByForce(const Worker& worker) {
    // Under the mutex, so that no thread dies while it holds it.
    const Base::CLock lock(mutex_);
    if (native_.TerminateThread(worker.handle.Get(), 1) != 0 && worker.job != nullptr) {
        // Its caller's messages are out of the dead thread's reach. While a thread lives its caller
        // must go on waiting, or the reply would be written where nobody owns the memory any more.
        Finish(*worker.job, NtApi::kStatusUnsuccessful);
    }
}

CKelcommWaitPool::CKelcommWaitPool(std::shared_ptr<CShared> shared) : shared_(std::move(shared)) {}

CKelcommWaitPool::~CKelcommWaitPool() {
    Close();
}

std::unique_ptr<CKelcommWaitPool> CKelcommWaitPool::Create(
    const Native::NativeFunctions& native) try {
    auto shared = std::make_shared<CShared>(native);
    if (!shared->MakeIdleEvent()) {
        return nullptr;
    }
    return std::unique_ptr<CKelcommWaitPool>(new CKelcommWaitPool(std::move(shared)));
} catch (const std::bad_alloc&) {
    return nullptr;
}

NtApi::NtStatus CKelcommWaitPool::Exchange(NtApi::Handle port, void* request, void* reply) {
    const Native::NativeFunctions& native = shared_->GetNative();
    const Native::CHandle finishedEvent(native, native.CreateEventW(nullptr, 0, 0, nullptr));
    if (!finishedEvent) {
        return NtApi::kStatusUnsuccessful;
    }
    const std::shared_ptr<Job> job = shared_->Submit(port, request, reply, finishedEvent.Get());
    if (job == nullptr) {
        return NtApi::kStatusUnsuccessful;
    }
    // The event only ends the pumping. The job says whether the exchange is over: where there is
    // nothing to pump, the second wait is the real one, and the messages are ours again afterwards.
    PumpUntil(native, finishedEvent.Get());
    return shared_->Await(*job);
}

void CKelcommWaitPool::Close() {
    shared_->Close();
}

}  // namespace Kyr::Connectors::Common::Kelcomm
