// The product's health: pings, broadcast values, the hourly resend, and how a watch ends.
#include <boost/thread/thread.hpp>

#include "module/PeriodicWatch.h"
#include "tests/module/WatchFixture.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using namespace testing;

class PeriodicWatchTest : public WatchFixture {
  protected:
    /// The calendar's time is set back by so many seconds.
    void SetBack(std::int64_t seconds) {
        clock_->SetStartTime(Kyr::Test::CManualClock::kStartTime - seconds);
    }
    std::string RunFailure() {
        return Kyr::Test::ThrownText([this] { RunWatch(); });
    }
};

TEST_F(PeriodicWatchTest, HealthyProductIsPingedInEveryIterationAndNothingElse) {
    Watch(3);
    EXPECT_THAT(alpc_->seenPings, SizeIs(3));
    EXPECT_THAT(alpc_->seenRequests, IsEmpty());
    EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(PeriodicWatchTest, IterationsAreFiveSecondsApart) {
    Watch(3);
    EXPECT_THAT(clock_->Sleeps(),
                ElementsAre(std::chrono::milliseconds(5000), std::chrono::milliseconds(5000),
                            std::chrono::milliseconds(5000)));
}

TEST_F(PeriodicWatchTest, FailedPingTellsItsErrorsAndAsksForTheStatus) {
    alpc_->standingPing = {1, {}};
    lpc_->standingPing = {4, {}};
    EXPECT_THAT(WatchOnce(),
                ElementsAre("3 Ping failed -> COvAgentConnector will be restarted: Ping "
                            "(CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 4",
                            "publish 0"));
}

TEST_F(PeriodicWatchTest, ErrorsOfAnEarlierPingAreNotRepeated) {
    alpc_->standingPing = {1, {}};
    lpc_->standingPing = {4, {}};
    Watch(2);
    EXPECT_EQ(In(1), In(2));
}

TEST_F(PeriodicWatchTest, RestOfTheIterationFollowsAFailedPing) {
    alpc_->pings = {{1, {}}};
    lpc_->pings = {{1, {}}};
    lpc_->broadcastArea = alpc_->broadcastArea;
    SetBroadcast(2, 7);
    EXPECT_THAT(WatchOnce(), Contains("2 Received broadcast 2"));
}

TEST_F(PeriodicWatchTest, ChangedStatusIsAskedForInTheNextIteration) {
    SetBroadcast(2, 7);
    Watch(3);
    EXPECT_THAT(In(1), ElementsAre("2 Received broadcast 2"));
    EXPECT_THAT(In(2), ElementsAre("2 Publishing request 0", "publish 0"));
    EXPECT_THAT(In(3), IsEmpty());
}

TEST_F(PeriodicWatchTest, ChangedTaskStatusIsAskedForInTheNextIteration) {
    SetBroadcast(8, 7);
    Watch(3);
    EXPECT_THAT(In(1), ElementsAre("2 Received broadcast 8"));
    EXPECT_THAT(In(2), ElementsAre("2 Publishing request 2", "publish 2"));
    EXPECT_THAT(In(3), IsEmpty());
}

TEST_F(PeriodicWatchTest, BothChangesAreTakenInTheirOrder) {
    SetBroadcast(8, 1);
    SetBroadcast(2, 1);
    Watch(2);
    EXPECT_THAT(In(1), ElementsAre("2 Received broadcast 2", "2 Received broadcast 8"));
    EXPECT_THAT(In(2), ElementsAre("2 Publishing request 0", "publish 0", "2 Publishing request 2",
                                   "publish 2"));
}

TEST_F(PeriodicWatchTest, ChangesOfConsecutiveIterationsAreAskedForOneByOne) {
    SetBroadcast(2, 1);
    BeforeIteration(2, [this] { SetBroadcast(2, 2); });
    BeforeIteration(3, [this] { SetBroadcast(2, 3); });
    Watch(4);
    EXPECT_THAT(In(2),
                ElementsAre("2 Received broadcast 2", "2 Publishing request 0", "publish 0"));
    EXPECT_EQ(In(3), In(2));
    EXPECT_THAT(In(4), ElementsAre("2 Publishing request 0", "publish 0"));
}

TEST_F(PeriodicWatchTest, OtherBroadcastValuesAreNotLookedAt) {
    for (const int index : {0, 1, 3, 4, 5, 6, 7, 9}) {
        SetBroadcast(index, 1);
    }
    Watch(2);
    EXPECT_THAT(journal_, IsEmpty());
}

struct BroadcastAndKind {
    std::int32_t broadcast;
    int kind;
};

class WatchedBroadcastTest : public PeriodicWatchTest,
                             public testing::WithParamInterface<BroadcastAndKind> {
  protected:
    void ChangeBroadcast() { SetBroadcast(GetParam().broadcast, 1); }
    void ExpectPublished(unsigned iteration) {
        const std::string kind = std::to_string(GetParam().kind);
        EXPECT_THAT(In(iteration), ElementsAre("2 Publishing request " + kind, "publish " + kind));
    }
};

TEST_P(WatchedBroadcastTest, RequestWaitsUntilFiveSecondsHavePassed) {
    ChangeBroadcast();
    BeforeIteration(2, [this] { SetBack(1); });
    Watch(3);
    EXPECT_THAT(In(2), IsEmpty());
    ExpectPublished(3);
}

TEST_P(WatchedBroadcastTest, FiveSecondsCountFromTheTimeBeforeTheValuesAreRead) {
    alpc_->whileServing = [this, exchanges = 0]() mutable {
        if (++exchanges == 2) {  // the ping was the first
            SetBack(-5);
        }
    };
    BeforeIteration(2, [this] { SetBack(0); });
    ChangeBroadcast();
    Watch(2);
    EXPECT_THAT(In(1), SizeIs(1));  // that the value was received
    ExpectPublished(2);
}

INSTANTIATE_TEST_SUITE_P(Broadcasts, WatchedBroadcastTest,
                         testing::Values(BroadcastAndKind{2, 0}, BroadcastAndKind{8, 2}),
                         [](const auto& row) {
                             return "Broadcast" + std::to_string(row.param.broadcast);
                         });

TEST_F(PeriodicWatchTest, RequestWaitsForAClockThatWasSetBack) {
    SetBroadcast(2, 1);
    BeforeIteration(2, [this] { SetBack(10); });
    Watch(4);
    EXPECT_THAT(In(2), IsEmpty());
    EXPECT_THAT(In(3), IsEmpty());
    EXPECT_THAT(In(4), ElementsAre("2 Publishing request 0", "publish 0"));
}

TEST_F(PeriodicWatchTest, DueRequestPassesOneThatIsNotYetDue) {
    SetBroadcast(2, 1);
    BeforeIteration(2, [this] {
        SetBroadcast(8, 1);
        SetBack(7);  // the second change is due two seconds before the first
    });
    Watch(4);
    EXPECT_THAT(In(2), ElementsAre("2 Received broadcast 8"));
    EXPECT_THAT(In(3), ElementsAre("2 Publishing request 2", "publish 2"));
    EXPECT_THAT(In(4), ElementsAre("2 Publishing request 0", "publish 0"));
}

TEST_F(PeriodicWatchTest, PendingRequestsEndWithTheWatch) {
    SetBroadcast(2, 1);
    Watch(1);
    journal_.clear();
    Watch(2);
    EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(PeriodicWatchTest, UnreadableBroadcastIsTold) {
    alpc_->broadcastArea.clear();
    EXPECT_THAT(WatchOnce(), ElementsAre("4 Error during checking for new broadcast messages: "
                                         "CKelcommChannel: Get broadcast failed"));
}

TEST_F(PeriodicWatchTest, UnreadableBroadcastKeepsWhatWasSeenBefore) {
    alpc_->unreadableBroadcastOffsets = {64};  // that of the task status
    SetBroadcast(2, 1);
    Watch(2);
    EXPECT_THAT(In(1), ElementsAre("2 Received broadcast 2",
                                   "4 Error during checking for new broadcast messages: "
                                   "CKelcommChannel: Get broadcast failed"));
    EXPECT_THAT(In(2), ElementsAre("4 Error during checking for new broadcast messages: "
                                   "CKelcommChannel: Get broadcast failed",
                                   "2 Publishing request 0", "publish 0"));
}

TEST_F(PeriodicWatchTest, EverythingIsAskedForInEvery720thIteration) {
    Watch(1440);
    EXPECT_THAT(In(719), IsEmpty());
    EXPECT_THAT(In(720),
                ElementsAre("2 Regular resending of all requests", "publish 0", "publish 2"));
    EXPECT_THAT(In(721), IsEmpty());
    EXPECT_EQ(In(1440), In(720));
    EXPECT_THAT(journal_, SizeIs(4));  // and the two that were looked at just now
}

TEST_F(PeriodicWatchTest, EveryWatchCountsItsOwnIterations) {
    Watch(719);
    Watch(719);
    EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(PeriodicWatchTest, IterationGoesFromThePingToTheActions) {
    SetKey("XDR_ENABLED", "1");
    SetKey("XDR_HOST", "host");
    SetKey("OV_REMEDIATION_ENABLED", "1");
    BeforeIteration(719, [this] { SetBroadcast(2, 1); });
    BeforeIteration(720, [this] {
        SetBroadcast(8, 1);
        alpc_->pings = {{1, {}}};
        lpc_->pings = {{1, {}}};
    });
    Watch(720);
    EXPECT_THAT(In(720),
                ElementsAre("3 Ping failed -> COvAgentConnector will be restarted: Ping "
                            "(CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 1",
                            "publish 0", "2 Received broadcast 8", "2 Publishing request 0",
                            "publish 0", "2 Regular resending of all requests", "publish 0",
                            "publish 2", "publish 3", "publish 4", "publish 5"));
}

TEST_F(PeriodicWatchTest, RequestsAreReadOnlyAndEachItsOwnMessage) {
    using Kyr::Common::Message::CMessage;
    Watch(720);
    ASSERT_THAT(publisher_.messages, SizeIs(2));
    for (const auto& message : publisher_.messages) {
        EXPECT_TRUE(boost::dynamic_pointer_cast<CMessage>(message)->IsReadOnly());
    }
    EXPECT_NE(publisher_.messages[0], publisher_.messages[1]);
}

TEST_F(PeriodicWatchTest, TimeWithoutACalendarDateEndsTheWatchBehindThePing) {
    clock_->SetStartTime(253402300800);  // the year 10000
    SetBroadcast(2, 1);
    EXPECT_EQ(RunFailure(), "could not convert calendar time to UTC time");
    EXPECT_THAT(alpc_->seenPings, SizeIs(1));
    EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(PeriodicWatchTest, BusThatRefusesTheRequestOfAFailedPingCostsThatLook) {
    alpc_->standingPing = {1, {}};
    lpc_->standingPing = {1, {}};
    SetBroadcast(2, 1);
    refused_ = {0};
    BeforeIteration(2, [this] { refused_.clear(); });
    Watch(2);
    EXPECT_THAT(In(1), ElementsAre(StartsWith("3 Ping failed -> "), "4 bus failed"));
    EXPECT_THAT(
        In(2), ElementsAre(StartsWith("3 Ping failed -> "), "publish 0", "2 Received broadcast 2"));
}

TEST_F(PeriodicWatchTest, RequestThatTheBusRefusesIsPublishedInTheNextLook) {
    SetBroadcast(2, 1);
    refused_ = {0};
    BeforeIteration(3, [this] { refused_.clear(); });
    Watch(4);
    EXPECT_THAT(In(2), ElementsAre("2 Publishing request 0", "4 bus failed"));
    EXPECT_THAT(In(3), ElementsAre("2 Publishing request 0", "publish 0"));
    EXPECT_THAT(In(4), IsEmpty());
}

TEST_F(PeriodicWatchTest, RequestsBehindOneThatTheBusRefusesKeepTheirOrder) {
    SetBroadcast(2, 1);
    SetBroadcast(8, 1);
    refused_ = {0};
    BeforeIteration(3, [this] { refused_.clear(); });
    Watch(3);
    EXPECT_THAT(In(2), ElementsAre("2 Publishing request 0", "4 bus failed"));
    EXPECT_THAT(In(3), ElementsAre("2 Publishing request 0", "publish 0", "2 Publishing request 2",
                                   "publish 2"));
}

TEST_F(PeriodicWatchTest, BusThatRefusesTheResendCostsThatLook) {
    refused_ = {2};
    Watch(721);
    EXPECT_THAT(In(720),
                ElementsAre("2 Regular resending of all requests", "publish 0", "4 bus failed"));
    EXPECT_THAT(In(721), IsEmpty());
    EXPECT_THAT(alpc_->seenPings, SizeIs(721));
}

TEST_F(PeriodicWatchTest, BusThatFailsInAForeignWayCostsThatLook) {
    SetBroadcast(2, 1);
    refused_ = {0};
    refusal_ = [] { throw 42; };
    BeforeIteration(3, [this] { refused_.clear(); });
    Watch(3);
    EXPECT_THAT(In(2), ElementsAre("2 Publishing request 0",
                                   "4 Watching the product failed with an unknown exception"));
    EXPECT_THAT(In(3), ElementsAre("2 Publishing request 0", "publish 0"));
}

TEST_F(PeriodicWatchTest, InterruptedThreadDoesNotEvenPing) {
    bool interrupted = false;
    boost::thread thread([&] {
        while (!boost::this_thread::interruption_requested()) {
            boost::this_thread::yield();
        }
        try {
            RunWatch();
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    thread.interrupt();
    thread.join();
    EXPECT_TRUE(interrupted);
    EXPECT_THAT(alpc_->seenPings, IsEmpty());
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
