// Connecting, running tasks, retrying and cancelling.
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "tests/connector/TaskRunnerFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Module::CLocalizedException;
using namespace Kyr::Test;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class TaskRunnerTest : public TaskRunnerFixture {};

TEST_F(TaskRunnerTest, ConnectsAtOnce) {
    StartAndConnect();
    EXPECT_THAT(module->Calls(), ElementsAre("Connect"));
    EXPECT_THAT(clock->Sleeps(), IsEmpty());
    EXPECT_THAT(host.log->Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks"));
}

TEST_F(TaskRunnerTest, FailedConnectionIsTriedAgainAfterTenSeconds) {
    module->ThenConnect(false).ThenConnect(true);
    Start();
    ASSERT_TRUE(clock->AwaitSleepers(1));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect"));
    clock->Advance(kTenSeconds);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect", "Connect"));
    EXPECT_THAT(clock->Sleeps(), ElementsAre(kTenSeconds));
}

TEST_F(TaskRunnerTest, ConnectionIsTriedForEver) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        module->ThenConnect(false);
    }
    module->ThenConnect(true);
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    EXPECT_EQ(clock->Sleeps().size(), 100u);
    EXPECT_THAT(clock->Sleeps(), Each(kTenSeconds));
}

TEST_F(TaskRunnerTest, ReconnectDelayIsTheModules) {
    module->reconnectDelayMs = 250;
    module->ThenConnect(false).ThenConnect(true);
    AddTask().ThenThrow(CRestartNeededException("restart")).Then([this](const auto&) {
        module->GetLog(2) << "done";
    });
    RunUntilLogged("done");
    EXPECT_THAT(clock->Sleeps(),
                ElementsAre(std::chrono::milliseconds(250), std::chrono::milliseconds(250)));
}

TEST_F(TaskRunnerTest, ThrowingConnectionIsLoggedAndTriedAgain) {
    module->ThenConnectBy([]() -> bool { throw std::runtime_error("no product"); })
        .ThenConnect(true);
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    EXPECT_THAT(host.log->Lines(), ElementsAre("2 Connecting to product", "4 no product",
                                               "2 Connected to product, processing tasks"));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect", "Connect"));
}

TEST_F(TaskRunnerTest, ThrowingDisconnectionIsLogged) {
    module->ThenConnect(false).ThenConnect(true);
    module->OnDisconnect([] { throw std::runtime_error("still busy"); });
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Finish();
    EXPECT_THAT(host.log->Lines(), ElementsAre("2 Connecting to product", "4 still busy",
                                               "2 Connected to product, processing tasks",
                                               "2 Disconnecting from product", "4 still busy"));
}

TEST_F(TaskRunnerTest, SecondStartKeepsTheThread) {
    StartAndConnect();
    module->Start();
    EXPECT_THAT(module->Calls(), ElementsAre("Connect"));
    Finish();
}

