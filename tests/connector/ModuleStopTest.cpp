// RequestStop and Stop in every state.
#include <atomic>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "connector/Subscriber.h"
#include "host/module/Response.h"
#include "tests/connector/LastingContext.h"
#include "tests/connector/ModuleFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using namespace Kyr::Test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNotAvailable[] = "Message task was canceled because product is not available";

class ModuleStopTest : public ModuleFixture {
  protected:
    /// The module sleeps after its first failed connection.
    void StartWithoutProduct() {
        module->ThenConnect(false);
        Start();
        ASSERT_TRUE(clock->AwaitSleepers(1));
    }
    /// A task that blocks until Release, then returns.
    CScriptedTask& AddBlockingTask() {
        return AddTask().Then([this](const auto&) {
            boost::unique_lock<boost::mutex> lock(mutex);
            inTask = true;
            changed.notify_all();
            while (!released) {
                changed.wait(lock);
            }
        });
    }
    void DeliverAndAwaitTask() {
        Deliver(MakeTaskMessage());
        ASSERT_TRUE(Kyr::Test::Await([this] {
            const boost::unique_lock<boost::mutex> lock(mutex);
            return inTask;
        }));
    }
    void Release() {
        const boost::unique_lock<boost::mutex> lock(mutex);
        released = true;
        changed.notify_all();
    }

    boost::mutex mutex;
    boost::condition_variable changed;
    bool inTask = false;
    bool released = false;
};

TEST_F(ModuleStopTest, StopBeforeStartIsTrue) {
    module->Initialize(host);
    EXPECT_TRUE(module->Stop(false));
    EXPECT_TRUE(module->Stop(true));
}

TEST_F(ModuleStopTest, UninitializedModuleCanBeStopped) {
    module->RequestStop();
    EXPECT_TRUE(module->Stop(false));
    EXPECT_TRUE(module->Stop(true));
}

TEST_F(ModuleStopTest, IdleModuleLeavesThroughDisconnecting) {
    StartAndConnect();
    EXPECT_TRUE(module->Stop(false));
    EXPECT_THAT(host.log->Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks",
                            "2 Disconnecting from product"));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect"));
}

TEST_F(ModuleStopTest, StopAgainIsTrue) {
    StartAndConnect();
    EXPECT_TRUE(module->Stop(false));
    EXPECT_TRUE(module->Stop(false));
    EXPECT_TRUE(module->Stop(true));
}

TEST_F(ModuleStopTest, ForcedStopInterruptsAnIdleModule) {
    StartAndConnect();
    EXPECT_TRUE(module->Stop(true));
    EXPECT_THAT(host.log->Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks",
                            "4 Task processing was interrupted", "2 Disconnecting from product"));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect"));
}

TEST_F(ModuleStopTest, ForcedStopLeavesQueuedMessages) {
    AddBlockingTask();
    StartAndConnect();
    DeliverAndAwaitTask();
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(true));
    EXPECT_EQ(host.bus->Subscriptions()[0].subscriber->Dump(), "ScriptedModule:KillProcessByPid");
    EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(ModuleStopTest, BusyModuleIsToBeStoppedAgain) {
    CScriptedTask& task = AddBlockingTask();
    StartAndConnect();
    DeliverAndAwaitTask();
    Deliver(MakeTaskMessage());
    boost::thread releaser([this] { Release(); });
    // Waits for the running task; the second message may be queued or running then, so that either
    // answer is right.
    module->Stop(false);
    Finish();
    releaser.join();
    EXPECT_EQ(task.ExecutionCount(), 2u);
}

TEST_F(ModuleStopTest, StopOfABusyModuleIsFalseAndResumesTheReplyThread) {
    CScriptedTask& task = AddTask();
    StartAndConnect();
    const auto replies = boost::dynamic_pointer_cast<Kyr::Common::Module::CSubscriber>(
        host.bus->Subscriptions()[1].subscriber);
    EXPECT_TRUE(replies->Wake());
    EXPECT_FALSE(replies->IsIdle());
    std::atomic<bool> reached{false};
    std::atomic<bool> goOn{false};
    Deliver(MakeTaskMessage(), boost::make_shared<CLastingContext>(reached, goOn));
    Deliver(MakeTaskMessage());
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(Kyr::Test::Await([&] { return reached.load(); }));
    EXPECT_FALSE(module->Stop(false));
    EXPECT_TRUE(replies->IsIdle());
    goOn = true;
    Finish();
    EXPECT_EQ(task.ExecutionCount(), 3u);
}

