#include "kelcomm/KelcommWaitPool.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

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

// One exchange. It lives until both its caller and its thread have let go of it.
struct CKelcommWaitPool::Job {
    Job(const Native::CNativeFunctions& functions, NtApi::Handle portToUse, void* requestToSend,
        void* replyToFill)
        : native(functions), port(portToUse), request(requestToSend), reply(replyToFill) {}
    ~Job() {
        if (finishedEvent != nullptr) {
            native.CloseHandle(finishedEvent);
        }
    }

    void Finish(NtApi::NtStatus result) {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            if (finished) {
                return;
            }
            finished = true;
            status = result;
            changed.notify_all();
        }
        native.SetEvent(finishedEvent);
    }

    NtApi::NtStatus Await() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return finished; });
        return status;
    }

    const Native::CNativeFunctions& native;
    const NtApi::Handle port;
    void* const request;
    void* const reply;
    NtApi::Handle finishedEvent = nullptr;

    std::mutex mutex;  // guards what follows
    std::condition_variable changed;
    bool finished = false;
    NtApi::NtStatus status = NtApi::kStatusUnsuccessful;
};

struct CKelcommWaitPool::Shared {
    struct Worker {
        NtApi::Handle handle = nullptr;  // null until its creator has stored it
        std::shared_ptr<Job> job;        // what it is busy with
    };

    /// What a new thread is given.
    using Parameter = std::pair<std::shared_ptr<Shared>, std::shared_ptr<Worker>>;

    explicit Shared(const Native::CNativeFunctions& functions) : native(functions) {}
    ~Shared() {
        if (idleEvent != nullptr) {
            native.CloseHandle(idleEvent);
        }
    }

    /// False when the thread cannot be started. REQUIRES: `mutex` is held.
    static bool StartWorker(const std::shared_ptr<Shared>& shared);
    static std::uint32_t KYR_NTAPI WorkerMain(void* parameter);
    void Work(const std::shared_ptr<Worker>& self);
    /// The next job, or null when `self` is to end.
    std::shared_ptr<Job> Take(const std::shared_ptr<Worker>& self);

    const Native::CNativeFunctions& native;
    NtApi::Handle idleEvent = nullptr;  // set while there is something to do for idle threads

    std::mutex mutex;  // guards what follows
    std::deque<std::shared_ptr<Job>> waiting;
    std::vector<std::shared_ptr<Worker>> workers;
    std::size_t idleWorkers = 0;
    bool stopping = false;
};

namespace {

/// Dispatches at most kMessagesPerWake queued messages of the calling thread.
void DispatchMessages(const Native::CNativeFunctions& native) {
    NtApi::WindowMessage message{};
    for (int i = 0; i < kMessagesPerWake; ++i) {
        if (native.PeekMessageW(&message, nullptr, 0, 0, kRemoveMessage) == 0) {
            return;
        }
        native.TranslateMessage(&message);
        native.DispatchMessageW(&message);
    }
}

/// Returns when the event is set, or when waiting for messages is not possible.
void PumpUntil(const Native::CNativeFunctions& native, NtApi::Handle event) {
    for (;;) {
        const std::uint32_t woken =
            native.MsgWaitForMultipleObjects(1, &event, 0, NtApi::kInfinite, kWakeMask);
        if (woken != NtApi::kWaitObject0 + 1) {
            return;
        }
        DispatchMessages(native);
    }
}

}  // namespace

bool CKelcommWaitPool::Shared::StartWorker(const std::shared_ptr<Shared>& shared) {
    const auto worker = std::make_shared<Worker>();
    auto parameter = std::make_unique<Parameter>(shared, worker);
    shared->workers.push_back(worker);
    // The new thread first takes the mutex, which is held until its handle is stored.
    worker->handle =
        shared->native.CreateThread(nullptr, 0, &WorkerMain, parameter.get(), 0, nullptr);
    if (worker->handle == nullptr) {
        shared->workers.pop_back();
        return false;
    }
    parameter.release();
    return true;
}

std::uint32_t KYR_NTAPI CKelcommWaitPool::Shared::WorkerMain(void* parameter) {
    const std::unique_ptr<Parameter> own(static_cast<Parameter*>(parameter));
    own->first->Work(own->second);
    return 0;
}

void CKelcommWaitPool::Shared::Work(const std::shared_ptr<Worker>& self) {
    while (const std::shared_ptr<Job> job = Take(self)) {
        job->Finish(native.NtRequestWaitReplyPort(job->port, job->request, job->reply));
    }
}

