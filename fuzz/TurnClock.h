// Virtual time for the module's own threads: they take turns, one at a time, in an order that is
// always the same, and time moves only when a conductor says so.
//
// Every wait of the module goes through its clock. Here a wait gives the turn back; whoever gets it
// next wakes, as waits may, without a reason, looks whether its condition holds, and waits again.
// So nobody needs to be signalled, and nobody runs while another does. A thread that waits outside
// the clock, to join another, is recognised by its state in the system and passed over until it
// moves again by itself.
//
// Limits: Linux. A new thread runs beside its creator until it is first caught, and a thread that
// has been joined beside the one that joined it. Locks are not scheduled: a thread that waits for
// one is taken for a joining one, and goes on as soon as the lock is free. What such moments leave
// to chance is the order of two threads' deeds, which no promise may depend on.
//
// Threads: the conductor's operations belong to one thread; the clock's to every other.
// Errors: threads that do not come to rest end the process, with a line that says so.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <sys/types.h>
#include <vector>

#include <boost/thread/thread.hpp>

#include "base/Mutex.h"
#include "fuzz/ITurnClock.h"

namespace Kyr::Fuzz {

class CTurnClock final : public ITurnClock {
  public:
    /// `activity` grows whenever a thread has done something that the outside can see.
    /// REQUIRES: every thread of the process that is alive now stays alive, and starts none.
    explicit CTurnClock(std::function<std::uint64_t()> activity);
    ~CTurnClock() override;

    std::int64_t CalendarTime() const override;
    void SleepFor(Milliseconds duration) override;
    void Wait(Base::CCondition& condition, Base::CLock& lock) override;
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock, Milliseconds timeout) override;

    void Settle() override;
    void Advance(Milliseconds duration) override;
    void JumpCalendar(std::chrono::seconds jump) override;
    std::optional<Milliseconds> UntilNextDeadline() const override;
    std::size_t Threads() const override;
    void Enter() override;

  private:
    struct Participant;
    using Lock = Base::CLock;

    /// Gives the caller's lock back for a turn of the others.
    void YieldWithout(Base::CLock& lock,
                      std::optional<Milliseconds> deadline) KYR_NO_THREAD_SAFETY_ANALYSIS;
    void Yield(std::optional<Milliseconds> deadline);
    std::shared_ptr<Participant> Self();
    bool OneRound();
    /// True when the thread, instead of waiting for the next turn, has left the clock.
    bool GiveTurn(const std::shared_ptr<Participant>& participant);
    void AwaitRest();
    bool IsAtRest() const;
    std::optional<std::vector<pid_t>> ThreadsOutside() const;
    std::vector<std::shared_ptr<Participant>> Participants() const;
    bool IsKnown() const;

    const std::function<std::uint64_t()> activity_;
    const std::size_t otherThreads_;
    const boost::thread::id conductor_ = boost::this_thread::get_id();

    mutable Base::CMutex mutex_;  // guards also what the pointers point to
    Base::CCondition changed_;
    /// In the order of their first waits.
    std::vector<std::shared_ptr<Participant>> participants_ KYR_GUARDED_BY(mutex_);
    Milliseconds now_ KYR_GUARDED_BY(mutex_){0};
    std::chrono::seconds jumped_ KYR_GUARDED_BY(mutex_){0};
    std::uint64_t comings_ KYR_GUARDED_BY(mutex_) = 0;  // and goings
};

}  // namespace Kyr::Fuzz
