#include "connector/tasks/WinOvGetEcsTelemetryLogsTask.h"

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

using Common::Kelcomm::Messages::CGetEcsTelemetryLogsResponse;
using Common::Tasks::IsTriggerOf;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Common::Message::Connectors::OvAgentConnector::kEcsTelemetryLogs;
using Kyr::Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs;

constexpr char kOffsetKey[] = "XDR_TELEMETRY_OFFSET";
constexpr char kPublishing[] = "Publishing ECS telemetry logs";
constexpr RefusalTexts kRefusals = {
    "Empty telemetry logs response received from OVANTA Connector",
    "Failed to get ECS telemetry logs from OVANTA Connector with code: ",
};

}  // namespace

CWinOvGetEcsTelemetryLogsTask::CWinOvGetEcsTelemetryLogsTask(
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

CWinOvGetEcsTelemetryLogsTask::~CWinOvGetEcsTelemetryLogsTask() = default;

void CWinOvGetEcsTelemetryLogsTask::Execute(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    Common::WithCountedRetry([&] {
        if (!IsTriggerOf<COvAgentRequest>(message, kEcsTelemetryLogs)) {
            return;
        }
        const std::uint64_t offset = ReadOffset(*keyValueStore_, kOffsetKey);
        const auto request = messageFactory_->CreateGetEcsTelemetryLogsRequest(offset)->Serialize();
        channel_->SetBufferReceiver(boost::make_shared<BufferReceiver>(
            logger_, message, messageFactory_, keyValueStore_, publisher_));
        channel_->Send(request);
    });
}

CWinOvGetEcsTelemetryLogsTask::BufferReceiver::BufferReceiver(
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

CWinOvGetEcsTelemetryLogsTask::BufferReceiver::~BufferReceiver() = default;

void CWinOvGetEcsTelemetryLogsTask::BufferReceiver::OnBufferReceived(
    const std::vector<unsigned char>& reply) {
    const auto records = ReadRecords<CGetEcsTelemetryLogsResponse>(
        messageFactory_->CreateGetEcsTelemetryLogsResponse(), reply);
    if (IsServed(records, kRefusals, *logger_)) {
        PassOnEcsLogs<CDataMinerStoreEcsTelemetryLogs>(*records->mutable_telemetrylogs(),
                                                       kPublishing, kOffsetKey, *logger_,
                                                       *publisher_, *keyValueStore_);
    }
}

}  // namespace Kyr::Connectors::OvAgentConnector
