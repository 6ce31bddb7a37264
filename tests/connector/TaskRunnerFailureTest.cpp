// What fails in ways of its own: a bus, a message, something thrown that is no exception, memory.
#include <atomic>
#include <new>
#include <stdexcept>

#include "tests/connector/TaskRunnerFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using namespace Kyr::Test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kForeignFailure[] = "4 Task processing failed with an unknown exception";

class TaskRunnerFailureTest : public TaskRunnerFixture {};

TEST_F(TaskRunnerFailureTest, FailingBusCostsTheEventOnly) {
    CScriptedTask& task = AddTask().ThenThrow(std::runtime_error("broken"));
    host.bus->OnPublish([](const auto&) { throw std::runtime_error("bus is closed"); });
    StartAndConnect();
    Deliver(MakeTaskMessage());
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("4 bus is closed", "4 broken", "4 bus is closed", "4 broken"));
    EXPECT_EQ(task.ExecutionCount(), 2u);
}

TEST_F(TaskRunnerFailureTest, MessageThatCannotTellItsNameCostsItsLineOnly) {
    class CNameless : public Kyr::Test::CTestMessage {
      public:
        CNameless() : CTestMessage(MessageType::KillProcessByPid, "") {}
        std::string GetName() const override { throw std::runtime_error("no name"); }
    };
    CScriptedTask& task = AddTask()
                              .ThenThrow(CRetryException("no answer", false))
                              .ThenThrow(CRetryException("no answer", false))
                              .ThenReturn();
    CScriptedTask& next = AddTask();
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(boost::make_shared<CNameless>());
    ASSERT_TRUE(host.log->AwaitText("no name"));
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_EQ(task.ExecutionCount(), 3u);
    EXPECT_EQ(next.ExecutionCount(), 2u);
    EXPECT_EQ(LinesWhileConnected().back(), "4 no name");
}

TEST_F(TaskRunnerFailureTest, MessageThatCannotTellItsTypeCostsALineOnly) {
    class CTypeless : public Kyr::Test::CTestMessage {
      public:
        CTypeless() : CTestMessage(MessageType::KillProcessByPid, "") {}
        MessageType GetMessageType() const override { throw std::runtime_error("no type"); }
    };
    CScriptedTask& task = AddTask();
    StartAndConnect();
    host.bus->Subscriptions()[0].subscriber->Push(boost::make_shared<CTypeless>(), {});
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 no type"));
    EXPECT_EQ(task.ExecutionCount(), 1u);
}

TEST_F(TaskRunnerFailureTest, MessageThatFailsInAForeignWayBeforeATaskHasItCostsALineOnly) {
    class CTypeless : public Kyr::Test::CTestMessage {
      public:
        CTypeless() : CTestMessage(MessageType::KillProcessByPid, "") {}
        MessageType GetMessageType() const override { throw 42; }
    };
    CScriptedTask& task = AddTask();
    StartAndConnect();
    host.bus->Subscriptions()[0].subscriber->Push(boost::make_shared<CTypeless>(), {});
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_THAT(LinesWhileConnected(), ElementsAre(kForeignFailure));
    EXPECT_EQ(task.ExecutionCount(), 1u);
}

TEST_F(TaskRunnerFailureTest, FailureOfAForeignKindReconnectsAndTriesAgain) {
    CScriptedTask& task = AddTask().ThenThrow(42).ThenReturn();
    CScriptedTask& next = AddTask();
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(Kyr::Test::Await([&] { return next.ExecutionCount() == 1; }));
    Finish();
    EXPECT_EQ(task.ExecutionCount(), 2u);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre(kForeignFailure, "2 Reconnecting to product"));
    EXPECT_THAT(clock->Sleeps(), ElementsAre(kTenSeconds));
    EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(TaskRunnerFailureTest, TwoFailuresOfAForeignKindCancelTheMessage) {
    AddTask().ThenThrow(42);
    RunUntilLogged(kRetriesExhaustedLine);
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 4, 0x000000010000009B, 40, kRetriesExhausted);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre(kForeignFailure, "2 Reconnecting to product",
                                                   kForeignFailure, "2 Reconnecting to product",
                                                   std::string("4 ") + kRetriesExhaustedLine));
}

