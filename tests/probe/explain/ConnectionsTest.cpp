#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(ConnectionsTest, ProductThatDoesNotRunIsWhyAQueuedTaskWaits) {
    constexpr char kPings[] =
        "Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 1, Legacy ping "
        "(CCCOMM_PING) failed with 1";
    const Story story =
        CLoggedLife()
            .Add(2, "Connecting to product")
            .AddLine("answer command=kill ids=" + std::string(kFirst) + "," + kSecond + "," +
                     kThird)
            .Add(3, kPings)
            .Add(4, std::string("Starting TULK OVANTA Connector connector module failed with: ") +
                        kPings)
            .Told();
    EXPECT_EQ(story.tasks.at(0).cause,
              "the connector waits for the product: the product does not answer a ping: no port is "
              "there, or nobody serves it");
    EXPECT_TRUE(story.connecting);
    EXPECT_EQ(story.outages.at(0).attempts, 1);
}

TEST(ConnectionsTest, RefusedPolicyIsNamed) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Add(4, "CKelcommChannel: Send request failed with 2")
                            .Add(2, "Reconnecting to product")
                            .Told();
    ASSERT_THAT(story.outages, SizeIs(1));
    EXPECT_THAT(story.outages[0].cause, HasSubstr("the product has refused with status 2"));
    EXPECT_FALSE(story.outages[0].over);
}

TEST(ConnectionsTest, ReasonWhyConnectingFailsStandsBehindItsText) {
    const Story story = CLoggedLife()
                            .Add(2, "Connecting to product")
                            .Add(4,
                                 "Starting TULK OVANTA Connector connector module failed with: "
                                 "The registered product build is no 32-bit number")
                            .Told();
    EXPECT_EQ(story.outages.at(0).cause,
              "the product is registered with a build that is no number");
}

TEST(ConnectionsTest, ProductThatIsNeverReachedIsAnOutageFromTheStartOn) {
    const Story story = CLoggedLife()
                            .Add(2, "Connecting to product")
                            .Add(4, "Product is not available, canceling tasks")
                            .Told();
    ASSERT_THAT(story.outages, SizeIs(1));
    EXPECT_EQ(story.outages[0].begins.where, "host.log:1");
    EXPECT_EQ(story.outages[0].cause,
              "the product could not be reached until the host stopped the connector");
    EXPECT_FALSE(story.outages[0].over);
}

TEST(ConnectionsTest, TextOfAConnectionThatFailsIsToldOnceAlsoWhenAnotherThreadWritesBetween) {
    const std::string pings = "Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 1";
    const Story story = CLoggedLife()
                            .Add(2, "Connecting to product")
                            .Add(3, pings)
                            .Add(1, "There were 2 messages left unprocessed in a queue")
                            .Add(4, kConnectingFails + pings)
                            .Told();
    EXPECT_THAT(story.problems, IsEmpty());
    EXPECT_EQ(story.outages.at(0).attempts, 1);
}

TEST(ConnectionsTest, OutageThatGoesOnKeepsItsBeginningAndItsCauseWhenTheHostStartsAnew) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Add(3, kPingFailed)
                            .Add(2, "Disconnecting from product")
                            .Add(2, "Connecting to product")
                            .Add(4, "Product is not available, canceling tasks")
                            .Told();
    ASSERT_THAT(story.outages, SizeIs(1));
    EXPECT_EQ(story.outages[0].begins.where, "host.log:3");
    EXPECT_THAT(story.outages[0].cause, HasSubstr("does not answer a ping"));
}

TEST(ConnectionsTest, RequestWithoutAnExchangeBeginsAnOutageAndIsNoProblemBesides) {
    const Story story = CLoggedLife().Connected().Add(4, kPortGone).Told();
    ASSERT_THAT(story.outages, SizeIs(1));
    EXPECT_EQ(story.outages[0].begins.where, "host.log:3");
    EXPECT_THAT(story.problems, IsEmpty());
}

}  // namespace
}  // namespace Kyr::Probe
