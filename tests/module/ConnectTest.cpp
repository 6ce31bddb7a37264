// One connection: what the product is told, what the host is told, and what a failure looks like.
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "tests/module/OvModuleFixture.h"
#include "tests/support/HexBytes.h"
#include "tests/support/ThrownText.h"
#include "tests/support/product/FakeReceiver.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::CLogMessage;
using Kyr::Common::Message::Logs::CMultiProductStatusLog;
using Kyr::Common::Message::Logs::CStatusLog;
using Kyr::Test::HexBytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ConnectTest : public OvModuleFixture {
  protected:
    ConnectTest() { Initialize(); }

    std::string ConnectFailure() {
        clock_->SetAutomaticSleep(true);
        return Kyr::Test::ThrownText([this] { module_->Connect(); });
    }
    template <typename Log>
    boost::shared_ptr<Log> Published(std::size_t index) const {
        const auto publications = host_.bus->Publications();
        return index < publications.size()
                   ? boost::dynamic_pointer_cast<Log>(publications[index].message)
                   : nullptr;
    }
    /// The severity of a protection status.
    int SeverityOf(std::size_t index) const {
        const auto log = Published<CStatusLog>(index);
        return log ? log->GetSymbols()->GetRow(0)->GetInt32(241) : -1;
    }
};

TEST_F(ConnectTest, ProductIsPingedAndToldTheAgentsIdentifier) {
    EXPECT_TRUE(module_->Connect());
    ASSERT_TRUE(AwaitWatchAsleep());
    EXPECT_THAT(alpc_->seenPings, SizeIs(2));  // the watch's, too
    ASSERT_THAT(alpc_->seenRequests, SizeIs(1));
    EXPECT_EQ(alpc_->seenRequests[0].bytes,
              HexBytes("0C 00 00 00 00 06 00 01 9A 00 00 00"
                       "04 01 00 00 04 00 00 00 03 00 00 00"
                       "02 00 10 00 25 00 00 00"  // 37 bytes of text, the last a zero
                       "31 32 33 34 35 36 37 38 2D 39 61 62 63 2D 64 65 66 30 2D"
                       "31 32 33 34 2D 35 36 37 38 39 61 62 63 64 65 66 30 00"));
}

TEST_F(ConnectTest, HostIsToldOfAgentProductAndStatusInThisOrder) {
    EXPECT_TRUE(module_->Connect());
    EXPECT_THAT(PublishedTypes(),
                ElementsAre(MessageType::PresenceStatus, MessageType::MultiProductStatus,
                            MessageType::ProductStatus));
    EXPECT_EQ(SeverityOf(2), 1);
}

TEST_F(ConnectTest, EveryLogIsReadOnlyAndFitsItsType) {
    module_->Connect();
    for (std::size_t index = 0; index < 3; ++index) {
        const auto log = Published<CLogMessage>(index);
        ASSERT_TRUE(log);
        EXPECT_TRUE(log->IsReadOnly());
        EXPECT_TRUE(log->IsValid());
    }
}

