// The product-independent half of a connector module: the life cycle that the host drives, the
// subscriptions, and the services for tasks. What runs on the task thread, with retries,
// reconnections, cancellations and task events, is CTaskRunner.
//
// Life cycle, driven by the host on its own threads, one call at a time:
//   Initialize once - Start - RequestStop - Stop(false) until it returns true, or Stop(true).
//   RequestStop and Stop wait for the task that is running; Stop may come without RequestStop, in
//   any state and several times. When Stop has returned true no thread of this module is alive. A
//   module whose product is not installed is inactive: it has no thread and no subscription.
// REQUIRES: the destructor of the most derived class calls EndThreads() before anything else, since
//   the threads call the operations of the derived class.
//
// Threads: Connect, Disconnect and Reconnect are called on the task thread, Interrupt from
//   RequestStop, at the same time perhaps. Publish, GetLog and GetInstanceUUID: any thread
//   after Initialize.
// Errors: nothing leaves the threads. Initialize throws what a resource or a concrete operation
//   throws, Start boost::thread_resource_error.
// The order of the virtual operations is part of the contract.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "connector/GenericModule.h"
#include "connector/IInstanceUUIDProvider.h"
#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "connector/MessageTask.h"

namespace Kyr::Connectors::Common {

class CTaskRunner;

class CConnectorModule : public Kyr::Common::Module::CGenericModule,
                         public Kyr::Common::Module::IMessagePublisher,
                         public IInstanceUUIDProvider,
                         public ILogger {
  public:
    using MessagePointer = boost::shared_ptr<Kyr::Common::Kernel::IMessage>;
    using MessageTypes = std::vector<Kyr::Common::Kernel::MessageType>;
    using TaskPointer = boost::shared_ptr<CMessageTask>;
    using TaskList = std::vector<TaskPointer>;

    /// Runs a message processor on a thread that exists only while there is something to process.
    class IMessageProcessorThreadHolder {
      public:
        virtual ~IMessageProcessorThreadHolder();
        /// Lets the thread be started by the next message, or now if messages are queued.
        virtual void Resume() = 0;
        /// Waits until the queue has run empty and the thread has ended.
        virtual void Halt() = 0;
    };

    /// The wait before every connection attempt after the first, and before every reconnection.
    static constexpr std::int64_t kReconnectDelayMs = 10000;

    explicit CConnectorModule(boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CConnectorModule() override;
    CConnectorModule(const CConnectorModule&) = delete;
    CConnectorModule& operator=(const CConnectorModule&) = delete;

    void Initialize(Kyr::Common::Kernel::IResourceProvider& provider) override;
    void Start() override;
    void RequestStop() override;
    bool Stop(bool force) override;
    std::string GetName() const override = 0;
    /// The product that this connector serves.
    virtual std::uint64_t GetProductId() const = 0;

  protected:
    /// Tells the server which product the inactive module stands for.
    virtual void PublishDeactivatedStatus();
    /// Asked once, by Initialize. True here.
    virtual bool IsProductInstalled();
    /// Appends the module's tasks; the order decides who gets a message of a shared type first.
    virtual void CreateTasks(TaskList& tasks) = 0;
    /// False, or a std::exception: not connected. Disconnect is called then, too.
    virtual bool Connect() = 0;
    /// Ends the product activity of the module without waiting for a running task.
    virtual void Interrupt() = 0;
    virtual void Disconnect() = 0;
    virtual bool Reconnect();

    // The overrides of the other bases stand last: each takes a place of its own in this table.
  public:
    void Publish(const MessagePointer& message) override;
    std::string GetInstanceUUID() const override;
    CLogLine GetLog(int level) noexcept override;

  protected:
    /// Subscribes a queue to `types`; `processor`, which must outlive the module's threads, gets
    /// its messages on a thread of its own. A second call throws std::runtime_error, after its
    /// subscriptions.
    void SubscribeMessages(MessageTypes types, Kyr::Common::Module::IMessageProcessor& processor);
    /// Interrupts and joins the module's threads. Throws nothing; harmless when there are none.
    void EndThreads();

    bool IsActive() const { return active_; }

    std::int64_t reconnectDelayMs = kReconnectDelayMs;

  private:
    class CConnection;

    void JoinThreads();

    const boost::shared_ptr<Base::IClock> clock_;
    /// What task events name as their product.
    const std::uint64_t connectorProductId_;

    // Constant after Initialize.
    bool active_ = false;
    const std::unique_ptr<CConnection> connection_;
    std::unique_ptr<CTaskRunner> tasks_;  // of an active module
    boost::shared_ptr<Kyr::Common::Kernel::INetworkGrpcResource> networkGrpc_;

    Base::CMutex stopMutex_;
    bool stopRequested_ KYR_GUARDED_BY(stopMutex_) = false;  // nobody reads it; contract

    // Used by the host's threads only.
    boost::shared_ptr<IMessageProcessorThreadHolder> processorThreadHolder_;
};

}  // namespace Kyr::Connectors::Common
