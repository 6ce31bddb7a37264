// The whole host around the built library.
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/Host.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CHost;
using ::testing::Contains;
using ::testing::ElementsAre;

class HostTest : public ::testing::Test {
  protected:
    std::string LastEvent() const { return events_.Texts().back(); }

    /// Carries out a command that stops the module, and waits until that is destroyed.
    void StopBy(const std::string& command) {
        host_.Start();
        std::promise<void> destroyed;
        host_.WhenDestroyed([&] { destroyed.set_value(); });
        host_.Execute(command);
        ASSERT_EQ(std::future_status::ready,
                  destroyed.get_future().wait_for(std::chrono::seconds(20)));
    }

    Lab::CLineList events_;
    Lab::CLineList logFile_;
    // ":memory:" is a database without a file.
    CHost host_{{KYR_LIBRARY_PATH, ":memory:"}, events_.Sink(), logFile_.Sink()};
};

TEST_F(HostTest, StartedHostIsReady) {
    EXPECT_TRUE(host_.Start());
    EXPECT_THAT(events_.Texts(), Contains("ready module=COvAgentConnectorModule"));
}

TEST_F(HostTest, StopCommandStopsTheModuleAndTheHostGoesOn) {
    StopBy("stop force");
    EXPECT_THAT(events_.Texts(), Contains("life call=Stop(true) result=true"));
    EXPECT_FALSE(host_.HasEnded());
}

TEST_F(HostTest, QuitCommandEndsWithTheModulesDestruction) {
    StopBy("quit");
    EXPECT_TRUE(host_.HasEnded());
    EXPECT_EQ(LastEvent(), "life call=destroy result=ok");
}

TEST_F(HostTest, ValueThatWasSetIsShown) {
    host_.Execute("set XDR_ENABLED 1");
    EXPECT_EQ(LastEvent(), "answer command=set key=XDR_ENABLED value=1");
    host_.Execute("get XDR_ENABLED");
    EXPECT_EQ(LastEvent(), "answer command=get key=XDR_ENABLED value=1");
}

TEST_F(HostTest, KillCommandAnswersWithItsIdentifiersAndThenPublishesTheTask) {
    host_.Execute("kill pid=1 ids=a,b,c");
    EXPECT_THAT(events_.Texts(),
                ElementsAre("answer command=kill ids=a,b,c",
                            "publish type=918 name=KillProcessByPid context=1 by=host"));
}

TEST_F(HostTest, PolicyCommandAnswersAndThenPublishesThePolicy) {
    host_.Execute("policy text=a");
    EXPECT_THAT(events_.Texts(),
                ElementsAre("answer command=policy",
                            "publish type=194 name=ApplyPolicy context=1 by=host"));
}

TEST_F(HostTest, TriggerCommandAnswersAndThenPublishesTheTrigger) {
    host_.Execute("trigger kind=3");
    EXPECT_THAT(events_.Texts(),
                ElementsAre("answer command=trigger",
                            "publish type=7 name=OvAgentRequest context=1 by=host request=3"));
}

TEST_F(HostTest, ReplyCommandAnswersAndThenPublishesTheReply) {
    host_.Execute("reply request=3");
    EXPECT_THAT(events_.Texts(), ElementsAre("answer command=reply",
                                             "publish type=688 name=Response context=1 by=host"));
}

TEST_F(HostTest, MemoryCommandTellsTheMemoryAndThenAnswers) {
    host_.Execute("memory");
    EXPECT_THAT(events_.Texts(),
                ElementsAre(::testing::StartsWith("memory when=asked "), "answer command=memory"));
}

TEST_F(HostTest, BlockCommandPublishesTheTask) {
    host_.Execute("block sha256=ab ids=a,b,c");
    EXPECT_EQ(LastEvent(), "publish type=919 name=BlockExecutableByHash context=1 by=host");
}

TEST(HostWithoutLibraryTest, MissingLibraryIsAnErrorThatNamesIt) {
    Lab::CLineList events;
    try {
        const CHost host({"/absent/library", ":memory:"}, events.Sink(), events.Sink());
        FAIL() << "no exception";
    } catch (const std::runtime_error& exception) {
        EXPECT_THAT(exception.what(), ::testing::HasSubstr("/absent/library"));
    }
}

}  // namespace
}  // namespace Kyr::Test
