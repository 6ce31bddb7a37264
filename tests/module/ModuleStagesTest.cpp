// Starts and stops at every stage of the module's life, and what is left of its threads.
#include <future>
#include <utility>

#include "host/message/OvAgentTasks.h"
#include "tests/module/OvModuleFixture.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
using namespace testing;

/// A place in another thread's work where that thread waits until the test lets it go on.
class CStage {
  public:
    /// The other thread comes by; only its first coming counts.
    void Pass() {
        if (!std::exchange(passed_, true)) {
            reached_.set_value();
            released_.get_future().wait();
        }
    }
    void AwaitReached() { reached_.get_future().wait(); }
    void Release() { released_.set_value(); }

  private:
    bool passed_ = false;
    std::promise<void> reached_;
    std::promise<void> released_;
};

class ModuleStagesTest : public OvModuleFixture {
  protected:
    static constexpr std::chrono::milliseconds kMoment{50};

    /// Whoever has an exchange with the product waits in it.
    void HoldExchanges() {
        alpc_->whileServing = [this] { stage_.Pass(); };
    }
    /// The connection waits before the host is told of the agent.
    void HoldConnection() {
        host_.bus->OnPublish([this](const auto& message) {
            if (message->GetMessageType() == MessageType::PresenceStatus) {
                stage_.Pass();
            }
        });
    }
    /// A connected module with a failed task, which waits for its reconnection.
    void StartAndFailATask() {
        StartAndConnect();
        alpc_->requests = {{1, {}}};
        host_.bus->Deliver(boost::make_shared<CKillProcessByPid>());
        ASSERT_TRUE(clock_->AwaitSleepers(2));
    }
    /// Stops by force on another thread while the module is held at its stage, and then lets go.
    bool StopByForceAtTheStage() {
        auto stopped = std::async(std::launch::async, [this] { return module_->Stop(true); });
        EXPECT_EQ(stopped.wait_for(kMoment), std::future_status::timeout);
        stage_.Release();
        return stopped.get();
    }
    /// No thread of the module sleeps or waits, and no time has passed.
    void ExpectNoThreads() {
        EXPECT_TRUE(clock_->AwaitSleepers(0));
        EXPECT_TRUE(clock_->AwaitWaiters(0));
        EXPECT_EQ(clock_->Elapsed(), std::chrono::seconds(0));
    }

    CStage stage_;
};

// By force.

TEST_F(ModuleStagesTest, ForcedStopOfAModuleThatWasNotStartedDoesNothing) {
    Initialize();
    EXPECT_TRUE(module_->Stop(true));
    EXPECT_THAT(host_.log->Lines(), IsEmpty());
    EXPECT_THAT(PublishedTypes(), IsEmpty());
}

TEST_F(ModuleStagesTest, ForcedStopWhileTheChannelStartsIsNoFailureOfTheConnection) {
    SilenceProduct();
    Initialize();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    EXPECT_TRUE(module_->Stop(true));
    ExpectNoThreads();
    EXPECT_THAT(host_.log->Lines(), ElementsAre("2 Connecting to product",
                                                "4 Product is not available, canceling tasks"));
    EXPECT_THAT(PublishedTypes(), IsEmpty());
}

TEST_F(ModuleStagesTest, ForcedStopBetweenTwoConnectionsEndsTheWait) {
    alpc_->standingRequest = {0, Kyr::Test::KelcommReply(3, 0)};
    Initialize();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    EXPECT_TRUE(module_->Stop(true));
    ExpectNoThreads();
    EXPECT_THAT(
        host_.log->Lines(),
        ElementsAre("2 Connecting to product", "3 CKelcommChannel: Send request failed with 3",
                    "4 Starting TULK OVANTA Connector connector module failed with: "
                    "CKelcommChannel: Send request failed with 3",
                    "4 Product is not available, canceling tasks"));
}

TEST_F(ModuleStagesTest, ForcedStopDuringAConnectionEndsTheWatchThatItStarts) {
    HoldConnection();
    Initialize();
    module_->Start();
    stage_.AwaitReached();
    EXPECT_TRUE(StopByForceAtTheStage());
    ExpectNoThreads();
    EXPECT_THAT(host_.log->Lines(), ElementsAre("2 Connecting to product",
                                                "4 Product is not available, canceling tasks"));
}

TEST_F(ModuleStagesTest, ForcedStopWaitsForTheTaskThatRuns) {
    StartAndConnect();
    HoldExchanges();
    host_.bus->Deliver(boost::make_shared<CKillProcessByPid>());
    stage_.AwaitReached();
    EXPECT_TRUE(StopByForceAtTheStage());
    ExpectNoThreads();
    EXPECT_THAT(host_.log->Lines(), Contains("4 Task processing was interrupted"));
}

TEST_F(ModuleStagesTest, ForcedStopWaitsForThePingOfTheWatch) {
    StartAndConnect();
    HoldExchanges();
    clock_->Advance(std::chrono::seconds(5));
    stage_.AwaitReached();
    EXPECT_TRUE(StopByForceAtTheStage());
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    EXPECT_THAT(host_.log->Lines(), Contains("2 Disconnecting from product"));
}

