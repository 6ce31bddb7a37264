#include "connector/tasks/GetStatusTask.h"

#include <utility>

#include <boost/make_shared.hpp>

#include "connector/channel/Responses.h"
#include "connector/reports/ProtectionStatus.h"
#include "connector/tasks/CountedRetry.h"
#include "connector/tasks/ProductTrigger.h"
#include "host/message/ConnectorRequests.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Connectors::Common::Tasks {

using Kyr::Common::Kernel::IMessage;
using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Module::IMessagePublisher;

namespace OvAgent = Kyr::Common::Message::Connectors::OvAgentConnector;
namespace Tfde = Kyr::Common::Message::Connectors::TFDEConnector;
namespace Tch = Kyr::Common::Message::Connectors::TCHConnector;

CGetStatusTask::CGetStatusTask(MessageType messageType, boost::shared_ptr<ILogger> logger,
                               boost::shared_ptr<IMessagePublisher> publisher,
                               boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                               boost::shared_ptr<IChannelMessageFactory> messageFactory,
                               boost::shared_ptr<IChannel> channel, std::uint64_t productId,
                               std::int32_t productType, boost::shared_ptr<Base::IClock> clock)
    : CMessageTask(messageType),
      logger_(std::move(logger)),
      publisher_(std::move(publisher)),
      instanceUuidProvider_(std::move(instanceUuidProvider)),
      messageFactory_(std::move(messageFactory)),
      channel_(std::move(channel)),
      productId_(productId),
      productType_(productType),
      clock_(std::move(clock)) {}

CGetStatusTask::~CGetStatusTask() = default;

bool CGetStatusTask::IsTrigger(const boost::shared_ptr<IMessage>& message) const {
    switch (GetMessageType()) {
        case MessageType::OvAgentRequest:
            return IsTriggerOf<OvAgent::COvAgentRequest>(message, OvAgent::kProtectionStatus);
        case MessageType::TFDERequest:
            return IsTriggerOf<Tfde::CTFDERequest>(message, Tfde::kProtectionStatus);
        case MessageType::TchRequest:
            return IsTriggerOf<Tch::CTchRequest>(message, Tch::kProtectionStatus);
        default:
            return false;
    }
}

void CGetStatusTask::Execute(const boost::shared_ptr<IMessage>& message) {
    WithCountedRetry([&] {
        if (!IsTrigger(message)) {
            return;
        }
        const auto request = messageFactory_->CreateGetStatusRequest()->Serialize();
        channel_->SetBufferReceiver(
            boost::make_shared<BufferReceiver>(logger_, publisher_, productId_, productType_,
                                               messageFactory_, instanceUuidProvider_, clock_));
        channel_->Send(request);
    });
}

CGetStatusTask::BufferReceiver::BufferReceiver(
    boost::shared_ptr<ILogger> logger, boost::shared_ptr<IMessagePublisher> publisher,
    std::uint64_t productId, std::int32_t productType,
    boost::shared_ptr<IChannelMessageFactory> messageFactory,
    boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
    boost::shared_ptr<Base::IClock> clock)
    : logger_(std::move(logger)),
      publisher_(std::move(publisher)),
      productId_(productId),
      productType_(productType),
      messageFactory_(std::move(messageFactory)),
      instanceUuidProvider_(std::move(instanceUuidProvider)),
      clock_(std::move(clock)) {}

CGetStatusTask::BufferReceiver::~BufferReceiver() = default;

void CGetStatusTask::BufferReceiver::OnBufferReceived(const std::vector<unsigned char>& reply) {
    const auto message = messageFactory_->CreateGetStatusResponse();
    auto& response = dynamic_cast<CGetStatusResponse&>(*message);
    response.Deserialize(reply);
    const auto& records = response.GetRecords();
    logger_->GetLog(1) << "Protection status log raw content: " << response.GetRawContent();
    logger_->GetLog(0) << "Protection status log metadata received, size: " << records.size();
    const auto log = MakeProtectionStatus(
        records, {instanceUuidProvider_->GetInstanceUUID(), clock_, productId_, productType_});
    publisher_->Publish(log);
    logger_->GetLog(0) << "Protection status log deserialized and published";
}

}  // namespace Kyr::Connectors::Common::Tasks
