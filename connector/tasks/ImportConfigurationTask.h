// Hands the policy of a policy message (type 194) to the product, and hands the last one over again
// when the module asks.
//
// Threads: the task thread only.
// Ownership: shares what it is given, and keeps the last message, whatever became of it.
// Errors: a refusal that the channel reports as CErrorReplyChannelException is logged, and the
// message is done. Any other std::runtime_error is an uncounted CRetryException with its text: the
// policy is sent again for as long as that keeps failing. Anything else passes unchanged. The
// Kelcomm channel reports refusals with a class of its own, so that there they are retried.
#pragma once

#include <vector>

#include "connector/ILogger.h"
#include "connector/MessageTask.h"
#include "connector/channel/IChannel.h"
#include "connector/channel/IChannelMessageFactory.h"

namespace Kyr::Connectors::Common::Tasks {

class CImportConfigurationTask : public CMessageTask {
  public:
    class BufferReceiver;

    /// REQUIRES: none of the pointers is empty.
    CImportConfigurationTask(boost::shared_ptr<ILogger> logger,
                             boost::shared_ptr<IChannelMessageFactory> messageFactory,
                             boost::shared_ptr<IChannel> channel);
    ~CImportConfigurationTask() override;

    /// Keeps `message` and imports it.
    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

    /// Sends the policy of the last message to the product, and does nothing when there was none or
    /// it was no policy message. Fails as Execute does.
    void ImportConfiguration();

  private:
    void SendPolicy();

    const boost::shared_ptr<ILogger> logger_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<IChannel> channel_;
    boost::shared_ptr<Kyr::Common::Kernel::IMessage> message_;  // empty before the first one
};

/// Logs that the product accepted a policy; what its reply holds does not matter.
class CImportConfigurationTask::BufferReceiver : public IBufferReceiver {
  public:
    /// REQUIRES: `logger` is not empty.
    explicit BufferReceiver(boost::shared_ptr<ILogger> logger);
    ~BufferReceiver() override;

    void OnBufferReceived(const std::vector<unsigned char>& reply) override;

  private:
    const boost::shared_ptr<ILogger> logger_;
};

}  // namespace Kyr::Connectors::Common::Tasks
