// What the module is, what it is made of, and whether it takes part.
#include "connector/tasks/ExportConfigurationTask.h"
#include "connector/tasks/GetStatusTask.h"
#include "connector/tasks/GetTaskStatusTask.h"
#include "connector/tasks/ImportConfigurationTask.h"
#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "connector/tasks/WinOvKillProcessByPidTask.h"
#include "tests/module/OvModuleFixture.h"
#include "tests/support/product/FakeReceiver.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using namespace testing;

class OvModuleTest : public OvModuleFixture {
  protected:
    Common::CConnectorModule::TaskList Tasks() {
        Common::CConnectorModule::TaskList tasks;
        module_->CreateTasks(tasks);
        return tasks;
    }
};

template <typename Task>
bool Is(const Common::CConnectorModule::TaskPointer& task) {
    return dynamic_cast<const Task*>(task.get()) != nullptr;
}

TEST_F(OvModuleTest, NameAndProduct) {
    EXPECT_EQ(module_->GetName(), "COvAgentConnectorModule");
    EXPECT_EQ(module_->GetProductId(), 0x07100000000007AAu);
}

TEST_F(OvModuleTest, ReconnectsTenSecondsApart) {
    alpc_->standingRequest = {0, Kyr::Test::KelcommReply(14, 0)};
    Initialize();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    ASSERT_TRUE(clock_->AdvanceToNextSleep(std::chrono::seconds(10)));
    EXPECT_THAT(clock_->Sleeps(), Each(std::chrono::milliseconds(10000)));
    EXPECT_THAT(alpc_->seenRequests, SizeIs(2));
}

TEST_F(OvModuleTest, AnyBuildMeansInstalled) {
    for (const std::int64_t build : {std::int64_t{5600}, std::int64_t{0}, std::int64_t{-1}}) {
        registration_->build = build;
        EXPECT_TRUE(module_->IsProductInstalled()) << build;
    }
    registration_->build.reset();
    EXPECT_FALSE(module_->IsProductInstalled());
}

TEST_F(OvModuleTest, UnreadableBuildLeavesInitializeAsItIs) {
    registration_->failure = "no number";
    EXPECT_THROW(Initialize(), std::runtime_error);
}

TEST_F(OvModuleTest, ChannelThatCannotBeMadeLeavesInitializeBeforeTheHostIsAsked) {
    ModuleSystem system = System();
    system.makeChannel = []() -> boost::shared_ptr<COvAgentChannel> {
        throw std::runtime_error("no channel");
    };
    module_ = std::make_unique<CTestedModule>(system);
    EXPECT_THROW(Initialize(), std::runtime_error);
    EXPECT_THAT(host_.requested, IsEmpty());
}

TEST_F(OvModuleTest, TasksComeInTheirOrder) {
    Initialize();
    const auto tasks = Tasks();
    ASSERT_EQ(tasks.size(), 9u);
    EXPECT_TRUE(Is<Common::Tasks::CExportConfigurationTask>(tasks[0]));
    EXPECT_TRUE(Is<Common::Tasks::CImportConfigurationTask>(tasks[1]));
    EXPECT_TRUE(Is<Common::Tasks::CGetStatusTask>(tasks[2]));
    EXPECT_TRUE(Is<Common::Tasks::CGetTaskStatusTask>(tasks[3]));
    EXPECT_TRUE(Is<CWinOvKillProcessByPidTask>(tasks[4]));
    EXPECT_TRUE(Is<CWinOvBlockExecutableByHashTask>(tasks[5]));
    EXPECT_TRUE(Is<CWinOvGetEcsIndicatorLogsTask>(tasks[6]));
    EXPECT_TRUE(Is<CWinOvGetEcsTelemetryLogsTask>(tasks[7]));
    EXPECT_TRUE(Is<CWinOvGetRemediationTask>(tasks[8]));
}

TEST_F(OvModuleTest, TasksTakeTheirMessageTypes) {
    Initialize();
    std::vector<int> types;
    for (const auto& task : Tasks()) {
        types.push_back(static_cast<int>(task->GetMessageType()));
    }
    EXPECT_THAT(types, ElementsAre(5, 194, 7, 7, 918, 919, 7, 7, 7));
}

TEST_F(OvModuleTest, TasksAreAppended) {
    Initialize();
    auto tasks = Tasks();
    module_->CreateTasks(tasks);
    EXPECT_EQ(tasks.size(), 18u);
}

TEST_F(OvModuleTest, ModuleWithoutAProductTakesNoPart) {
    registration_->build.reset();
    Initialize();
    module_->Start();
    EXPECT_THAT(host_.log->Lines(),
                ElementsAre("2 Connector was deactivated. No tasks will be processed and no logs "
                            "will be produced."));
    EXPECT_THAT(PublishedTypes(), ElementsAre(MessageType::MultiProductStatus));
    EXPECT_THAT(host_.bus->Subscriptions(), IsEmpty());
    EXPECT_THAT(alpc_->seenPings, IsEmpty());
}

TEST_F(OvModuleTest, EndOfTheModuleGivesTheReceiverBack) {
    Initialize();
    const auto receiver = boost::make_shared<Kyr::Test::CFakeReceiver>();
    channel_->SetBufferReceiver(receiver);
    module_.reset();
    EXPECT_EQ(receiver.use_count(), 1);  // although the channel lives on
}

TEST_F(OvModuleTest, ModuleThatWasNeverInitializedCanBeDestroyed) {
    module_.reset();
    EXPECT_FALSE(channel_);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