TEST_F(TaskRunnerTest, TaskGetsTheMessageItself) {
    CScriptedTask& task = AddTask();
    const auto message = MakeTaskMessage();
    StartAndConnect();
    Deliver(message);
    Finish();
    EXPECT_THAT(task.Received(), ElementsAre(message));
    EXPECT_THAT(LinesWhileConnected(), IsEmpty());
    EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(TaskRunnerTest, MessagesAreHandledInTheirOrder) {
    CScriptedTask& task = AddTask(MessageType::OvAgentRequest);
    const auto first = MakeMessage("A");
    const auto second = MakeMessage("B");
    Start();
    Deliver(first);
    Deliver(second);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    Finish();
    EXPECT_THAT(task.Received(), ElementsAre(first, second));
}

TEST_F(TaskRunnerTest, MessageGoesToEveryTaskOfItsTypeInCreationOrder) {
    Strings order;
    AddTask().Then([&](const auto&) { order.push_back("first"); });
    AddTask(MessageType::BlockExecutableByHash).Then([&](const auto&) { order.push_back("no"); });
    AddTask().Then([&](const auto&) { order.push_back("second"); });
    AddTask().Then([&](const auto&) { order.push_back("third"); });
    RunTaskMessage();
    EXPECT_THAT(order, ElementsAre("first", "second", "third"));
}

TEST_F(TaskRunnerTest, MessageWithoutATaskIsDroppedSilently) {
    CScriptedTask& task = AddTask();
    StartAndConnect();
    host.bus->Subscriptions()[0].subscriber->Push(MakeMessage("A", MessageType::ApplyPolicy), {});
    Finish();
    EXPECT_EQ(task.ExecutionCount(), 0u);
    EXPECT_THAT(LinesWhileConnected(), IsEmpty());
}

TEST_F(TaskRunnerTest, TaskIsNotGivenAMessageThatHasAnotherTypeByThen) {
    class CFickle : public Kyr::Test::CTestMessage {
      public:
        CFickle() : CTestMessage(MessageType::KillProcessByPid, "") {}
        MessageType GetMessageType() const override {
            return asked++ == 0 ? MessageType::KillProcessByPid : MessageType::ApplyPolicy;
        }

        mutable int asked = 0;  // by who looks for its tasks, then by the task's turn
    };
    CScriptedTask& task = AddTask();
    StartAndConnect();
    const auto message = boost::make_shared<CFickle>();
    host.bus->Subscriptions()[0].subscriber->Push(message, {});
    Finish();
    EXPECT_EQ(message->asked, 2);
    EXPECT_EQ(task.ExecutionCount(), 0u);
    EXPECT_THAT(LinesWhileConnected(), IsEmpty());
}

TEST_F(TaskRunnerTest, WhatATaskPublishesTravelsWithItsMessagesContext) {
    AddTask().Then([this](const auto&) { module->Publish(MakeMessage("result")); });
    const auto first = MakeContext();
    const auto second = MakeContext();
    StartAndConnect();
    Deliver(MakeTaskMessage(), first);
    Deliver(MakeTaskMessage(), second);
    Deliver(MakeTaskMessage());
    Finish();
    const auto publications = host.bus->Publications();
    ASSERT_EQ(publications.size(), 3u);
    EXPECT_EQ(publications[0].context, first);
    EXPECT_EQ(publications[1].context, second);
    EXPECT_EQ(publications[2].context, nullptr);
}

TEST_F(TaskRunnerTest, FormatMarksAndLineBreaksOfAFailureAreToldAsTheyAre) {
    AddTask().ThenThrow(std::runtime_error("%s%n {}\n4 forged"));
    RunTaskMessage();
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 %s%n {}\n4 forged"));
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 4, 0x000000010000000C, 40, "%s%n {}\n4 forged");
}

TEST_F(TaskRunnerTest, FailureEventTravelsWithItsMessagesContext) {
    AddTask().ThenThrow(std::runtime_error("broken"));
    const auto context = MakeContext();
    StartAndConnect();
    Deliver(MakeTaskMessage(), context);
    Finish();
    ASSERT_EQ(host.bus->Publications().size(), 1u);
    EXPECT_EQ(host.bus->Publications()[0].context, context);
}

TEST_F(TaskRunnerTest, LocalizedFailureIsOneEventAndNoRetry) {
    CScriptedTask& task = AddTask().ThenThrow(CLocalizedException("Disk is full", 0x11, 0x22));
    RunTaskMessage();
    EXPECT_EQ(task.ExecutionCount(), 1u);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 Disk is full"));
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 4, 0x0000002200000011, 40, "Disk is full");
    EXPECT_THAT(clock->Sleeps(), IsEmpty());
}

TEST_F(TaskRunnerTest, OtherFailureIsOneEventAndNoRetry) {
    CScriptedTask& task = AddTask().ThenThrow(std::runtime_error("broken"));
    RunTaskMessage();
    EXPECT_EQ(task.ExecutionCount(), 1u);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 broken"));
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 4, 0x000000010000000C, 40, "broken");
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect"));
}

TEST_F(TaskRunnerTest, FailureWithoutATextHasNoTextSymbol) {
    AddTask().ThenThrow(CLocalizedException("", 1, 0));
    RunTaskMessage();
    ASSERT_EQ(Events().size(), 1u);
    EXPECT_FALSE(Events()[0]->GetSymbols()->HasSymbol(2913));
    EXPECT_THAT(LinesWhileConnected(), IsEmpty());
}

