// Holds a message processor's queue and its thread, which starts with the first message and ends
// after five seconds without one: what the bus pushes into, and what the module starts and halts.
//
// Threads: any. Resume, Halt, the bus's pushes and the destructor exclude one another.
// Ownership: the bus keeps the holder's subscriber for ever. What it pushes after the holder's end
//   is queued and starts nothing.
// Errors: what the processor throws is logged at level 4. A push throws
//   boost::thread_resource_error when the thread cannot be created.
#pragma once

#include <string>

#include "base/Clock.h"
#include "connector/ConnectorModule.h"
#include "connector/ILogger.h"
#include "connector/IMessageProcessor.h"
#include "connector/Subscriber.h"

namespace Kyr::Connectors::Common {

class CReplyThread;

class CMessageProcessorThreadHolder final : public CConnectorModule::IMessageProcessorThreadHolder {
  public:
    /// `logger` and `processor` must outlive the holder. No thread is started.
    CMessageProcessorThreadHolder(ILogger& logger, std::string name,
                                  Kyr::Common::Module::IMessageProcessor& processor,
                                  boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    /// Interrupts and joins the thread.
    ~CMessageProcessorThreadHolder() override;
    CMessageProcessorThreadHolder(const CMessageProcessorThreadHolder&) = delete;
    CMessageProcessorThreadHolder& operator=(const CMessageProcessorThreadHolder&) = delete;

    void Resume() override;
    void Halt() override;

    /// The queue that the bus is to push into.
    const boost::shared_ptr<Kyr::Common::Module::CSubscriber>& GetSubscriber() const;

  private:
    // Shared with pushes that are under way when the holder ends.
    const boost::shared_ptr<CReplyThread> thread_;
};

}  // namespace Kyr::Connectors::Common
