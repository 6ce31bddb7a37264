// Virtual time and turns for the module's threads, both told by a seed: which thread goes on, and
// where it is interrupted by another, is drawn by lot, always in the same way for the same seed.
//
// While there is such a clock, the threads that its conductor and their children create take turns:
// the functions of the system that create threads, take mutexes and wait for conditions are
// replaced in this process, and pass the turn on. So nothing is left to the system, and a wait that
// is the next to end costs no change of threads: a year of a quiet module takes seconds.
//
// The conductor is the thread that makes the clock; threads that were there before are left to
// themselves. REQUIRES: one clock at a time, and it outlives the threads that were created under
// it. No thread ends otherwise than by returning, or is joined but by Boost. Linux.
// Threads: those that take turns, one at a time. Errors: threads that can never go on, or never
// come to rest, end the process with a line that says so.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <pthread.h>
#include <random>
#include <vector>

#include "base/Mutex.h"
#include "fuzz/ITurnClock.h"

namespace Kyr::Proofs::Conversation {

class CSeededClock final : public Fuzz::ITurnClock {
  public:
    explicit CSeededClock(std::uint64_t seed);
    ~CSeededClock() override;

    std::int64_t CalendarTime() const override;
    void SleepFor(Milliseconds duration) override;
    void Wait(Base::CCondition& condition, Base::CLock& lock) override;
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock, Milliseconds timeout) override;

    void Settle() override;
    void Advance(Milliseconds duration) override;
    void JumpCalendar(std::chrono::seconds jump) override;
    std::optional<Milliseconds> UntilNextDeadline() const override;
    std::size_t Threads() const override;
    void Enter() override {}  // everybody had to before

    /// Since the clock was made.
    Milliseconds Now() const { return now_; }

    // What the system's functions become, for a thread that takes turns.
    int Create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
               void* argument);
    int Lock(pthread_mutex_t* mutex);
    int Unlock(pthread_mutex_t* mutex);
    int WaitFor(pthread_cond_t* condition, pthread_mutex_t* mutex);
    /// Makes those ready who wait for that mutex or condition; one of them, if not `all`.
    void Notify(const void* waitedFor, bool all);

  private:
    struct Participant;
    struct Start;
    static void* Run(void* start);

    /// The caller's next wait for a condition ends then at the latest.
    void LimitNextWait(std::optional<Milliseconds> deadline);
    /// Until somebody makes the caller ready again.
    void Block(const void* on);
    /// To whoever goes on next; returns with the caller's next turn.
    void PassTurn();
    Participant& Next();
    bool MoveTime();
    void Ready(Participant& participant);
    std::uint64_t Draw(std::uint64_t choices);

    std::minstd_rand random_;
    const std::uint64_t locksToAPreemption_;
    const std::unique_ptr<Participant> conductor_;
    std::vector<std::unique_ptr<Participant>> others_;  // in the order of their creation
    std::vector<Participant*> ready_;
    std::size_t waitForMutexes_ = 0;
    bool settling_ = false;  // the conductor waits until nobody has anything to do
    Milliseconds now_{0};
    Milliseconds horizon_{0};  // time goes no further while the conductor settles
    std::chrono::seconds jumped_{0};
    std::uint64_t turnsOfAMoment_ = 0;
    Base::CMutex sleepers_;
    Base::CCondition never_;
};

}  // namespace Kyr::Proofs::Conversation
