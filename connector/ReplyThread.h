// The thread that takes a queue's messages while there are any: a message that finds nobody starts
// it, five seconds of silence end it.
//
// Its states, and what leads out of them:
//   thread  queue
//   none    not idle  before the first Resume: messages are queued and start nothing
//   none    idle      the next push starts the thread
//   runs    not idle  the thread takes messages
//   ended   idle      five seconds without a message: the next push joins the thread, which only
//                     has to leave, and starts another one; Halt joins it and starts none
//   ended   idle      the same after a failure that ended the thread, messages queued perhaps
//   none    any       after End: pushes are queued, and nothing starts
//
// Threads: any. Every operation excludes the others. The thread itself never takes their lock, and
//   always leaves: so joining it under the lock comes to an end.
// Ownership: shares the queue; logger and processor must outlive End.
// Errors: what the processor throws is logged at level 4. OnIdleEnded and Resume throw
//   boost::thread_resource_error when the thread cannot be created; the next message tries again.
#pragma once

#include <cstdint>
#include <memory>

#include <boost/shared_ptr.hpp>

#include "base/ThreadAnnotations.h"
#include "connector/ILogger.h"
#include "connector/IMessageProcessor.h"
#include "connector/RecursiveLock.h"
#include "connector/Subscriber.h"

namespace boost {
class thread;
}

namespace Kyr::Connectors::Common {

class CReplyThread {
  public:
    CReplyThread(ILogger& logger, Kyr::Common::Module::IMessageProcessor& processor);
    /// REQUIRES: it has been ended, or never started.
    ~CReplyThread();
    CReplyThread(const CReplyThread&) = delete;
    CReplyThread& operator=(const CReplyThread&) = delete;

    /// The queue to take from, whose idle callback is OnIdleEnded. Once, before anything else.
    void SetQueue(boost::shared_ptr<Kyr::Common::Module::CSubscriber> queue);
    const boost::shared_ptr<Kyr::Common::Module::CSubscriber>& Queue() const { return queue_; }

    /// A message has come while nobody took any: starts the thread. Nothing after End.
    void OnIdleEnded();
    /// Lets messages start the thread from now on, those that wait already included.
    void Resume();
    /// Waits until the thread has ended by itself, for want of messages.
    void Halt();
    /// Interrupts the thread and joins it; there is none from now on.
    void End();

  private:
    void Join() KYR_REQUIRES(lock_);
    void ThreadBody();
    void RunUntilIdle();
    void ProcessMessages();
    void ProcessMessage(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message,
                        const boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>& context);
    /// The failure that is being handled becomes a line.
    void TellFailure();

    ILogger& logger_;
    Kyr::Common::Module::IMessageProcessor& processor_;
    boost::shared_ptr<Kyr::Common::Module::CSubscriber> queue_;  // constant after SetQueue

    // Recursive: Resume holds it when it rearms a queue with messages, which calls OnIdleEnded.
    CRecursiveLock lock_;
    std::unique_ptr<boost::thread> thread_ KYR_GUARDED_BY(lock_);
    std::uint64_t departuresBefore_ KYR_GUARDED_BY(lock_) = 0;  // the queue's, before the thread's
    bool running_ KYR_GUARDED_BY(lock_) = true;
};

}  // namespace Kyr::Connectors::Common