TEST_F(TaskRunnerTest, CountedFailureReconnectsAndTriesAgain) {
    CScriptedTask& task =
        AddTask().ThenThrow(CRetryException("no answer", false)).Then([this](const auto&) {
            module->GetLog(2) << "done";
        });
    RunUntilLogged("done");
    EXPECT_EQ(task.ExecutionCount(), 2u);
    EXPECT_EQ(task.Received()[0], task.Received()[1]);
    EXPECT_THAT(module->Calls(),
                ElementsAre("Connect", "Reconnect", "Disconnect", "Connect", "Disconnect"));
    EXPECT_THAT(clock->Sleeps(), ElementsAre(kTenSeconds));
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("4 no answer", "2 Reconnecting to product", "2 done"));
    ASSERT_EQ(Events().size(), 1u);
    ExpectEvent(Events()[0], 1, 0x000000010000000C, 20, "no answer");
}

TEST_F(TaskRunnerTest, TwoCountedFailuresCancelTheMessage) {
    CScriptedTask& task = AddTask().ThenThrow(CRetryException("no answer", false));
    RunUntilLogged(kRetriesExhaustedLine);
    EXPECT_EQ(task.ExecutionCount(), 2u);
    EXPECT_THAT(clock->Sleeps(), ElementsAre(kTenSeconds, kTenSeconds));
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 no answer", "2 Reconnecting to product",
                                                   "4 no answer", "2 Reconnecting to product",
                                                   std::string("4 ") + kRetriesExhaustedLine));
    ASSERT_EQ(Events().size(), 3u);
    ExpectEvent(Events()[0], 1, 0x000000010000000C, 20, "no answer");
    ExpectEvent(Events()[1], 1, 0x000000010000000C, 20, "no answer");
    ExpectEvent(Events()[2], 4, 0x000000010000009B, 40, kRetriesExhausted);
}

TEST_F(TaskRunnerTest, UncountedFailureIsAnEventButNoAttempt) {
    CScriptedTask& task = AddTask();
    for (int failure = 0; failure < 5; ++failure) {
        task.ThenThrow(CRetryException("gone", true));
    }
    task.Then([this](const auto&) { module->GetLog(2) << "done"; });
    RunUntilLogged("done");
    EXPECT_EQ(task.ExecutionCount(), 6u);
    EXPECT_EQ(clock->Sleeps().size(), 5u);
    ASSERT_EQ(Events().size(), 5u);
    ExpectEvent(Events()[4], 1, 0x000000010000000C, 20, "gone");
}

TEST_F(TaskRunnerTest, UncountedFailureBetweenCountedOnesChangesNothing) {
    CScriptedTask& task = AddTask()
                              .ThenThrow(CRetryException("counted", false))
                              .ThenThrow(CRetryException("uncounted", true))
                              .ThenThrow(CRestartNeededException("restart"))
                              .ThenThrow(CRetryException("counted", false));
    RunUntilLogged(kRetriesExhaustedLine);
    EXPECT_EQ(task.ExecutionCount(), 4u);
    EXPECT_EQ(clock->Sleeps().size(), 4u);
}

TEST_F(TaskRunnerTest, RestartIsARoutineLineAndNoEvent) {
    CScriptedTask& task =
        AddTask().ThenThrow(CRestartNeededException("restart")).Then([this](const auto&) {
            module->GetLog(2) << "done";
        });
    RunUntilLogged("done");
    EXPECT_EQ(task.ExecutionCount(), 2u);
    EXPECT_THAT(Events(), IsEmpty());
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("2 restart", "2 Reconnecting to product", "2 done"));
}

TEST_F(TaskRunnerTest, RestartsAreRetriedWithoutEnd) {
    CScriptedTask& task = AddTask().ThenThrow(CRestartNeededException("restart"));
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(Kyr::Test::Await([&] { return task.ExecutionCount() >= 20; }));
    EXPECT_TRUE(module->Stop(true));
    EXPECT_GE(clock->Sleeps().size(), 19u);
    EXPECT_THAT(clock->Sleeps(), Each(kTenSeconds));
    EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(TaskRunnerTest, EveryReconnectionAttemptIsPrecededByAWait) {
    AddTask().ThenThrow(CRestartNeededException("restart")).Then([this](const auto&) {
        module->GetLog(2) << "done";
    });
    module->ThenConnect(true)
        .ThenConnect(false)
        .ThenConnectBy([]() -> bool { throw std::runtime_error("no product"); })
        .ThenConnect(true);
    RunUntilLogged("done");
    EXPECT_THAT(clock->Sleeps(), ElementsAre(kTenSeconds, kTenSeconds, kTenSeconds));
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("2 restart", "2 Reconnecting to product", "2 Reconnecting to product",
                            "4 no product", "2 Reconnecting to product", "2 done"));
}

