#include <gmock/gmock.h>

#include "lab/runner/life/BusMessages.h"
#include "lab/runner/life/Exchanges.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;

const std::string kXml =
    R"("XML request: <REQUEST FUNCTION=\"KILL_PROCESS_BY_PID\"><NODE NAME=\"USERDATA\" )"
    R"(TYPE=\"STRING\" VALUE=\"a;b;c\" />")";

const std::string kDone =
    " host log level=2 text=\"Set policy request to product was successfull\"";

/// The message of each event; -1: none.
std::vector<int> Messages(const std::vector<std::string>& lines) {
    LifePage::Life life = ToldLife(lines);
    JoinExchanges(life);
    JoinMessages(life);
    std::vector<int> messages;
    for (const LifePage::Event& event : life.events) {
        messages.push_back(event.message ? static_cast<int>(*event.message) : -1);
    }
    return messages;
}

TEST(BusMessagesTest, WhatHasOneContextIsOneMessage) {
    EXPECT_THAT(Messages({"1 host publish name=ApplyPolicy context=4 by=host",
                          "2 host publish name=ApplyPolicy context=5 by=host",
                          "3 host deliver name=ApplyPolicy context=4"}),
                ElementsAre(0, 1, 0));
}

TEST(BusMessagesTest, RequestAndReplyBelongToTheMessageThatAsksForThem) {
    EXPECT_THAT(
        Messages({"1 host publish name=ApplyPolicy context=4 by=host",
                  "2 product request id=1 command=3 inner=109 name=import",
                  "3 product did action=import length=20", "4 product reply id=1 status=0"}),
        ElementsAre(0, 0, 0, 0));
}

TEST(BusMessagesTest, PingsAndWhatAConnectionAsksBelongToNone) {
    EXPECT_THAT(Messages({"1 host publish name=RequestConfiguration context=4 by=host",
                          "2 product request id=1 command=0",
                          "3 product request id=2 command=3 name=agent-uuid",
                          "4 product request id=3 command=3 name=export"}),
                ElementsAre(0, -1, -1, 0));
}

TEST(BusMessagesTest, LinesOfTheTaskThreadBelongToTheMessageInHand) {
    EXPECT_THAT(Messages({"1 host publish name=KillProcessByPid context=4 by=host",
                          "2 host log level=2 text=\"Sending kill process by pid request\"",
                          "3 host log level=2 text=" + kXml,
                          "4 host log level=4 text=\"Send request failed\"",
                          "5 host log level=2 text=\"Received broadcast 8\""}),
                ElementsAre(0, 0, 0, 0, -1));
}

TEST(BusMessagesTest, WhatIsWrittenAfterItWasDoneIsOfNoMessage) {
    EXPECT_THAT(Messages({"1 host publish name=KillProcessByPid context=4 by=host",
                          "2 host log level=2 text=" + kXml, "3" + kDone,
                          "4 host log level=4 text=\"Send request failed\""}),
                ElementsAre(0, 0, 0, -1));
}

TEST(BusMessagesTest, OfTwoEqualMessagesTheFirstIsAskedForFirst) {
    EXPECT_THAT(
        Messages({"1 host publish name=KillProcessByPid context=4 by=host",
                  "2 host publish name=KillProcessByPid context=5 by=host",
                  "3 host log level=2 text=" + kXml, "4" + kDone,
                  "5 product request id=2 command=3 name=xml function=KILL_PROCESS_BY_PID"}),
        ElementsAre(0, 1, 0, 0, 1));
}

TEST(BusMessagesTest, SecondTryIsOfTheSameMessage) {
    EXPECT_THAT(
        Messages({"1 host publish name=KillProcessByPid context=4 by=host",
                  "2 host log level=2 text=" + kXml,
                  "3 product request id=1 command=3 name=xml function=KILL_PROCESS_BY_PID",
                  "4 host log level=2 text=\"Reconnecting to product\"",
                  "5 product request id=2 command=3 name=agent-uuid",
                  "6 host log level=2 text=" + kXml,
                  "7 product request id=3 command=3 name=xml function=KILL_PROCESS_BY_PID"}),
        ElementsAre(0, 0, 0, 0, -1, 0, 0));
}

TEST(BusMessagesTest, TriggersAreToldApartByWhatTheyAskFor) {
    EXPECT_THAT(Messages({"1 host publish name=OvAgentRequest context=4 by=module request=3",
                          "2 host publish name=OvAgentRequest context=5 by=module request=5",
                          "3 product request id=1 command=3 name=get-actions",
                          "4 product request id=2 command=3 name=get-indicators",
                          "5 product handed kind=indicator from=1 records=2"}),
                ElementsAre(0, 1, 1, 0, 0));
}

TEST(BusMessagesTest, MessagesOfAHostGoWithIt) {
    EXPECT_THAT(
        Messages({"1 host publish name=ApplyPolicy context=4 by=host",
                  "2 host command text=(started)", "3 product request id=1 command=3 name=import"}),
        ElementsAre(0, -1, -1));
}

TEST(BusMessagesTest, UserDataIsWhatStandsInTheRequest) {
    EXPECT_EQ(UserData(R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="a;b;c" />)"), "a;b;c");
    EXPECT_EQ(UserData(R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="a;b)"), "a;b");
    EXPECT_EQ(UserData("<NODE />"), "");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
