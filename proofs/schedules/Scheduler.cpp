#include "proofs/schedules/Scheduler.h"

#include <algorithm>
#include <cerrno>
#include <linux/futex.h>
#include <sstream>
#include <sys/syscall.h>
#include <unistd.h>

#include "proofs/schedules/SystemCalls.h"

namespace Kyr::Proofs::Schedules {

namespace {

// Our own choice: the longest life takes some thousands.
constexpr std::uint64_t kMostSteps = 100000;

thread_local CScheduler* current = nullptr;
thread_local int self = 0;

}  // namespace

CScheduler* CScheduler::Current() {
    return current;
}

CScheduler::CScheduler(Handler onProblem, Watcher watcher)
    : onProblem_(std::move(onProblem)), watcher_(std::move(watcher)) {
    // Nothing is allocated later: what the module allocates is counted.
    held_.reserve(256);
    options_.reserve(2 * kMostThreads);
}

void CScheduler::Begin(IChooser& chooser) {
    chooser_ = &chooser;
    threads_[0].state = State::kReady;
    threads_[0].isHosts = true;
    threadCount_ = 1;
    turn_ = 0;
    now_ = 0;
    needed_ = 0;
    steps_ = 0;
    self = 0;
    current = this;
}

void CScheduler::End() {
    for (int index = 1; index < threadCount_; ++index) {
        if (threads_[index].state != State::kEnded) {
            Report("a thread has not ended");
        }
    }
    if (!held_.empty()) {
        Report("a mutex is still held");
    }
    current = nullptr;
}

int CScheduler::ModuleThreads() const {
    return static_cast<int>(std::count_if(
        threads_.begin(), threads_.begin() + threadCount_,
        [](const Thread& one) { return one.state != State::kEnded && !one.isHosts; }));
}

int CScheduler::CurrentThread() const {
    return self;
}

int CScheduler::NewestModuleThread() const {
    int newest = threadCount_ - 1;
    while (newest > 0 && threads_[newest].isHosts) {
        --newest;
    }
    return newest;
}

void CScheduler::Report(const std::string& problem) {
    current = nullptr;
    onProblem_(problem);
    _exit(1);
}

std::string CScheduler::DescribeThreads() const {
    static constexpr const char* kStates[] = {"can go on", "waits for mutex", "waits for condition",
                                              "sleeps",    "joins",           "has ended"};
    std::ostringstream text;
    for (int index = 0; index < threadCount_; ++index) {
        const Thread& one = threads_[index];
        if (one.state == State::kEnded) {
            continue;
        }
        text << "  thread " << index << ' ' << kStates[static_cast<int>(one.state)];
        if (one.state == State::kJoining) {
            text << " thread " << one.joined;
        } else if (one.state == State::kLocking) {
            const auto held = std::find_if(held_.begin(), held_.end(), [&](const Held& entry) {
                return entry.mutex == one.object;
            });
            text << ' ' << one.object << " of thread " << (held == held_.end() ? -1 : held->owner);
        } else if (one.state == State::kWaiting) {
            text << ' ' << one.object;
        }
        text << '\n';
    }
    return text.str();
}

// Threads.

int CScheduler::CreateThread(pthread_t* thread, const pthread_attr_t* attributes, Routine routine,
                             void* argument) {
    if (threadCount_ == kMostThreads) {
        Report("too many threads");
    }
    Thread& one = threads_[threadCount_];
    one.joined = -1;
    one.deadline = -1;
    one.createsHosts = false;
    one.unit = 0;
    one.routine = routine;
    one.argument = argument;
    one.scheduler = this;
    one.isHosts = threads_[self].createsHosts;
    one.index = threadCount_;
    const int code = CreateSystemThread(&one.handle, attributes, RunThread, &one);
    if (code != 0) {
        return code;
    }
    ++threadCount_;
    one.state = State::kReady;
    *thread = one.handle;
    Point("creates", nullptr);
    return 0;
}

void* CScheduler::RunThread(void* parameter) {
    Thread& one = *static_cast<Thread*>(parameter);
    AwaitTurn(one);
    CScheduler& scheduler = *one.scheduler;
    current = &scheduler;
    self = one.index;
    void* const result = one.routine(one.argument);
    one.state = State::kEnded;
    scheduler.GoOn("ends", nullptr);
    current = nullptr;
    return result;
}

int CScheduler::JoinThread(pthread_t thread, void** result) {
    Thread& one = threads_[self];
    for (int index = 0; index < threadCount_; ++index) {
        if (pthread_equal(threads_[index].handle, thread) != 0 && threads_[index].scheduler) {
            one.joined = index;
            Point("joins", nullptr);
            one.state = State::kJoining;
            if (!CanGoOn(one)) {
                GoOn("waits for the end of", nullptr);
            }
            one.state = State::kReady;
            // Its handle may be a later thread's from now on.
            threads_[index].scheduler = nullptr;
            break;
        }
    }
    // It has nothing left to do but to leave.
    return JoinSystemThread(thread, result);
}

// Mutexes.

bool CScheduler::IsFree(const pthread_mutex_t* mutex) const {
    return std::none_of(held_.begin(), held_.end(),
                        [mutex](const Held& entry) { return entry.mutex == mutex; });
}

void CScheduler::Take(pthread_mutex_t* mutex) {
    Thread& one = threads_[self];
    if (!IsFree(mutex)) {
        one.state = State::kLocking;
        one.object = mutex;
        GoOn("waits for mutex", mutex);
    }
    one.state = State::kReady;
    held_.push_back({mutex, self, 1});
}

void CScheduler::GiveBack(pthread_mutex_t* mutex) {
    const auto held = std::find_if(held_.begin(), held_.end(),
                                   [mutex](const Held& entry) { return entry.mutex == mutex; });
    if (held == held_.end() || held->owner != self) {
        Report("a mutex is given back by who does not hold it");
    }
    if (--held->depth == 0) {
        held_.erase(held);
    }
}

void CScheduler::Lock(pthread_mutex_t* mutex) {
    for (Held& entry : held_) {
        const bool recursive = (mutex->__data.__kind & 3) == PTHREAD_MUTEX_RECURSIVE_NP;
        if (entry.mutex == mutex && entry.owner == self && recursive) {
            ++entry.depth;
            return;
        }
    }
    Point("locks", mutex);
    Take(mutex);
}

bool CScheduler::TryLock(pthread_mutex_t* mutex) {
    Point("tries to lock", mutex);
    if (!IsFree(mutex)) {
        return false;
    }
    Take(mutex);
    return true;
}

void CScheduler::Unlock(pthread_mutex_t* mutex) {
    GiveBack(mutex);
    Point("has unlocked", mutex);
}

// Conditions.

bool CScheduler::Wait(pthread_cond_t* condition, pthread_mutex_t* mutex, Nanoseconds deadline) {
    Point("is about to wait for", condition);
    Thread& one = threads_[self];
    const bool forNothing = WakesForNothing(condition);
    GiveBack(mutex);
    if (forNothing) {
        one.state = State::kLocking;
        one.object = mutex;
        GoOn("has waited for nothing for", condition);
        Take(mutex);
        return true;
    }
    one.state = State::kWaiting;
    one.object = condition;
    one.mutex = mutex;
    one.deadline = deadline;
    one.timedOut = false;
    GoOn("waits for condition", condition);
    one.mutex = nullptr;
    one.deadline = -1;
    Take(mutex);
    return !one.timedOut;
}

// A wait may end without a reason. At its beginning: later on it would be the same as a wait that
// begins later.
bool CScheduler::WakesForNothing(const pthread_cond_t* condition) {
    if (threads_[self].unit != 0) {
        return false;
    }
    options_ = {{self, false, false}, {self, false, true}};
    return ChooseOne("begins to wait for", condition).preempts;
}

void CScheduler::Notify(pthread_cond_t* condition, bool all) {
    Point(all ? "notifies all" : "notifies one", condition);
    options_.clear();
    for (int index = 0; index < threadCount_; ++index) {
        if (threads_[index].state == State::kWaiting && threads_[index].object == condition) {
            options_.push_back({index, false, false});
        }
    }
    if (!all && options_.size() > 1) {
        options_ = {options_[chooser_->Choose(options_)]};
    }
    for (const Option& option : options_) {
        Thread& woken = threads_[option.thread];
        woken.state = State::kLocking;
        woken.object = woken.mutex;
        woken.deadline = -1;
    }
}

void CScheduler::CheckUnused(const void* object) {
    const bool isHeld = std::any_of(held_.begin(), held_.end(),
                                    [object](const Held& entry) { return entry.mutex == object; });
    const bool isAwaited =
        std::any_of(threads_.begin(), threads_.begin() + threadCount_, [object](const Thread& one) {
            return (one.state == State::kWaiting || one.state == State::kLocking) &&
                   (one.object == object || one.mutex == object);
        });
    if (isHeld || isAwaited) {
        Report("a mutex or condition is destroyed while somebody uses it");
    }
}

void CScheduler::SleepUntil(Nanoseconds deadline) {
    Thread& one = threads_[self];
    one.state = State::kSleeping;
    one.deadline = deadline;
    GoOn("sleeps", nullptr);
    one.state = State::kReady;
    one.deadline = -1;
}

// Who goes on.

void CScheduler::Point(const char* operation, const void* object) {
    if (threads_[self].unit == 0) {
        GoOn(operation, object);
    }
}

void CScheduler::BeginUnit() {
    ++threads_[self].unit;
}

void CScheduler::EndUnit() {
    --threads_[self].unit;
}

bool CScheduler::CanGoOn(const Thread& thread) const {
    switch (thread.state) {
        case State::kReady:
            return true;
        case State::kLocking:
            return IsFree(static_cast<const pthread_mutex_t*>(thread.object));
        case State::kJoining:
            return threads_[thread.joined].state == State::kEnded;
        default:
            return false;
    }
}

// First the thread that is at its operation, if it can go on; then the others; then time.
void CScheduler::Collect() {
    options_.clear();
    const bool selfCan = CanGoOn(threads_[self]);
    if (selfCan) {
        options_.push_back({self, false, false});
    }
    Nanoseconds next = -1;
    for (int index = 0; index < threadCount_; ++index) {
        const Thread& one = threads_[index];
        if (index != self && CanGoOn(one)) {
            options_.push_back({index, false, selfCan});
        }
        if (one.deadline >= 0 && (next < 0 || one.deadline < next)) {
            next = one.deadline;
        }
    }
    const bool somebodyCan = !options_.empty();
    for (int index = 0; index < threadCount_ && next >= 0; ++index) {
        if (threads_[index].deadline == next) {
            options_.push_back({index, true, somebodyCan});
        }
    }
}

void CScheduler::LetTimePass(const Option& option) {
    Thread& one = threads_[option.thread];
    const Nanoseconds passes = std::max<Nanoseconds>(one.deadline - now_, 0);
    now_ += passes;
    if (!option.preempts) {
        needed_ += passes;
    }
    one.deadline = -1;
    one.timedOut = true;
    if (one.state == State::kWaiting) {
        one.state = State::kLocking;
        one.object = one.mutex;
    } else {
        one.state = State::kReady;
    }
}

Option CScheduler::ChooseOne(const char* operation, const void* object) {
    if (options_.empty()) {
        Report("deadlock");
    }
    const Option chosen = options_[options_.size() == 1 ? 0 : chooser_->Choose(options_)];
    if (watcher_) {
        watcher_(self, operation, object, chosen);
    }
    return chosen;
}

void CScheduler::GoOn(const char* operation, const void* object) {
    const int leaving = self;
    if (turn_ != leaving) {
        Report("two threads run at a time");
    }
    if (++steps_ > kMostSteps) {
        Report("it does not come to an end");
    }
    int next = -1;
    while (next < 0) {
        Collect();
        const Option option = ChooseOne(operation, object);
        if (option.byTime) {
            LetTimePass(option);
        }
        if (CanGoOn(threads_[option.thread])) {
            next = option.thread;
        }
    }
    if (next == leaving) {
        return;
    }
    Thread& one = threads_[leaving];
    const bool ends = one.state == State::kEnded;
    turn_ = next;
    GiveTurn(threads_[next]);
    // Who has ended touches nothing any more: everything may be gone.
    if (!ends) {
        AwaitTurn(one);
    }
}

void CScheduler::AwaitTurn(Thread& thread) {
    while (thread.turn.exchange(0) == 0) {
        syscall(SYS_futex, &thread.turn, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    }
}

void CScheduler::GiveTurn(Thread& thread) {
    thread.turn = 1;
    syscall(SYS_futex, &thread.turn, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

CHostThreads::CHostThreads() {
    current->threads_[self].createsHosts = true;
}

CHostThreads::~CHostThreads() {
    current->threads_[self].createsHosts = false;
}

}  // namespace Kyr::Proofs::Schedules
