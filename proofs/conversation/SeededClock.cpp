#include "proofs/conversation/SeededClock.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <iterator>
#include <semaphore.h>
#include <utility>

#include <boost/thread/thread.hpp>

namespace Kyr::Proofs::Conversation {

struct CSeededClock::Participant {
    Participant() { ::sem_init(&turn, 0, 0); }
    ~Participant() { ::sem_destroy(&turn); }
    Participant(const Participant&) = delete;
    Participant& operator=(const Participant&) = delete;

    sem_t turn;
    const void* waitsFor = nullptr;  // a mutex or a condition
    std::optional<Milliseconds> deadline;
    std::optional<Milliseconds> nextWaitEnds;
};

struct CSeededClock::Start {
    CSeededClock& clock;
    Participant& self;
    void* (*routine)(void*);
    void* argument;
};

namespace {

constexpr std::int64_t kStartTime = 1700000000;

// Our own choices. One of so many locks, which number is the seed's, is given to others first, if
// there are any that could go on; and the module does far less than that in one moment.
constexpr std::uint64_t kLocksToAPreemption[] = {4, 32, 256, 2048};
constexpr std::uint64_t kMostTurnsOfAMoment = 10'000'000;

CSeededClock* current = nullptr;
/// The calling thread's, a CSeededClock::Participant; nothing: it takes no turns.
thread_local void* self = nullptr;

template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

[[noreturn]] void GiveUp(const char* why) {
    std::fprintf(stderr, "turn clock: %s\n", why);
    std::abort();
}

using CreateThread = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
using UseMutex = int (*)(pthread_mutex_t*);
using UseCondition = int (*)(pthread_cond_t*);

}  // namespace

}  // namespace Kyr::Proofs::Conversation

// Stand before the system's functions: all code of this process calls these, the libraries that it
// has loaded included.
extern "C" {

// The sanitizers' own, where there are any; they stand before the system's, too.
int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)
    __attribute__((weak));

namespace {

int SystemCreate(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                 void* argument) {
    using namespace Kyr::Proofs::Conversation;
    static const CreateThread system = __interceptor_pthread_create != nullptr
                                           ? &__interceptor_pthread_create
                                           : Next<CreateThread>("pthread_create");
    return system(thread, attributes, routine, argument);
}

int SystemUnlock(pthread_mutex_t* mutex) {
    using namespace Kyr::Proofs::Conversation;
    static const UseMutex system = Next<UseMutex>("pthread_mutex_unlock");
    return system(mutex);
}

}  // namespace

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                   void* argument) {
    using namespace Kyr::Proofs::Conversation;
    return self == nullptr ? SystemCreate(thread, attributes, routine, argument)
                           : current->Create(thread, attributes, routine, argument);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    using namespace Kyr::Proofs::Conversation;
    static const UseMutex system = Next<UseMutex>("pthread_mutex_lock");
    return self == nullptr ? system(mutex) : current->Lock(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    using namespace Kyr::Proofs::Conversation;
    return self == nullptr ? SystemUnlock(mutex) : current->Unlock(mutex);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    using namespace Kyr::Proofs::Conversation;
    static const auto system =
        Next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    return self == nullptr ? system(condition, mutex) : current->WaitFor(condition, mutex);
}

int pthread_cond_signal(pthread_cond_t* condition) {
    using namespace Kyr::Proofs::Conversation;
    static const UseCondition system = Next<UseCondition>("pthread_cond_signal");
    if (self == nullptr) {
        return system(condition);
    }
    current->Notify(condition, false);
    return 0;
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
    using namespace Kyr::Proofs::Conversation;
    static const UseCondition system = Next<UseCondition>("pthread_cond_broadcast");
    if (self == nullptr) {
        return system(condition);
    }
    current->Notify(condition, true);
    return 0;
}
}

