#include <gmock/gmock.h>

#include "lab/devhost/printing/OnDemand.h"
#include "lab/devhost/typed/HostCommands.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/resources/TestBus.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::Failure;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class HostCommandsTest : public ::testing::Test {
  protected:
    std::vector<std::string> Type(const std::string& line) {
        console_.Execute(line);
        return events_.Take();
    }

    /// Tells that it was called, among the other events.
    std::function<void()> Called(const char* what) {
        return [this, what] { events_.Sink()(Lab::CLine("called").With("what", what)); };
    }

    Lab::CLineList events_;
    Lab::DevHost::CBus bus_{Lab::DevHost::OnDemand(events_.Sink(), {})};
    Lab::DevHost::CDatabase database_{":memory:"};
    Lab::DevHost::CFailures failures_{events_.Sink()};
    Lab::CConsole console_{
        {Lab::DevHost::MakeHostCommands(
             {bus_,
              database_,
              {{"stop", Called("life-stop")}, {"stop force", Called("life-stop-force")}},
              [this](bool force) { Called(force ? "stop-by-force" : "stop")(); },
              Called("quit")}),
         FailureCommands(failures_)},
        events_.Sink()};
};

TEST_F(HostCommandsTest, MessageIsPublishedBehindItsAnswer) {
    const struct {
        const char* line;
        std::string answer;
        std::string published;
    } kRows[] = {
        {"kill pid=1 ids=a,b,c", "kill ids=a,b,c", "918 name=KillProcessByPid context=1 by=host"},
        {"block ids=a,b,c", "block ids=a,b,c", "919 name=BlockExecutableByHash context=2 by=host"},
        {"export ids=a,b,c", "export ids=a,b,c", "5 name=RequestConfiguration context=3 by=host"},
        {"policy text=a", "policy", "194 name=ApplyPolicy context=4 by=host"},
        {"trigger kind=3", "trigger", "7 name=OvAgentRequest context=5 by=host request=3"},
        {"reply request=3", "reply", "688 name=Response context=6 by=host"},
    };
    for (const auto& row : kRows) {
        EXPECT_THAT(Type(row.line),
                    ElementsAre("answer command=" + row.answer, "publish type=" + row.published));
    }
}

TEST_F(HostCommandsTest, ValueThatWasSetIsShown) {
    EXPECT_THAT(Type("set XDR_ENABLED 1"),
                ElementsAre("answer command=set key=XDR_ENABLED value=1"));
    EXPECT_THAT(Type("get XDR_ENABLED"), ElementsAre("answer command=get key=XDR_ENABLED value=1"));
}

TEST_F(HostCommandsTest, DumpTellsWhatWaitsAndWhatIsStored) {
    bus_.Subscribe(boost::make_shared<CKeepingSubscriber>(), MessageType::Reply);
    events_.Take();
    database_.SetInstanceUuid("chosen");
    database_.StoreActions({"one"});
    EXPECT_THAT(Type("dump"), ElementsAre("answer command=dump subscriber=1 pending=keeper",
                                          "answer command=dump instance=chosen",
                                          "answer command=dump remediation-action=one"));
}

TEST_F(HostCommandsTest, MemoryIsToldBeforeTheAnswer) {
    EXPECT_THAT(Type("memory"),
                ElementsAre(StartsWith("memory when=asked "), "answer command=memory"));
}

TEST_F(HostCommandsTest, LifeIsCalledBehindTheAnswer) {
    const char* const kRows[][3] = {{"life stop", "life", "life-stop"},
                                    {"life stop force", "life", "life-stop-force"},
                                    {"stop", "stop", "stop"},
                                    {"stop force", "stop", "stop-by-force"},
                                    {"quit", "quit", "quit"}};
    for (const auto& [line, command, called] : kRows) {
        EXPECT_THAT(Type(line), ElementsAre(std::string("answer command=") + command,
                                            std::string("called what=") + called))
            << line;
    }
    EXPECT_THAT(Type("life stop now"),
                ElementsAre("error command=life text=\"no such call: stop now\""));
    EXPECT_THAT(Type("life"), ElementsAre("error command=life text=\"no such call: \""));
}

TEST_F(HostCommandsTest, FaultsAreAddedAndListed) {
    EXPECT_THAT(
        Type("fail publish for=2"),
        ElementsAre("answer command=fail fault=\"publish for=2\"", "answer command=fail faults=1"));
    EXPECT_THAT(Type("fail read"), ElementsAre("answer command=fail fault=read",
                                               "answer command=fail fault=\"publish for=2\"",
                                               "answer command=fail faults=2"));
    EXPECT_THAT(Type("fail"), ::testing::SizeIs(3));
    EXPECT_THAT(Type("fail read of=\"a key\""),
                ::testing::Contains("answer command=fail fault=\"read of=a key\""));
    EXPECT_FALSE(failures_.Take(Failure::kRead, "key"));
    EXPECT_TRUE(failures_.Take(Failure::kRead, "a key"));
    EXPECT_TRUE(failures_.Take(Failure::kPublish, "message"));
    EXPECT_FALSE(failures_.Take(Failure::kLog, "line"));
}

TEST_F(HostCommandsTest, MendedFaultIsOver) {
    Type("fail write");
    Type("fail log");
    EXPECT_THAT(Type("mend write"),
                ElementsAre("answer command=mend fault=log", "answer command=mend faults=1"));
    EXPECT_FALSE(failures_.Take(Failure::kWrite, "key"));
    EXPECT_TRUE(failures_.Take(Failure::kLog, "line"));
}

TEST_F(HostCommandsTest, WordsThatMakeNoFaultAreRefused) {
    for (const char* line : {"fail bus", "fail read for=0", "fail read for=x", "fail read twice"}) {
        EXPECT_THAT(Type(line), ElementsAre(StartsWith("error command=fail "))) << line;
    }
    for (const char* line : {"mend", "mend bus", "mend read now"}) {
        EXPECT_THAT(Type(line), ElementsAre(StartsWith("error command=mend "))) << line;
    }
    EXPECT_THAT(failures_.List(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace Kyr::Test