TEST_F(ModuleStopTest, RequestStopInterruptsTheProductAndCancelsTheTasks) {
    CScriptedTask& first = AddTask();
    CScriptedTask& second = AddTask(MessageType::OvAgentRequest);
    StartAndConnect();
    module->RequestStop();
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Interrupt"));
    EXPECT_TRUE(first.IsCancelled());
    EXPECT_TRUE(second.IsCancelled());
}

TEST_F(ModuleStopTest, RequestStopDoesNotEndTheThread) {
    StartAndConnect();
    module->RequestStop();
    EXPECT_TRUE(clock->AwaitWaiters(1));
    Finish();
}

TEST_F(ModuleStopTest, RequestStopWaitsForTheRunningTask) {
    CScriptedTask& task = AddBlockingTask();
    StartAndConnect();
    DeliverAndAwaitTask();
    boost::thread stopper([this] { module->RequestStop(); });
    ASSERT_TRUE(module->AwaitCalls("Interrupt", 1));
    EXPECT_FALSE(stopper.try_join_for(boost::chrono::milliseconds(20)));
    EXPECT_FALSE(task.IsCancelled());
    Release();
    stopper.join();
    EXPECT_TRUE(task.IsCancelled());
    Finish();
}

TEST_F(ModuleStopTest, RequestStopWaitsForEveryTaskOfTheMessage) {
    CScriptedTask& first = AddBlockingTask();
    CScriptedTask& second = AddTask();
    bool cancelledBefore = true;
    second.Then(
        [&](const auto&) { cancelledBefore = first.IsCancelled() || second.IsCancelled(); });
    StartAndConnect();
    DeliverAndAwaitTask();
    boost::thread stopper([this] { module->RequestStop(); });
    ASSERT_TRUE(module->AwaitCalls("Interrupt", 1));
    Release();
    stopper.join();
    Finish();
    EXPECT_EQ(second.ExecutionCount(), 1u);
    EXPECT_FALSE(cancelledBefore);
}

TEST_F(ModuleStopTest, RequestStopDoesNotWaitForAReconnection) {
    CScriptedTask& task = AddTask().ThenThrow(CRestartNeededException("restart"));
    StartAndConnect();
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(clock->AwaitSleepers(1));
    module->RequestStop();
    EXPECT_TRUE(task.IsCancelled());
    EXPECT_TRUE(clock->AwaitSleepers(1));
    EXPECT_TRUE(module->Stop(false));
}

TEST_F(ModuleStopTest, TasksAreCancelledInTheOrderOfTheirTypes) {
    Strings order;
    class CNoting : public CScriptedTask {
      public:
        CNoting(MessageType type, std::string name, Strings& order)
            : CScriptedTask(type), name_(std::move(name)), order_(order) {}
        void Cancel() override { order_.push_back(name_); }

      private:
        std::string name_;
        Strings& order_;
    };
    module->tasks = {boost::make_shared<CNoting>(MessageType::BlockExecutableByHash, "919", order),
                     boost::make_shared<CNoting>(MessageType::OvAgentRequest, "7a", order),
                     boost::make_shared<CNoting>(MessageType::ApplyPolicy, "194", order),
                     boost::make_shared<CNoting>(static_cast<MessageType>(-1), "-1", order),
                     boost::make_shared<CNoting>(MessageType::OvAgentRequest, "7b", order)};
    module->Initialize(host);
    module->RequestStop();
    EXPECT_THAT(order, ElementsAre("-1", "7a", "7b", "194", "919"));
}

