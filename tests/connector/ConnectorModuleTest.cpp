// Initialisation, the services for tasks, and the inactive module.
#include <algorithm>
#include <functional>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "connector/ConnectorModule.h"
#include "connector/DeliveryContext.h"
#include "host/module/Response.h"
#include "logs/MultiProductStatusLog.h"
#include "tests/connector/ModuleFixture.h"
#include "tests/support/ThrownText.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Message::Logs::CMultiProductStatusLog;
using namespace Kyr::Test;
using testing::ElementsAre;
using testing::IsEmpty;

class ConnectorModuleTest : public ModuleFixture {
  protected:
    std::vector<MessageType> SubscribedTypes() const {
        std::vector<MessageType> types;
        for (const auto& subscription : host.bus->Subscriptions()) {
            types.push_back(subscription.type);
        }
        return types;
    }
};

TEST_F(ConnectorModuleTest, MissingResourceLeavesInitialize) {
    host.Set(1, nullptr);
    EXPECT_EQ(ThrownText([this] { module->Initialize(host); }),
              "Bad cast to Kyr::Common::Kernel::IBusResource");
}

TEST_F(ConnectorModuleTest, InitializeAsksForTheNetworkLast) {
    module->Initialize(host);
    EXPECT_THAT(host.requested, ElementsAre(1, 2, 3, 4, 11, 12));
}

TEST_F(ConnectorModuleTest, MissingNetworkIsNoError) {
    host.Set(12, nullptr);
    EXPECT_NO_THROW(module->Initialize(host));
    EXPECT_TRUE(module->IsActive());
}

TEST_F(ConnectorModuleTest, NetworkOfAnotherTypeIsNoError) {
    host.Set(12, boost::make_shared<Kyr::Test::COtherResource>());
    EXPECT_NO_THROW(module->Initialize(host));
    EXPECT_TRUE(module->IsActive());
}

TEST_F(ConnectorModuleTest, NetworkIsHeldForTheLifeOfTheModule) {
    const auto network = boost::make_shared<Kyr::Test::CFakeNetwork>();
    host.Set(12, network);
    const long owners = network.use_count();
    module->Initialize(host);
    EXPECT_EQ(network.use_count(), owners + 1);
    module.reset();
    EXPECT_EQ(network.use_count(), owners);
}

TEST_F(ConnectorModuleTest, TasksAreCreatedIntoAnEmptyList) {
    module->Initialize(host);
    EXPECT_EQ(module->tasksBefore, 0);
}

TEST_F(ConnectorModuleTest, SubscribesOnceForEachTaskThenForReplies) {
    AddTask(MessageType::OvAgentRequest);
    AddTask(MessageType::RequestConfiguration);
    AddTask(MessageType::OvAgentRequest);
    module->Initialize(host);
    EXPECT_THAT(
        SubscribedTypes(),
        ElementsAre(MessageType::OvAgentRequest, MessageType::RequestConfiguration,
                    MessageType::OvAgentRequest, MessageType::Response, MessageType::Reply));
}

TEST_F(ConnectorModuleTest, TasksShareOneQueueAndRepliesAnother) {
    AddTask(MessageType::OvAgentRequest);
    AddTask(MessageType::RequestConfiguration);
    module->Initialize(host);
    const auto subscriptions = host.bus->Subscriptions();
    EXPECT_EQ(subscriptions[0].subscriber, subscriptions[1].subscriber);
    EXPECT_NE(subscriptions[1].subscriber, subscriptions[2].subscriber);
    EXPECT_EQ(subscriptions[2].subscriber, subscriptions[3].subscriber);
}

TEST_F(ConnectorModuleTest, QueuesCarryTheModulesName) {
    AddTask();
    module->Initialize(host);
    Deliver(MakeTaskMessage());
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    EXPECT_EQ(host.bus->Subscriptions()[0].subscriber->Dump(), "ScriptedModule:KillProcessByPid");
    EXPECT_EQ(host.bus->Subscriptions()[1].subscriber->Dump(), "ScriptedModule:Response");
}