namespace Kyr::Proofs::Conversation {

CSeededClock::CSeededClock(std::uint64_t seed)
    : random_(static_cast<std::uint32_t>(seed * 2654435761u % 2147483646u) + 1),
      locksToAPreemption_(kLocksToAPreemption[Draw(std::size(kLocksToAPreemption))]),
      conductor_(std::make_unique<Participant>()) {
    current = this;
    self = conductor_.get();
}

CSeededClock::~CSeededClock() {
    if (!others_.empty()) {
        GiveUp("a thread has outlived its clock");
    }
    self = nullptr;
    current = nullptr;
}

std::uint64_t CSeededClock::Draw(std::uint64_t choices) {
    return random_() / 16 % choices;
}

// As the clock.

std::int64_t CSeededClock::CalendarTime() const {
    return kStartTime + (std::chrono::duration_cast<std::chrono::seconds>(now_) + jumped_).count();
}

void CSeededClock::SleepFor(Milliseconds duration) {
    boost::this_thread::interruption_point();
    const Milliseconds deadline = now_ + duration;
    Base::CLock lock(sleepers_);
    while (now_ < deadline) {
        LimitNextWait(deadline);
        never_.Wait(lock);
    }
}

void CSeededClock::Wait(Base::CCondition& condition, Base::CLock& lock) {
    LimitNextWait(std::nullopt);  // an interrupted wait may have left a limit
    condition.Wait(lock);
}

bool CSeededClock::WaitFor(Base::CCondition& condition, Base::CLock& lock, Milliseconds timeout) {
    const Milliseconds deadline = now_ + timeout;
    LimitNextWait(deadline);
    condition.Wait(lock);
    return now_ < deadline;
}

void CSeededClock::LimitNextWait(std::optional<Milliseconds> deadline) {
    static_cast<Participant*>(self)->nextWaitEnds = deadline;
}

// For the conductor.

void CSeededClock::Settle() {
    horizon_ = std::max(horizon_, now_);
    settling_ = true;
    PassTurn();
}

void CSeededClock::Advance(Milliseconds duration) {
    horizon_ = now_ + duration;
    Settle();
    now_ = std::max(now_, horizon_);
}

void CSeededClock::JumpCalendar(std::chrono::seconds jump) {
    jumped_ += jump;
}

std::optional<CSeededClock::Milliseconds> CSeededClock::UntilNextDeadline() const {
    std::optional<Milliseconds> next;
    for (const auto& participant : others_) {
        if (participant->deadline && (!next || *participant->deadline < *next)) {
            next = participant->deadline;
        }
    }
    return next ? std::optional(std::max(*next - now_, Milliseconds(0))) : std::nullopt;
}

std::size_t CSeededClock::Threads() const {
    return others_.size();
}

// As the system.

int CSeededClock::Create(pthread_t* thread, const pthread_attr_t* attributes,
                         void* (*routine)(void*), void* argument) {
    others_.push_back(std::make_unique<Participant>());
    Participant& created = *others_.back();
    auto start = std::make_unique<Start>(Start{*this, created, routine, argument});
    const int result = SystemCreate(thread, attributes, &CSeededClock::Run, start.get());
    if (result != 0) {
        others_.pop_back();
        return result;
    }
    start.release();
    ready_.push_back(&created);
    return 0;
}

void* CSeededClock::Run(void* parameter) {
    const std::unique_ptr<Start> start(static_cast<Start*>(parameter));
    CSeededClock& clock = start->clock;
    while (::sem_wait(&start->self.turn) != 0) {
    }
    self = &start->self;
    void* const result = start->routine(start->argument);
    self = nullptr;
    const auto place = std::find_if(clock.others_.begin(), clock.others_.end(),
                                    [&](const auto& one) { return one.get() == &start->self; });
    const std::unique_ptr<Participant> mine = std::move(*place);
    clock.others_.erase(place);
    ::sem_post(&clock.Next().turn);
    return result;
}

int CSeededClock::Lock(pthread_mutex_t* mutex) {
    if (!ready_.empty() && Draw(locksToAPreemption_) == 0) {
        ready_.push_back(static_cast<Participant*>(self));
        PassTurn();
    }
    for (;;) {
        const int result = ::pthread_mutex_trylock(mutex);
        if (result != EBUSY) {
            return result;
        }
        ++waitForMutexes_;
        Block(mutex);
        --waitForMutexes_;
    }
}

int CSeededClock::Unlock(pthread_mutex_t* mutex) {
    const int result = SystemUnlock(mutex);
    if (waitForMutexes_ != 0) {
        Notify(mutex, true);
    }
    return result;
}

int CSeededClock::WaitFor(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    auto& mine = *static_cast<Participant*>(self);
    mine.deadline = std::exchange(mine.nextWaitEnds, std::nullopt);
    Unlock(mutex);
    Block(condition);
    return Lock(mutex);
}

void CSeededClock::Notify(const void* waitedFor, bool all) {
    const auto wakes = [&](Participant& one) {
        const bool waits = one.waitsFor == waitedFor;
        if (waits) {
            Ready(one);
        }
        return waits && !all;
    };
    if (!wakes(*conductor_)) {
        static_cast<void>(std::any_of(others_.begin(), others_.end(),
                                      [&](const auto& one) { return wakes(*one); }));
    }
}

// The turns.

void CSeededClock::Block(const void* on) {
    static_cast<Participant*>(self)->waitsFor = on;
    PassTurn();
}

void CSeededClock::Ready(Participant& participant) {
    participant.waitsFor = nullptr;
    participant.deadline.reset();
    ready_.push_back(&participant);
}

void CSeededClock::PassTurn() {
    auto* const mine = static_cast<Participant*>(self);
    Participant& next = Next();
    if (&next != mine) {
        ::sem_post(&next.turn);
        while (::sem_wait(&mine->turn) != 0) {
        }
    }
}

CSeededClock::Participant& CSeededClock::Next() {
    if (++turnsOfAMoment_ > kMostTurnsOfAMoment) {
        GiveUp("the threads never come to rest");
    }
    if (ready_.empty() && !MoveTime()) {
        if (!settling_) {
            GiveUp("nobody can go on");
        }
        settling_ = false;
        turnsOfAMoment_ = 0;
        return *conductor_;
    }
    const auto place =
        ready_.begin() + static_cast<std::ptrdiff_t>(ready_.size() == 1 ? 0 : Draw(ready_.size()));
    Participant& next = **place;
    ready_.erase(place);
    return next;
}

// To the end of the next wait; false: there is none, or not yet.
bool CSeededClock::MoveTime() {
    const auto next = UntilNextDeadline();
    if (!next || (settling_ && now_ + *next > horizon_)) {
        return false;
    }
    now_ += *next;
    turnsOfAMoment_ = 0;
    for (const auto& participant : others_) {
        if (participant->deadline && *participant->deadline <= now_) {
            Ready(*participant);
        }
    }
    return true;
}

}  // namespace Kyr::Proofs::Conversation
