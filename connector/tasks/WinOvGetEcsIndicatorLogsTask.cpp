#include "connector/tasks/WinOvGetEcsIndicatorLogsTask.h"

#include <utility>

#include "connector/tasks/CountedRetry.h"
#include "connector/tasks/EcsLogs.h"
#include "connector/tasks/ProductTrigger.h"
#include "connector/tasks/RecordCollection.h"
#include "kelcomm/messages/OvResponse.h"
#include "logs/DataMinerMessages.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Connectors::OvAgentConnector {

namespace {

using Common::Kelcomm::Messages::CGetEcsIndicatorLogsResponse;
using Common::Tasks::IsTriggerOf;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Common::Message::Connectors::OvAgentConnector::kEcsIndicatorLogs;
using Kyr::Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;

constexpr char kOffsetKey[] = "XDR_OFFSET";
constexpr char kPublishing[] = "Publishing ECS indicator logs";
constexpr RefusalTexts kRefusals = {
    "Empty indicator logs response received from OVANTA Connector",
    "Failed to get ECS indicator logs from OVANTA Connector with code: ",
};

}  // namespace

CWinOvGetEcsIndicatorLogsTask::CWinOvGetEcsIndicatorLogsTask(
    boost::shared_ptr<Common::ILogger> logger,
    boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
    boost::shared_ptr<Common::IChannel> channel, COvAgentConnectorModule* module,
    boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore)
    : CMessageTask(Kyr::Common::Kernel::MessageType::OvAgentRequest),
      channel_(std::move(channel)),
      module_(module),
      messageFactory_(std::move(messageFactory)),
      keyValueStore_(std::move(keyValueStore)),
      logger_(std::move(logger)),
      publisher_(std::move(publisher)) {}

CWinOvGetEcsIndicatorLogsTask::~CWinOvGetEcsIndicatorLogsTask() = default;

void CWinOvGetEcsIndicatorLogsTask::Execute(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    Common::WithCountedRetry([&] {
        if (!IsTriggerOf<COvAgentRequest>(message, kEcsIndicatorLogs)) {
            return;
        }
        const std::uint64_t offset = ReadOffset(*keyValueStore_, kOffsetKey);
        const auto request = messageFactory_->CreateGetEcsIndicatorLogsRequest(offset)->Serialize();
        channel_->SetBufferReceiver(boost::make_shared<BufferReceiver>(
            logger_, message, messageFactory_, keyValueStore_, publisher_));
        channel_->Send(request);
    });
}

CWinOvGetEcsIndicatorLogsTask::BufferReceiver::BufferReceiver(
    boost::shared_ptr<Common::ILogger> logger,
    boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger,
    boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore,
    boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher)
    : logger_(std::move(logger)),
      trigger_(std::move(trigger)),
      messageFactory_(std::move(messageFactory)),
      keyValueStore_(std::move(keyValueStore)),
      publisher_(std::move(publisher)) {}

CWinOvGetEcsIndicatorLogsTask::BufferReceiver::~BufferReceiver() = default;

void CWinOvGetEcsIndicatorLogsTask::BufferReceiver::OnBufferReceived(
    const std::vector<unsigned char>& reply) {
    const auto records = ReadRecords<CGetEcsIndicatorLogsResponse>(
        messageFactory_->CreateGetEcsIndicatorLogsResponse(), reply);
    if (IsServed(records, kRefusals, *logger_)) {
        PassOnEcsLogs<CDataMinerStoreEcsIndicatorLogs>(*records->mutable_logs(), kPublishing,
                                                       kOffsetKey, *logger_, *publisher_,
                                                       *keyValueStore_);
    }
}

}  // namespace Kyr::Connectors::OvAgentConnector