std::shared_ptr<CKelcommWaitPool::Job> CKelcommWaitPool::Shared::Take(
    const std::shared_ptr<Worker>& self) {
    std::unique_lock<std::mutex> lock(mutex);
    self->job.reset();
    std::uint32_t woken = NtApi::kWaitObject0;
    for (;;) {
        if (stopping) {
            return nullptr;  // Close waits for this thread and closes its handle
        }
        if (!waiting.empty()) {
            self->job = waiting.front();
            waiting.pop_front();
            if (waiting.empty()) {
                native.ResetEvent(idleEvent);
            }
            return self->job;
        }
        if (woken != NtApi::kWaitObject0) {
            break;
        }
        ++idleWorkers;
        lock.unlock();
        woken = native.WaitForSingleObject(idleEvent, kIdleTimeoutMs);
        lock.lock();
        --idleWorkers;
    }
    workers.erase(std::find(workers.begin(), workers.end(), self));
    native.CloseHandle(self->handle);
    return nullptr;
}

CKelcommWaitPool::CKelcommWaitPool(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

CKelcommWaitPool::~CKelcommWaitPool() {
    Close();
}

std::unique_ptr<CKelcommWaitPool> CKelcommWaitPool::Create(
    const Native::CNativeFunctions& native) try {
    auto shared = std::make_shared<Shared>(native);
    shared->idleEvent = native.CreateEventW(nullptr, 1, 0, nullptr);
    if (shared->idleEvent == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<CKelcommWaitPool>(new CKelcommWaitPool(std::move(shared)));
} catch (const std::bad_alloc&) {
    return nullptr;
}

NtApi::NtStatus CKelcommWaitPool::Exchange(NtApi::Handle port, void* request, void* reply) try {
    const Native::CNativeFunctions& native = shared_->native;
    const auto job = std::make_shared<Job>(native, port, request, reply);
    job->finishedEvent = native.CreateEventW(nullptr, 0, 0, nullptr);
    if (job->finishedEvent == nullptr) {
        return NtApi::kStatusUnsuccessful;
    }
    {
        const std::lock_guard<std::mutex> lock(shared_->mutex);
        if (shared_->stopping) {
            return NtApi::kStatusUnsuccessful;
        }
        // An idle thread for each waiting job, this one included; else a new one.
        if (shared_->waiting.size() >= shared_->idleWorkers && !Shared::StartWorker(shared_)) {
            return NtApi::kStatusUnsuccessful;
        }
        shared_->waiting.push_back(job);
        native.SetEvent(shared_->idleEvent);
    }
    PumpUntil(native, job->finishedEvent);
    // Nothing is left to wait for, unless waiting with messages is impossible here.
    return job->Await();
} catch (const std::bad_alloc&) {
    return NtApi::kStatusUnsuccessful;
}

void CKelcommWaitPool::Close() {
    const Native::CNativeFunctions& native = shared_->native;
    std::vector<std::shared_ptr<Shared::Worker>> workers;
    std::deque<std::shared_ptr<Job>> abandoned;
    {
        const std::lock_guard<std::mutex> lock(shared_->mutex);
        shared_->stopping = true;
        workers.swap(shared_->workers);
        abandoned.swap(shared_->waiting);
        native.SetEvent(shared_->idleEvent);
    }
    for (const auto& job : abandoned) {
        job->Finish(NtApi::kStatusUnsuccessful);
    }

    const std::uint32_t start = native.GetTickCount();
    for (std::size_t first = 0; first < workers.size(); first += kHandlesPerWait) {
        NtApi::Handle handles[kHandlesPerWait];
        const std::size_t count = std::min(kHandlesPerWait, workers.size() - first);
        for (std::size_t i = 0; i < count; ++i) {
            handles[i] = workers[first + i]->handle;
        }
        const std::uint32_t elapsed = std::min(native.GetTickCount() - start, kCloseTimeoutMs);
        native.WaitForMultipleObjects(static_cast<std::uint32_t>(count), handles, 1,
                                      kCloseTimeoutMs - elapsed);
    }
    for (const auto& worker : workers) {
        if (native.WaitForSingleObject(worker->handle, 0) != NtApi::kWaitObject0) {
            std::shared_ptr<Job> job;
            {
                // A thread must not die while it holds the mutex.
                const std::lock_guard<std::mutex> lock(shared_->mutex);
                if (native.TerminateThread(worker->handle, 1) != 0) {
                    job = worker->job;
                }
            }
            if (job != nullptr) {  // its caller's messages are out of the dead thread's reach
                job->Finish(NtApi::kStatusUnsuccessful);
            }
        }
        native.CloseHandle(worker->handle);
    }
}

}  // namespace Kyr::Connectors::Common::Kelcomm
