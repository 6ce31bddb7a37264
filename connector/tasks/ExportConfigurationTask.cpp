#include "connector/tasks/ExportConfigurationTask.h"

#include <algorithm>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/channel/Responses.h"
#include "connector/reports/ConfigurationEvent.h"
#include "connector/reports/TaskEvent.h"
#include "connector/tasks/CountedRetry.h"
#include "host/Catalogue.h"
#include "host/message/RequestConfigurationMessage.h"

namespace Kyr::Connectors::Common::Tasks {

namespace Outcome = Kyr::Common::Catalogue::Task;
using Kyr::Common::Kernel::IMessage;
using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::Configuration::CRequestConfigurationMessage;
using Kyr::Common::Module::IMessagePublisher;

namespace {

/// How the request is reported.
const TaskOutcome kDone{Outcome::kNotFailed, Outcome::kDoneText, Outcome::kInformationSeverity, ""};

}  // namespace

CExportConfigurationTask::CExportConfigurationTask(
    boost::shared_ptr<IMessagePublisher> publisher,
    boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider, ProductTypes productTypes,
    boost::shared_ptr<IChannelMessageFactory> messageFactory, boost::shared_ptr<IChannel> channel,
    std::uint64_t productId, boost::shared_ptr<Base::IClock> clock)
    : CMessageTask(MessageType::RequestConfiguration),
      publisher_(std::move(publisher)),
      instanceUuidProvider_(std::move(instanceUuidProvider)),
      productTypes_(std::move(productTypes)),
      messageFactory_(std::move(messageFactory)),
      channel_(std::move(channel)),
      productId_(productId),
      clock_(std::move(clock)) {}

CExportConfigurationTask::~CExportConfigurationTask() = default;

void CExportConfigurationTask::Execute(const boost::shared_ptr<IMessage>& message) {
    WithCountedRetry([&] {
        const auto task = boost::dynamic_pointer_cast<CRequestConfigurationMessage>(message);
        if (!task || !AnswersFor(task->GetPayload())) {
            return;
        }
        const auto request = messageFactory_->CreateExportConfigurationRequest()->Serialize();
        channel_->SetBufferReceiver(boost::make_shared<BufferReceiver>(
            message, publisher_, instanceUuidProvider_, messageFactory_, productId_, clock_));
        channel_->Send(request);
    });
}

bool CExportConfigurationTask::AnswersFor(const Request& request) const {
    return request.has_producttype() && std::find(productTypes_.begin(), productTypes_.end(),
                                                  request.producttype()) != productTypes_.end();
}

CExportConfigurationTask::BufferReceiver::BufferReceiver(
    boost::shared_ptr<IMessage> message, boost::shared_ptr<IMessagePublisher> publisher,
    boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
    boost::shared_ptr<IChannelMessageFactory> messageFactory, std::uint64_t productId,
    boost::shared_ptr<Base::IClock> clock)
    : message_(std::move(message)),
      publisher_(std::move(publisher)),
      instanceUuidProvider_(std::move(instanceUuidProvider)),
      messageFactory_(std::move(messageFactory)),
      productId_(productId),
      clock_(std::move(clock)) {}

CExportConfigurationTask::BufferReceiver::~BufferReceiver() = default;

void CExportConfigurationTask::BufferReceiver::OnBufferReceived(
    const std::vector<unsigned char>& reply) {
    PublishConfiguration(reply);
    ReportDone();
}

void CExportConfigurationTask::BufferReceiver::PublishConfiguration(
    const std::vector<unsigned char>& reply) const {
    const auto message = messageFactory_->CreateExportConfigurationResponse();
    auto& response = dynamic_cast<CExportConfigurationResponse&>(*message);
    response.Deserialize(reply);
    publisher_->Publish(MakeConfigurationEvent(response.GetConfiguration(), Self()));
}

void CExportConfigurationTask::BufferReceiver::ReportDone() const {
    if (const auto task = ReportableTask(message_)) {
        publisher_->Publish(MakeTaskEvent(*task, kDone, Self()));
    }
}

Reporter CExportConfigurationTask::BufferReceiver::Self() const {
    return {instanceUuidProvider_->GetInstanceUUID(), clock_, productId_};
}

}  // namespace Kyr::Connectors::Common::Tasks
