// The queue between the host bus, which pushes, and one worker thread, its consumer.
//
// Threads: the bus calls Push on its own threads, several at a time; one thread takes. The idle
// callback runs on the pushing thread, after the queue's lock has been released, so that it may
// block.
// Interruption: WaitForMessage is a boost interruption point, nothing else is.
// Ownership: shared by the module and the bus, which never gives a subscriber up again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <utility>

#include <boost/function.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "host/kernel/ISubscriber.h"

namespace Kyr::Common::Module {

class CSubscriber : public Kernel::ISubscriber {
  public:
    using Message = boost::shared_ptr<Kernel::IMessage>;
    using Context = boost::shared_ptr<Kernel::IDeliveryContext>;
    using IdleEnded = boost::function<void()>;

    /// A queue whose consumer waits without limit.
    explicit CSubscriber(std::string name,
                         boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    /// A queue whose consumer gives up after five seconds without a message; it counts as waiting
    /// from the beginning. `idleEnded` is called when a message arrives after the consumer has
    /// given up.
    CSubscriber(std::string name, boost::shared_ptr<Base::IClock> clock, IdleEnded idleEnded);
    ~CSubscriber() override;

    /// What the idle callback throws reaches the caller; the message is queued then all the same,
    /// and the next one calls back again.
    void Push(const Message& message, const Context& context) override;
    /// The name, ":" and the queued messages' names joined by ","; nothing for an empty queue.
    std::string Dump() const override;
    /// REQUIRES: `visitor` does not call this queue back. An empty one throws
    /// boost::bad_function_call as soon as a message is there to be visited.
    void VisitPendingMessages(MessageVisitor visitor) override;

    /// Blocks until there is a message, and takes it. False: the consumer is to give up, because it
    /// was woken or, on a timed queue, because nothing came for five seconds.
    bool WaitForMessage(Message& message, Context& context);
    /// Takes the first message without waiting. False: the queue is empty.
    bool TryTakeMessage(Message& message, Context& context);
    /// Makes the consumer that waits on the empty queue give up. False: messages are queued, or the
    /// consumer is busy with one; nothing has changed then.
    bool Wake();

    /// Declares a timed queue idle, so that the next message calls the idle callback; calls it at
    /// once when messages are queued already, and what it throws reaches the caller. REQUIRES: the
    /// queue has no consumer.
    void Rearm();
    /// Declares a queue idle whatever is in it: its consumer has ended otherwise than by giving up,
    /// on the thread that says so. The next message calls the idle callback.
    void Abandon();
    /// Drops the idle callback. A push that has copied it already may still call it.
    void Detach();

    std::size_t GetQueueSize() const;
    /// How many messages have ever been pushed.
    std::uint64_t GetReceivedCount() const;
    bool IsIdle() const;
    /// How often a consumer has left because of silence or a failure.
    std::uint64_t GetDepartureCount() const;

  private:
    void CallIfIdle();
    void TakeFirst(Message& message, Context& context) KYR_REQUIRES(mutex_);
    bool ConsumeWake() KYR_REQUIRES(mutex_);

    const std::string name_;
    const boost::shared_ptr<Base::IClock> clock_;

    const bool timed_;

    mutable Base::CMutex mutex_;
    Base::CCondition available_;
    std::list<std::pair<Message, Context>> queue_ KYR_GUARDED_BY(mutex_);
    // What the flags say of the consumer:
    //   waiting  wake  idle
    //   no       no    no    busy with a message, or has not come yet
    //   yes      no    no    waits, is about to find a message, or left because it was woken; a
    //                        timed queue begins so, although its consumer does not exist yet
    //   yes      yes   no    was woken and has not noticed; if it has left already, the next one
    //                        leaves as soon as it comes
    //   yes      no    yes   timed queues: left after five seconds of silence, or Rearm said
    //                        that there is none; the next push calls the idle callback
    bool wake_ KYR_GUARDED_BY(mutex_) = false;
    bool waiting_ KYR_GUARDED_BY(mutex_);
    bool idle_ KYR_GUARDED_BY(mutex_) = false;
    IdleEnded idleEnded_ KYR_GUARDED_BY(mutex_);
    std::uint64_t calls_ KYR_GUARDED_BY(mutex_) = 0;  // of the idle callback
    std::uint64_t received_ KYR_GUARDED_BY(mutex_) = 0;
    std::uint64_t departures_ KYR_GUARDED_BY(mutex_) = 0;  // of consumers, each into idleness
};

}  // namespace Kyr::Common::Module
