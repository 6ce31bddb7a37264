// A unit of work: carries out one type of bus message against the product.
//
// Threads: Execute runs on the task thread only; Cancel may be called from any thread.
// Ownership: shared; created once by the module, living as long as the connector core keeps its
// task list.
// Errors: exceptions tell the outcome. A normal return is done, CRetryException asks for another
// attempt, CRestartNeededException for a reconnection, CLocalizedException and any other
// std::exception are failures.
#pragma once

#include <atomic>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"

namespace Kyr::Connectors::Common {

class CMessageTask {
  public:
    virtual ~CMessageTask();
    CMessageTask(const CMessageTask&) = delete;
    CMessageTask& operator=(const CMessageTask&) = delete;

    /// Carries `message` out. A message of another class than the task expects is ignored.
    virtual void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) = 0;
    /// Sets the cancelled flag and does nothing else.
    virtual void Cancel();

    /// The type of bus message that this task carries out.
    Kyr::Common::Kernel::MessageType GetMessageType() const { return messageType_; }
    bool IsCancelled() const { return cancelled_; }

  protected:
    explicit CMessageTask(Kyr::Common::Kernel::MessageType messageType);

  private:
    const Kyr::Common::Kernel::MessageType messageType_;
    std::atomic<bool> cancelled_{false};  // only ever goes from false to true
};

}  // namespace Kyr::Connectors::Common
