// The periodic thread: when it lives, what ends it, and what a connection gives it.
#include <atomic>
#include <future>

#include <boost/thread/thread.hpp>

#include "host/message/OvAgentTasks.h"
#include "tests/module/OvModuleFixture.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Kyr::Test::Await;
using namespace testing;

class WatchLifeTest : public OvModuleFixture {
  protected:
    void EnableRecords() {
        host_.database->keyValues->SetValue("XDR_ENABLED", "1");
        host_.database->keyValues->SetValue("XDR_HOST", "host");
    }
    /// Makes the module reconnect: a task fails once. The watch looks twice more meanwhile.
    void Reconnect() {
        clock_->Advance(std::chrono::seconds(3));  // so that the two threads never wake at once
        alpc_->requests = {{1, {}}};
        host_.bus->Deliver(boost::make_shared<CKillProcessByPid>());
        ASSERT_TRUE(clock_->AwaitSleepers(2));
        ASSERT_TRUE(clock_->AdvanceToNextSleep(std::chrono::seconds(2)));
        ASSERT_TRUE(clock_->AdvanceToNextSleep(std::chrono::seconds(5)));
        clock_->Advance(std::chrono::seconds(3));
        ASSERT_TRUE(host_.log->AwaitText("Reconnecting to product"));
        ASSERT_TRUE(clock_->AwaitWaiters(1));
        ASSERT_TRUE(AwaitWatchAsleep());
    }
    /// Lets the watch meet a time that has no calendar date.
    void FailWatch() {
        std::promise<void> pinged;
        alpc_->whileServing = [&pinged] { pinged.set_value(); };
        clock_->SetStartTime(253402300800);  // the year 10000
        clock_->Advance(std::chrono::seconds(5));
        pinged.get_future().wait();
        ASSERT_TRUE(clock_->AwaitSleepers(0));
    }
    /// Lets the watch look once more; its ping is held until `answer_` is set.
    void HoldPing() {
        alpc_->whileServing = [this, first = true]() mutable {
            if (std::exchange(first, false)) {
                pinging_.set_value();
                answer_.get_future().wait();
            }
        };
        clock_->Advance(std::chrono::seconds(5));
        pinging_.get_future().wait();
    }
    std::size_t Pings() const { return alpc_->seenPings.size(); }

    std::promise<void> pinging_;
    std::promise<void> answer_;
};

