// Fetches the product's configuration and publishes it as an event log, for request-configuration
// messages of the server (type 5); a second event reports the request as done.
//
// Threads: the task thread only; keeps nothing between two messages.
// Ownership: shares what it is given; its receivers share only what a reply needs, not the task.
// Errors: every failure is a counted CRetryException with the failure's text. What was published
// before it stays published, and comes again with the retry. A message of another class, or for
// another product, is ignored.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Clock.h"
#include "connector/IInstanceUUIDProvider.h"
#include "connector/IMessagePublisher.h"
#include "connector/MessageTask.h"
#include "connector/channel/IChannel.h"
#include "connector/channel/IChannelMessageFactory.h"
#include "connector/reports/Reporter.h"
#include "host/proto/configuration.pb.h"

namespace Kyr::Connectors::Common::Tasks {

class CExportConfigurationTask : public CMessageTask {
  public:
    class BufferReceiver;
    using ProductTypes = std::vector<std::int32_t>;

    /// `productTypes` are those that the task answers for; `productId` is what the events name as
    /// their product; `clock` gives them their current time.
    /// REQUIRES: none of the pointers is empty.
    CExportConfigurationTask(boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                             boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                             ProductTypes productTypes,
                             boost::shared_ptr<IChannelMessageFactory> messageFactory,
                             boost::shared_ptr<IChannel> channel, std::uint64_t productId,
                             boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CExportConfigurationTask() override;

    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

  private:
    using Request = Kyr::Common::DataDefinition::Configuration::RequestConfiguration;

    bool AnswersFor(const Request& request) const;

    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider_;
    const ProductTypes productTypes_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<IChannel> channel_;
    const std::uint64_t productId_;
    const boost::shared_ptr<Base::IClock> clock_;
};

/// Publishes the configuration in one export reply and reports the request as done.
class CExportConfigurationTask::BufferReceiver : public IBufferReceiver {
  public:
    /// `message` is the request that is reported as done: when it is a task message with all three
    /// identifiers, else nothing is reported.
    /// REQUIRES: none of the pointers is empty.
    BufferReceiver(boost::shared_ptr<Kyr::Common::Kernel::IMessage> message,
                   boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                   boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                   boost::shared_ptr<IChannelMessageFactory> messageFactory,
                   std::uint64_t productId, boost::shared_ptr<Base::IClock> clock);
    ~BufferReceiver() override;

    void OnBufferReceived(const std::vector<unsigned char>& reply) override;

  private:
    void PublishConfiguration(const std::vector<unsigned char>& reply) const;
    void ReportDone() const;
    Reporter Self() const;

    const boost::shared_ptr<Kyr::Common::Kernel::IMessage> message_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const std::uint64_t productId_;
    const boost::shared_ptr<Base::IClock> clock_;
};

}  // namespace Kyr::Connectors::Common::Tasks