TEST_F(ConnectorModuleTest, SecondReplySubscriptionIsRefusedAfterItsSubscriptions) {
    module->Initialize(host);
    const auto subscribeAgain = [this] {
        module->SubscribeMessages({MessageType::Reply, MessageType::Response},
                                  *module->GetReplyProcessor());
    };
    EXPECT_EQ(ThrownText(subscribeAgain),
              "Only one message processor thread holder can be created");
    EXPECT_THAT(SubscribedTypes(), ElementsAre(MessageType::Response, MessageType::Reply,
                                               MessageType::Reply, MessageType::Response));
}

TEST_F(ConnectorModuleTest, RepliesReachTheRequestThatWaits) {
    Start();
    const std::uint32_t request = module->GetReplyProcessor()->Expect();
    const auto response = boost::make_shared<Kyr::Common::Module::CResponse>(request);
    Deliver(response);
    // The reply processor waits on the system clock; the reply comes from the reply thread.
    EXPECT_EQ(module->GetReplyProcessor()->WaitForReply(request, std::chrono::seconds(10)),
              response);
}

TEST_F(ConnectorModuleTest, ReplyOfAForeignClassIsLogged) {
    Start();
    Deliver(MakeMessage("Odd", MessageType::Reply));
    EXPECT_TRUE(host.log->AwaitText("Bad cast to Kyr::Common::Module::CResponse"));
}

TEST_F(ConnectorModuleTest, ReconnectDelayIsTenSeconds) {
    EXPECT_EQ(module->reconnectDelayMs, 10000);
}

TEST_F(ConnectorModuleTest, InstanceIdentifierIsTheInstallations) {
    module->Initialize(host);
    EXPECT_EQ(module->GetInstanceUUID(), "12345678-9abc-def0-1234-56789abcdef0");
}

TEST_F(ConnectorModuleTest, ConnectorLevelsMapToHostLevels) {
    module->Initialize(host);
    for (const int level : {0, 1, 2, 3, 4, 5, -1}) {
        module->GetLog(level) << "level " << level;
    }
    EXPECT_THAT(host.log->Entries(), ElementsAre(LogEntry{"level 0", 2, "ScriptedModule"},
                                                 LogEntry{"level 1", 1, "ScriptedModule"},
                                                 LogEntry{"level 2", 2, "ScriptedModule"},
                                                 LogEntry{"level 3", 3, "ScriptedModule"},
                                                 LogEntry{"level 4", 4, "ScriptedModule"},
                                                 LogEntry{"level 5", 4, "ScriptedModule"},
                                                 LogEntry{"level -1", 4, "ScriptedModule"}));
}

TEST_F(ConnectorModuleTest, PublishesWithAnEmptyContextByDefault) {
    module->Initialize(host);
    const auto message = MakeMessage("A");
    boost::thread([&] { module->Publish(message); }).join();
    ASSERT_EQ(host.bus->Publications().size(), 1u);
    EXPECT_EQ(host.bus->Publications()[0].message, message);
    EXPECT_EQ(host.bus->Publications()[0].context, nullptr);
}

TEST_F(ConnectorModuleTest, PublishesWithTheThreadsContext) {
    module->Initialize(host);
    const auto context = MakeContext();
    boost::thread([&] {
        SetDeliveryContext(context);
        module->Publish(MakeMessage("A"));
    }).join();
    boost::thread([&] { module->Publish(MakeMessage("B")); }).join();
    EXPECT_EQ(host.bus->Publications()[0].context, context);
    EXPECT_EQ(host.bus->Publications()[1].context, nullptr);
}

class InactiveModuleTest : public ConnectorModuleTest {
  protected:
    void SetUp() override {
        AddTask();
        module->SetInstalled(false);
        module->Initialize(host);
    }
};

TEST_F(InactiveModuleTest, SaysSoAndCreatesNothing) {
    EXPECT_FALSE(module->IsActive());
    EXPECT_THAT(host.log->Entries(),
                ElementsAre(LogEntry{"Connector was deactivated. No tasks will be processed and no "
                                     "logs will be produced.",
                                     2, "ScriptedModule"}));
    EXPECT_THAT(host.bus->Subscriptions(), IsEmpty());
    EXPECT_EQ(module->tasksBefore, -1);
    EXPECT_THAT(host.requested, ElementsAre(1, 2, 3, 4, 11));
}

