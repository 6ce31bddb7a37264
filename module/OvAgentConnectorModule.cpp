#include "module/OvAgentConnectorModule.h"

#include <exception>
#include <iterator>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "connector/reports/Presence.h"
#include "connector/reports/ProtectionStatus.h"
#include "connector/tasks/ExportConfigurationTask.h"
#include "connector/tasks/GetStatusTask.h"
#include "connector/tasks/GetTaskStatusTask.h"
#include "connector/tasks/ImportConfigurationTask.h"
#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "connector/tasks/WinOvKillProcessByPidTask.h"
#include "host/Catalogue.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "module/PeriodicWatch.h"

namespace Kyr::Connectors::OvAgentConnector {

using Common::Kelcomm::Messages::CKelcommMessageFactory;
using Kyr::Common::Database::IKeyValueAccessMapper;
using Kyr::Common::Database::IOvRemediationActionsMapper;
using Kyr::Common::Kernel::IDatabaseResource;
using Kyr::Common::Kernel::MessageType;

namespace Product = Kyr::Common::Catalogue::Product;
namespace ProductType = Kyr::Common::Catalogue::ProductType;
namespace Tasks = Common::Tasks;

namespace {

/// The product types of the host whose configuration the product has.
Tasks::CExportConfigurationTask::ProductTypes ExportedProductTypes() {
    return {std::begin(ProductType::kConfiguredOvAgent), std::end(ProductType::kConfiguredOvAgent)};
}

/// One of the module's interfaces for a task, which the module owns.
template <typename Interface>
boost::shared_ptr<Interface> Borrowed(Interface* module) {
    return boost::shared_ptr<Interface>(module, [](Interface*) {});
}

}  // namespace

ModuleSystem::ModuleSystem()
    : clock(Base::SystemClock()),
      productBuild(SystemProductBuildReader()),
      makeChannel([] { return boost::make_shared<COvAgentChannel>(0, 0); }) {}

COvAgentConnectorModule::COvAgentConnectorModule() : COvAgentConnectorModule(ModuleSystem()) {}

COvAgentConnectorModule::COvAgentConnectorModule(ModuleSystem system)
    : CConnectorModule(system.clock), system_(std::move(system)) {}

COvAgentConnectorModule::~COvAgentConnectorModule() {
    // Before any member goes: the threads run operations of this class.
    EndThreads();
    EndPeriodicThread();
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
    return Product::kOvAgent;
}

bool COvAgentConnectorModule::IsProductInstalled() {
    return system_.productBuild->Read().has_value();
}

void COvAgentConnectorModule::CreateTasks(TaskList& tasks) {
    const auto logger = Borrowed<Common::ILogger>(this);
    const auto publisher = Borrowed<Kyr::Common::Module::IMessagePublisher>(this);
    const auto instance = Borrowed<Common::IInstanceUUIDProvider>(this);
    const auto& clock = system_.clock;
    importConfigurationTask_ =
        boost::make_shared<Tasks::CImportConfigurationTask>(logger, messageFactory_, channel_);
    // The order decides which task gets a message of a shared type first.
    tasks.push_back(boost::make_shared<Tasks::CExportConfigurationTask>(
        publisher, instance, ExportedProductTypes(), messageFactory_, channel_,
        Product::kOvAgentInLogs, clock));
    tasks.push_back(importConfigurationTask_);
    tasks.push_back(boost::make_shared<Tasks::CGetStatusTask>(
        MessageType::OvAgentRequest, logger, publisher, instance, messageFactory_, channel_,
        Product::kOvAgentInLogs, ProductType::kOvAgent, clock));
    tasks.push_back(boost::make_shared<Tasks::CGetTaskStatusTask>(
        MessageType::OvAgentRequest, logger, publisher, instance, messageFactory_, channel_,
        Product::kOvAgentInLogs, clock));
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
        // Anew for each connection: an upgrade of the product is noticed with the next one.
        productBuild_ = system_.productBuild->Read();
        // What a task of an earlier connection left there is not for the replies of this one.
        channel_->SetBufferReceiver({});
        channel_->Start();
        SendAgentUuid();
        Publish(Common::MakeAgentPresence(Self()));
        Publish(Common::MakeProductPresence(Self(), GetProductId()));
        Publish(Common::MakeConnectedStatus(Self()));
        importConfigurationTask_->ImportConfiguration();  // the product may have lost the policy
        // Last: whatever fails before, there is no connection to watch then.
        StartPeriodicThread();
        return true;
    } catch (const std::exception& error) {
        GetLog(3) << error.what();
        Publish(Common::MakeConnectFailureStatus(Self()));
        throw std::runtime_error(
            std::string("Starting TULK OVANTA Connector connector module failed with: ") +
            error.what());
    }
}

void COvAgentConnectorModule::SendAgentUuid() {
    channel_->Send(messageFactory_->CreateSendAgentUUIDRequest(GetInstanceUUID())->Serialize());
}

Common::Reporter COvAgentConnectorModule::Self() const {
    return {GetInstanceUUID(), system_.clock, Product::kOvAgentInLogs, ProductType::kOvAgent};
}

void COvAgentConnectorModule::Interrupt() {
    channel_->Stop();
    EndPeriodicThread();
}

void COvAgentConnectorModule::Disconnect() {
    Interrupt();
}

void COvAgentConnectorModule::StartPeriodicThread() {
    const Base::CLock lock(periodicThreadMutex_);
    periodicThread_ = std::make_unique<boost::thread>(
        [this, productBuild = productBuild_] { PeriodicThread(productBuild); });
}

void COvAgentConnectorModule::EndPeriodicThread() {
    std::unique_ptr<boost::thread> thread;
    {
        const Base::CLock lock(periodicThreadMutex_);
        thread = std::move(periodicThread_);
    }
    // Joined without the mutex: the thread may be behind a request that takes its time.
    if (thread) {
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        thread->interrupt();
        thread->join();
    }
}

void COvAgentConnectorModule::PeriodicThread(std::optional<std::int64_t> productBuild) {
    try {
        // Waits here for the watch of the connection before. That one may be about to end behind a
        // request of the product or behind the host's bus, and both would remember broadcast values
        // in the channel.
        const CTurnstile::CPassage passage(watchTurnstile_);
        CPeriodicWatch({*channel_, *keyValueMapper_, *this, *this, *system_.clock}, productBuild)
            .Run();
    } catch (...) {
        // Interrupted, or the clock shows no time that there is. The watch is over until the next
        // connection.
    }
}

}  // namespace Kyr::Connectors::OvAgentConnector