TEST_F(WatchLifeTest, ConnectedModuleWatches) {
    StartAndConnect();
    WatchOnceMore();
    WatchOnceMore();
    EXPECT_EQ(Pings(), 4u);  // that of the connection is the first
    EXPECT_THAT(host_.log->Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks"));
}

TEST_F(WatchLifeTest, DisconnectEndsASleepingWatchAtOnce) {
    InitializeAndConnect();
    module_->Disconnect();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    EXPECT_EQ(clock_->Elapsed(), std::chrono::seconds(0));
}

TEST_F(WatchLifeTest, DisconnectStopsTheChannel) {
    InitializeAndConnect();
    module_->Disconnect();
    EXPECT_EQ(channel_->stops, 1);
}

TEST_F(WatchLifeTest, InterruptWithoutAWatchDoesNothing) {
    Initialize();
    module_->Interrupt();
    module_->Disconnect();
    EXPECT_THAT(host_.log->Lines(), IsEmpty());
}

TEST_F(WatchLifeTest, RequestedStopEndsTheWatchOnTheHostsThread) {
    StartAndConnect();
    module_->RequestStop();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    EXPECT_TRUE(module_->Stop(false));
    EXPECT_THAT(host_.log->Lines(), Contains("2 Disconnecting from product"));
}

TEST_F(WatchLifeTest, StopAloneEndsTheWatchOnTheProcessingThread) {
    StartAndConnect();
    EXPECT_TRUE(module_->Stop(false));
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

TEST_F(WatchLifeTest, ForcedStopEndsTheWatch) {
    StartAndConnect();
    EXPECT_TRUE(module_->Stop(true));
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    EXPECT_THAT(host_.log->Lines(), Contains("4 Task processing was interrupted"));
}

TEST_F(WatchLifeTest, ForgottenModuleEndsItsWatch) {
    StartAndConnect();
    module_.reset();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

TEST_F(WatchLifeTest, ModuleDestroyedBesideTheCoreEndsItsWatch) {
    InitializeAndConnect();
    module_.reset();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

TEST_F(WatchLifeTest, InterruptsOfTwoThreadsMeetWithoutHarm) {
    for (int round = 0; round < 50; ++round) {
        module_ = std::make_unique<CTestedModule>(System());
        InitializeAndConnect();
        auto other = std::async(std::launch::async, [this] { module_->Interrupt(); });
        module_->Disconnect();
        other.get();
        ASSERT_TRUE(clock_->AwaitSleepers(0));
    }
}

TEST_F(WatchLifeTest, InterruptWaitsForAPingThatIsUnderWay) {
    InitializeAndConnect();
    HoldPing();
    auto interrupted = std::async(std::launch::async, [this] { module_->Interrupt(); });
    EXPECT_EQ(interrupted.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    answer_.set_value();
    interrupted.get();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

// A channel may let go of a request when it is stopped; who waited for the watch first would wait
// for ever.
TEST_F(WatchLifeTest, InterruptStopsTheChannelBeforeItWaitsForTheWatch) {
    InitializeAndConnect();
    std::promise<void> pinging;
    std::promise<void> stopped;
    std::atomic<bool> letGo{false};
    alpc_->whileServing = [&, first = true]() mutable {
        if (std::exchange(first, false)) {
            pinging.set_value();
            letGo = stopped.get_future().wait_for(std::chrono::seconds(10)) ==
                    std::future_status::ready;
        }
    };
    channel_->onStop = [&stopped] { stopped.set_value(); };
    clock_->Advance(std::chrono::seconds(5));
    pinging.get_future().wait();
    module_->Interrupt();
    channel_->onStop = nullptr;
    alpc_->whileServing = nullptr;
    EXPECT_TRUE(letGo);
    EXPECT_EQ(channel_->stops, 1);
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

TEST_F(WatchLifeTest, InterruptedThreadJoinsTheWatchAllTheSame) {
    InitializeAndConnect();
    HoldPing();
    std::promise<bool> disconnected;  // still interrupted?
    auto stillInterrupted = disconnected.get_future();
    boost::thread thread([&] {
        EXPECT_TRUE(Kyr::Test::AwaitInterruption());
        module_->Disconnect();
        disconnected.set_value(boost::this_thread::interruption_requested());
    });
    thread.interrupt();
    EXPECT_EQ(stillInterrupted.wait_for(std::chrono::milliseconds(50)),
              std::future_status::timeout);
    answer_.set_value();
    thread.join();
    // An interruption inside Disconnect would have ended the thread before it could say so.
    ASSERT_EQ(stillInterrupted.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    EXPECT_TRUE(stillInterrupted.get());
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

// The watch of the earlier connection sits in the host's bus, and somebody waits for it already. It
// has not left when the module connects again.
TEST_F(WatchLifeTest, RequestedStopEndsAWatchThatWaitsForTheEarlierOne) {
    InitializeAndConnect();
    std::promise<void> inBus;
    std::promise<void> interrupted;
    std::promise<void> busIsFree;
    std::atomic<bool> first{true};
    host_.bus->OnPublish([&](const auto&) {
        if (first.exchange(false)) {
            inBus.set_value();
            EXPECT_TRUE(Kyr::Test::AwaitInterruption());
            interrupted.set_value();
            busIsFree.get_future().wait();
        }
    });
    SilenceProduct();
    clock_->Advance(std::chrono::seconds(5));
    inBus.get_future().wait();
    auto earlier = std::async(std::launch::async, [this] { module_->Interrupt(); });
    interrupted.get_future().wait();
    alpc_->standingPing = {0, {}};
    EXPECT_TRUE(module_->Connect());
    auto stop = std::async(std::launch::async, [this] { module_->RequestStop(); });
    EXPECT_EQ(stop.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    busIsFree.set_value();
    earlier.get();
    stop.get();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    EXPECT_EQ(Pings(), 4u);  // of two connections, and twice of the first watch
}

TEST_F(WatchLifeTest, ReconnectionGivesTheModuleANewWatch) {
    StartAndConnect();
    Reconnect();
    EXPECT_EQ(Pings(), 6u);  // of two connections, of the first watch thrice, of the second once
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 2, 0x9A, 2));
}

TEST_F(WatchLifeTest, UpgradeIsSeenAtTheNextConnection) {
    registration_->build = 5057;
    EnableRecords();
    StartAndConnect();
    registration_->build = 5600;
    WatchOnceMore();
    EXPECT_THAT(PublishedKinds(), IsEmpty());
    Reconnect();
    EXPECT_THAT(PublishedKinds(), ElementsAre(3, 4));
}

TEST_F(WatchLifeTest, HourlyResendIsCountedFromTheLastConnection) {
    StartAndConnect();  // the first iteration has run
    for (int iteration = 2; iteration <= 718; ++iteration) {
        WatchOnceMore();
    }
    Reconnect();  // the last two iterations of the old watch, the first of the new one
    EXPECT_THAT(PublishedKinds(), ElementsAre(0, 2));
    for (int iteration = 2; iteration <= 719; ++iteration) {
        WatchOnceMore();
    }
    EXPECT_THAT(PublishedKinds(), SizeIs(2));
    WatchOnceMore();
    EXPECT_THAT(PublishedKinds(), ElementsAre(0, 2, 0, 2));
}

TEST_F(WatchLifeTest, PendingRequestsDoNotOutliveTheConnection) {
    InitializeAndConnect();
    SetBroadcast(2, 1);
    WatchOnceMore();
    ASSERT_THAT(host_.log->Lines(), Contains("2 Received broadcast 2"));
    module_->Disconnect();
    ASSERT_TRUE(module_->Connect());
    ASSERT_TRUE(AwaitWatchAsleep());
    WatchOnceMore();
    WatchOnceMore();
    EXPECT_THAT(PublishedKinds(), IsEmpty());
}

TEST_F(WatchLifeTest, WatchThatFailsEndsWithoutALineAndWithoutTheModule) {
    StartAndConnect();
    FailWatch();
    EXPECT_TRUE(module_->Stop(false));
    EXPECT_THAT(host_.log->Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks",
                            "2 Disconnecting from product"));
    EXPECT_EQ(Pings(), 3u);  // of the connection and twice of the watch
}

TEST_F(WatchLifeTest, WatchOfAFailingBusGoesOn) {
    StartAndConnect();
    SilenceProduct();
    std::atomic<int> asked{0};
    host_.bus->OnPublish([&asked](const auto&) {
        if (++asked == 1) {
            throw 7;
        }
    });
    clock_->Advance(std::chrono::seconds(5));
    ASSERT_TRUE(AwaitWatchAsleep());
    EXPECT_EQ(asked, 1);
    clock_->Advance(std::chrono::seconds(5));
    EXPECT_TRUE(Await([&asked] { return asked == 2; }));
    EXPECT_TRUE(module_->Stop(false));
    EXPECT_THAT(host_.log->Lines(),
                Contains("4 Watching the product failed with an unknown exception"));
}

TEST_F(WatchLifeTest, ConnectionAfterAFailedWatchHasAWatchAgain) {
    InitializeAndConnect();
    FailWatch();
    module_->Disconnect();
    alpc_->whileServing = nullptr;
    clock_->SetStartTime(Kyr::Test::CManualClock::kStartTime);
    EXPECT_TRUE(module_->Connect());
    EXPECT_TRUE(AwaitWatchAsleep());
}

TEST_F(WatchLifeTest, RequestsComeBackOverTheBusToTheTasks) {
    EnableRecords();
    host_.bus->SetDelivering(true);
    StartAndConnect();
    ASSERT_TRUE(Await([this] { return module_->Stop(false); }));
    // Each of the collecting tasks has taken the request of its kind.
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x00100000, 0x00100002));
}

TEST_F(WatchLifeTest, FailedConnectionIsTriedAgainAfterTenSeconds) {
    alpc_->requests = {{0, Kyr::Test::KelcommReply(14, 0)}};
    Initialize();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    EXPECT_THAT(clock_->Sleeps(), ElementsAre(std::chrono::milliseconds(10000)));
    const std::string refused =
        "CKelcommChannel: Send request failed with 14, Command failed - Make sure that Agent runs "
        "with Administrator privileges.";
    EXPECT_THAT(
        host_.log->Lines(),
        ElementsAre("2 Connecting to product", "3 " + refused,
                    "4 Starting TULK OVANTA Connector connector module failed with: " + refused));
    clock_->Advance(std::chrono::seconds(10));
    EXPECT_TRUE(host_.log->AwaitText("Connected to product, processing tasks"));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