TEST_F(InactiveModuleTest, EveryStartPublishesTheDeactivatedStatus) {
    module->Start();
    module->Start();
    ASSERT_EQ(host.bus->Publications().size(), 2u);
    const auto status =
        boost::dynamic_pointer_cast<CMultiProductStatusLog>(host.bus->Publications()[1].message);
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(static_cast<int>(status->GetMessageType()), 10405);
    EXPECT_EQ(status->GetSymbols()->GetRowCount(), 0u);
    EXPECT_EQ(status->GetProductIdentification()->GetCount(), 1u);
    EXPECT_EQ(status->GetProductIdentification()->GetResourceId(4429), 0x07100000000007AAu);
    EXPECT_TRUE(status->IsReadOnly());
}

TEST_F(InactiveModuleTest, StartsNoThread) {
    module->Start();
    EXPECT_TRUE(clock->AwaitWaiters(0));
    EXPECT_THAT(module->Calls(), IsEmpty());
}

TEST_F(InactiveModuleTest, StopIsTrueAtOnce) {
    module->Start();
    EXPECT_TRUE(module->Stop(false));
    EXPECT_TRUE(module->Stop(true));
}

TEST_F(InactiveModuleTest, RequestStopDoesNothing) {
    module->Start();
    module->RequestStop();
    EXPECT_THAT(module->Calls(), IsEmpty());
}

TEST(ConnectorModuleSlotsTest, OperationsStandInTheirOrder) {
    class CProbe : public CConnectorModule {
      public:
        static void Check() {
            EXPECT_EQ(VirtualSlot(&CProbe::Initialize), 1);
            EXPECT_EQ(VirtualSlot(&CProbe::Start), 2);
            EXPECT_EQ(VirtualSlot(&CProbe::RequestStop), 3);
            EXPECT_EQ(VirtualSlot(&CProbe::Stop), 4);
            EXPECT_EQ(VirtualSlot(&CProbe::GetName), 5);
            EXPECT_EQ(VirtualSlot(&CProbe::GetProductId), 6);
            EXPECT_EQ(VirtualSlot(&CProbe::PublishDeactivatedStatus), 7);
            EXPECT_EQ(VirtualSlot(&CProbe::IsProductInstalled), 8);
            EXPECT_EQ(VirtualSlot(&CProbe::CreateTasks), 9);
            EXPECT_EQ(VirtualSlot(&CProbe::Connect), 10);
            EXPECT_EQ(VirtualSlot(&CProbe::Interrupt), 11);
            EXPECT_EQ(VirtualSlot(&CProbe::Disconnect), 12);
            EXPECT_EQ(VirtualSlot(&CProbe::Reconnect), 13);
        }
    };
    CProbe::Check();
}

TEST(ConnectorModuleSlotsTest, ServicesStandWhereTasksCallThem) {
    EXPECT_EQ(RawVirtualSlot(&Kyr::Common::Module::IMessagePublisher::Publish), 0);
    EXPECT_EQ(RawVirtualSlot(&IInstanceUUIDProvider::GetInstanceUUID), 0);
    EXPECT_EQ(VirtualSlot(&ILogger::GetLog), 1);
}

TEST_F(InactiveModuleTest, ServicesStandInTheModuleInTheirOrder) {
    CConnectorModule& connector = *module;
    const std::vector<const void*> places = {
        static_cast<const Kyr::Common::Module::CGenericModule*>(&connector),
        static_cast<const Kyr::Common::Module::IMessagePublisher*>(&connector),
        static_cast<const IInstanceUUIDProvider*>(&connector),
        static_cast<const ILogger*>(&connector)};
    EXPECT_EQ(places[0], &connector);
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), std::less<>()));
}

TEST(ConnectorModuleDefaultsTest, ProductCountsAsInstalledUnlessTheModuleKnowsBetter) {
    class CDefault : public CConnectorModule {
      public:
        std::string GetName() const override { return "Default"; }
        std::uint64_t GetProductId() const override { return 1; }
        void CreateTasks(TaskList&) override {}
        bool Connect() override { return true; }
        void Interrupt() override {}
        void Disconnect() override {}
        using CConnectorModule::IsActive;
    };
    Kyr::Test::CFakeHost host;
    CDefault module;
    EXPECT_FALSE(module.IsActive());
    module.Initialize(host);
    EXPECT_TRUE(module.IsActive());
    EXPECT_TRUE(module.Stop(true));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
