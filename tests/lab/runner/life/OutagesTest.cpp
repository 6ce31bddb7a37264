#include <gmock/gmock.h>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

const std::string kLooks = " host log level=2 text=\"Connecting to product\"";
const std::string kAgain = " host log level=2 text=\"Reconnecting to product\"";
const std::string kConnected = " host publish name=StatusLog_AGENT_PRESENCE context=1 by=module";
const std::string kRefused = " host log level=4 text=Refused";

/// "from 5 until 9, over, first, host stopped, attempts 0, event 0: cause".
std::string TextOf(const LifePage::Outage& outage) {
    return "from " + Milliseconds(outage.from) + " until " + Milliseconds(outage.until) +
           (outage.over ? ", over" : "") + (outage.first ? ", first" : "") +
           (outage.hostStopped ? ", host stopped" : "") + ", attempts " +
           std::to_string(outage.attempts) + ", event " + std::to_string(outage.event) + ": " +
           outage.cause;
}

TEST(OutagesTest, OutageIsToldAsWhatItIs) {
    const struct {
        const char* situation;
        std::vector<std::string> told;
        std::vector<std::string> outages;
    } rows[] = {
        {"the first connection is one of its own",
         {"5" + kLooks, "9" + kConnected},
         {"from 5 until 9, over, first, attempts 0, event 0: the connector looks for the "
          "product"}},
        {"a module that starts anew before any connection still looks at first",
         {"5" + kLooks, "7" + kLooks, "9" + kConnected},
         {"from 5 until 9, over, first, attempts 0, event 0: the connector looks for the "
          "product"}},
        {"it begins with the ping that fails",
         {"5 host log level=3 text=\"Ping failed -> restarted\"",
          "6 host log level=4 text=\"Send request failed\"", "10006" + kAgain, "20006" + kAgain,
          "20009" + kConnected},
         {"from 5 until 20009, over, attempts 2, event 0: Ping failed -> restarted"}},
        {"it begins with the request that failed",
         {"4" + kConnected, "6" + kRefused, "10006" + kAgain, "10009" + kConnected},
         {"from 6 until 10009, over, attempts 1, event 1: Refused"}},
        {"a module that starts anew within an outage does not make it the first",
         {"4" + kConnected, "6" + kRefused, "10006" + kAgain, "10008" + kLooks,
          "10009" + kConnected},
         {"from 6 until 10009, over, attempts 1, event 1: Refused"}},
        {"it ends with its host and is not over",
         {"5" + kLooks, "8 host end text=\"host 1 ended with code 0\"", "9 product ready"},
         {"from 5 until 8, first, host stopped, attempts 0, event 0: the connector looks for the "
          "product"}},
        {"it lasts to the end of what was watched with its host",
         {"5" + kLooks, "9 product ready"},
         {"from 5 until 9, first, attempts 0, event 0: the connector looks for the product"}},
        {"a failure without a reconnection is none",
         {"6 host log level=4 text=\"Get broadcast failed\"", "9" + kConnected},
         {}},
    };
    for (const auto& row : rows) {
        LifePage::Life life = ToldLife(row.told);
        TellOutages(life);
        std::vector<std::string> outages;
        for (const LifePage::Outage& outage : life.outages) {
            outages.push_back(TextOf(outage));
        }
        EXPECT_EQ(outages, row.outages) << row.situation;
    }
}

}  // namespace
}  // namespace Kyr::Lab::Runner