TEST_F(ConnectTest, LogsCarryTheInstanceTheProductAndTheTime) {
    module_->Connect();
    const auto presence = Published<CMultiProductStatusLog>(1);
    ASSERT_TRUE(presence);
    const auto row = presence->GetSymbols()->GetRow(0);
    EXPECT_EQ(row->GetUuid(3552).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(row->GetResourceId(4429), 0x07100000000007AAu);
    EXPECT_EQ(row->GetInt64(3559), 17);
    EXPECT_EQ(row->GetUtcTime(3555).year(), 2023);
    const auto status = Published<CStatusLog>(2);
    ASSERT_TRUE(status);
    EXPECT_EQ(status->GetSymbols()->GetRow(0)->GetInt64(244), 17);
    EXPECT_EQ(status->GetSymbols()->GetRow(0)->GetResourceId(245), 0x07100000000005E2u);
}

TEST_F(ConnectTest, NothingIsLoggedWhenAllGoesWell) {
    module_->Connect();
    ASSERT_TRUE(AwaitWatchAsleep());
    EXPECT_THAT(host_.log->Lines(), IsEmpty());
}

TEST_F(ConnectTest, ReplyToTheIdentifierIsNobodysBusiness) {
    const auto receiver = boost::make_shared<Kyr::Test::CFakeReceiver>();
    channel_->SetBufferReceiver(receiver);
    module_->Connect();
    EXPECT_THAT(receiver->replies, IsEmpty());
    EXPECT_EQ(receiver.use_count(), 1);
}

TEST_F(ConnectTest, EarlierReceiverGoesThoughTheProductIsUnreachable) {
    const auto receiver = boost::make_shared<Kyr::Test::CFakeReceiver>();
    channel_->SetBufferReceiver(receiver);
    SilenceProduct();
    ConnectFailure();
    EXPECT_EQ(receiver.use_count(), 1);
}

TEST_F(ConnectTest, EarlierReceiverStaysWhenTheBuildIsUnreadable) {
    const auto receiver = boost::make_shared<Kyr::Test::CFakeReceiver>();
    channel_->SetBufferReceiver(receiver);
    registration_->failure = "no number";
    ConnectFailure();
    EXPECT_EQ(receiver.use_count(), 2);
}

TEST_F(ConnectTest, UnreachableProductFailsAfterAMinuteWithAFailureStatus) {
    SilenceProduct();
    EXPECT_EQ(ConnectFailure(),
              "Starting TULK OVANTA Connector connector module failed with: Cannot start kelcomm "
              "channel: Ping (CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 1");
    EXPECT_EQ(clock_->Elapsed(), std::chrono::seconds(60));
    EXPECT_THAT(host_.log->Lines(),
                ElementsAre("3 Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 1, "
                            "Legacy ping (CCCOMM_PING) failed with 1"));
    EXPECT_THAT(PublishedTypes(), ElementsAre(MessageType::ProductStatus));
    EXPECT_EQ(SeverityOf(0), 6);
    EXPECT_THAT(alpc_->seenRequests, IsEmpty());
}

TEST_F(ConnectTest, FailureStatusIsReadOnlyAndFitsItsType) {
    SilenceProduct();
    ConnectFailure();
    const auto log = Published<CStatusLog>(0);
    ASSERT_TRUE(log);
    EXPECT_TRUE(log->IsReadOnly());
    EXPECT_TRUE(log->IsValid());
}

TEST_F(ConnectTest, RefusedIdentifierFailsBeforeAnythingIsSaidOfPresence) {
    alpc_->standingRequest = {0, Kyr::Test::KelcommReply(1, 0)};
    EXPECT_EQ(ConnectFailure(),
              "Starting TULK OVANTA Connector connector module failed with: CKelcommChannel: Send "
              "request failed with 1");
    EXPECT_THAT(PublishedTypes(), ElementsAre(MessageType::ProductStatus));
    EXPECT_EQ(SeverityOf(0), 6);
}

TEST_F(ConnectTest, BusThatRefusesAPresenceLogFailsTheConnection) {
    host_.bus->OnPublish([](const auto& message) {
        if (message->GetMessageType() == MessageType::MultiProductStatus) {
            throw std::runtime_error("bus failed");
        }
    });
    EXPECT_EQ(ConnectFailure(),
              "Starting TULK OVANTA Connector connector module failed with: bus failed");
    EXPECT_THAT(PublishedTypes(),
                ElementsAre(MessageType::PresenceStatus, MessageType::ProductStatus));
    EXPECT_EQ(SeverityOf(1), 6);
}

TEST_F(ConnectTest, BusThatRefusesEvenTheFailureStatusIsWhatTheCoreLearnsOf) {
    host_.bus->OnPublish([](const auto& message) {
        throw std::runtime_error(message->GetMessageType() == MessageType::ProductStatus
                                     ? "no failure status"
                                     : "bus failed");
    });
    EXPECT_EQ(ConnectFailure(), "no failure status");
    EXPECT_THAT(host_.log->Lines(), ElementsAre("3 bus failed"));
}

TEST_F(ConnectTest, UnreadableBuildFailsBeforeTheProductIsTouched) {
    registration_->failure = "no number";
    EXPECT_EQ(ConnectFailure(),
              "Starting TULK OVANTA Connector connector module failed with: no number");
    EXPECT_THAT(host_.log->Lines(), ElementsAre("3 no number"));
    EXPECT_EQ(SeverityOf(0), 6);
    EXPECT_THAT(alpc_->seenPings, IsEmpty());
}

TEST_F(ConnectTest, IdentifierThatIsNoUuidLeavesNoStatusThatCouldBeSent) {
    host_.installConfiguration->instanceUuid = "agent 7";
    EXPECT_EQ(ConnectFailure(), "invalid uuid string");
    EXPECT_THAT(host_.log->Lines(), ElementsAre("3 invalid uuid string"));
    EXPECT_THAT(PublishedTypes(), IsEmpty());
}

// Sees a watch that was in time for a ping; where threads can be refused, WatchCreationTest sees
// any.
TEST_F(ConnectTest, FailedConnectionHasNoWatch) {
    alpc_->standingRequest = {0, Kyr::Test::KelcommReply(1, 0)};
    ConnectFailure();
    module_->Interrupt();                      // a watch would have ended behind this
    EXPECT_THAT(alpc_->seenPings, SizeIs(1));  // the channel's start
}

TEST_F(ConnectTest, ProductThatWasUninstalledSinceIsConnectedAllTheSame) {
    registration_->build.reset();
    EXPECT_TRUE(module_->Connect());
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
