#include <gmock/gmock.h>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using std::chrono::milliseconds;

const std::string kLooks = " host log level=2 text=\"Connecting to product\"";
const std::string kAgain = " host log level=2 text=\"Reconnecting to product\"";
const std::string kConnected = " host publish name=StatusLog_AGENT_PRESENCE context=1 by=module";
const std::string kRefused = " host log level=4 text=Refused";

std::vector<LifePage::Outage> Outages(const std::vector<std::string>& lines) {
    LifePage::Life life = ToldLife(lines);
    TellOutages(life);
    return life.outages;
}

TEST(OutagesTest, OneOutageIsToldAsWhatItIs) {
    const LifePage::Outage first{milliseconds(5),
                                 milliseconds(9),
                                 true,
                                 true,
                                 false,
                                 "the connector looks for the product",
                                 0,
                                 0};
    const struct {
        const char* situation;
        std::vector<std::string> told;
        LifePage::Outage outage;  // from, until, over, first, hostStopped, cause, attempts, event
    } rows[] = {
        {"the first connection is one of its own", {"5" + kLooks, "9" + kConnected}, first},
        {"a module that starts anew before any connection still looks at first",
         {"5" + kLooks, "7" + kLooks, "9" + kConnected},
         first},
        {"it begins with the ping that fails",
         {"5 host log level=3 text=\"Ping failed -> restarted\"",
          "6 host log level=4 text=\"Send request failed\"", "10006" + kAgain, "20006" + kAgain,
          "20009" + kConnected},
         {milliseconds(5), milliseconds(20009), true, false, false, "Ping failed -> restarted", 2,
          0}},
        {"it begins with the request that failed",
         {"4" + kConnected, "6" + kRefused, "10006" + kAgain, "10009" + kConnected},
         {milliseconds(6), milliseconds(10009), true, false, false, "Refused", 1, 1}},
        {"a module that starts anew within an outage does not make it the first",
         {"4" + kConnected, "6" + kRefused, "10006" + kAgain, "10008" + kLooks,
          "10009" + kConnected},
         {milliseconds(6), milliseconds(10009), true, false, false, "Refused", 1, 1}},
        {"it ends with its host and is not over",
         {"5" + kLooks, "8 host end text=\"host 1 ended with code 0\"", "9 product ready"},
         {milliseconds(5), milliseconds(8), false, true, true,
          "the connector looks for the product", 0, 0}},
        {"it lasts to the end of what was watched with its host",
         {"5" + kLooks, "9 product ready"},
         {milliseconds(5), milliseconds(9), false, true, false,
          "the connector looks for the product", 0, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.situation);
        const auto outages = Outages(row.told);
        ASSERT_EQ(outages.size(), 1U);
        const LifePage::Outage& outage = outages[0];
        EXPECT_EQ(outage.from, row.outage.from);
        EXPECT_EQ(outage.until, row.outage.until);
        EXPECT_EQ(outage.over, row.outage.over);
        EXPECT_EQ(outage.first, row.outage.first);
        EXPECT_EQ(outage.hostStopped, row.outage.hostStopped);
        EXPECT_EQ(outage.cause, row.outage.cause);
        EXPECT_EQ(outage.attempts, row.outage.attempts);
        EXPECT_EQ(outage.event, row.outage.event);
    }
}

TEST(OutagesTest, FailureWithoutAReconnectionIsNone) {
    EXPECT_THAT(Outages({"6 host log level=4 text=\"Get broadcast failed\"", "9" + kConnected}),
                testing::IsEmpty());
}

}  // namespace
}  // namespace Kyr::Lab::Runner
