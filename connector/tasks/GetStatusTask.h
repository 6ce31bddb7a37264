// Fetches the product's protection status and publishes it as a status log, for the triggers of
// several connectors.
//
// Threads: the task thread only; keeps nothing between two messages.
// Ownership: shares what it is given; its receivers share only what a reply needs, not the task.
// Errors: every failure is a counted CRetryException with the failure's text. A message of another
// class or kind is ignored.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Clock.h"
#include "connector/IInstanceUUIDProvider.h"
#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "connector/MessageTask.h"
#include "connector/channel/IChannel.h"
#include "connector/channel/IChannelMessageFactory.h"

namespace Kyr::Connectors::Common::Tasks {

class CGetStatusTask : public CMessageTask {
  public:
    class BufferReceiver;

    /// `messageType` says whose triggers the task serves: 7, 8 or 9; for any other type it ignores
    /// every message. `productId` and `productType` are what the log names as its product; `clock`
    /// gives the log its current time.
    /// REQUIRES: none of the pointers is empty.
    CGetStatusTask(Kyr::Common::Kernel::MessageType messageType, boost::shared_ptr<ILogger> logger,
                   boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                   boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                   boost::shared_ptr<IChannelMessageFactory> messageFactory,
                   boost::shared_ptr<IChannel> channel, std::uint64_t productId,
                   std::int32_t productType,
                   boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CGetStatusTask() override;

    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

  private:
    bool IsTrigger(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) const;

    const boost::shared_ptr<ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<IChannel> channel_;
    const std::uint64_t productId_;
    const std::int32_t productType_;
    const boost::shared_ptr<Base::IClock> clock_;
};

/// Publishes the records of one status reply.
class CGetStatusTask::BufferReceiver : public IBufferReceiver {
  public:
    /// REQUIRES: none of the pointers is empty.
    BufferReceiver(boost::shared_ptr<ILogger> logger,
                   boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                   std::uint64_t productId, std::int32_t productType,
                   boost::shared_ptr<IChannelMessageFactory> messageFactory,
                   boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                   boost::shared_ptr<Base::IClock> clock);
    ~BufferReceiver() override;

    void OnBufferReceived(const std::vector<unsigned char>& reply) override;

  private:
    const boost::shared_ptr<ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const std::uint64_t productId_;
    const std::int32_t productType_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider_;
    const boost::shared_ptr<Base::IClock> clock_;
};

}  // namespace Kyr::Connectors::Common::Tasks
