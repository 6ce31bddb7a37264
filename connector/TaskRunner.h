// Runs the tasks of a module on a thread of its own: connects to the product, takes messages from
// its queue, offers each to the tasks of its type, reconnects and retries, cancels, and tells the
// server what failed.
//
// The life of its thread, as a person would watch it:
//   connecting   until a connection is made, ten seconds apart
//   processing   one message after the other; every task of its type, in the order of AddTask
//   reconnecting when a task has failed so that it is to be tried again, or its failure could not
//                be told for want of memory, ten seconds apart
//   ended        woken while idle, or interrupted. Interrupted while it was connecting, it cancels
//                what is queued; in every case it disconnects.
//
// Threads: the life cycle, Start to Join, belongs to the host's threads, one call at a time; the
//   connection is called on the task thread only.
// Ownership: shares the queue with the host's bus, which never gives it up. Connection and services
//   must outlive the runner.
// Errors: nothing leaves the thread, and nothing but its own end ends it: whatever connection,
//   tasks and services throw costs a line and a wait at most, never a message. Start throws
//   boost::thread_resource_error.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "connector/IInstanceUUIDProvider.h"
#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "connector/MessageTask.h"
#include "connector/Subscriber.h"

namespace boost {
class thread;
}

namespace Kyr::Connectors::Common {

struct TaskOutcome;

/// The connection to the product as the task thread needs it.
class IProductConnection {
  public:
    virtual ~IProductConnection();

    /// False, or a std::exception: not connected. Disconnect is called then, too.
    virtual bool Connect() = 0;
    virtual bool Reconnect() = 0;
    virtual void Disconnect() = 0;
    /// The wait before every attempt after the first, and before every reconnection.
    virtual std::chrono::milliseconds ReconnectDelay() const = 0;
};

class CTaskRunner {
  public:
    using MessagePointer = boost::shared_ptr<Kyr::Common::Kernel::IMessage>;
    using TaskPointer = boost::shared_ptr<CMessageTask>;

    /// What the runner needs of the host.
    struct Services {
        ILogger& logger;
        Kyr::Common::Module::IMessagePublisher& publisher;
        const IInstanceUUIDProvider& instance;
    };

    /// `name` is the queue's; `productId` is what task events name as their product.
    CTaskRunner(std::string name, IProductConnection& connection, Services services,
                std::uint64_t productId, boost::shared_ptr<Base::IClock> clock);
    /// Interrupts and joins the thread.
    ~CTaskRunner();
    CTaskRunner(const CTaskRunner&) = delete;
    CTaskRunner& operator=(const CTaskRunner&) = delete;

    /// REQUIRES: not yet started. The order decides who gets a message of a shared type first.
    void AddTask(const TaskPointer& task);
    /// The queue that the bus is to push into.
    const boost::shared_ptr<Kyr::Common::Module::CSubscriber>& Queue() const { return queue_; }

    /// Starts the thread unless there is one.
    void Start();
    /// Asks every task to end early. Returns after the one that is running.
    void CancelTasks();
    /// Interrupts the thread unless it is connected. True: it is, and was left alone. Waits for the
    /// task that is running.
    bool InterruptUnlessConnected();
    /// Lets an idle thread end by itself. False: it is busy, and nothing has changed.
    bool Wake();
    /// Interrupts whatever the thread does; harmless when there is none.
    void Interrupt();
    /// Waits for the thread's end, and cannot be interrupted while it does.
    void Join();

  private:
    enum class Attempt { kDone, kFailed, kNotCounted };

    void ThreadBody();
    void Run();
    void ConnectFirst();
    void ProcessMessages();
    void ProcessMessage(const MessagePointer& message);
    void RunTask(CMessageTask& task, const MessagePointer& message) KYR_REQUIRES(tasksMutex_);
    Attempt ProcessTask(CMessageTask& task, const MessagePointer& message);
    void ReconnectUntilConnected() KYR_REQUIRES(tasksMutex_);
    void CancelQueuedMessages();
    void PublishCancelled(const MessagePointer& message, const char* reason);
    void LogCancelled(const MessagePointer& message, const char* reason);
    void PublishTaskEvent(const MessagePointer& message, const TaskOutcome& outcome);
    /// What `step` returns; a failure counts as false.
    template <typename Step>
    bool Guarded(Step step);
    void GuardedDisconnect();
    CLogLine GetLog(int level) { return services_.logger.GetLog(level); }

    IProductConnection& connection_;
    const Services services_;
    const std::uint64_t productId_;
    const boost::shared_ptr<Base::IClock> clock_;
    const boost::shared_ptr<Kyr::Common::Module::CSubscriber> queue_;

    // Constant after Start.
    std::multimap<Kyr::Common::Kernel::MessageType, TaskPointer> tasks_;

    // Held by the thread while it handles a message, except while it reconnects.
    Base::CMutex tasksMutex_;
    bool connected_ KYR_GUARDED_BY(tasksMutex_) = false;

    // Used by the host's threads only.
    std::unique_ptr<boost::thread> thread_;
};

}  // namespace Kyr::Connectors::Common
