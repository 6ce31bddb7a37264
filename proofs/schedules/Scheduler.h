// Runs the threads of this process one at a time and decides at each of their synchronisation
// operations which one goes on: what they do depends on its decisions alone, and a schedule, once
// run, can be run again.
//
// ThreadCalls.cpp puts it in the place of the system's threads, mutexes, conditions, sleeps and
// clocks. Mutexes and conditions are states in here; the system's own are never touched. Time
// stands still while anybody can go on, unless the chooser lets it pass, and passes to the next
// deadline when nobody can: then it is `NeededTime`. A wait may end at once, without a reason,
// which counts as a preemption. A deadlock is nobody who can go on, and no deadline.
//
// Threads: what is to be scheduled is the thread that calls Begin and those that it, and they,
//   create until End. All operations are theirs, and so run one at a time.
// Errors: what cannot be gone on with (a deadlock, a mutex given back by a stranger, too many
//   steps) is given to the problem handler, which must not return.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <pthread.h>
#include <string>
#include <vector>

namespace Kyr::Proofs::Schedules {

using Nanoseconds = std::int64_t;

/// One way to go on.
struct Option {
    int thread;
    bool byTime;    // its deadline comes now
    bool preempts;  // somebody else could go on, and gets no leave to
};

class IChooser {
  public:
    virtual ~IChooser() = default;
    /// The place of the chosen one among `options`: at least two, those that do not preempt first.
    virtual std::size_t Choose(const std::vector<Option>& options) = 0;
};

class CScheduler {
  public:
    using Routine = void* (*)(void*);
    using Handler = std::function<void(const std::string& problem)>;
    /// Told of each operation at which somebody could have been put in: who is at it, what it is
    /// and of which object, and who goes on.
    using Watcher = std::function<void(int thread, const char* operation, const void* object,
                                       const Option& next)>;

    static constexpr int kMostThreads = 64;

    /// The scheduler of the calling thread; null when the system schedules it.
    static CScheduler* Current();

    CScheduler(Handler onProblem, Watcher watcher);
    CScheduler(const CScheduler&) = delete;
    CScheduler& operator=(const CScheduler&) = delete;

    /// A schedule begins, at the time 0.
    void Begin(IChooser& chooser);
    /// REQUIRES: called by the thread that called Begin; all others have ended.
    void End();

    /// How many threads live that were not created inside a CHostThreads.
    int ModuleThreads() const;
    /// The one that runs, and the last one that the module has created.
    int CurrentThread() const;
    int NewestModuleThread() const;
    /// Since Begin; all that has passed, and that which passed since nobody could go on.
    Nanoseconds Now() const { return now_; }
    Nanoseconds NeededTime() const { return needed_; }
    std::uint64_t Steps() const { return steps_; }
    [[noreturn]] void Report(const std::string& problem);
    /// "2 waits for mutex 0x…" for each thread that lives.
    std::string DescribeThreads() const;

    // What the calls of the threads come to.
    int CreateThread(pthread_t* thread, const pthread_attr_t* attributes, Routine routine,
                     void* argument);
    int JoinThread(pthread_t thread, void** result);
    void Lock(pthread_mutex_t* mutex);
    bool TryLock(pthread_mutex_t* mutex);
    void Unlock(pthread_mutex_t* mutex);
    /// `deadline` negative: none. False: it has come.
    bool Wait(pthread_cond_t* condition, pthread_mutex_t* mutex, Nanoseconds deadline);
    void Notify(pthread_cond_t* condition, bool all);
    void SleepUntil(Nanoseconds deadline);
    void CheckUnused(const void* object);
    /// Somebody may be put in here.
    void Point(const char* operation, const void* object);
    /// Nobody is put in between the two.
    void BeginUnit();
    void EndUnit();

  private:
    friend class CHostThreads;

    enum class State { kReady, kLocking, kWaiting, kSleeping, kJoining, kEnded };

    struct Thread {
        std::atomic<std::uint32_t> turn{0};
        State state = State::kEnded;
        const void* object = nullptr;      // of its state
        pthread_mutex_t* mutex = nullptr;  // to be taken again behind a wait
        int joined = -1;
        Nanoseconds deadline = -1;
        bool timedOut = false;
        bool isHosts = false;
        bool createsHosts = false;
        int unit = 0;
        int index = 0;
        pthread_t handle{};
        Routine routine = nullptr;
        void* argument = nullptr;
        CScheduler* scheduler = nullptr;
    };
    struct Held {
        const pthread_mutex_t* mutex;
        int owner;
        int depth;
    };

    static void* RunThread(void* parameter);

    void GoOn(const char* operation, const void* object);
    void Collect();
    Option ChooseOne(const char* operation, const void* object);
    void LetTimePass(const Option& option);
    bool WakesForNothing(const pthread_cond_t* condition);
    void Take(pthread_mutex_t* mutex);
    void GiveBack(pthread_mutex_t* mutex);
    bool CanGoOn(const Thread& thread) const;
    bool IsFree(const pthread_mutex_t* mutex) const;
    static void AwaitTurn(Thread& thread);
    static void GiveTurn(Thread& thread);

    const Handler onProblem_;
    const Watcher watcher_;

    // All of it belongs to the thread that runs.
    IChooser* chooser_ = nullptr;
    int turn_ = 0;  // whose it is
    std::array<Thread, kMostThreads> threads_;
    int threadCount_ = 0;
    std::vector<Held> held_;
    std::vector<Option> options_;
    Nanoseconds now_ = 0;
    Nanoseconds needed_ = 0;
    std::uint64_t steps_ = 0;
};

/// Threads that the calling thread creates meanwhile are the host's.
class CHostThreads {
  public:
    CHostThreads();
    ~CHostThreads();
    CHostThreads(const CHostThreads&) = delete;
    CHostThreads& operator=(const CHostThreads&) = delete;
};

}  // namespace Kyr::Proofs::Schedules
