#include "connector/Subscriber.h"

#include <chrono>

namespace Kyr::Common::Module {

namespace {

using Lock = Base::CLock;

// The host family's choice: long enough to keep the consumer through a burst of messages.
constexpr std::chrono::seconds kIdleAfter(5);

}  // namespace

CSubscriber::CSubscriber(std::string name, boost::shared_ptr<Base::IClock> clock)
    : name_(std::move(name)), clock_(std::move(clock)), timed_(false), waiting_(false) {}

CSubscriber::CSubscriber(std::string name, boost::shared_ptr<Base::IClock> clock,
                         IdleEnded idleEnded)
    : name_(std::move(name)),
      clock_(std::move(clock)),
      timed_(true),
      waiting_(true),
      idleEnded_(std::move(idleEnded)) {}

CSubscriber::~CSubscriber() = default;

void CSubscriber::Push(const Message& message, const Context& context) {
    {
        const Lock lock(mutex_);
        ++received_;
        queue_.emplace_back(message, context);
        available_.NotifyAll();
        if (!idle_) {
            return;
        }
    }
    CallIfIdle();
}

std::string CSubscriber::Dump() const {
    const Lock lock(mutex_);
    std::string line;
    for (const auto& entry : queue_) {
        line += line.empty() ? name_ + ":" : ",";
        line += entry.first->GetName();
    }
    return line;
}

void CSubscriber::VisitPendingMessages(MessageVisitor visitor) {
    const Lock lock(mutex_);
    for (const auto& entry : queue_) {
        visitor(entry.first);
    }
}

bool CSubscriber::WaitForMessage(Message& message, Context& context) {
    Lock lock(mutex_);
    // Stays set when the consumer gives up: who wakes the queue later still finds it waiting.
    waiting_ = true;
    // A wake-up that found nobody, as the consumer had left: it counts even if messages are queued
    // now.
    if (ConsumeWake()) {
        return false;
    }
    while (queue_.empty()) {
        bool timedOut = false;
        if (timed_) {
            timedOut = !clock_->WaitFor(available_, lock, kIdleAfter);
        } else {
            clock_->Wait(available_, lock);
        }
        // Before messages that came meanwhile: who woke the queue counts on its being left.
        if (ConsumeWake()) {
            return false;
        }
        // A message that came at the very end of the time is taken all the same.
        if (timedOut && queue_.empty()) {
            idle_ = true;
            ++departures_;
            return false;
        }
    }
    waiting_ = false;
    TakeFirst(message, context);
    return true;
}

bool CSubscriber::TryTakeMessage(Message& message, Context& context) {
    const Lock lock(mutex_);
    if (queue_.empty()) {
        return false;
    }
    TakeFirst(message, context);
    return true;
}

bool CSubscriber::Wake() {
    const Lock lock(mutex_);
    // Busy: the consumer cannot be made to leave between messages, or the rest would stay queued.
    if (!queue_.empty() || !waiting_) {
        return false;
    }
    if (idle_) {
        // The consumer has left already. The next push must not call for another one.
        idle_ = false;
    } else {
        wake_ = true;
        available_.NotifyAll();
    }
    return true;
}

void CSubscriber::Rearm() {
    {
        const Lock lock(mutex_);
        if (!timed_) {
            return;
        }
        idle_ = true;
        if (queue_.empty()) {
            return;
        }
    }
    // Messages that came while there was no consumer have called nobody. They do now.
    CallIfIdle();
}

void CSubscriber::Abandon() {
    const Lock lock(mutex_);
    waiting_ = true;
    idle_ = true;
    ++departures_;
}

void CSubscriber::Detach() {
    const Lock lock(mutex_);
    idleEnded_.clear();
}

std::size_t CSubscriber::GetQueueSize() const {
    const Lock lock(mutex_);
    return queue_.size();
}

std::uint64_t CSubscriber::GetReceivedCount() const {
    const Lock lock(mutex_);
    return received_;
}

bool CSubscriber::IsIdle() const {
    const Lock lock(mutex_);
    return idle_;
}

std::uint64_t CSubscriber::GetDepartureCount() const {
    const Lock lock(mutex_);
    return departures_;
}

void CSubscriber::CallIfIdle() {
    // A copy, called without the lock: the callback joins a thread and starts another, meanwhile
    // others push, and Detach may empty the member.
    IdleEnded idleEnded;
    std::uint64_t call = 0;
    {
        const Lock lock(mutex_);
        // Cleared by who finds it set, so that one alone calls back.
        if (!idle_) {
            return;
        }
        idleEnded = idleEnded_;
        idle_ = false;
        call = ++calls_;
    }
    try {
        if (idleEnded) {
            idleEnded();
        }
    } catch (...) {
        // The messages are still without a consumer, unless a later call has found one.
        const Lock lock(mutex_);
        if (call == calls_) {
            idle_ = true;
        }
        throw;
    }
}

void CSubscriber::TakeFirst(Message& message, Context& context) {
    message = std::move(queue_.front().first);
    context = std::move(queue_.front().second);
    queue_.pop_front();
}

bool CSubscriber::ConsumeWake() {
    const bool woken = wake_;
    wake_ = false;
    return woken;
}

}  // namespace Kyr::Common::Module
