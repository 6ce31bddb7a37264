#include "fuzz/TurnClock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <unistd.h>

#include <boost/thread/thread.hpp>

namespace Kyr::Fuzz {

namespace {

constexpr std::int64_t kStartTime = 1700000000;

// Our own choices. A round that changes nothing is the last one, and every round does something
// that the input asked for: far fewer suffice.
constexpr int kMostRounds = 5000;
constexpr std::chrono::seconds kPatience(20);
constexpr std::chrono::microseconds kPoll(50);
constexpr int kSleepingLooks = 4;

std::size_t CountThreads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

/// The threads that are no business of a clock's. A checker of threads starts one of its own beside
/// the first that the program starts, so that one is started here.
std::size_t CountOtherThreads() {
    pid_t first = 0;
    boost::thread([&first] { first = ::gettid(); }).join();
    while (std::filesystem::exists("/proc/self/task/" + std::to_string(first))) {
        ::usleep(100);
    }
    return CountThreads();
}

/// Which of its sleeps a thread is in, counted by the system; nothing when it is awake.
std::optional<std::uint64_t> NumberOfSleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/status");
    bool asleep = false;
    for (std::string key; file >> key; std::getline(file, key)) {
        if (key == "State:") {
            std::string state;
            file >> state;
            asleep = state == "S";
        } else if (key == "voluntary_ctxt_switches:") {
            std::uint64_t sleeps = 0;
            file >> sleeps;
            return asleep ? std::optional<std::uint64_t>(sleeps) : std::nullopt;
        }
    }
    return std::nullopt;
}

[[noreturn]] void GiveUp(const char* why) {
    std::fprintf(stderr, "turn clock: %s\n", why);
    std::abort();
}

}  // namespace

struct CTurnClock::Participant {
    pid_t thread = ::gettid();
    bool coming = true;  // into its first wait
    bool waiting = false;
    bool turn = false;
    bool ended = false;
    std::optional<Milliseconds> deadline;
};

CTurnClock::CTurnClock(std::function<std::uint64_t()> activity)
    : activity_(std::move(activity)), otherThreads_(CountOtherThreads()) {}

CTurnClock::~CTurnClock() = default;

std::int64_t CTurnClock::CalendarTime() const {
    const Lock lock(mutex_);
    return kStartTime + (std::chrono::duration_cast<std::chrono::seconds>(now_) + jumped_).count();
}

void CTurnClock::SleepFor(Milliseconds duration) {
    boost::this_thread::interruption_point();
    Milliseconds deadline;
    {
        const Lock lock(mutex_);
        deadline = now_ + duration;
    }
    for (;;) {
        {
            const Lock lock(mutex_);
            if (now_ >= deadline) {
                return;
            }
        }
        Yield(deadline);
        boost::this_thread::interruption_point();
    }
}

void CTurnClock::Wait(Base::CCondition& /*condition*/, Lock& lock) {
    boost::this_thread::interruption_point();
    YieldWithout(lock, std::nullopt);
    boost::this_thread::interruption_point();
}

bool CTurnClock::WaitFor(Base::CCondition& /*condition*/, Lock& lock, Milliseconds timeout) {
    boost::this_thread::interruption_point();
    Milliseconds deadline;
    {
        const Lock own(mutex_);
        deadline = now_ + timeout;
    }
    YieldWithout(lock, deadline);
    boost::this_thread::interruption_point();
    const Lock own(mutex_);
    return now_ < deadline;
}

// The lock is the caller's; which one it is, the analysis cannot know.
void CTurnClock::YieldWithout(Lock& lock, std::optional<Milliseconds> deadline) {
    lock.Unlock();
    Yield(deadline);
    lock.Lock();
}

void CTurnClock::Enter() {
    if (boost::this_thread::get_id() != conductor_ && !IsKnown()) {
        Yield(std::nullopt);
    }
}

bool CTurnClock::IsKnown() const {
    const Lock lock(mutex_);
    return std::any_of(
        participants_.begin(), participants_.end(),
        [thread = ::gettid()](const auto& one) { return one->thread == thread && !one->ended; });
}

void CTurnClock::Yield(std::optional<Milliseconds> deadline) {
    // An interruption waits for the turn, too.
    const boost::this_thread::disable_interruption notNow;
    const auto self = Self();
    Lock lock(mutex_);
    self->deadline = deadline;
    self->waiting = true;
    self->coming = false;
    changed_.NotifyAll();
    while (!self->turn) {
        changed_.Wait(lock);
    }
    self->turn = false;
    self->waiting = false;
}