TEST_F(ModuleStagesTest, ForcedStopWaitsForTheRequestThatTheWatchPublishes) {
    StartAndConnect();
    SilenceProduct();
    host_.bus->OnPublish([this](const auto&) { stage_.Pass(); });
    clock_->Advance(std::chrono::seconds(5));
    stage_.AwaitReached();
    EXPECT_TRUE(StopByForceAtTheStage());
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    EXPECT_THAT(PublishedKinds(), ElementsAre(0));
}

TEST_F(ModuleStagesTest, ForcedStopBeforeAReconnectionEndsTheWaitAndTheWatch) {
    StartAndFailATask();
    EXPECT_TRUE(module_->Stop(true));
    ExpectNoThreads();
    EXPECT_THAT(host_.log->Lines(), Contains("4 Task processing was interrupted"));
}

TEST_F(ModuleStagesTest, ForcedStopAfterAStopAndOnceMoreDoesNothing) {
    StartAndConnect();
    EXPECT_TRUE(module_->Stop(false));
    const auto lines = host_.log->Lines();
    EXPECT_TRUE(module_->Stop(true));
    EXPECT_TRUE(module_->Stop(true));
    EXPECT_EQ(host_.log->Lines(), lines);
}

// In good order, and not.

TEST_F(ModuleStagesTest, StopWhileTheChannelStartsIsNoFailureOfTheConnection) {
    SilenceProduct();
    Initialize();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    module_->RequestStop();
    EXPECT_TRUE(module_->Stop(false));
    ExpectNoThreads();
    EXPECT_THAT(host_.log->Lines(), ElementsAre("2 Connecting to product",
                                                "4 Product is not available, canceling tasks"));
    EXPECT_THAT(PublishedTypes(), IsEmpty());
}

TEST_F(ModuleStagesTest, StopRequestedDuringAConnectionLeavesTheWatchToTheStop) {
    HoldConnection();
    Initialize();
    module_->Start();
    stage_.AwaitReached();
    module_->RequestStop();
    stage_.Release();
    ASSERT_TRUE(AwaitWatchAsleep());
    ASSERT_TRUE(clock_->AwaitWaiters(1));
    EXPECT_TRUE(module_->Stop(false));
    ExpectNoThreads();
    EXPECT_THAT(host_.log->Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks",
                            "2 Disconnecting from product"));
}

TEST_F(ModuleStagesTest, StopBeforeAReconnectionEndsTheWaitAndTheWatch) {
    StartAndFailATask();
    EXPECT_TRUE(module_->Stop(false));
    ExpectNoThreads();
}

TEST_F(ModuleStagesTest, StopMayBeRequestedTwiceAndAfterTheStop) {
    StartAndConnect();
    module_->RequestStop();
    module_->RequestStop();
    EXPECT_TRUE(module_->Stop(false));
    module_->RequestStop();
    ExpectNoThreads();
}

TEST_F(ModuleStagesTest, StopRequestedBeforeTheStartDoesNotPreventIt) {
    Initialize();
    module_->RequestStop();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitWaiters(1));
    EXPECT_TRUE(AwaitWatchAsleep());
}

TEST_F(ModuleStagesTest, SecondStartHasNoSecondConnection) {
    StartAndConnect();
    module_->Start();
    EXPECT_TRUE(AwaitWatchAsleep());
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A));
}

TEST_F(ModuleStagesTest, WatchOfANewConnectionWaitsForTheEndOfTheOneBefore) {
    StartAndConnect();
    alpc_->pings = {{1, {}}};
    lpc_->pings = {{1, {}}};
    alpc_->requests = {{1, {}}};
    host_.bus->OnPublish([this](const auto&) { stage_.Pass(); });
    clock_->Advance(std::chrono::seconds(5));
    stage_.AwaitReached();  // the watch, which asks for a reconnection
    auto interrupted = std::async(std::launch::async, [this] { module_->Interrupt(); });
    EXPECT_EQ(interrupted.wait_for(kMoment), std::future_status::timeout);

    host_.bus->Deliver(boost::make_shared<CKillProcessByPid>());
    ASSERT_TRUE(clock_->AwaitSleepers(1));  // the failed task, until the reconnection
    clock_->Advance(std::chrono::seconds(10));
    ASSERT_TRUE(clock_->AwaitWaiters(1));  // connected, and the task done
    boost::this_thread::sleep_for(boost::chrono::milliseconds(kMoment.count()));
    EXPECT_THAT(clock_->Sleeps(), SizeIs(2));  // of the first watch, and of the failed task

    stage_.Release();
    interrupted.get();
    EXPECT_TRUE(Kyr::Test::Await([&] { return clock_->Sleeps().size() == 3; }));
}

TEST_F(ModuleStagesTest, ModuleThatWasStoppedByForceConnectsAndWatchesAgain) {
    StartAndConnect();
    module_->Stop(true);
    module_->Start();
    ASSERT_TRUE(clock_->AwaitWaiters(1));
    ASSERT_TRUE(AwaitWatchAsleep());
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x9A));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
