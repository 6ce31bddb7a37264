#include "module/OvAgentConnectorModule.h"

#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "connector/tasks/WinOvKillProcessByPidTask.h"

namespace Kyr::Connectors::OvAgentConnector {

namespace {

constexpr std::uint64_t kProductId = 0x07100000000007AA;

}  // namespace

COvAgentConnectorModule::COvAgentConnectorModule() = default;

COvAgentConnectorModule::~COvAgentConnectorModule() {
    EndThreads();
    if (channel_) {
        // A receiver may own the task that owns the channel that owns the receiver.
        channel_->SetBufferReceiver({});
    }
}

void COvAgentConnectorModule::Initialize(Kyr::Common::Kernel::IResourceProvider& provider) {
    channel_ = boost::make_shared<COvAgentChannel>(0, 0);
    CConnectorModule::Initialize(provider);
}

std::string COvAgentConnectorModule::GetName() const {
    return "COvAgentConnectorModule";
}

std::uint64_t COvAgentConnectorModule::GetProductId() const {
    return kProductId;
}

void COvAgentConnectorModule::CreateTasks(TaskList& tasks) {
    tasks.push_back(boost::make_shared<CWinOvKillProcessByPidTask>(channel_, this));
    tasks.push_back(boost::make_shared<CWinOvBlockExecutableByHashTask>(channel_, this));
}

bool COvAgentConnectorModule::Connect() {
    channel_->SetBufferReceiver({});
    channel_->Start();
    return true;
}

void COvAgentConnectorModule::Interrupt() {
    channel_->Stop();
}

void COvAgentConnectorModule::Disconnect() {
    Interrupt();
}

}  // namespace Kyr::Connectors::OvAgentConnector