TEST_F(ModuleStopTest, StopWithoutAProductCancelsWhatIsQueued) {
    AddTask();
    StartWithoutProduct();
    const auto context = MakeContext();
    Deliver(MakeTaskMessage(), context);
    Deliver(MakeMessage("Second", MessageType::KillProcessByPid));
    EXPECT_TRUE(module->Stop(false));
    EXPECT_THAT(
        host.log->Lines(),
        ElementsAre("2 Connecting to product", "4 Product is not available, canceling tasks",
                    "4 Message task was canceled because product is not available, message "
                    "was: KillProcessByPid",
                    "4 Message task was canceled because product is not available, message "
                    "was: Second"));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect", "Disconnect"));
    EXPECT_EQ(host.bus->Subscriptions()[0].subscriber->Dump(), "");
}

TEST_F(ModuleStopTest, CancelledTaskMessageIsReported) {
    AddTask();
    StartWithoutProduct();
    Deliver(MakeTaskMessage(), MakeContext());
    EXPECT_TRUE(module->Stop(false));
    ASSERT_EQ(Events().size(), 1u);
    const auto symbols = Events()[0]->GetSymbols();
    EXPECT_EQ(symbols->GetInt32(2836), 4);
    EXPECT_EQ(symbols->GetResourceId(2848), 0x000000010000009Bu);
    EXPECT_EQ(symbols->GetInt64(2850), 40);
    EXPECT_EQ(symbols->GetString(2913), kNotAvailable);
    // Not handled, only given up: the message's context was never made the thread's.
    EXPECT_EQ(host.bus->Publications()[0].context, nullptr);
}

TEST_F(ModuleStopTest, UnreportableCancelledMessageDoesNotStopTheOthers) {
    AddTask();
    StartWithoutProduct();
    Deliver(MakeTaskMessage("no uuid"));
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(false));
    EXPECT_EQ(Events().size(), 1u);
    EXPECT_THAT(host.log->Lines(), testing::Contains("4 invalid uuid string"));
}

TEST_F(ModuleStopTest, ForcedStopWithoutAProductCancelsTheSameWay) {
    AddTask();
    StartWithoutProduct();
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(true));
    EXPECT_EQ(Events().size(), 1u);
    EXPECT_THAT(host.log->Lines(),
                testing::Contains("4 Product is not available, canceling tasks"));
}

TEST_F(ModuleStopTest, DisconnectsAfterTheCancellations) {
    AddTask();
    module->OnDisconnect([] { throw std::runtime_error("still busy"); });
    StartWithoutProduct();
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(false));
    EXPECT_THAT(host.log->Lines(),
                ElementsAre("2 Connecting to product", "4 still busy",
                            "4 Product is not available, canceling tasks",
                            "4 Message task was canceled because product is not available, message "
                            "was: KillProcessByPid",
                            "4 still busy"));
}

TEST_F(ModuleStopTest, ConnectionThatComesTooLateIsNotUsed) {
    CScriptedTask& task = AddTask();
    module->ThenConnectBy([] { return Kyr::Test::AwaitInterruption(); });
    Start();
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(false));
    EXPECT_EQ(task.ExecutionCount(), 0u);
    EXPECT_EQ(Events().size(), 1u);
    EXPECT_THAT(
        host.log->Lines(),
        ElementsAre("2 Connecting to product", "4 Product is not available, canceling tasks",
                    "4 Message task was canceled because product is not available, message "
                    "was: KillProcessByPid"));
    EXPECT_THAT(module->Calls(), ElementsAre("Connect", "Disconnect"));
}

TEST_F(ModuleStopTest, ReconnectionThatComesTooLateIsNotUsed) {
    CScriptedTask& task = AddTask().ThenThrow(CRestartNeededException("restart"));
    module->ThenConnect(true).ThenConnectBy([] { return Kyr::Test::AwaitInterruption(); });
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(module->AwaitCalls("Connect", 2));
    EXPECT_TRUE(module->Stop(false));
    EXPECT_EQ(task.ExecutionCount(), 1u);
    EXPECT_THAT(LinesWhileConnected(), ElementsAre("2 restart", "2 Reconnecting to product",
                                                   "4 Task processing was interrupted"));
}

