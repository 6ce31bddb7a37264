#include "connector/ConnectorModule.h"

#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/DeliveryContext.h"
#include "connector/MessageProcessorThreadHolder.h"
#include "connector/TaskRunner.h"
#include "connector/reports/Presence.h"
#include "host/Catalogue.h"

namespace Kyr::Connectors::Common {

using Kyr::Common::Kernel::MessageType;

/// The module's virtual operations, in the hands of the task thread.
class CConnectorModule::CConnection final : public IProductConnection {
  public:
    explicit CConnection(CConnectorModule& module) : module_(module) {}

    bool Connect() override { return module_.Connect(); }
    bool Reconnect() override { return module_.Reconnect(); }
    void Disconnect() override { module_.Disconnect(); }
    std::chrono::milliseconds ReconnectDelay() const override {
        return std::chrono::milliseconds(module_.reconnectDelayMs);
    }

  private:
    CConnectorModule& module_;
};

CConnectorModule::CConnectorModule(boost::shared_ptr<Base::IClock> clock)
    : clock_(std::move(clock)),
      // The one product that the core names: task events of every connector carry it.
      connectorProductId_(Kyr::Common::Catalogue::Product::kOvAgentInLogs),
      connection_(std::make_unique<CConnection>(*this)) {}

CConnectorModule::~CConnectorModule() = default;

void CConnectorModule::Initialize(Kyr::Common::Kernel::IResourceProvider& provider) {
    CGenericModule::Initialize(provider);
    active_ = IsProductInstalled();
    if (!active_) {
        GetLog(2) << "Connector was deactivated. No tasks will be processed and no logs will be "
                     "produced.";
        return;
    }
    tasks_ = std::make_unique<CTaskRunner>(GetName(), *connection_,
                                           CTaskRunner::Services{*this, *this, *this},
                                           connectorProductId_, clock_);
    TaskList tasks;
    CreateTasks(tasks);
    for (const TaskPointer& task : tasks) {
        tasks_->AddTask(task);
        GetBus()->Subscribe(tasks_->Queue(), task->GetMessageType());
    }
    networkGrpc_ = boost::dynamic_pointer_cast<Kyr::Common::Kernel::INetworkGrpcResource>(
        provider.GetResource(Kyr::Common::Kernel::kNetworkGrpcResource));
    SubscribeMessages({MessageType::Response, MessageType::Reply}, *GetReplyProcessor());
}

void CConnectorModule::Start() {
    if (!active_) {
        PublishDeactivatedStatus();
        return;
    }
    if (processorThreadHolder_) {
        processorThreadHolder_->Resume();
    }
    tasks_->Start();
}

void CConnectorModule::RequestStop() {
    if (!active_) {
        return;
    }
    {
        const Base::CLock lock(stopMutex_);
        stopRequested_ = true;
    }
    Interrupt();
    tasks_->CancelTasks();
}

bool CConnectorModule::Stop(bool force) {
    if (!active_) {
        return true;
    }
    if (force) {
        EndThreads();
        return true;
    }
    if (!tasks_->InterruptUnlessConnected()) {
        if (processorThreadHolder_) {
            processorThreadHolder_->Halt();
        }
    } else if (!tasks_->Wake()) {
        // Busy; replies may be what it is busy with.
        if (processorThreadHolder_) {
            processorThreadHolder_->Resume();
        }
        return false;
    }
    JoinThreads();
    return true;
}

void CConnectorModule::EndThreads() {
    if (tasks_) {
        tasks_->Interrupt();
    }
    JoinThreads();
}

void CConnectorModule::JoinThreads() {
    if (tasks_) {
        tasks_->Join();
    }
    processorThreadHolder_.reset();
}

void CConnectorModule::SubscribeMessages(MessageTypes types,
                                         Kyr::Common::Module::IMessageProcessor& processor) {
    const auto holder =
        boost::make_shared<CMessageProcessorThreadHolder>(*this, GetName(), processor, clock_);
    for (const MessageType type : types) {
        GetBus()->Subscribe(holder->GetSubscriber(), type);
    }
    // Deliberately after the subscriptions, which a refused call leaves in place.
    if (processorThreadHolder_) {
        throw std::runtime_error("Only one message processor thread holder can be created");
    }
    processorThreadHolder_ = holder;
}

bool CConnectorModule::IsProductInstalled() {
    return true;
}

bool CConnectorModule::Reconnect() {
    Disconnect();
    return Connect();
}

void CConnectorModule::PublishDeactivatedStatus() {
    Publish(MakeDeactivatedStatus(GetProductId(), clock_));
}

void CConnectorModule::Publish(const MessagePointer& message) {
    GetBus()->Publish(message, GetDeliveryContext());
}

std::string CConnectorModule::GetInstanceUUID() const {
    return GetInstallConfiguration()->GetInstanceUUID();
}

CLogLine CConnectorModule::GetLog(int level) noexcept {
    int hostLevel = 4;
    if (level == 0) {
        // The host has no level for it; shared with level 2.
        hostLevel = 2;
    } else if (level >= 1 && level <= 3) {
        hostLevel = level;
    }
    try {
        return CLogLine(GetLoggerResource(), hostLevel, GetName());
    } catch (...) {
        return {};
    }
}

}  // namespace Kyr::Connectors::Common