TEST_F(TaskRunnerTest, ThrowingDisconnectionFailsTheReconnection) {
    AddTask().ThenThrow(CRestartNeededException("restart")).Then([this](const auto&) {
        module->GetLog(2) << "done";
    });
    int disconnections = 0;
    module->OnDisconnect([&disconnections] {
        if (++disconnections == 1) {
            throw std::runtime_error("still busy");
        }
    });
    RunUntilLogged("done");
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("2 restart", "2 Reconnecting to product", "4 still busy",
                            "2 Reconnecting to product", "2 done"));
}

TEST_F(TaskRunnerTest, CancelledTaskDoesNotStopTheNextOne) {
    CScriptedTask& first = AddTask().ThenThrow(CRetryException("no answer", false));
    CScriptedTask& second =
        AddTask().ThenThrow(CRetryException("nor here", false)).Then([this](const auto&) {
            module->GetLog(2) << "done";
        });
    RunUntilLogged("done");
    EXPECT_EQ(first.ExecutionCount(), 2u);
    EXPECT_EQ(second.ExecutionCount(), 2u);
    EXPECT_EQ(Events().size(), 4u);
}

TEST_F(TaskRunnerTest, EachTaskHasItsOwnTwoAttempts) {
    CScriptedTask& first = AddTask().ThenThrow(CRetryException("no answer", false));
    CScriptedTask& second = AddTask().ThenThrow(CRetryException("nor here", false));
    AddTask().Then([this](const auto&) { module->GetLog(2) << "done"; });
    RunUntilLogged("done");
    EXPECT_EQ(first.ExecutionCount(), 2u);
    EXPECT_EQ(second.ExecutionCount(), 2u);
    EXPECT_EQ(clock->Sleeps().size(), 4u);
}

TEST_F(TaskRunnerTest, CancelledMessageDoesNotStopTheNextOne) {
    CScriptedTask& task = AddTask()
                              .ThenThrow(CRetryException("no answer", false))
                              .ThenThrow(CRetryException("no answer", false))
                              .Then([this](const auto&) { module->GetLog(2) << "done"; });
    clock->SetAutomaticSleep(true);
    Start();
    Deliver(MakeTaskMessage());
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(host.log->AwaitText("done"));
    Finish();
    EXPECT_EQ(task.ExecutionCount(), 3u);
}

TEST_F(TaskRunnerTest, MessageThatIsNoTaskMessageGetsLinesButNoEvent) {
    AddTask().ThenThrow(std::runtime_error("broken"));
    StartAndConnect();
    Deliver(MakeMessage("A", MessageType::KillProcessByPid));
    Finish();
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 broken"));
    EXPECT_THAT(host.bus->Publications(), IsEmpty());
}

TEST_F(TaskRunnerTest, UninitializedSecondIdentifierGetsLinesButNoEvent) {
    AddTask().ThenThrow(CRetryException("no answer", false));
    Kyr::Common::Message::CTask::Uuid set;
    set.set_uuid(kFirst);
    const auto message = boost::make_shared<TaskMessage>();
    message->SetIdentifiers(set, {}, set);
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(message);
    ASSERT_TRUE(host.log->AwaitText(kRetriesExhaustedLine));
    Finish();
    EXPECT_THAT(host.bus->Publications(), IsEmpty());
    EXPECT_EQ(LinesWhileConnected().size(), 5u);
}

TEST_F(TaskRunnerTest, IdentifierThatIsNoUuidCostsTheEventOnly) {
    CScriptedTask& task = AddTask().ThenThrow(std::runtime_error("broken")).ThenReturn();
    StartAndConnect();
    Deliver(MakeTaskMessage("no uuid"));
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("4 invalid uuid string", "4 broken"));
    EXPECT_THAT(Events(), IsEmpty());
    EXPECT_EQ(task.ExecutionCount(), 2u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
