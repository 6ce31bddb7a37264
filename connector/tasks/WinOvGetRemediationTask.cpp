#include "connector/tasks/WinOvGetRemediationTask.h"

#include <stdexcept>
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

namespace {

using Common::Kelcomm::Messages::CGetOvRemediationResponse;
using Common::Tasks::IsTriggerOf;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Common::Message::Connectors::OvAgentConnector::kRemediationActions;
using Kyr::Common::Message::DataMiners::CDataMinerOutOfOrderEventMessage;

constexpr char kOffsetKey[] = "OV_REMEDIATION_OFFSET";
constexpr RefusalTexts kRefusals = {
    "Empty response received from OV Connector",
    "Failed to get remediation data from OV Connector with code: ",
};
constexpr std::int32_t kBlockAction = 3;  // the product's number

/// The block actions of a reply, each in its own serialization, in the product's order. They are
/// empty in the response afterwards: the memory of one holds the next one's serialization.
std::vector<std::string> TakeBlockActions(GetRemediationActionsResponse& response) {
    std::vector<std::string> batch;
    batch.reserve(static_cast<std::size_t>(response.actions_size()));
    for (RemediationAction& action : *response.mutable_actions()) {
        if (action.action_type() == kBlockAction) {
            batch.push_back(action.SerializeAsString());
            action.Clear();
        }
    }
    return batch;
}

}  // namespace

CWinOvGetRemediationTask::CWinOvGetRemediationTask(
    boost::shared_ptr<Common::ILogger> logger,
    boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
    boost::shared_ptr<Common::IChannel> channel, COvAgentConnectorModule* module,
    boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
    boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationStore,
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore)
    : CMessageTask(Kyr::Common::Kernel::MessageType::OvAgentRequest),
      channel_(std::move(channel)),
      module_(module),
      messageFactory_(std::move(messageFactory)),
      remediationStore_(std::move(remediationStore)),
      keyValueStore_(std::move(keyValueStore)),
      logger_(std::move(logger)),
      publisher_(std::move(publisher)) {}

CWinOvGetRemediationTask::~CWinOvGetRemediationTask() = default;

void CWinOvGetRemediationTask::Execute(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    Common::WithCountedRetry([&] {
        if (!IsTriggerOf<COvAgentRequest>(message, kRemediationActions)) {
            return;
        }
        const std::uint64_t offset = ReadOffset(*keyValueStore_, kOffsetKey);
        const auto request = messageFactory_->CreateGetOvRemediationRequest(offset)->Serialize();
        channel_->SetBufferReceiver(boost::make_shared<BufferReceiver>(
            logger_, publisher_, message, messageFactory_, remediationStore_, keyValueStore_));
        channel_->Send(request);
    });
}

CWinOvGetRemediationTask::BufferReceiver::BufferReceiver(
    boost::shared_ptr<Common::ILogger> logger,
    boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
    boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger,
    boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
    boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationStore,
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore)
    : logger_(std::move(logger)),
      publisher_(std::move(publisher)),
      trigger_(std::move(trigger)),
      messageFactory_(std::move(messageFactory)),
      remediationStore_(std::move(remediationStore)),
      keyValueStore_(std::move(keyValueStore)) {}

CWinOvGetRemediationTask::BufferReceiver::~BufferReceiver() = default;

void CWinOvGetRemediationTask::BufferReceiver::OnBufferReceived(
    const std::vector<unsigned char>& reply) {
    const auto records =
        ReadRecords<CGetOvRemediationResponse>(messageFactory_->CreateGetOvRemediationResponse(),
                                               reply, "CWinOvGetRemediationTask", *logger_);
    if (!IsServed(records, kRefusals, *logger_)) {
        return;
    }
    const std::vector<std::string> batch = TakeBlockActions(*records);
    if (batch.empty()) {
        // Deliberate: the other actions stay ahead until a block action comes with them.
        logger_->GetLog(1) << "No block actions received from OV Connector";
        return;
    }
    if (!remediationStore_->StoreActions(batch)) {
        logger_->GetLog(4) << "OV Remediation: Failed to store with batch size: " << batch.size();
        throw std::runtime_error("OV Remediation: Failed to store");
    }
    AdvanceOffset(*keyValueStore_, kOffsetKey, static_cast<std::uint64_t>(records->actions_size()));
    publisher_->Publish(
        boost::shared_ptr<CDataMinerOutOfOrderEventMessage>(new CDataMinerOutOfOrderEventMessage));
}

}  // namespace Kyr::Connectors::OvAgentConnector
