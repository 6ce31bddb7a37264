#include "connector/tasks/ImportConfigurationTask.h"

#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/TaskExceptions.h"
#include "connector/channel/ErrorReplyChannelException.h"
#include "connector/tasks/PolicyBlob.h"
#include "host/message/ApplyPolicy.h"

namespace Kyr::Connectors::Common::Tasks {

using Kyr::Common::Kernel::IMessage;
using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::Policies::CApplyPolicy;

CImportConfigurationTask::CImportConfigurationTask(
    boost::shared_ptr<ILogger> logger, boost::shared_ptr<IChannelMessageFactory> messageFactory,
    boost::shared_ptr<IChannel> channel)
    : CMessageTask(MessageType::ApplyPolicy),
      logger_(std::move(logger)),
      messageFactory_(std::move(messageFactory)),
      channel_(std::move(channel)) {}

CImportConfigurationTask::~CImportConfigurationTask() = default;

void CImportConfigurationTask::Execute(const boost::shared_ptr<IMessage>& message) {
    message_ = message;
    ImportConfiguration();
}

void CImportConfigurationTask::ImportConfiguration() {
    try {
        SendPolicy();
    } catch (const CErrorReplyChannelException& refusal) {
        logger_->GetLog(4) << "Set policy failed: " << refusal.what();
    } catch (const std::runtime_error& error) {
        throw CRetryException(error.what(), true);
    }
}

void CImportConfigurationTask::SendPolicy() {
    const auto message = boost::dynamic_pointer_cast<CApplyPolicy>(message_);
    if (!message) {
        return;
    }
    const PolicyText policy = ReadPolicyBlob(message->GetPolicyBlob());
    if (!policy.text) {
        logger_->GetLog(4) << "Policy is not sent: it is larger than " << kLargestPolicy
                           << " bytes";
        return;
    }
    if (!policy.damage.empty()) {
        logger_->GetLog(4) << "Policy is damaged: " << policy.damage;
    }
    const auto request =
        messageFactory_->CreateImportConfigurationRequest(*policy.text)->Serialize();
    channel_->SetBufferReceiver(boost::make_shared<BufferReceiver>(logger_));
    channel_->Send(request);
}

CImportConfigurationTask::BufferReceiver::BufferReceiver(boost::shared_ptr<ILogger> logger)
    : logger_(std::move(logger)) {}

CImportConfigurationTask::BufferReceiver::~BufferReceiver() = default;

void CImportConfigurationTask::BufferReceiver::OnBufferReceived(
    const std::vector<unsigned char>& /*reply*/) {
    // The spelling is the product family's own; log readers match on it.
    logger_->GetLog(2) << "Set policy request to product was successfull";
}

}  // namespace Kyr::Connectors::Common::Tasks