std::shared_ptr<CTurnClock::Participant> CTurnClock::Self() {
    Lock lock(mutex_);
    const pid_t thread = ::gettid();
    for (const auto& participant : participants_) {
        if (participant->thread == thread && !participant->ended) {
            return participant;
        }
    }
    const auto self = std::make_shared<Participant>();
    participants_.push_back(self);
    ++comings_;
    lock.Unlock();
    boost::this_thread::at_thread_exit([this, self] {
        const Lock inner(mutex_);
        self->ended = true;
        ++comings_;
        changed_.NotifyAll();
    });
    return self;
}

void CTurnClock::Settle() {
    AwaitRest();
    for (int round = 0; round < kMostRounds; ++round) {
        if (!OneRound()) {
            return;
        }
    }
    GiveUp("the threads never come to an end");
}

// True when something has happened.
bool CTurnClock::OneRound() {
    const std::uint64_t activity = activity_();
    Lock lock(mutex_);
    const std::uint64_t comings = comings_;
    lock.Unlock();
    bool somebodyLeft = false;
    for (const auto& participant : Participants()) {
        somebodyLeft = GiveTurn(participant) || somebodyLeft;
    }
    lock.Lock();
    participants_.erase(std::remove_if(participants_.begin(), participants_.end(),
                                       [](const auto& one) { return one->ended; }),
                        participants_.end());
    return somebodyLeft || comings_ != comings || activity_() != activity;
}

bool CTurnClock::GiveTurn(const std::shared_ptr<Participant>& participant) {
    Lock lock(mutex_);
    if (!participant->waiting) {
        return false;  // ended, or waits outside
    }
    participant->turn = true;
    changed_.NotifyAll();
    lock.Unlock();
    AwaitRest();
    lock.Lock();
    return !participant->waiting;
}

void CTurnClock::AwaitRest() {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!IsAtRest()) {
        if (std::chrono::steady_clock::now() > end) {
            GiveUp("a thread runs for ever");
        }
        Lock lock(mutex_);
        changed_.WaitFor(lock, kPoll);
    }
}

bool CTurnClock::IsAtRest() const {
    std::map<pid_t, std::uint64_t> sleepers;
    for (int look = 0; look < kSleepingLooks; ++look) {
        const auto outside = ThreadsOutside();
        if (!outside) {
            return false;
        }
        // The mutex is free: whoever sleeps does not wait for this very look. One that was asleep
        // before and is again has been awake in between.
        for (const pid_t thread : *outside) {
            const auto sleep = NumberOfSleep(thread);
            if (!sleep || (look > 0 && sleepers[thread] != *sleep)) {
                return false;
            }
            sleepers[thread] = *sleep;
        }
        if (outside->empty()) {
            return true;
        }
        ::usleep(100);
    }
    return true;
}

// The threads that have left the clock; nothing while somebody is on its way into it or out of it.
std::optional<std::vector<pid_t>> CTurnClock::ThreadsOutside() const {
    const Lock lock(mutex_);
    std::vector<pid_t> outside;
    std::size_t alive = otherThreads_;
    for (const auto& participant : participants_) {
        if (participant->ended) {
            continue;
        }
        ++alive;
        if (participant->turn || participant->coming) {
            return std::nullopt;
        }
        if (!participant->waiting) {
            outside.push_back(participant->thread);
        }
    }
    // A thread that is not known yet is on its way to its first wait, or to its end.
    return CountThreads() == alive ? std::optional(outside) : std::nullopt;
}

std::vector<std::shared_ptr<CTurnClock::Participant>> CTurnClock::Participants() const {
    const Lock lock(mutex_);
    return participants_;
}

void CTurnClock::Advance(Milliseconds duration) {
    {
        const Lock lock(mutex_);
        now_ += duration;
    }
    Settle();
}

void CTurnClock::JumpCalendar(std::chrono::seconds jump) {
    const Lock lock(mutex_);
    jumped_ += jump;
}

std::optional<CTurnClock::Milliseconds> CTurnClock::UntilNextDeadline() const {
    const Lock lock(mutex_);
    std::optional<Milliseconds> next;
    for (const auto& participant : participants_) {
        if (!participant->ended && participant->deadline && *participant->deadline > now_ &&
            (!next || *participant->deadline < *next)) {
            next = participant->deadline;
        }
    }
    return next ? std::optional<Milliseconds>(*next - now_) : std::nullopt;
}

std::size_t CTurnClock::Threads() const {
    std::size_t alive = 0;
    for (const auto& participant : Participants()) {
        const Lock lock(mutex_);
        alive += participant->ended ? 0 : 1;
    }
    return alive;
}

}  // namespace Kyr::Fuzz
