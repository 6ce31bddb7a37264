#include "tests/module/OvModuleFixture.h"

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

void OvModuleFixture::SetBroadcast(std::int32_t index, std::int32_t value) {
    // The places of the values in the product's area.
    constexpr std::size_t kPlaces[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};
    for (std::size_t byte = 0; byte < 4; ++byte) {
        alpc_->broadcastArea[kPlaces[index] + byte] =
            static_cast<unsigned char>(static_cast<std::uint32_t>(value) >> (8 * byte));
    }
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
        std::uint32_t command = 0;
        for (std::size_t byte = 0; byte < 4; ++byte) {
            command |= std::uint32_t{request.bytes.at(8 + byte)} << (8 * byte);
        }
        commands.push_back(command);
    }
    return commands;
}

}  // namespace Kyr::Connectors::OvAgentConnector
