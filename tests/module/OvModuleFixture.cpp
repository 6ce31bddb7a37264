#include "tests/module/OvModuleFixture.h"

#include "base/LittleEndian.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Connectors::OvAgentConnector {

using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Test::CFakeKelcommClient;

OvModuleFixture::OvModuleFixture() : module_(std::make_unique<CTestedModule>(System())) {
    alpc_->broadcastArea.assign(72, 0xFF);
}

OvModuleFixture::~OvModuleFixture() {
    // Whatever the module's threads wait for, the test's objects must outlive them.
    if (module_) {
        module_->Stop(true);
        module_.reset();
    }
}

ModuleSystem OvModuleFixture::System() {
    ModuleSystem system;
    system.clock = clock_;
    system.productBuild = registration_;
    system.makeChannel = [this] {
        channel_ = boost::make_shared<CObservedChannel>(std::make_unique<CFakeKelcommClient>(alpc_),
                                                        std::make_unique<CFakeKelcommClient>(lpc_),
                                                        clock_);
        return channel_;
    };
    return system;
}

void OvModuleFixture::InitializeAndConnect() {
    Initialize();
    ASSERT_TRUE(module_->Connect());
    ASSERT_TRUE(AwaitWatchAsleep());
}

void OvModuleFixture::StartAndConnect() {
    Initialize();
    module_->Start();
    // The task thread waits for messages, the watch sleeps.
    ASSERT_TRUE(clock_->AwaitWaiters(1));
    ASSERT_TRUE(AwaitWatchAsleep());
}

void OvModuleFixture::WatchOnceMore() {
    ASSERT_TRUE(clock_->AdvanceToNextSleep(std::chrono::seconds(5)));
}

void OvModuleFixture::SilenceProduct() {
    alpc_->standingPing = {1, {}};
    lpc_->standingPing = {1, {}};
}

std::vector<OvModuleFixture::MessageType> OvModuleFixture::PublishedTypes() const {
    std::vector<MessageType> types;
    for (const auto& publication : host_.bus->Publications()) {
        types.push_back(publication.message->GetMessageType());
    }
    return types;
}

std::vector<int> OvModuleFixture::PublishedKinds() const {
    std::vector<int> kinds;
    for (const auto& publication : host_.bus->Publications()) {
        if (const auto request =
                boost::dynamic_pointer_cast<COvAgentRequest>(publication.message)) {
            kinds.push_back(request->GetRequestType());
        }
    }
    return kinds;
}

std::vector<std::uint32_t> OvModuleFixture::InnerCommands() const {
    std::vector<std::uint32_t> commands;
    for (const auto& request : alpc_->seenRequests) {
        commands.push_back(Base::LoadLittleEndian<std::uint32_t>(&request.bytes.at(8)));
    }
    return commands;
}

}  // namespace Kyr::Connectors::OvAgentConnector
