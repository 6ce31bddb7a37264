#include "connector/tasks/GetTaskStatusTask.h"

#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/reports/TaskEvent.h"
#include "connector/tasks/CountedRetry.h"
#include "connector/tasks/ProductTrigger.h"
#include "host/message/ConnectorRequests.h"
#include "logs/OvAgentRequest.h"
#include "logs/SymbolText.h"

namespace Kyr::Connectors::Common::Tasks {

using Kyr::Common::Kernel::IMessage;
using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::Logs::CEventLog;
using Kyr::Common::Module::IMessagePublisher;

namespace OvAgent = Kyr::Common::Message::Connectors::OvAgentConnector;
namespace Tfde = Kyr::Common::Message::Connectors::TFDEConnector;

namespace {

/// Whether an event can name the record's task: all three identifiers are UUIDs.
bool NamesATask(const CTaskStatusRecord& record) {
    try {
        for (const auto* identifier :
             {&record.firstIdentifier, &record.secondIdentifier, &record.thirdIdentifier}) {
            Kyr::Common::Logs::ParseUuid(identifier->uuid());
        }
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace

CGetTaskStatusTask::CGetTaskStatusTask(
    MessageType messageType, boost::shared_ptr<ILogger> logger,
    boost::shared_ptr<IMessagePublisher> publisher,
    boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
    boost::shared_ptr<IChannelMessageFactory> messageFactory, boost::shared_ptr<IChannel> channel,
    std::uint64_t productId, boost::shared_ptr<Base::IClock> clock)
    : CMessageTask(messageType),
      logger_(std::move(logger)),
      publisher_(std::move(publisher)),
      instanceUuidProvider_(std::move(instanceUuidProvider)),
      messageFactory_(std::move(messageFactory)),
      channel_(std::move(channel)),
      productId_(productId),
      clock_(std::move(clock)) {}

CGetTaskStatusTask::~CGetTaskStatusTask() = default;

/// Marks the task as running, until the run has ended or an exception has ended it.
class CGetTaskStatusTask::CRun {
  public:
    explicit CRun(CGetTaskStatusTask& task) : task_(task) { task_.running_ = true; }
    ~CRun() { task_.running_ = false; }
    CRun(const CRun&) = delete;
    CRun& operator=(const CRun&) = delete;

  private:
    CGetTaskStatusTask& task_;
};

bool CGetTaskStatusTask::IsTrigger(const boost::shared_ptr<IMessage>& message) const {
    switch (GetMessageType()) {
        case MessageType::OvAgentRequest:
            return IsTriggerOf<OvAgent::COvAgentRequest>(message, OvAgent::kTaskStatus);
        case MessageType::TFDERequest:
            return IsTriggerOf<Tfde::CTFDERequest>(message, Tfde::kTaskStatus);
        default:
            return false;
    }
}

void CGetTaskStatusTask::Execute(const boost::shared_ptr<IMessage>& message) {
    next_ = message;
    if (running_) {
        return;  // a receiver asks for the next outcome: the loop below goes on
    }
    const auto self = weak_from_this().lock();  // its receivers may be all that owns it
    const CRun run(*this);
    WithCountedRetry([this] { Run(); });
}

void CGetTaskStatusTask::Run() {
    while (const boost::shared_ptr<IMessage> message = std::exchange(next_, {})) {
        if (!IsTrigger(message)) {
            return;
        }
        const auto receiver = boost::make_shared<BufferReceiver>(
            message, logger_, publisher_, instanceUuidProvider_, messageFactory_, productId_,
            shared_from_this(), clock_);
        // Before the next is asked for: what an attempt before this one has left.
        receiver->PublishKept();
        const auto request = messageFactory_->CreateGetTaskStatusRequest()->Serialize();
        channel_->SetBufferReceiver(receiver);
        channel_->Send(request);
    }
}

CGetTaskStatusTask::BufferReceiver::BufferReceiver(
    boost::shared_ptr<IMessage> message, boost::shared_ptr<ILogger> logger,
    boost::shared_ptr<IMessagePublisher> publisher,
    boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
    boost::shared_ptr<IChannelMessageFactory> messageFactory, std::uint64_t productId,
    boost::shared_ptr<CGetTaskStatusTask> task, boost::shared_ptr<Base::IClock> clock)
    : message_(std::move(message)),
      logger_(std::move(logger)),
      publisher_(std::move(publisher)),
      instanceUuidProvider_(std::move(instanceUuidProvider)),
      messageFactory_(std::move(messageFactory)),
      productId_(productId),
      task_(std::move(task)),
      clock_(std::move(clock)) {}

CGetTaskStatusTask::BufferReceiver::~BufferReceiver() = default;

void CGetTaskStatusTask::BufferReceiver::OnBufferReceived(const std::vector<unsigned char>& reply) {
    if (Publish(reply)) {
        // The last action: the next exchange installs its own receiver, which releases this one.
        task_->Execute(message_);
    }
}

bool CGetTaskStatusTask::BufferReceiver::Publish(const std::vector<unsigned char>& reply) const {
    const auto message = messageFactory_->CreateGetTaskStatusResponse();
    auto& response = dynamic_cast<CGetTaskStatusResponse&>(*message);
    response.Deserialize(reply);
    auto records = response.GetRecords();
    for (CTaskStatusRecord& record : records) {
        if (NamesATask(record)) {
            task_->kept_.push_back(std::move(record));
        } else {
            // Fails, and would each time: kept, it would stand before all that come after it.
            publisher_->Publish(EventOf(record));
        }
    }
    PublishKept();
    return !records.empty();
}

void CGetTaskStatusTask::BufferReceiver::PublishKept() const {
    auto& kept = task_->kept_;
    while (!kept.empty()) {
        publisher_->Publish(EventOf(kept.front()));
        // At once: whatever fails from here on, the outcome has been told.
        kept.erase(kept.begin());
        logger_->GetLog(0) << "Task status received";
    }
}

boost::shared_ptr<CEventLog> CGetTaskStatusTask::BufferReceiver::EventOf(
    const CTaskStatusRecord& record) const {
    // A record names its identifiers as the event does: the message's third one second.
    return MakeTaskEvent(
        TaskIdentifiers{record.firstIdentifier, record.thirdIdentifier, record.secondIdentifier},
        {record.status, record.code, record.severity, record.description},
        {instanceUuidProvider_->GetInstanceUUID(), clock_, productId_});
}

}  // namespace Kyr::Connectors::Common::Tasks
