// Asks the Ov agent to kill a process, for a task message of the server (type 918).
//
// Done when the product has accepted the request; the outcome comes later through the product's
// task log, under the three identifiers that travel in the request.
// Threads: the task thread only; keeps nothing between two messages.
// Errors: every failure is a counted CRetryException with the failure's text. A message of another
// class is ignored.
#pragma once

#include "connector/ILogger.h"
#include "connector/MessageTask.h"
#include "connector/channel/IChannel.h"

namespace Kyr::Connectors::OvAgentConnector {

class CWinOvKillProcessByPidTask : public Common::CMessageTask {
  public:
    /// `module` is the logger of the module that owns the task; it must outlive the task.
    CWinOvKillProcessByPidTask(boost::shared_ptr<Common::IChannel> channel,
                               Common::ILogger* module);
    ~CWinOvKillProcessByPidTask() override;

    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

  private:
    const boost::shared_ptr<Common::IChannel> channel_;
    Common::ILogger* const module_;  // borrowed
};

}  // namespace Kyr::Connectors::OvAgentConnector
