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

TEST_F(HostTest, MessageOfACommandIsPublishedBehindItsAnswer) {
    const struct {
        const char* line;
        const char* answer;
        const char* published;
    } kRows[] = {
        {"kill pid=1 ids=a,b,c", "kill ids=a,b,c", "918 name=KillProcessByPid context=1 by=host"},
        {"block ids=a,b,c", "block ids=a,b,c", "919 name=BlockExecutableByHash context=2 by=host"},
        {"policy text=a", "policy", "194 name=ApplyPolicy context=3 by=host"},
        {"trigger kind=3", "trigger", "7 name=OvAgentRequest context=4 by=host request=3"},
        {"reply request=3", "reply", "688 name=Response context=5 by=host"},
    };
    for (const auto& row : kRows) {
        events_.Take();
        host_.Execute(row.line);
        EXPECT_THAT(events_.Take(), ElementsAre(std::string("answer command=") + row.answer,
                                                std::string("publish type=") + row.published));
    }
}

TEST_F(HostTest, MemoryCommandTellsTheMemoryAndThenAnswers) {
    host_.Execute("memory");
    EXPECT_THAT(events_.Texts(),
                ElementsAre(::testing::StartsWith("memory when=asked "), "answer command=memory"));
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
