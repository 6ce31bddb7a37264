#include "connector/tasks/WinOvGetEcsLogsTasks.h"

#include <iterator>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/tasks/CountedRetry.h"
#include "connector/tasks/ProductTrigger.h"
#include "connector/tasks/RecordCollection.h"
#include "connector/tasks/RecordOffset.h"
#include "kelcomm/messages/OvResponse.h"
#include "logs/DataMinerMessages.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Connectors::OvAgentConnector {

namespace Messages = Common::Kelcomm::Messages;
namespace DataMiners = Kyr::Common::Message::DataMiners;
namespace Triggers = Kyr::Common::Message::Connectors::OvAgentConnector;
using Common::IChannelMessageFactory;

struct EcsIndicatorLogs {
    using Response = Messages::CGetEcsIndicatorLogsResponse;
    using StoreMessage = DataMiners::CDataMinerStoreEcsIndicatorLogs;

    static constexpr std::int32_t kRequestType = Triggers::kEcsIndicatorLogs;
    static constexpr char kTask[] = "CWinOvGetEcsIndicatorLogsTask";
    static constexpr char kOffsetKey[] = "XDR_OFFSET";
    static constexpr char kPublishing[] = "Publishing ECS indicator logs";
    static constexpr RefusalTexts kRefusals = {
        "Empty indicator logs response received from OVANTA Connector",
        "Failed to get ECS indicator logs from OVANTA Connector with code: ",
    };

    static auto CreateRequest(IChannelMessageFactory& factory, std::uint64_t offset) {
        return factory.CreateGetEcsIndicatorLogsRequest(offset);
    }
    static auto CreateResponse(IChannelMessageFactory& factory) {
        return factory.CreateGetEcsIndicatorLogsResponse();
    }
    static auto& Records(GetEcsLogsResponse& response) { return *response.mutable_logs(); }
};

struct EcsTelemetryLogs {
    using Response = Messages::CGetEcsTelemetryLogsResponse;
    using StoreMessage = DataMiners::CDataMinerStoreEcsTelemetryLogs;

    static constexpr std::int32_t kRequestType = Triggers::kEcsTelemetryLogs;
    static constexpr char kTask[] = "CWinOvGetEcsTelemetryLogsTask";
    static constexpr char kOffsetKey[] = "XDR_TELEMETRY_OFFSET";
    static constexpr char kPublishing[] = "Publishing ECS telemetry logs";
    static constexpr RefusalTexts kRefusals = {
        "Empty telemetry logs response received from OVANTA Connector",
        "Failed to get ECS telemetry logs from OVANTA Connector with code: ",
    };

    static auto CreateRequest(IChannelMessageFactory& factory, std::uint64_t offset) {
        return factory.CreateGetEcsTelemetryLogsRequest(offset);
    }
    static auto CreateResponse(IChannelMessageFactory& factory) {
        return factory.CreateGetEcsTelemetryLogsResponse();
    }
    static auto& Records(GetEcsTelemetryEventsResponse& response) {
        return *response.mutable_telemetrylogs();
    }
};

template <typename Kind>
CEcsLogsTask<Kind>::CEcsLogsTask(
    boost::shared_ptr<Common::ILogger> logger,
    boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
    boost::shared_ptr<Common::IChannel> channel, COvAgentConnectorModule* module,
    boost::shared_ptr<IChannelMessageFactory> messageFactory,
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore)
    : CMessageTask(Kyr::Common::Kernel::MessageType::OvAgentRequest),
      channel_(std::move(channel)),
      module_(module),
      messageFactory_(std::move(messageFactory)),
      keyValueStore_(std::move(keyValueStore)),
      logger_(std::move(logger)),
      publisher_(std::move(publisher)) {}

template <typename Kind>
CEcsLogsTask<Kind>::~CEcsLogsTask() = default;

template <typename Kind>
void CEcsLogsTask<Kind>::Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    Common::WithCountedRetry([&] {
        if (!Common::Tasks::IsTriggerOf<Triggers::COvAgentRequest>(message, Kind::kRequestType)) {
            return;
        }
        const std::uint64_t offset = ReadOffset(*keyValueStore_, Kind::kOffsetKey);
        const auto request = Kind::CreateRequest(*messageFactory_, offset)->Serialize();
        channel_->SetBufferReceiver(boost::make_shared<BufferReceiver>(
            logger_, message, messageFactory_, keyValueStore_, publisher_));
        channel_->Send(request);
    });
}

template <typename Kind>
CEcsLogsTask<Kind>::BufferReceiver::BufferReceiver(
    boost::shared_ptr<Common::ILogger> logger,
    boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger,
    boost::shared_ptr<IChannelMessageFactory> messageFactory,
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore,
    boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher)
    : logger_(std::move(logger)),
      trigger_(std::move(trigger)),
      messageFactory_(std::move(messageFactory)),
      keyValueStore_(std::move(keyValueStore)),
      publisher_(std::move(publisher)) {}

template <typename Kind>
CEcsLogsTask<Kind>::BufferReceiver::~BufferReceiver() = default;

template <typename Kind>
void CEcsLogsTask<Kind>::BufferReceiver::OnBufferReceived(const std::vector<unsigned char>& reply) {
    const auto response = ReadRecords<typename Kind::Response>(
        Kind::CreateResponse(*messageFactory_), reply, Kind::kTask, *logger_);
    if (!IsServed(response, Kind::kRefusals, *logger_)) {
        return;
    }
    // Taken out of the response, which nobody reads any more: batches are megabytes, and copies
    // would be most of what a batch costs.
    auto& records = Kind::Records(*response);
    const auto batch = boost::make_shared<typename Kind::StoreMessage>();
    batch->SetLogs(std::vector<std::string>(std::make_move_iterator(records.begin()),
                                            std::make_move_iterator(records.end())));
    logger_->GetLog(1) << Kind::kPublishing;
    publisher_->Publish(batch);
    // Last: who is interrupted before it passes the same records on again, and skips none.
    AdvanceOffset(*keyValueStore_, Kind::kOffsetKey, static_cast<std::uint64_t>(records.size()));
}

template class CEcsLogsTask<EcsIndicatorLogs>;
template class CEcsLogsTask<EcsTelemetryLogs>;

}  // namespace Kyr::Connectors::OvAgentConnector
