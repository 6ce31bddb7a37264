#include "module/OvAgentConnectorModule.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "connector/tasks/WinOvGetEcsIndicatorLogsTask.h"
#include "connector/tasks/WinOvGetEcsTelemetryLogsTask.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "connector/tasks/WinOvKillProcessByPidTask.h"
#include "kelcomm/messages/KelcommMessageFactory.h"

namespace Kyr::Connectors::OvAgentConnector {

using Common::Kelcomm::Messages::CKelcommMessageFactory;
using Kyr::Common::Database::IKeyValueAccessMapper;
using Kyr::Common::Database::IOvRemediationActionsMapper;
using Kyr::Common::Kernel::IDatabaseResource;

namespace {

constexpr std::uint64_t kProductId = 0x07100000000007AA;

/// One of the module's interfaces for a task, which the module owns.
template <typename Interface>
boost::shared_ptr<Interface> Borrowed(Interface* module) {
    return boost::shared_ptr<Interface>(module, [](Interface*) {});
}

}  // namespace

CModuleSystem::CModuleSystem()
    : clock(Base::SystemClock()),
      productBuild(SystemProductBuildReader()),
      makeChannel([] { return boost::make_shared<COvAgentChannel>(0, 0); }) {}

COvAgentConnectorModule::COvAgentConnectorModule() : COvAgentConnectorModule(CModuleSystem()) {}

COvAgentConnectorModule::COvAgentConnectorModule(CModuleSystem system)
    : CConnectorModule(system.clock), system_(std::move(system)) {}

COvAgentConnectorModule::~COvAgentConnectorModule() {
    EndThreads();
    if (channel_) {
        // A receiver may own the task that owns the channel that owns the receiver.
        channel_->SetBufferReceiver({});
    }
}

void COvAgentConnectorModule::Initialize(Kyr::Common::Kernel::IResourceProvider& provider) {
    messageFactory_ = boost::make_shared<CKelcommMessageFactory>();
    channel_ = system_.makeChannel();
    ObtainMappers(provider);
    CConnectorModule::Initialize(provider);
}

void COvAgentConnectorModule::ObtainMappers(Kyr::Common::Kernel::IResourceProvider& provider) {
    const auto database = boost::dynamic_pointer_cast<IDatabaseResource>(
        provider.GetResource(Kyr::Common::Kernel::kDatabaseResource));
    if (!database) {
        return;  // a host without anything learns first of all that the bus is missing
    }
    keyValueMapper_ = boost::dynamic_pointer_cast<IKeyValueAccessMapper>(
        database->GetMapper(Kyr::Common::Database::kKeyValueAccessMapper));
    remediationMapper_ = boost::dynamic_pointer_cast<IOvRemediationActionsMapper>(
        database->GetMapper(Kyr::Common::Database::kOvRemediationActionsMapper));
}

std::string COvAgentConnectorModule::GetName() const {
    return "COvAgentConnectorModule";
}

std::uint64_t COvAgentConnectorModule::GetProductId() const {
    return kProductId;
}

bool COvAgentConnectorModule::IsProductInstalled() {
    return system_.productBuild->Read().has_value();
}

void COvAgentConnectorModule::CreateTasks(TaskList& tasks) {
    const auto logger = Borrowed<Common::ILogger>(this);
    const auto publisher = Borrowed<Kyr::Common::Module::IMessagePublisher>(this);
    // The order decides which task gets a message of a shared type first.
    tasks.push_back(boost::make_shared<CWinOvKillProcessByPidTask>(channel_, this));
    tasks.push_back(boost::make_shared<CWinOvBlockExecutableByHashTask>(channel_, this));
    tasks.push_back(boost::make_shared<CWinOvGetEcsIndicatorLogsTask>(
        logger, publisher, channel_, this, messageFactory_, keyValueMapper_));
    tasks.push_back(boost::make_shared<CWinOvGetEcsTelemetryLogsTask>(
        logger, publisher, channel_, this, messageFactory_, keyValueMapper_));
    tasks.push_back(boost::make_shared<CWinOvGetRemediationTask>(
        logger, publisher, channel_, this, messageFactory_, remediationMapper_, keyValueMapper_));
}

bool COvAgentConnectorModule::Connect() {
    try {
        productBuild_ = system_.productBuild->Read();
        channel_->SetBufferReceiver({});
        channel_->Start();
        SendAgentUuid();
        Publish(MakeAgentPresence(LogOrigin()));
        Publish(MakeProductPresence(LogOrigin(), GetProductId()));
        Publish(MakeConnectedStatus(LogOrigin()));
        return true;
    } catch (const std::exception& error) {
        GetLog(3) << error.what();
        Publish(MakeConnectFailureStatus(LogOrigin()));
        throw std::runtime_error(
            std::string("Starting TULK OVANTA Connector connector module failed with: ") +
            error.what());
    }
}

void COvAgentConnectorModule::SendAgentUuid() {
    channel_->Send(messageFactory_->CreateSendAgentUUIDRequest(GetInstanceUUID())->Serialize());
}

CLogOrigin COvAgentConnectorModule::LogOrigin() const {
    return {GetInstanceUUID(), system_.clock};
}

void COvAgentConnectorModule::Interrupt() {
    channel_->Stop();
}

void COvAgentConnectorModule::Disconnect() {
    Interrupt();
}

}  // namespace Kyr::Connectors::OvAgentConnector