TEST_F(TaskRunnerFailureTest, ConnectionThatFailsInAForeignWayIsTriedAgain) {
    module->ThenConnectBy([]() -> bool { throw 42; }).ThenConnect(true);
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect", "Connect"));
    EXPECT_THAT(host.log->Lines(), ElementsAre("2 Connecting to product", kForeignFailure,
                                               "2 Connected to product, processing tasks"));
}

TEST_F(TaskRunnerFailureTest, DisconnectionThatFailsInAForeignWayIsLogged) {
    module->OnDisconnect([] { throw 42; });
    StartAndConnect();
    Finish();
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect"));
    EXPECT_EQ(host.log->Lines().back(), kForeignFailure);
}

TEST_F(TaskRunnerFailureTest, BusThatFailsInAForeignWayCostsTheEventOnly) {
    CScriptedTask& task = AddTask().ThenThrow(std::runtime_error("broken"));
    host.bus->OnPublish([](const auto&) { throw 42; });
    StartAndConnect();
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_THAT(LinesWhileConnected(), ElementsAre(kForeignFailure, "4 broken"));
    EXPECT_EQ(task.ExecutionCount(), 1u);
}

TEST_F(TaskRunnerFailureTest, FailureThatCannotBeToldForWantOfMemoryIsTriedAgain) {
    CScriptedTask& task = AddTask()
                              .ThenThrow(std::runtime_error("broken"))
                              .ThenThrow(std::runtime_error("broken again"));
    std::atomic<int> publications{0};
    host.bus->OnPublish([&publications](const auto&) {
        if (++publications == 1) {
            throw std::bad_alloc();
        }
    });
    RunUntilLogged("broken again");
    EXPECT_EQ(task.ExecutionCount(), 2u);
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("4 std::bad_alloc", "2 Reconnecting to product", "4 broken again"));
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 4, 0x000000010000000C, 40, "broken again");
}

TEST_F(TaskRunnerFailureTest, WantOfMemoryOfATaskMessageIsOneEventAndNoRetry) {
    CScriptedTask& task = AddTask().ThenThrow(std::bad_alloc());
    RunTaskMessage();
    EXPECT_EQ(task.ExecutionCount(), 1u);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 std::bad_alloc"));
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 4, 0x000000010000000C, 40, "std::bad_alloc");
}

TEST_F(TaskRunnerFailureTest, WantOfMemoryOfAMessageWithoutIdentifiersIsTriedAgain) {
    CScriptedTask& task =
        AddTask(MessageType::ApplyPolicy).ThenThrow(std::bad_alloc()).ThenReturn();
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(MakeMessage("Policy", MessageType::ApplyPolicy));
    ASSERT_TRUE(Kyr::Test::Await([&] { return task.ExecutionCount() == 2; }));
    Finish();
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("4 std::bad_alloc", "2 Reconnecting to product"));
}

TEST_F(TaskRunnerFailureTest,
       CancellingThatCannotBeToldForWantOfMemoryIsToldAfterTheNextConnection) {
    CScriptedTask& task = AddTask().ThenThrow(CRetryException("no answer", false));
    std::atomic<int> publications{0};
    host.bus->OnPublish([&publications](const auto&) {
        if (++publications == 3) {
            throw std::bad_alloc();
        }
    });
    RunUntilLogged(kRetriesExhaustedLine);
    EXPECT_EQ(task.ExecutionCount(), 2u);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 no answer", "2 Reconnecting to product",
                                                   "4 no answer", "2 Reconnecting to product",
                                                   "4 std::bad_alloc", "2 Reconnecting to product",
                                                   std::string("4 ") + kRetriesExhaustedLine));
    ASSERT_EQ(Events().size(), 3u);
    ExpectEvent(Events()[2], 4, 0x000000010000009B, 40, kRetriesExhausted);
}

TEST_F(TaskRunnerFailureTest, MessageOfAnEndingThreadIsCancelledWithALineForWantOfMemory) {
    AddTask();
    module->ThenConnect(false);
    host.bus->OnPublish([](const auto&) { throw std::bad_alloc(); });
    Start();
    ASSERT_TRUE(clock->AwaitSleepers(1));
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(true));
    EXPECT_THAT(host.log->Lines(),
                ElementsAre("2 Connecting to product",
                            "4 Product is not available, canceling tasks", "4 std::bad_alloc",
                            "4 Message task was canceled because product is not available, "
                            "message was: KillProcessByPid"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
