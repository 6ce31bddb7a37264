#include "connector/tasks/GetTaskStatusTask.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

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

/// Room for a reply whose outcome can be told: its identifiers are UUIDs.
constexpr std::size_t kRoomForReply = 4096;

/// Throws what naming the record's task in an event would throw.
void CheckIdentifiers(const CTaskStatusRecord& record) {
    for (const auto* identifier :
         {&record.firstIdentifier, &record.secondIdentifier, &record.thirdIdentifier}) {
        Kyr::Common::Logs::ParseUuid(identifier->uuid());
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
        kept_.reserve(kRoomForReply);
        channel_->SetBufferReceiver(receiver);
        channel_->Send(request);
        // A product may have outcomes without end. All that it has handed out is told by now.
        boost::this_thread::interruption_point();
    }
}

void CGetTaskStatusTask::ForgetKept() {
    keeps_ = false;
    told_ = 0;
    if (kept_.capacity() > kRoomForReply) {
        std::vector<unsigned char>().swap(kept_);
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
    // Before anything that may fail: into room that was taken before the request was sent.
    task_->kept_ = reply;
    task_->keeps_ = true;
    if (PublishKept()) {
        // The last action: the next exchange installs its own receiver, which releases this one.
        task_->Execute(message_);
    }
}

bool CGetTaskStatusTask::BufferReceiver::PublishKept() const {
    if (!task_->keeps_) {
        return false;
    }
    const auto records = ReadKept();
    while (task_->told_ < records.size()) {
        publisher_->Publish(EventOf(records[task_->told_]));
        // At once: whatever fails from here on, this one has been told.
        ++task_->told_;
        logger_->GetLog(0) << "Task status received";
    }
    task_->ForgetKept();
    return !records.empty();
}

std::vector<CTaskStatusRecord> CGetTaskStatusTask::BufferReceiver::ReadKept() const {
    const auto message = messageFactory_->CreateGetTaskStatusResponse();
    auto& response = dynamic_cast<CGetTaskStatusResponse&>(*message);
    try {
        response.Deserialize(task_->kept_);
        auto records = response.GetRecords();
        std::for_each(records.begin(), records.end(), CheckIdentifiers);
        return records;
    } catch (const std::runtime_error&) {
        // It would fail each time: kept, it would stand before all that come after it.
        task_->ForgetKept();
        throw;
    } catch (const std::bad_alloc&) {
        // So might one that is too large to be read at all.
        if (task_->kept_.size() > kRoomForReply) {
            task_->ForgetKept();
        }
        throw;
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
