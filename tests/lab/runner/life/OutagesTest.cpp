#include <gmock/gmock.h>

#include "lab/runner/life/Outages.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<LifePage::Outage> Outages(const std::vector<std::string>& lines) {
    LifePage::Life life = ToldLife(lines);
    TellOutages(life);
    return life.outages;
}

const std::string kConnected = " host publish name=StatusLog_AGENT_PRESENCE context=1 by=module";

TEST(OutagesTest, FirstConnectionIsOneOfItsOwn) {
    const auto outages =
        Outages({"5 host log level=2 text=\"Connecting to product\"", "9" + kConnected});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_TRUE(outages[0].first);
    EXPECT_TRUE(outages[0].over);
    EXPECT_EQ(outages[0].from, std::chrono::milliseconds(5));
    EXPECT_EQ(outages[0].until, std::chrono::milliseconds(9));
}

TEST(OutagesTest, BeginsWithThePingThatFails) {
    const auto outages =
        Outages({"5 host log level=3 text=\"Ping failed -> restarted\"",
                 "6 host log level=4 text=\"Send request failed\"",
                 "10006 host log level=2 text=\"Reconnecting to product\"",
                 "20006 host log level=2 text=\"Reconnecting to product\"", "20009" + kConnected});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_FALSE(outages[0].first);
    EXPECT_EQ(outages[0].cause, "Ping failed -> restarted");
    EXPECT_EQ(outages[0].attempts, 2U);
    EXPECT_EQ(outages[0].until, std::chrono::milliseconds(20009));
}

TEST(OutagesTest, BeginsWithTheRequestThatFailed) {
    const auto outages =
        Outages({"4" + kConnected, "6 host log level=4 text=\"Refused\"",
                 "10006 host log level=2 text=\"Reconnecting to product\"", "10009" + kConnected});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_EQ(outages[0].from, std::chrono::milliseconds(6));
    EXPECT_EQ(outages[0].cause, "Refused");
    EXPECT_EQ(outages[0].event, 1U);
}

TEST(OutagesTest, ModuleThatStartsAnewWithinAnOutageDoesNotMakeItTheFirst) {
    const auto outages =
        Outages({"4" + kConnected, "6 host log level=4 text=\"Refused\"",
                 "10006 host log level=2 text=\"Reconnecting to product\"",
                 "10008 host log level=2 text=\"Connecting to product\"", "10009" + kConnected});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_FALSE(outages[0].first);
    EXPECT_EQ(outages[0].cause, "Refused");
    EXPECT_EQ(outages[0].from, std::chrono::milliseconds(6));
    EXPECT_EQ(outages[0].until, std::chrono::milliseconds(10009));
}

TEST(OutagesTest, ModuleThatStartsAnewBeforeAnyConnectionStillLooksAtFirst) {
    const auto outages =
        Outages({"5 host log level=2 text=\"Connecting to product\"",
                 "7 host log level=2 text=\"Connecting to product\"", "9" + kConnected});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_TRUE(outages[0].first);
    EXPECT_EQ(outages[0].from, std::chrono::milliseconds(5));
}

TEST(OutagesTest, EndsWithItsHostAndIsNotOver) {
    const auto outages =
        Outages({"5 host log level=2 text=\"Connecting to product\"",
                 "8 host end text=\"host 1 ended with code 0\"", "9 product ready"});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_FALSE(outages[0].over);
    EXPECT_TRUE(outages[0].hostStopped);
    EXPECT_EQ(outages[0].until, std::chrono::milliseconds(8));
}

TEST(OutagesTest, LastsToTheEndOfWhatWasWatchedWithItsHost) {
    const auto outages =
        Outages({"5 host log level=2 text=\"Connecting to product\"", "9 product ready"});
    ASSERT_THAT(outages, SizeIs(1));
    EXPECT_FALSE(outages[0].over);
    EXPECT_FALSE(outages[0].hostStopped);
    EXPECT_EQ(outages[0].until, std::chrono::milliseconds(9));
}

TEST(OutagesTest, FailureWithoutAReconnectionIsNone) {
    EXPECT_THAT(Outages({"6 host log level=4 text=\"Get broadcast failed\"", "9" + kConnected}),
                IsEmpty());
}

}  // namespace
}  // namespace Kyr::Lab::Runner