TEST_F(ModuleStopTest, StopDuringAReconnectionLeavesQueuedMessages) {
    AddTask().ThenThrow(CRestartNeededException("restart"));
    StartAndConnect();
    Deliver(MakeTaskMessage());
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(clock->AwaitSleepers(1));
    EXPECT_TRUE(module->Stop(false));
    EXPECT_THAT(LinesWhileConnected(),
                ElementsAre("2 restart", "4 Task processing was interrupted"));
    EXPECT_THAT(Events(), IsEmpty());
    EXPECT_EQ(host.bus->Subscriptions()[0].subscriber->Dump(), "ScriptedModule:KillProcessByPid");
}

TEST_F(ModuleStopTest, StopWithoutAProductWaitsForTheReplyThread) {
    StartWithoutProduct();
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    ASSERT_TRUE(clock->AwaitWaiters(1));
    bool stopped = false;
    boost::thread stopper([&] { stopped = module->Stop(false); });
    EXPECT_FALSE(stopper.try_join_for(boost::chrono::milliseconds(20)));
    clock->Advance(std::chrono::seconds(5));
    stopper.join();
    EXPECT_TRUE(stopped);
}

// The task thread needs the tasks' lock to see that it is not wanted any more.
TEST_F(ModuleStopTest, TasksAreCancelledWhileStopStillWaitsForTheReplyThread) {
    module->ThenConnectBy([] { return Kyr::Test::AwaitInterruption(); });
    Start();
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    ASSERT_TRUE(clock->AwaitWaiters(1));
    bool stopped = false;
    boost::thread stopper([&] { stopped = module->Stop(false); });
    EXPECT_TRUE(host.log->AwaitText("Product is not available, canceling tasks"));
    clock->Advance(std::chrono::seconds(5));
    stopper.join();
    EXPECT_TRUE(stopped);
}

TEST_F(ModuleStopTest, ConnectedStopInterruptsTheReplyThread) {
    StartAndConnect();
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    ASSERT_TRUE(clock->AwaitWaiters(2));
    Finish();
    EXPECT_EQ(host.log->Lines().back(), "1 There were 0 messages left unprocessed in a queue");
    EXPECT_TRUE(clock->AwaitWaiters(0));
}

TEST_F(ModuleStopTest, RepliesAfterTheStopOnlyQueue) {
    StartAndConnect();
    Finish();
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    module.reset();
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(2));
    EXPECT_TRUE(clock->AwaitWaiters(0));
}

TEST_F(ModuleStopTest, InterruptedHostThreadStillWaitsForTheThreads) {
    std::atomic<bool> goOn{false};
    std::atomic<bool> disconnected{false};
    module->OnDisconnect([&] {
        EXPECT_TRUE(Kyr::Test::Await([&] { return goOn.load(); }));
        disconnected = true;
    });
    StartAndConnect();
    bool stopped = false;
    bool disconnectedByThen = false;
    boost::thread stopper([&] {
        EXPECT_TRUE(Kyr::Test::AwaitInterruption());
        stopped = module->Stop(true);
        disconnectedByThen = disconnected;
    });
    stopper.interrupt();
    // An interruption that took effect would end the stopper now.
    EXPECT_FALSE(stopper.try_join_for(boost::chrono::milliseconds(50)));
    goOn = true;
    stopper.join();
    EXPECT_TRUE(stopped);
    EXPECT_TRUE(disconnectedByThen);
    EXPECT_EQ(host.log->Lines().back(), "2 Disconnecting from product");
}

TEST_F(ModuleStopTest, ModuleCanBeStartedAgainAfterAForcedStop) {
    CScriptedTask& task = AddTask();
    StartAndConnect();
    EXPECT_TRUE(module->Stop(true));
    module->Start();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    Deliver(MakeTaskMessage());
    Finish();
    EXPECT_EQ(task.ExecutionCount(), 1u);
}

TEST_F(ModuleStopTest, ConnectionOfAnEarlierStartDoesNotCount) {
    AddTask();
    module->ThenConnect(true).ThenConnect(false);
    StartAndConnect();
    EXPECT_TRUE(module->Stop(true));
    module->Start();
    ASSERT_TRUE(clock->AwaitSleepers(1));
    Deliver(MakeTaskMessage());
    // Not "busy", which would be for ever.
    EXPECT_TRUE(module->Stop(false));
    EXPECT_THAT(host.log->Lines(),
                testing::Contains("4 Product is not available, canceling tasks"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
