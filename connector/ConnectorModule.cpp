// What the host's threads call: the life cycle, and the services for tasks. The processing thread
// is in ProcessingThread.cpp.
#include "connector/ConnectorModule.h"

#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/DeliveryContext.h"
#include "connector/MessageProcessorThreadHolder.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Connectors::Common {

using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Module::CSubscriber;

namespace {

// The Ov product.
constexpr std::uint64_t kConnectorProductId = 0x07100000000005E2;

constexpr std::int32_t kProductIdSymbol = 4429;

}  // namespace

CConnectorModule::CConnectorModule(boost::shared_ptr<Base::IClock> clock)
    : clock_(std::move(clock)), connectorProductId_(kConnectorProductId) {}

CConnectorModule::~CConnectorModule() {
    // Too late for a thread that is alive, which needs the derived class; the last resort for a
    // class that has no destructor of its own and was stopped anyway.
    EndThreads();
}

void CConnectorModule::Initialize(Kyr::Common::Kernel::IResourceProvider& provider) {
    CGenericModule::Initialize(provider);
    active_ = IsProductInstalled();
    if (!active_) {
        GetLog(2) << "Connector was deactivated. No tasks will be processed and no logs will be "
                     "produced.";
        return;
    }
    subscriber_ = boost::make_shared<CSubscriber>(GetName(), clock_);
    TaskList tasks;
    CreateTasks(tasks);
    for (const TaskPointer& task : tasks) {
        tasks_.emplace(task->GetMessageType(), task);
        GetBus()->Subscribe(subscriber_, task->GetMessageType());
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
    if (!processingThread_) {
        {
            const Lock lock(tasksMutex_);
            connected_ = false;
        }
        processingThread_ = std::make_unique<boost::thread>([this] { ProcessingThread(); });
    }
}

void CConnectorModule::RequestStop() {
    if (!active_) {
        return;
    }
    {
        const Lock lock(stopMutex_);
        stopRequested_ = true;
    }
    Interrupt();
    const Lock lock(tasksMutex_);
    for (const auto& entry : tasks_) {
        entry.second->Cancel();
    }
}

bool CConnectorModule::Stop(bool force) {
    if (!active_) {
        return true;
    }
    if (force) {
        EndThreads();
        return true;
    }
    Lock lock(tasksMutex_);
    const bool connected = connected_;
    if (!connected) {
        InterruptProcessingThread();
    }
    lock.unlock();
    if (!connected) {
        if (processorThreadHolder_) {
            processorThreadHolder_->Halt();
        }
    } else if (!subscriber_->Wake() && processingThread_) {
        // Busy. Without a thread, after an earlier Stop, there is nobody to wait for.
        if (processorThreadHolder_) {
            processorThreadHolder_->Resume();
        }
        return false;
    }
    JoinThreads();
    return true;
}

void CConnectorModule::EndThreads() {
    InterruptProcessingThread();
    JoinThreads();
}

void CConnectorModule::InterruptProcessingThread() {
    if (processingThread_) {
        processingThread_->interrupt();
    }
}

void CConnectorModule::JoinThreads() {
    if (processingThread_) {
        // A host thread that is being interrupted must not leave with the thread alive.
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        processingThread_->join();
        processingThread_.reset();
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
    const auto product = boost::make_shared<Kyr::Common::Logs::CSymbolContainer>(clock_);
    product->AddResourceId(kProductIdSymbol, GetProductId());
    const auto status = boost::make_shared<Kyr::Common::Message::Logs::CMultiProductStatusLog>(
        MessageType::MultiProductStatus, product, clock_);
    status->SetReadOnly();
    Publish(status);
}

void CConnectorModule::Publish(const MessagePointer& message) {
    GetBus()->Publish(message, GetDeliveryContext());
}

std::string CConnectorModule::GetInstanceUUID() const {
    return GetInstallConfiguration()->GetInstanceUUID();
}

CLogLine CConnectorModule::GetLog(int level) {
    int hostLevel = 4;
    if (level == 0) {
        // The host has no level for it; shared with level 2.
        hostLevel = 2;
    } else if (level >= 1 && level <= 3) {
        hostLevel = level;
    }
    return CLogLine(GetLoggerResource(), hostLevel, GetName());
}

}  // namespace Kyr::Connectors::Common
