#include <gmock/gmock.h>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

const std::string kPublished = " host publish name=KillProcessByPid context=4 by=host";
const std::string kXml =
    R"( host log level=2 text="XML request: <REQUEST FUNCTION=\"KILL_PROCESS_BY_PID\">)"
    R"(<NODE NAME=\"USERDATA\" TYPE=\"STRING\" VALUE=\"a;b;c\" />")";
const std::string kSettled =
    " host log level=2 text=\"Set policy request to product was successfull\"";
const std::string kAsked = " product request command=3 name=xml function=KILL_PROCESS_BY_PID id=";

constexpr int kNone = -1;

/// The message of each event.
std::vector<int> Messages(const std::vector<std::string>& lines) {
    LifePage::Life life = ToldLife(lines);
    JoinExchanges(life);
    JoinMessages(life);
    std::vector<int> messages;
    for (const LifePage::Event& event : life.events) {
        messages.push_back(event.message ? static_cast<int>(*event.message) : kNone);
    }
    return messages;
}

TEST(BusMessagesTest, EventsFindTheirMessage) {
    const struct {
        const char* situation;
        std::vector<std::string> told;
        std::vector<int> messages;
    } rows[] = {
        {"what has one context is one message",
         {"1 host publish name=ApplyPolicy context=4 by=host",
          "2 host publish name=ApplyPolicy context=5 by=host",
          "3 host deliver name=ApplyPolicy context=4"},
         {0, 1, 0}},
        {"request and reply belong to the message that asks for them",
         {"1 host publish name=ApplyPolicy context=4 by=host",
          "2 product request id=1 command=3 inner=109 name=import",
          "3 product did action=import length=20", "4 product reply id=1 status=0"},
         {0, 0, 0, 0}},
        {"pings and what a connection asks belong to none",
         {"1 host publish name=RequestConfiguration context=4 by=host",
          "2 product request id=1 command=0", "3 product request id=2 command=3 name=agent-uuid",
          "4 product request id=3 command=3 name=export"},
         {0, kNone, kNone, 0}},
        {"lines of the task thread belong to the message in hand",
         {"1" + kPublished, "2 host log level=2 text=\"Sending kill process by pid request\"",
          "3" + kXml, "4 host log level=4 text=\"Send request failed\"",
          "5 host log level=2 text=\"Received broadcast 8\""},
         {0, 0, 0, 0, kNone}},
        {"what is written after it was done is of no message",
         {"1" + kPublished, "2" + kXml, "3" + kSettled,
          "4 host log level=4 text=\"Send request failed\""},
         {0, 0, 0, kNone}},
        {"of two equal messages the first is asked for first",
         {"1" + kPublished, "2 host publish name=KillProcessByPid context=5 by=host", "3" + kXml,
          "4" + kSettled, "5" + kAsked + "2"},
         {0, 1, 0, 0, 1}},
        {"a second try is of the same message",
         {"1" + kPublished, "2" + kXml, "3" + kAsked + "1",
          "4 host log level=2 text=\"Reconnecting to product\"",
          "5 product request id=2 command=3 name=agent-uuid", "6" + kXml, "7" + kAsked + "3"},
         {0, 0, 0, 0, kNone, 0, 0}},
        {"triggers are told apart by what they ask for",
         {"1 host publish name=OvAgentRequest context=4 by=module request=3",
          "2 host publish name=OvAgentRequest context=5 by=module request=5",
          "3 product request id=1 command=3 name=get-actions",
          "4 product request id=2 command=3 name=get-indicators",
          "5 product handed kind=indicator from=1 records=2"},
         {0, 1, 1, 0, 0}},
        {"messages of a host go with it",
         {"1 host publish name=ApplyPolicy context=4 by=host", "2 host command text=(started)",
          "3 product request id=1 command=3 name=import"},
         {0, kNone, kNone}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Messages(row.told), row.messages) << row.situation;
    }
}

TEST(BusMessagesTest, UserDataIsWhatStandsInTheRequest) {
    EXPECT_EQ(UserData(R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="a;b;c" />)"), "a;b;c");
    EXPECT_EQ(UserData(R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="a;b)"), "a;b");
    EXPECT_EQ(UserData("<NODE />"), "");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
